// Turns and mirrors of pixel blocks: what is accepted, and the geometry of the result.
//
// All sizes are computed in 64-bit signed numbers, which hold every product that is formed here.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>

#include "format/pixel_format.h"
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

/// Bytes of a pixel in the formats that can be turned; 0 for all others.
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

/// Flips: rows as they are stored, and something in them.
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

/// The half turn. A source that runs upwards is counted, and reported, as if it ran downwards.
std::optional<Geometry> CheckHalfTurn(const Gdiplus::BitmapData& source,
                                      std::size_t bytes_per_pixel,
                                      const Gdiplus::BitmapData& destination) {
  const std::int64_t signed_stride = source.Stride;
  const std::int64_t stride = signed_stride < 0 ? -signed_stride : signed_stride;
  if (stride > kLargestStride) return std::nullopt;
  // Rows that reach into the next would let the last one end behind what the capacity counts.
  const bool has_rows = source.Height != 0;
  if (has_rows && stride < RowBytes(source.Width, bytes_per_pixel)) return std::nullopt;
  if (stride * source.Height > Capacity(destination)) return std::nullopt;
  return Geometry{source.Width, source.Height, stride};
}

/// Quarter turns: rows become columns.
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

/// The move between two blocks of which neither is empty. Rows go from the first to the last.
BlockMove MoveBetween(const Gdiplus::BitmapData& source, void* destination,
                      const Geometry& geometry) {
  return {.source = static_cast<const std::uint8_t*>(source.Scan0),
          .source_stride = source.Stride,
          .width = source.Width,
          .height = source.Height,
          .destination = static_cast<std::uint8_t*>(destination),
          .destination_stride = static_cast<std::ptrdiff_t>(geometry.stride)};
}

/// Lets the source be read from its last row to its first.
BlockMove FromTheLastSourceRow(BlockMove move) {
  move.source += static_cast<std::ptrdiff_t>(move.height - 1) * move.source_stride;
  move.source_stride = -move.source_stride;
  return move;
}

/// Lets the destination of a quarter turn be written from its last row, which takes the first
/// column of the source, to its first.
BlockMove FromTheLastTurnedRow(BlockMove move) {
  move.destination += static_cast<std::ptrdiff_t>(move.width - 1) * move.destination_stride;
  move.destination_stride = -move.destination_stride;
  return move;
}

/// Copies whole rows, the padding included.
void CopyRows(const BlockMove& move) {
  for (std::size_t y = 0; y < move.height; ++y) {
    const auto row = static_cast<std::ptrdiff_t>(y);
    std::memcpy(move.destination + row * move.destination_stride,
                move.source + row * move.source_stride,
                static_cast<std::size_t>(move.destination_stride));
  }
}

void MovePixels(std::uint32_t operation, std::size_t bytes_per_pixel, const BlockMove& move) {
  const RotateFlipKernels& kernels = BestRotateFlipKernels();
  const BlockKernel mirror = kernels.mirror[bytes_per_pixel - 1];
  const BlockKernel transpose = kernels.transpose[bytes_per_pixel - 1];
  switch (operation) {
    case PxtFlipVertical:
      return CopyRows(FromTheLastSourceRow(move));
    case PxtFlipHorizontal:
      return mirror(move);
    case PxtRotate180:
      return mirror(FromTheLastSourceRow(move));
    case PxtRotateCounterClockwise:
      return transpose(FromTheLastTurnedRow(move));
    default:
      return transpose(FromTheLastSourceRow(move));
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
    MovePixels(operation, bytes_per_pixel, MoveBetween(source, destination.Scan0, *geometry));
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
