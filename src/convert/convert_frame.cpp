// The frame around the conversion methods: argument checks, clipping, the size query, where the
// source starts, and the choice of the method.

#include <algorithm>
#include <cstring>
#include <iterator>
#include <optional>
#include <utility>

#include "base/memory.h"
#include "convert/gray_lookup.h"
#include "convert/pixels/adaptive/adaptive.h"
#include "convert/pixels/conversion_arguments.h"
#include "convert/pixels/diffusion/diffusion.h"
#include "convert/pixels/gray/gray.h"
#include "convert/pixels/otsu/otsu.h"
#include "format/image_view.h"
#include "format/pixel_format.h"
#include "format/rectangle.h"
#include "format/stride.h"
#include "platform.h"

namespace pixtola {

namespace {

using Worker = int (*)(const ImageView& source, const GrayLookup* lookup,
                       const MutableImageView& destination);

struct Method {
  Gdiplus::PixelFormat output_format;
  Worker worker;
};

constexpr Method kMethods[] = {
    {PixelFormat8bppIndexed, ConvertToGray},
    {PixelFormat1bppIndexed, BinarizeOtsu},
    {PixelFormat1bppIndexed, BinarizeAdaptive},
    {PixelFormat1bppIndexed, BinarizeDiffusion},
};

/// A caller's image has `height * stride` bytes.
std::uint64_t SizeOf(const ImageView& image) {
  return std::uint64_t{image.height} * static_cast<std::uint64_t>(image.stride);
}

/// The part of an image that a method works on: rows that start at a byte offset, some of which may
/// reach past the image's end.
struct Window {
  std::uint32_t offset;
  std::uint32_t width;
  std::uint32_t height;
};

bool IsConvertible(const ImageView& source) {
  return IsConvertibleDepth(source.bits_per_pixel) && source.first_row != nullptr &&
         source.width != 0 && source.height != 0 && source.stride != 0 && HasValidStride(source);
}

/// What a method reads from the start of a row on: the row's pixels, and with 1 and 8 bits whatever
/// of the padding lands in the destination row as well.
std::uint64_t BytesReadPerRow(const ImageView& source, const MutableImageView& destination) {
  const auto source_stride = static_cast<std::uint64_t>(source.stride);
  const auto destination_stride = static_cast<std::uint64_t>(destination.stride);
  const bool makes_gray = destination.bits_per_pixel == 8;
  if (source.bits_per_pixel == 1 && makes_gray) {
    return (std::min(source_stride * 8, destination_stride) + 7) / 8;
  }
  if (source.bits_per_pixel == 1 || (source.bits_per_pixel == 8 && makes_gray)) {
    return std::min(source_stride, destination_stride);
  }
  return PackedRowBytes(source.bits_per_pixel, destination.width);
}

/// A copy of a window, with zeros where it reaches past the image's end. Its rows lie closer
/// together than the image's where a method reads only the beginning of each; what the methods
/// derive from the two strides stays the same. Rows wholly past the end are not written, so they
/// take no memory.
struct ZeroExtendedCopy {
  Block<std::uint8_t> bytes;  ///< null when it could not be made
  std::uint32_t stride;
};

ZeroExtendedCopy CopyZeroExtended(const ImageView& source, const Window& window,
                                  std::uint64_t row_bytes) {
  const std::uint64_t wanted_stride = (row_bytes + 3) / 4 * 4;
  if (wanted_stride > UINT32_MAX) return {nullptr, 0};
  const auto stride = static_cast<std::uint32_t>(wanted_stride);
  Block<std::uint8_t> bytes = AllocateZeroed<std::uint8_t>(std::uint64_t{window.height} * stride);
  if (bytes == nullptr) return {nullptr, 0};
  const std::uint64_t size = SizeOf(source);
  for (std::uint32_t y = 0; y < window.height; ++y) {
    const std::uint64_t start =
        window.offset + std::uint64_t{y} * static_cast<std::uint64_t>(source.stride);
    if (start >= size) break;
    std::memcpy(bytes.get() + std::size_t{y} * stride, source.first_row + start,
                std::min(row_bytes, size - start));
  }
  return {std::move(bytes), stride};
}

/// The palette is only looked at when the method will not refuse the two images.
int CallWorker(Worker worker, const ImageView& source, const Gdiplus::ColorPalette* palette,
               const MutableImageView& destination) {
  std::optional<GrayLookup> lookup;
  if (source.bits_per_pixel == 8 && palette != nullptr &&
      AreConversionArgumentsValid(source, destination)) {
    lookup = MakeGrayLookup(*palette);
  }
  return worker(source, lookup ? &*lookup : nullptr, destination);
}

int RunMethod(Worker worker, const ImageView& source, const Window& window,
              const Gdiplus::ColorPalette* palette, const MutableImageView& destination) {
  if (window.width == 0 || window.height == 0) return 0;
  // The size is reported in 32 bits; a buffer of that size would be too small for such an image.
  if (std::uint64_t{window.height} * static_cast<std::uint64_t>(destination.stride) > UINT32_MAX) {
    return 0;
  }
  const std::uint64_t row_bytes = BytesReadPerRow(source, destination);
  const std::uint64_t end =
      window.offset + std::uint64_t{window.height - 1} * static_cast<std::uint64_t>(source.stride) +
      row_bytes;
  ImageView part = source;
  part.width = window.width;
  part.height = window.height;
  if (end <= SizeOf(source)) {
    part.first_row += window.offset;
    return CallWorker(worker, part, palette, destination);
  }
  // The method's own checks see the caller's stride first: a copy must not mend what they refuse.
  if (!HasValidStride(part)) return 0;
  const ZeroExtendedCopy copy = CopyZeroExtended(source, window, row_bytes);
  if (copy.bytes == nullptr) return 0;
  part.first_row = copy.bytes.get();
  part.stride = copy.stride;
  return CallWorker(worker, part, palette, destination);
}

}  // namespace

}  // namespace pixtola

int PxtBytesRectToBytes(PxtConversionMethod method, const uint8_t* source, RECT* rect,
                        uint32_t source_bits_per_pixel, uint32_t width, uint32_t height,
                        uint32_t source_stride, uint8_t* destination, uint32_t* destination_size,
                        uint32_t* destination_stride, const Gdiplus::ColorPalette* palette) {
  using namespace pixtola;
  if (rect == nullptr || destination_size == nullptr || destination_stride == nullptr) return 0;
  if (method >= std::size(kMethods)) return 0;
  const ImageView image{source, width, height, source_stride, source_bits_per_pixel};
  if (!IsConvertible(image)) return 0;

  // Kept on purpose: a rectangle with a negative right or bottom is neither clipped nor refused.
  if (rect->right > 0 && rect->bottom > 0) {
    ClipExclusive(rect->left, rect->right, width);
    ClipExclusive(rect->top, rect->bottom, height);
  }
  if (rect->right == 0 || rect->bottom == 0) return 0;

  const std::uint32_t rect_width = Extent(rect->left, rect->right);
  const std::uint32_t rect_height = Extent(rect->top, rect->bottom);
  const Method& chosen = kMethods[method];
  *destination_stride = PxtCalcStride(rect_width, chosen.output_format);
  const std::uint32_t needed_size = rect_height * *destination_stride;
  if (destination == nullptr) {
    *destination_size = needed_size;
    return 1;
  }
  if (*destination_size < needed_size) {
    *destination_size = needed_size;
    return 0;
  }
  // Kept on purpose: the offset counts rows of the rectangle's width and pixels of one byte,
  // whatever the source's stride and depth.
  const std::uint32_t offset =
      static_cast<std::uint32_t>(rect->left) + static_cast<std::uint32_t>(rect->top) * rect_width;
  return RunMethod(chosen.worker, image, {offset, rect_width, rect_height}, palette,
                   {destination, rect_width, rect_height, *destination_stride,
                    BitsPerPixel(chosen.output_format)});
}

int PxtBytesToBytes(PxtConversionMethod method, const uint8_t* source,
                    uint32_t source_bits_per_pixel, uint32_t width, uint32_t height,
                    uint32_t source_stride, uint8_t* destination, uint32_t* destination_size,
                    uint32_t* destination_stride, const Gdiplus::ColorPalette* palette) {
  RECT rect{0, 0, static_cast<LONG>(width), static_cast<LONG>(height)};
  return PxtBytesRectToBytes(method, source, &rect, source_bits_per_pixel, width, height,
                             source_stride, destination, destination_size, destination_stride,
                             palette);
}
