// Reading PCX files.
#ifndef PIXTOLA_IO_PCX_READER_H_
#define PIXTOLA_IO_PCX_READER_H_

#include "platform.h"

namespace pixtola {

/// Reads a PCX file into a new bitmap. White space around the path is left out. Returns 1, or 0
/// with
/// `*bitmap` untouched. A file that is cut short is no failure: rows that are missing repeat what
/// the last row was.
int ReadPcxFile(const wchar_t* path, Gdiplus::Bitmap** bitmap);

}  // namespace pixtola

#endif  // PIXTOLA_IO_PCX_READER_H_
