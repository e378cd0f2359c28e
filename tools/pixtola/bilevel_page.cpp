#include "bilevel_page.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace pixtola::tool {

namespace {

/// The bits of a 1-bit page, locked to the end of the scope.
class BitRows {
 public:
  explicit BitRows(Gdiplus::Bitmap& page) : page_(page) {
    is_locked_ = page.LockBits(nullptr, Gdiplus::ImageLockModeRead, PixelFormat1bppIndexed,
                               &data_) == Gdiplus::Ok;
  }
  BitRows(const BitRows&) = delete;
  BitRows& operator=(const BitRows&) = delete;
  ~BitRows() {
    if (is_locked_) page_.UnlockBits(&data_);
  }

  bool is_locked() const { return is_locked_; }
  const BYTE* Row(UINT y) const {
    return static_cast<const BYTE*>(data_.Scan0) + std::ptrdiff_t{data_.Stride} * y;
  }

 private:
  Gdiplus::Bitmap& page_;
  Gdiplus::BitmapData data_{};
  bool is_locked_;
};

}  // namespace

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

bool ShowTheSame(Gdiplus::Bitmap& first, Gdiplus::Bitmap& second) {
  const UINT width = first.GetWidth();
  const UINT height = first.GetHeight();
  if (second.GetWidth() != width || second.GetHeight() != height ||
      first.GetPixelFormat() != PixelFormat1bppIndexed ||
      second.GetPixelFormat() != PixelFormat1bppIndexed) {
    return false;
  }
  const BYTE inversion = BilevelPaletteOf(first) == BilevelPaletteOf(second) ? 0x00 : 0xFF;
  const BitRows first_rows(first);
  const BitRows second_rows(second);
  if (!first_rows.is_locked() || !second_rows.is_locked()) return false;
  for (UINT y = 0; y < height; ++y) {
    const BYTE* first_row = first_rows.Row(y);
    const BYTE* second_row = second_rows.Row(y);
    for (UINT x = 0; x < width; x += 8) {
      const unsigned mask = width - x < 8 ? 0xFF00U >> (width - x) & 0xFFU : 0xFFU;
      const unsigned difference = first_row[x / 8] ^ second_row[x / 8] ^ inversion;
      if ((difference & mask) != 0) return false;
    }
  }
  return true;
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
