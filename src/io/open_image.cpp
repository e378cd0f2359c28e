// Opening image files: libtiff first, then the platform's decoders.

#include <memory>

#include "base/platform_object.h"
#include "io/tiff_reader.h"
#include "platform.h"

namespace pixtola {

namespace {

/// A copy that no longer needs the file, or the file-backed bitmap where it cannot be copied: the
/// file then stays open for as long as the bitmap lives. Null when the platform cannot open the
/// file.
std::unique_ptr<Gdiplus::Bitmap> OpenWithPlatform(const wchar_t* path) {
  auto file_bitmap = MakePlatformObject<Gdiplus::Bitmap>(path);
  if (file_bitmap == nullptr || file_bitmap->GetLastStatus() != Gdiplus::Ok) return nullptr;
  Gdiplus::Bitmap* copy = nullptr;
  if (PxtCopyBitmap(file_bitmap.get(), &copy) == 0) return file_bitmap;
  return std::unique_ptr<Gdiplus::Bitmap>(copy);
}

}  // namespace

}  // namespace pixtola

int PxtOpenImageFile(const wchar_t* path, Gdiplus::Bitmap** bitmap) {
  if (path == nullptr || bitmap == nullptr) return 0;
  *bitmap = nullptr;
  if (pixtola::ReadTiffFile(path, 0, bitmap) != 0) return 1;
  *bitmap = pixtola::OpenWithPlatform(path).release();
  return *bitmap != nullptr ? 1 : 0;
}
