// Rotations and flips of pixel blocks: what is accepted, and the geometry of the result.
//
// All sizes are computed in 64-bit signed numbers, which hold every product that is formed here.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>

#include "format/image_view.h"
#include "platform.h"
#include "transform/pixels/rotate_flip_kernels.h"

namespace pixtola {

namespace {

constexpr std::int64_t kLargestStride = std::numeric_limits<INT>::max();

/// Width, height and stride of a result.
struct Geometry {
  UINT width;
  UINT height;
  std::int64_t stride;
};

/// Bytes of a pixel in the formats that can be rotated and flipped; 0 for all others.
std::size_t BytesPerPixel(Gdiplus::PixelFormat format) {
  switch (format) {
    case PixelFormat8bppIndexed:
      return 1;
    case PixelFormat16bppRGB555:
    case PixelFormat16bppRGB565:
    case PixelFormat16bppARGB1555:
    case PixelFormat16bppGrayScale:
      return 2;
    case PixelFormat24bppRGB:
      return 3;
    case PixelFormat32bppRGB:
    case PixelFormat32bppARGB:
    case PixelFormat32bppPARGB:
      return 4;
    default:
      return 0;
  }
}

std::int64_t RowBytes(std::int64_t pixels, std::size_t bytes_per_pixel) {
  return pixels * static_cast<std::int64_t>(bytes_per_pixel);
}

std::int64_t PaddedRowBytes(std::int64_t pixels, std::size_t bytes_per_pixel) {
  return (RowBytes(pixels, bytes_per_pixel) + 3) / 4 * 4;
}

std::int64_t Capacity(const Gdiplus::BitmapData& destination) {
  return std::int64_t{destination.Height} * destination.Stride;
}

bool IsMultipleOf4(const void* address) {
  return reinterpret_cast<std::uintptr_t>(address) % 4 == 0;
}

/// Flips: only rows of the padded size, and no empty blocks.
std::optional<Geometry> CheckFlip(const Gdiplus::BitmapData& source, std::size_t bytes_per_pixel,
                                  const Gdiplus::BitmapData& destination) {
  const std::int64_t stride = source.Stride;
  if (source.Width == 0 || source.Height == 0) return std::nullopt;
  if (stride != PaddedRowBytes(source.Width, bytes_per_pixel)) return std::nullopt;
  // Kept on purpose: the destination may be described one row short, and all rows are written.
  if (Capacity(destination) + stride < stride * source.Height) return std::nullopt;
  if (!IsMultipleOf4(destination.Scan0)) return std::nullopt;
  return Geometry{source.Width, source.Height, stride};
}

/// The half rotation. A bottom-up source is counted, and reported, as if it were top-down.
std::optional<Geometry> CheckHalfTurn(const Gdiplus::BitmapData& source,
                                      std::size_t bytes_per_pixel,
                                      const Gdiplus::BitmapData& destination) {
  const std::int64_t signed_stride = source.Stride;
  const std::int64_t stride = signed_stride < 0 ? -signed_stride : signed_stride;
  if (stride > kLargestStride) return std::nullopt;
  // If rows overlapped, the last one would end past the capacity that was checked.
  const bool has_rows = source.Height != 0;
  if (has_rows && stride < RowBytes(source.Width, bytes_per_pixel)) return std::nullopt;
  if (stride * source.Height > Capacity(destination)) return std::nullopt;
  return Geometry{source.Width, source.Height, stride};
}

/// Quarter rotations: rows become columns.
std::optional<Geometry> CheckQuarterTurn(const Gdiplus::BitmapData& source,
                                         std::size_t bytes_per_pixel,
                                         const Gdiplus::BitmapData& destination) {
  const std::int64_t stride = PaddedRowBytes(source.Height, bytes_per_pixel);
  if (stride > kLargestStride) return std::nullopt;
  if (stride * source.Width > Capacity(destination)) return std::nullopt;
  return Geometry{source.Height, source.Width, stride};
}

/// The geometry of the result; nothing when the call is to be rejected.
std::optional<Geometry> CheckOperation(std::uint32_t operation, const Gdiplus::BitmapData& source,
                                       std::size_t bytes_per_pixel,
                                       const Gdiplus::BitmapData& destination) {
  switch (operation) {
    case PxtFlipVertical:
    case PxtFlipHorizontal:
      return CheckFlip(source, bytes_per_pixel, destination);
    case PxtRotate180:
      return CheckHalfTurn(source, bytes_per_pixel, destination);
    case PxtRotateCounterClockwise:
    case PxtRotateClockwise:
      return CheckQuarterTurn(source, bytes_per_pixel, destination);
    default:
      return std::nullopt;
  }
}

/// Copies whole rows, the padding included.
void CopyRows(const ImageView& source, const MutableImageView& destination) {
  for (std::uint32_t y = 0; y < source.height; ++y) {
    std::memcpy(destination.Row(y), source.Row(y), static_cast<std::size_t>(destination.stride));
  }
}

/// Between two blocks of which neither is empty.
void MovePixels(std::uint32_t operation, const ImageView& source,
                const MutableImageView& destination) {
  const RotateFlipKernels& kernels = BestRotateFlipKernels();
  const std::uint32_t bytes_per_pixel = source.bits_per_pixel / 8;
  const BlockKernel mirror = kernels.mirror[bytes_per_pixel - 1];
  const BlockKernel transpose = kernels.transpose[bytes_per_pixel - 1];
  switch (operation) {
    case PxtFlipVertical:
      return CopyRows(source.UpsideDown(), destination);
    case PxtFlipHorizontal:
      return mirror(source, destination);
    case PxtRotate180:
      return mirror(source.UpsideDown(), destination);
    case PxtRotateCounterClockwise:
      // The first column of the source becomes the last row.
      return transpose(source, destination.UpsideDown());
    default:
      return transpose(source.UpsideDown(), destination);
  }
}

/// What is exported, for descriptions that point to something.
bool RotateFlip(const Gdiplus::BitmapData& source, std::uint32_t operation,
                Gdiplus::BitmapData& destination) {
  const std::size_t bytes_per_pixel = BytesPerPixel(source.PixelFormat);
  if (bytes_per_pixel == 0) return false;
  const auto geometry = CheckOperation(operation, source, bytes_per_pixel, destination);
  if (!geometry) return false;
  if (source.Width != 0 && source.Height != 0) {
    const auto bits_per_pixel = static_cast<std::uint32_t>(bytes_per_pixel * 8);
    MovePixels(operation,
               {static_cast<const std::uint8_t*>(source.Scan0), source.Width, source.Height,
                source.Stride, bits_per_pixel},
               {static_cast<std::uint8_t*>(destination.Scan0), geometry->width, geometry->height,
                static_cast<std::ptrdiff_t>(geometry->stride), bits_per_pixel});
  }
  destination.Width = geometry->width;
  destination.Height = geometry->height;
  destination.Stride = static_cast<INT>(geometry->stride);
  return true;
}

}  // namespace

}  // namespace pixtola

int PxtRotateFlip(const Gdiplus::BitmapData* source, Gdiplus::BitmapData* destination,
                  PxtRotateFlipOperation operation) {
  if (source == nullptr || destination == nullptr) return 0;
  if (source->Scan0 == nullptr || destination->Scan0 == nullptr) return 0;
  return pixtola::RotateFlip(*source, operation, *destination) ? 1 : 0;
}
