// How the library opens TIFF files on this platform: by UTF-8 name, libtiff's allocations limited.

#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <new>

#include "decode_limit.h"
#include "system/files.h"
#include "system/utf8.h"

namespace pixtola::platform {

__attribute__((visibility("default"))) TIFF* OpenTiffFile(const wchar_t* path, const char* mode);

TIFF* OpenTiffFile(const wchar_t* path, const char* mode) try {
  const std::optional<std::string> utf8_path = portable::Utf8FromWide(path);
  if (!utf8_path.has_value()) return nullptr;
  struct FreeOptions {
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
  };
  const std::unique_ptr<TIFFOpenOptions, FreeOptions> options(TIFFOpenOptionsAlloc());
  if (options == nullptr) return nullptr;
  constexpr std::uint64_t kLargest = std::numeric_limits<tmsize_t>::max();
  TIFFOpenOptionsSetMaxSingleMemAlloc(
      options.get(), static_cast<tmsize_t>(std::min(kLargest, GetDecodeLimit().bytes)));
  if (mode[0] != 'r') return TIFFOpenExt(utf8_path->c_str(), mode, options.get());
  const int descriptor = portable::OpenRegularFile(utf8_path->c_str());
  if (descriptor < 0) return nullptr;
  TIFF* tiff = TIFFFdOpenExt(descriptor, utf8_path->c_str(), mode, options.get());
  if (tiff == nullptr) ::close(descriptor);  // otherwise TIFFClose does
  return tiff;
} catch (const std::bad_alloc&) {
  return nullptr;
}

}  // namespace pixtola::platform
