#include "bilevel_page.h"

#include <array>
#include <cstdint>

namespace pixtola::tool {

BilevelPalette BilevelPaletteOf(Gdiplus::Bitmap& page) {
  // Flags, Count and two entries: what a palette of a 1-bit page takes at most.
  std::array<std::uint32_t, 4> words{};
  page.GetPalette(reinterpret_cast<Gdiplus::ColorPalette*>(words.data()),
                  static_cast<INT>(sizeof(words)));
  const std::uint32_t first = words[2] & 0xFFFFFF;
  const std::uint32_t second = words[3] & 0xFFFFFF;
  if (first == 0x000000 && second == 0xFFFFFF) return BilevelPalette::kBlackFirst;
  if (first == 0xFFFFFF && second == 0x000000) return BilevelPalette::kWhiteFirst;
  return BilevelPalette::kOther;
}

std::unique_ptr<Gdiplus::Bitmap> WithTrueColours(Gdiplus::Bitmap& page) {
  Gdiplus::BitmapData data{};
  if (page.LockBits(nullptr, Gdiplus::ImageLockModeRead, PixelFormat24bppRGB, &data) !=
      Gdiplus::Ok) {
    return nullptr;
  }
  Gdiplus::Bitmap* coloured = nullptr;
  PxtInsertBytes(static_cast<const std::uint8_t*>(data.Scan0), PixelFormat24bppRGB, data.Width,
                 data.Height, static_cast<std::uint32_t>(data.Stride),
                 page.GetHorizontalResolution(), page.GetVerticalResolution(), &coloured, nullptr);
  page.UnlockBits(&data);
  return std::unique_ptr<Gdiplus::Bitmap>(coloured);
}

}  // namespace pixtola::tool
