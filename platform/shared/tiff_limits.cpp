// The limits under which libtiff reads, the same on every platform.

#include <tiffio.h>

#include <algorithm>
#include <limits>

#include "shared/decode_limit.h"
#include "shared/tiff_files.h"

namespace pixtola::platform {

bool IsTiffCompressionRead(std::uint16_t compression) {
  switch (compression) {
    case COMPRESSION_NONE:
    case COMPRESSION_CCITTRLE:
    case COMPRESSION_CCITTFAX3:
    case COMPRESSION_CCITTFAX4:
    case COMPRESSION_CCITTRLEW:
    case COMPRESSION_LZW:
    case COMPRESSION_OJPEG:
    case COMPRESSION_JPEG:
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_DEFLATE:
    case COMPRESSION_PACKBITS:
    case COMPRESSION_NEXT:
    case COMPRESSION_THUNDERSCAN:
    case COMPRESSION_PIXARLOG:
    case COMPRESSION_SGILOG:
    case COMPRESSION_SGILOG24:
      return true;
    case COMPRESSION_ZSTD:
    case COMPRESSION_WEBP:
      return TIFFIsCODECConfigured(compression) != 0;
    default:
      return false;
  }
}

void FreeTiffOptions::operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }

TiffOptions MakeTiffOptions(bool is_reading) {
  TiffOptions options(TIFFOpenOptionsAlloc());
  if (options != nullptr && is_reading) {
    // libtiff takes 0 for no limit.
    const std::uint64_t limit =
        std::clamp<std::uint64_t>(GetDecodeLimit().bytes, 1, std::numeric_limits<tmsize_t>::max());
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), static_cast<tmsize_t>(limit));
  }
  return options;
}

}  // namespace pixtola::platform
