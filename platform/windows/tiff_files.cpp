// How the library opens TIFF files on Windows: by wide-character name.

#include <tiffio.h>

#include "shared/tiff_files.h"

namespace pixtola::platform {

TIFF* OpenTiffFile(const wchar_t* path, const char* mode) {
  const TiffOptions options = MakeTiffOptions(mode[0] == 'r');
  return options != nullptr ? TIFFOpenWExt(path, mode, options.get()) : nullptr;
}

}  // namespace pixtola::platform
