// How the library opens TIFF files on Windows: by wide-character name, libtiff's allocations
// limited.

#include <tiffio.h>

#include <algorithm>
#include <limits>
#include <memory>

#include "platform.h"

namespace pixtola::platform {

TIFF* OpenTiffFile(const wchar_t* path, const char* mode) {
  struct FreeOptions {
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
  };
  const std::unique_ptr<TIFFOpenOptions, FreeOptions> options(TIFFOpenOptionsAlloc());
  if (options == nullptr) return nullptr;
  constexpr std::uint64_t kLargest = std::numeric_limits<tmsize_t>::max();
  TIFFOpenOptionsSetMaxSingleMemAlloc(
      options.get(), static_cast<tmsize_t>(std::min(kLargest, GetDecodeLimit().bytes)));
  return TIFFOpenWExt(path, mode, options.get());
}

}  // namespace pixtola::platform
