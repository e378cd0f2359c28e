// How the library opens TIFF files on this platform: by UTF-8 name, regular files only.

#include <tiffio.h>
#include <unistd.h>

#include "system/files.h"
#include "system/utf8.h"
#include "tiff_files.h"

namespace pixtola::platform {

TIFF* OpenTiffFile(const wchar_t* path, const char* mode) {
  const portable::Utf8Path utf8_path(path);
  if (!utf8_path.is_valid()) return nullptr;
  const bool is_reading = mode[0] == 'r';
  const TiffOptions options = MakeTiffOptions(is_reading);
  if (options == nullptr) return nullptr;
  const int descriptor = is_reading ? portable::OpenRegularFile(utf8_path.c_str())
                                    : portable::ReplaceRegularFile(utf8_path.c_str());
  if (descriptor < 0) return nullptr;
  TIFF* tiff = TIFFFdOpenExt(descriptor, utf8_path.c_str(), mode, options.get());
  if (tiff == nullptr) ::close(descriptor);  // otherwise TIFFClose does
  return tiff;
}

}  // namespace pixtola::platform
