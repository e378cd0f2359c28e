// Opening image files: libtiff first, then the platform's decoders, then the PCX reader.

#include <utility>

#include "base/owners.h"
#include "base/platform_object.h"
#include "bitmap/copy_bitmap.h"
#include "io/pcx_reader.h"
#include "io/tiff_reader.h"
#include "platform.h"

namespace pixtola {

namespace {

/// What the platform or the PCX reader makes of a file.
BitmapPointer OpenOther(const wchar_t* path) {
  auto file_bitmap = MakePlatformObject<Gdiplus::Bitmap>(path);
  if (file_bitmap == nullptr || file_bitmap->GetLastStatus() != Gdiplus::Ok) {
    file_bitmap.reset();  // it may still hold the file
    return ReadPcxFile(path);
  }
  // A copy no longer needs the file. Kept on purpose: what cannot be copied is handed out as it is,
  // and the file then stays open for as long as the bitmap lives.
  BitmapPointer copy = CopyBitmap(*file_bitmap).value_or(nullptr);
  return copy != nullptr ? std::move(copy) : std::move(file_bitmap);
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
  BitmapPointer opened = ReadTiffFile(path, 0);
  if (opened == nullptr) opened = OpenOther(path);
  *bitmap = opened.release();
  return *bitmap != nullptr ? 1 : 0;
}

int PxtOpenImageFilePage(const wchar_t* path, std::int32_t page, Gdiplus::Bitmap** bitmap) {
  using namespace pixtola;
  if (path == nullptr || bitmap == nullptr) return 0;
  BitmapPointer opened = ReadTiffFile(path, static_cast<std::uint32_t>(page));
  if (opened == nullptr) {
    opened = OpenOther(path);
    // Kept on purpose: the page is selected in the copy, which as a rule has only one.
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
