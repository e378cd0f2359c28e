// Opens a page of an image file with the library, for scripts that compare it with what other
// programs make of the file: page_dump FILE PAGE [OUTPUT TYPE], where PAGE is a number or "-" for
// PxtOpenImageFile.
//
// With OUTPUT the page is saved there as the type of this number; page_dump FILE PAGE none only
// opens it. Otherwise the bitmap is printed:
// lines that tell its format, size, dots per inch and palette, one that says "rows", and its rows
// without padding. Status 1: it was not opened; 2: it was not saved, or wrong usage.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <vector>

#include "Pixtola.h"

namespace {

unsigned BitsOf(Gdiplus::PixelFormat format) { return (static_cast<unsigned>(format) >> 8) & 0xFF; }

void PrintPalette(Gdiplus::Bitmap& bitmap) {
  std::vector<std::uint32_t> words(static_cast<std::size_t>(bitmap.GetPaletteSize()) / 4);
  if (bitmap.GetPalette(reinterpret_cast<Gdiplus::ColorPalette*>(words.data()),
                        bitmap.GetPaletteSize()) != Gdiplus::Ok) {
    return;
  }
  std::printf("palette");
  for (std::size_t i = 0; i < words[1]; ++i) std::printf(" %08X", words[2 + i]);
  std::printf("\n");
}

bool PrintRows(Gdiplus::Bitmap& bitmap) {
  const Gdiplus::Rect all(0, 0, static_cast<INT>(bitmap.GetWidth()),
                          static_cast<INT>(bitmap.GetHeight()));
  Gdiplus::BitmapData data{};
  if (bitmap.LockBits(&all, Gdiplus::ImageLockModeRead, bitmap.GetPixelFormat(), &data) !=
      Gdiplus::Ok) {
    return false;
  }
  std::printf("rows\n");
  const std::size_t bits = std::size_t{data.Width} * BitsOf(data.PixelFormat);
  std::vector<BYTE> row((bits + 7) / 8);
  for (UINT y = 0; y < data.Height; ++y) {
    std::memcpy(row.data(),
                static_cast<const BYTE*>(data.Scan0) +
                    std::ptrdiff_t{data.Stride} * static_cast<std::ptrdiff_t>(y),
                row.size());
    if (bits % 8 != 0) row.back() &= static_cast<BYTE>(0xFF00 >> bits % 8);
    std::fwrite(row.data(), 1, row.size(), stdout);
  }
  return bitmap.UnlockBits(&data) == Gdiplus::Ok;
}

std::unique_ptr<Gdiplus::Bitmap> Open(const char* file, const char* page) {
  const std::wstring path = std::filesystem::path(file).wstring();
  Gdiplus::Bitmap* bitmap = nullptr;
  if (std::strcmp(page, "-") == 0) {
    PxtOpenImageFile(path.c_str(), &bitmap);
  } else {
    PxtOpenImageFilePage(path.c_str(), std::atoi(page), &bitmap);
  }
  return std::unique_ptr<Gdiplus::Bitmap>(bitmap);
}

int Run(int count, char** arguments) {
  const bool is_only_opened = count == 4 && std::strcmp(arguments[3], "none") == 0;
  if (count != 3 && count != 5 && !is_only_opened) return 2;
  const std::unique_ptr<Gdiplus::Bitmap> bitmap = Open(arguments[1], arguments[2]);
  if (bitmap == nullptr) return 1;
  if (is_only_opened) return 0;
  if (count == 5) {
    const std::wstring output = std::filesystem::path(arguments[3]).wstring();
    const auto type = static_cast<PxtFileType>(std::atoi(arguments[4]));
    return PxtSaveBitmapToFile(bitmap.get(), type, output.c_str()) == 1 ? 0 : 2;
  }
  std::printf("format %08X\nsize %u %u\ndpi %.4f %.4f\n",
              static_cast<unsigned>(bitmap->GetPixelFormat()), bitmap->GetWidth(),
              bitmap->GetHeight(), double{bitmap->GetHorizontalResolution()},
              double{bitmap->GetVerticalResolution()});
  if ((bitmap->GetPixelFormat() & PixelFormatIndexed) != 0) PrintPalette(*bitmap);
  return PrintRows(*bitmap) ? 0 : 2;
}

}  // namespace

int main(int count, char** arguments) {
  ULONG_PTR token = 0;
  const Gdiplus::GdiplusStartupInput input;
  if (Gdiplus::GdiplusStartup(&token, &input, nullptr) != Gdiplus::Ok) return 2;
  const int status = Run(count, arguments);
  Gdiplus::GdiplusShutdown(token);
  return status;
}
