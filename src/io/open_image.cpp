// Opening image files: libtiff first, then the platform's decoders, then the PCX reader.

#include "base/platform_object.h"
#include "io/pcx_reader.h"
#include "io/tiff_reader.h"
#include "platform.h"

namespace pixtola {

namespace {

/// The page of a TIFF file; null when the file is not one, or has no such page.
BitmapPointer OpenTiffPage(const wchar_t* path, std::uint32_t page_index) {
  Gdiplus::Bitmap* bitmap = nullptr;
  ReadTiffFile(path, page_index, &bitmap);
  return BitmapPointer(bitmap);
}

/// What the platform or the PCX reader makes of a file.
BitmapPointer OpenOther(const wchar_t* path) {
  auto file_bitmap = MakePlatformObject<Gdiplus::Bitmap>(path);
  Gdiplus::Bitmap* bitmap = nullptr;
  if (file_bitmap == nullptr || file_bitmap->GetLastStatus() != Gdiplus::Ok) {
    file_bitmap.reset();  // it may still hold the file
    ReadPcxFile(path, &bitmap);
    return BitmapPointer(bitmap);
  }
  // A copy needs the file no longer. Kept on purpose: what cannot be copied is handed out as it is,
  // and the file then stays open for as long as the bitmap lives.
  if (PxtCopyBitmap(file_bitmap.get(), &bitmap) == 0) return file_bitmap;
  return BitmapPointer(bitmap);
}

bool SelectFrame(Gdiplus::Bitmap& bitmap, const GUID& dimension, UINT frame) {
  return bitmap.GetFrameCount(&dimension) > frame &&
         bitmap.SelectActiveFrame(&dimension, frame) == Gdiplus::Ok;
}

}  // namespace

}  // namespace pixtola

int PxtOpenImageFile(const wchar_t* path, Gdiplus::Bitmap** bitmap) {
  using namespace pixtola;
  if (path == nullptr || bitmap == nullptr) return 0;
  BitmapPointer opened = OpenTiffPage(path, 0);
  if (opened == nullptr) opened = OpenOther(path);
  *bitmap = opened.release();
  return *bitmap != nullptr ? 1 : 0;
}

int PxtOpenImageFilePage(const wchar_t* path, std::int32_t page, Gdiplus::Bitmap** bitmap) {
  using namespace pixtola;
  if (path == nullptr || bitmap == nullptr) return 0;
  BitmapPointer opened = OpenTiffPage(path, static_cast<std::uint32_t>(page));
  if (opened == nullptr) {
    opened = OpenOther(path);
    // Kept on purpose: the page is selected in the copy, which as a rule has but one.
    if (opened != nullptr && page >= 0) {
      const auto frame = static_cast<UINT>(page);
      const bool is_selected = SelectFrame(*opened, Gdiplus::FrameDimensionPage, frame) ||
                               SelectFrame(*opened, Gdiplus::FrameDimensionTime, frame);
      if (!is_selected) opened.reset();
    }
  }
  *bitmap = opened.release();
  return *bitmap != nullptr ? 1 : 0;
}
