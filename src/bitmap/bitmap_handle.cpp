// PxtBitmapToHBITMAP: a bitmap as a device-independent section for GDI.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <type_traits>
#include <utility>

#include "platform.h"

namespace pixtola {

namespace {

struct DeleteHandle {
  void operator()(HBITMAP handle) const { DeleteObject(handle); }
};
using BitmapHandle = std::unique_ptr<std::remove_pointer_t<HBITMAP>, DeleteHandle>;

constexpr std::size_t kPixelBytes = 4;
constexpr std::size_t kAlpha = 3;

/// A section of 32-bit pixels with its top row first. Null, with `pixels` null, when there is none.
BitmapHandle MakeSection(UINT width, UINT height, std::uint8_t*& pixels) {
  const std::uint64_t size = std::uint64_t{width} * height * kPixelBytes;
  if (size == 0 || size > std::numeric_limits<std::int32_t>::max()) return nullptr;
  BITMAPINFO info{};
  // Kept on purpose: the size of the whole structure, a colour more than the header's own 40 bytes.
  info.bmiHeader.biSize = sizeof(BITMAPINFO);
  info.bmiHeader.biWidth = static_cast<LONG>(width);
  info.bmiHeader.biHeight = -static_cast<LONG>(height);
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  info.bmiHeader.biSizeImage = static_cast<DWORD>(size);
  void* memory = nullptr;
  BitmapHandle section(CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &memory, nullptr, 0));
  pixels = static_cast<std::uint8_t*>(memory);
  return memory != nullptr ? std::move(section) : nullptr;
}

/// Multiplies the colours by their alphas, unless no pixel has any: the alphas are unused then, and
/// the colours stay. What comes before the first pixel with alpha becomes 0.
void Premultiply(std::uint8_t* pixels, std::size_t size) {
  std::size_t first = 0;
  while (first < size && pixels[first + kAlpha] == 0) first += kPixelBytes;
  if (first == size) return;
  std::fill(pixels, pixels + first, std::uint8_t{0});
  for (std::uint8_t* pixel = pixels + first; pixel != pixels + size; pixel += kPixelBytes) {
    const unsigned alpha = pixel[kAlpha];
    for (std::size_t channel = 0; channel < kAlpha; ++channel) {
      // Kept on purpose: a shift and no division by 255, which makes 254 of opaque white.
      pixel[channel] = static_cast<std::uint8_t>(pixel[channel] * alpha >> 8);
    }
  }
}

}  // namespace

}  // namespace pixtola

int PxtBitmapToHBITMAP(Gdiplus::Bitmap* source, HBITMAP* handle) {
  using namespace pixtola;
  if (source == nullptr || handle == nullptr) return 0;
  *handle = nullptr;
  const UINT width = source->GetWidth();
  const UINT height = source->GetHeight();
  std::uint8_t* pixels = nullptr;
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
  Premultiply(pixels, std::size_t{width} * height * kPixelBytes);
  source->UnlockBits(&data);
  *handle = section.release();
  return 1;
}
