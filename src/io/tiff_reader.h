// Reading TIFF pages through libtiff.
#ifndef PIXTOLA_IO_TIFF_READER_H_
#define PIXTOLA_IO_TIFF_READER_H_

#include <cstdint>

#include "platform.h"

namespace pixtola {

/// Reads page `page_index` (0 is the first) of a TIFF file into a new bitmap. Returns 1, or 0 with
/// `*bitmap` untouched.
int ReadTiffFile(const wchar_t* path, std::uint32_t page_index, Gdiplus::Bitmap** bitmap);

/// Reads the first page of the TIFF in a stream that stands at its start. Returns 1, or 0 with
/// `*bitmap` untouched.
int ReadTiffStream(IStream* stream, Gdiplus::Bitmap** bitmap);

}  // namespace pixtola

#endif  // PIXTOLA_IO_TIFF_READER_H_
