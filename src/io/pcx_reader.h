// Reading PCX files.
#ifndef PIXTOLA_IO_PCX_READER_H_
#define PIXTOLA_IO_PCX_READER_H_

#include "base/owners.h"

namespace pixtola {

/// Reads a PCX file into a new bitmap; null when it cannot be read. White space around the path is
/// ignored. A file that is cut short is not a failure: missing rows repeat the last one.
BitmapPointer ReadPcxFile(const wchar_t* path);

}  // namespace pixtola

#endif  // PIXTOLA_IO_PCX_READER_H_
