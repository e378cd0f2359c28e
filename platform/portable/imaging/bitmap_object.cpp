#include "imaging/bitmap_object.h"

#include <limits>
#include <new>

#include "decode_limit.h"
#include "imaging/convert_row.h"

namespace pixtola::portable {

namespace {

constexpr std::uint64_t kLargestSize = std::numeric_limits<std::int32_t>::max();

constexpr Gdiplus::ARGB Opaque(unsigned red, unsigned green, unsigned blue) {
  return 0xFF000000U | red << 16 | green << 8 | blue;
}

/// The 16 system colours: eight dark ones, then light gray, then the seven bright ones.
Gdiplus::ARGB SystemColor(unsigned i) {
  if (i == 8) return Opaque(0xC0, 0xC0, 0xC0);
  const unsigned level = i < 8 ? 0x80 : 0xFF;
  return Opaque((i & 1) != 0 ? level : 0, (i & 2) != 0 ? level : 0, (i & 4) != 0 ? level : 0);
}

/// The halftone palette: the system colours, a gap of clear entries, and a 6 x 6 x 6 cube.
Gdiplus::ARGB HalftoneColor(unsigned i) {
  if (i < 16) return SystemColor(i);
  if (i < 40) return 0;
  const unsigned cell = i - 40;
  return Opaque(cell / 36 % 6 * 0x33, cell / 6 % 6 * 0x33, cell % 6 * 0x33);
}

}  // namespace

Palette GrayPalette(unsigned bits) {
  Palette palette;
  palette.flags = Gdiplus::PaletteFlagsGrayScale;
  palette.count = 1U << bits;
  for (unsigned i = 0; i < palette.count; ++i) {
    const unsigned level = i * 255 / (palette.count - 1);
    palette.entries[i] = Opaque(level, level, level);
  }
  return palette;
}

Palette DefaultPalette(Gdiplus::PixelFormat format) {
  if (format == PixelFormat1bppIndexed) return GrayPalette(1);
  Palette palette;
  if (format == PixelFormat4bppIndexed) {
    palette.count = 16;
    for (unsigned i = 0; i < 16; ++i) palette.entries[i] = SystemColor(i);
  } else if (format == PixelFormat8bppIndexed) {
    palette.flags = Gdiplus::PaletteFlagsHalftone;
    palette.count = 256;
    for (unsigned i = 0; i < 256; ++i) palette.entries[i] = HalftoneColor(i);
  }
  return palette;
}

std::unique_ptr<BitmapObject> BitmapObject::CreateOver(std::uint32_t width, std::uint32_t height,
                                                       std::int32_t stride,
                                                       Gdiplus::PixelFormat format, BYTE* scan0) {
  std::unique_ptr<BitmapObject> bitmap(new (std::nothrow) BitmapObject);
  if (bitmap == nullptr) return nullptr;
  bitmap->width_ = width;
  bitmap->height_ = height;
  bitmap->stride_ = stride;
  bitmap->format_ = format;
  bitmap->scan0_ = scan0;
  bitmap->palette = DefaultPalette(format);
  return bitmap;
}

std::unique_ptr<BitmapObject> BitmapObject::Create(std::uint32_t width, std::uint32_t height,
                                                   Gdiplus::PixelFormat format) {
  const std::uint64_t stride = AlignedStride(width, format);
  if (stride > kLargestSize) return nullptr;
  HeapBytes rows = AllocateZeroedBytes(stride * height);
  if (rows == nullptr) return nullptr;
  std::unique_ptr<BitmapObject> bitmap =
      CreateOver(width, height, static_cast<std::int32_t>(stride), format, rows.get());
  if (bitmap != nullptr) bitmap->own_rows_ = std::move(rows);
  return bitmap;
}

std::unique_ptr<BitmapObject> BitmapObject::CreateForDecoder(std::uint64_t width,
                                                             std::uint64_t height,
                                                             Gdiplus::PixelFormat format) {
  if (width == 0 || height == 0 || width > kLargestSize || height > kLargestSize ||
      !IsBitmapFormat(format) ||
      !platform::IsDecodeAllowed(width, height, AlignedStride(width, format) * height)) {
    return nullptr;
  }
  return Create(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), format);
}

}  // namespace pixtola::portable
