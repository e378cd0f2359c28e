// PxtBitmapToHBITMAP: a bitmap as a device-independent section for GDI.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <utility>

#include "base/owners.h"
#include "platform.h"

namespace pixtola {

namespace {

constexpr std::size_t kPixelBytes = sizeof(Gdiplus::ARGB);

/// A top-down section of 32-bit pixels. Null, with `pixels` null, when it cannot be made.
BitmapHandle MakeSection(UINT width, UINT height, Gdiplus::ARGB*& pixels) {
  const std::uint64_t size = std::uint64_t{width} * height * kPixelBytes;
  // To the platform the size of a row is a signed number, that of the image an unsigned one.
  constexpr UINT kWidest = std::numeric_limits<INT>::max() / kPixelBytes;
  if (size == 0 || width > kWidest || size > std::numeric_limits<DWORD>::max()) return nullptr;
  BITMAPINFO info{};
  // Kept on purpose: the size of the whole structure, one colour more than the header's own 40
  // bytes.
  info.bmiHeader.biSize = sizeof(BITMAPINFO);
  info.bmiHeader.biWidth = static_cast<LONG>(width);
  info.bmiHeader.biHeight = -static_cast<LONG>(height);
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  info.bmiHeader.biSizeImage = static_cast<DWORD>(size);
  void* memory = nullptr;
  BitmapHandle section(CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &memory, nullptr, 0));
  pixels = static_cast<Gdiplus::ARGB*>(memory);
  return memory != nullptr ? std::move(section) : nullptr;
}

/// A pixel whose colours are multiplied by its alpha.
constexpr Gdiplus::ARGB Premultiplied(Gdiplus::ARGB pixel) {
  const Gdiplus::ARGB alpha = pixel >> 24;
  // Kept on purpose: a shift, not a division by 255, so opaque white becomes 254. Products have 16
  // bits, so red and blue do not overlap.
  const Gdiplus::ARGB red_and_blue = (pixel & 0x00FF00FF) * alpha >> 8 & 0x00FF00FF;
  const Gdiplus::ARGB green = (pixel & 0x0000FF00) * alpha >> 8 & 0x0000FF00;
  return (pixel & 0xFF000000) | red_and_blue | green;
}

/// Multiplies the colours by their alphas, unless all alphas are 0: they are then taken for unused,
/// and the colours stay. Pixels before the first one with alpha become 0.
void Premultiply(std::span<Gdiplus::ARGB> pixels) {
  const auto first = std::find_if(pixels.begin(), pixels.end(),
                                  [](Gdiplus::ARGB pixel) { return pixel >> 24 != 0; });
  if (first == pixels.end()) return;
  std::fill(pixels.begin(), first, Gdiplus::ARGB{0});
  std::transform(first, pixels.end(), first, Premultiplied);
}

}  // namespace

}  // namespace pixtola

int PxtBitmapToHBITMAP(Gdiplus::Bitmap* source, HBITMAP* handle) {
  using namespace pixtola;
  if (source == nullptr || handle == nullptr) return 0;
  *handle = nullptr;
  const UINT width = source->GetWidth();
  const UINT height = source->GetHeight();
  Gdiplus::ARGB* pixels = nullptr;
  BitmapHandle section = MakeSection(width, height, pixels);
  if (section == nullptr) return 0;

  // The platform converts into the section's own rows.
  const Gdiplus::Rect whole(0, 0, static_cast<INT>(width), static_cast<INT>(height));
  Gdiplus::BitmapData data{};
  data.Stride = static_cast<INT>(width * kPixelBytes);
  data.Scan0 = pixels;
  if (source->LockBits(&whole, Gdiplus::ImageLockModeRead | Gdiplus::ImageLockModeUserInputBuf,
                       PixelFormat32bppARGB, &data) != Gdiplus::Ok) {
    return 0;
  }
  Premultiply({pixels, std::size_t{width} * height});
  source->UnlockBits(&data);
  *handle = section.release();
  return 1;
}
