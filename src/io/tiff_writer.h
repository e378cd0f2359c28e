// Writing bitmaps as TIFF pages through libtiff.
#ifndef PIXTOLA_IO_TIFF_WRITER_H_
#define PIXTOLA_IO_TIFF_WRITER_H_

#include "platform.h"

namespace pixtola {

/// Writes a bitmap as the only page of a TIFF file, compressed as `type` (5 to 9) says. Returns 1
/// or 0; a write that fails half way leaves what it wrote.
int WriteTiffFile(Gdiplus::Bitmap* bitmap, PxtFileType type, const wchar_t* path);

/// The same into a stream, from its start.
int WriteTiffStream(Gdiplus::Bitmap* bitmap, PxtFileType type, IStream* stream);

}  // namespace pixtola

#endif  // PIXTOLA_IO_TIFF_WRITER_H_
