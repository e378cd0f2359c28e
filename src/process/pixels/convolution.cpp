#include "process/pixels/convolution.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "format/stride.h"
#include "process/pixels/sharpen_kernels.h"

namespace pixtola {

namespace {

/// `centre` is surrounded by eight pixels.
std::uint8_t ConvolveByte(const std::uint8_t* centre, std::ptrdiff_t stride,
                          std::ptrdiff_t bytes_per_pixel, const Convolution& convolution) {
  std::int64_t exact_sum = 0;
  std::size_t next = 0;
  for (std::ptrdiff_t row = -1; row <= 1; ++row) {
    for (std::ptrdiff_t column = -1; column <= 1; ++column) {
      const std::int64_t coefficient = convolution.coefficients[next++];
      exact_sum += coefficient * centre[row * stride + column * bytes_per_pixel];
    }
  }
  // Kept on purpose: sums wrap at 32 bits. What comes after is exact in 64 bits, so the most
  // negative sum can be divided by -1 and the offset cannot wrap.
  const auto sum = static_cast<std::int32_t>(exact_sum);
  const std::int64_t value = convolution.offset + std::int64_t{sum} / convolution.divisor;
  return static_cast<std::uint8_t>(std::clamp<std::int64_t>(value, 0, 255));
}

/// Bytes of a row without its padding.
std::size_t RowBytes(const ImageView& image) {
  return std::size_t{image.width} * (image.bits_per_pixel / 8);
}

void ConvolveRow(const ImageView& source, const MutableImageView& destination, std::uint32_t y,
                 const Convolution& convolution) {
  const std::uint8_t* from = source.Row(y);
  std::uint8_t* to = destination.Row(y);
  const std::size_t pixel_bytes = source.bits_per_pixel / 8;
  const std::size_t last_pixel = RowBytes(source) - pixel_bytes;
  std::memcpy(to, from, pixel_bytes);
  for (std::size_t x = pixel_bytes; x < last_pixel; ++x) {
    to[x] = ConvolveByte(from + x, source.stride, static_cast<std::ptrdiff_t>(pixel_bytes),
                         convolution);
  }
  std::memcpy(to + last_pixel, from + last_pixel, pixel_bytes);
}

/// Rows that have one above and one below.
void ConvolveInnerRows(const ImageView& source, const MutableImageView& destination,
                       const Convolution& convolution) {
  if (convolution == kSharpening) {
    const SharpenKernels& kernels = BestSharpenKernels();
    const auto sharpen =
        source.bits_per_pixel == 8 ? kernels.rows_of_8_bit : kernels.rows_of_24_bit;
    sharpen(source, destination);
  } else {
    for (std::uint32_t y = 0; y < source.height; ++y) {
      ConvolveRow(source, destination, y, convolution);
    }
  }
}

void Convolve(const ImageView& source, const MutableImageView& destination,
              const Convolution& convolution) {
  const std::uint32_t height = source.height;
  const auto copy_row = [&](std::uint32_t y) {
    std::memcpy(destination.Row(y), source.Row(y), RowBytes(source));
  };
  if (source.width < 3 || height < 3) {
    for (std::uint32_t y = 0; y < height; ++y) copy_row(y);
    return;
  }
  copy_row(0);
  ConvolveInnerRows(source.Rows(1, height - 2), destination.Rows(1, height - 2), convolution);
  copy_row(height - 1);
}

}  // namespace

int ConvolvePixels(const ImageView& source, const MutableImageView& destination,
                   const Convolution& convolution) {
  if (source.first_row == nullptr || destination.first_row == nullptr || convolution.divisor == 0) {
    return 0;
  }
  const std::uint32_t bits_per_pixel = source.bits_per_pixel;
  if (bits_per_pixel != 8 && bits_per_pixel != 24) return 0;
  // The stride check computes in 32 bits, so rows of 4 GiB and more can pass it.
  const auto stride = static_cast<std::uint32_t>(source.stride);
  const std::uint64_t row_bytes = PackedRowBytes(bits_per_pixel, source.width);
  if (!IsValidStride(source.width, bits_per_pixel, stride) || row_bytes > stride) return 0;
  Convolve(source, destination, convolution);
  return 1;
}

}  // namespace pixtola
