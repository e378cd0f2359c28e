// Reading TIFF pages through libtiff.
#ifndef PIXTOLA_IO_TIFF_READER_H_
#define PIXTOLA_IO_TIFF_READER_H_

#include <cstdint>

#include "base/owners.h"
#include "platform.h"

namespace pixtola {

/// Page `page_index` (0 is the first) of a TIFF file as a new bitmap; null when it cannot be read.
BitmapPointer ReadTiffFile(const wchar_t* path, std::uint32_t page_index);

/// The first page of the TIFF in a stream whose position is at its start; null when it cannot be
/// read.
BitmapPointer ReadTiffStream(IStream* stream);

}  // namespace pixtola

#endif  // PIXTOLA_IO_TIFF_READER_H_
