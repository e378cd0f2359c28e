#include "support/pixel_rows.h"

namespace pixtola::test {

Pixel RandomPixel(Gdiplus::PixelFormat format, std::mt19937& random) {
  const auto deep_channel = [&random] {
    return random() % 8 != 0 ? random() % 0x2001U : random() % 0x10000U;
  };
  const unsigned bits = BitsOfPixel(format);
  const auto choice = random() % 8;
  if (bits >= 48) {
    Pixel pixel = choice == 0 ? 0U : (choice == 1 ? 0x2000U : std::uint64_t{deep_channel()});
    for (unsigned channel = 0; channel < 3; ++channel) pixel = pixel << 16 | deep_channel();
    return bits == 48 ? pixel & 0xFFFFFFFFFFFFU : pixel;
  }
  Pixel pixel = random();
  if (bits == 32 && choice == 0) pixel &= 0x00FFFFFFU;
  if (bits == 32 && choice == 1) pixel |= 0xFF000000U;
  return pixel & ((Pixel{1} << bits) - 1);
}

Palette RandomPalette(std::size_t count, std::mt19937& random) {
  Palette palette(count);
  for (std::uint32_t& entry : palette) {
    entry = static_cast<std::uint32_t>(RandomPixel(PixelFormat32bppARGB, random));
  }
  return palette;
}

std::size_t StrideOf(Gdiplus::PixelFormat format, std::size_t width) {
  return (RowBytes(format, width) + 3) / 4 * 4;
}

Pixel LockedPixel(const Gdiplus::BitmapData& data, std::size_t x, std::size_t y) {
  const auto* top = static_cast<const std::uint8_t*>(data.Scan0);
  return PixelAt(top + std::ptrdiff_t{data.Stride} * static_cast<std::ptrdiff_t>(y), x,
                 data.PixelFormat);
}

void SetLockedPixel(const Gdiplus::BitmapData& data, std::size_t x, std::size_t y, Pixel pixel) {
  auto* top = static_cast<std::uint8_t*>(data.Scan0);
  SetPixel(top + std::ptrdiff_t{data.Stride} * static_cast<std::ptrdiff_t>(y), x, data.PixelFormat,
           pixel);
}

INT PixelRows::stride() const {
  const auto stride = static_cast<INT>(stride_);
  return order_ == RowOrder::kDownwards ? stride : -stride;
}

Pixel PixelRows::At(std::size_t x, std::size_t y) const {
  return PixelAt(bytes_.data() + Start(y), x, format_);
}

void PixelRows::Set(std::size_t x, std::size_t y, Pixel pixel) {
  SetPixel(bytes_.data() + Start(y), x, format_, pixel);
}

std::size_t PixelRows::Start(std::size_t y) const {
  return (order_ == RowOrder::kDownwards ? y : height_ - 1 - y) * stride_;
}

}  // namespace pixtola::test
