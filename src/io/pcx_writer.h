// Writing PCX files.
#ifndef PIXTOLA_IO_PCX_WRITER_H_
#define PIXTOLA_IO_PCX_WRITER_H_

#include "platform.h"

namespace pixtola {

/// Writes a bitmap as a PCX file: 1-bit and 8-bit indexed ones as they are, all others with 24
/// bits. Returns 1, or 0 with the file deleted, or untouched when it was not opened. Images that
/// the header's 16-bit fields cannot describe are refused.
int WritePcxFile(const wchar_t* path, Gdiplus::Bitmap* bitmap);

}  // namespace pixtola

#endif  // PIXTOLA_IO_PCX_WRITER_H_
