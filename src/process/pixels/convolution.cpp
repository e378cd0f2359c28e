#include "process/pixels/convolution.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "format/pixel_format.h"
#include "process/pixels/sharpen_kernels.h"

namespace pixtola {

namespace {

/// Both images of a convolution; `row_bytes` leaves the padding out.
struct Images {
  const std::uint8_t* source;
  std::uint8_t* destination;
  std::uint32_t width;
  std::uint32_t height;
  std::uint32_t stride;
  std::uint32_t bytes_per_pixel;
  std::uint32_t row_bytes;
};

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

void CopyRow(const Images& images, std::uint32_t y) {
  const std::size_t offset = std::size_t{y} * images.stride;
  std::memcpy(images.destination + offset, images.source + offset, images.row_bytes);
}

void ConvolveRow(const Images& images, std::uint32_t y, const Convolution& convolution) {
  const std::uint8_t* source = images.source + std::size_t{y} * images.stride;
  std::uint8_t* destination = images.destination + std::size_t{y} * images.stride;
  const std::uint32_t last_pixel = images.row_bytes - images.bytes_per_pixel;
  std::memcpy(destination, source, images.bytes_per_pixel);
  for (std::uint32_t x = images.bytes_per_pixel; x < last_pixel; ++x) {
    destination[x] = ConvolveByte(source + x, images.stride, images.bytes_per_pixel, convolution);
  }
  std::memcpy(destination + last_pixel, source + last_pixel, images.bytes_per_pixel);
}

/// The rows between the first and the last one, of which there must be some.
void ConvolveInnerRows(const Images& images, const Convolution& convolution) {
  const std::uint32_t count = images.height - 2;
  if (convolution == kSharpening) {
    const SharpenKernels& kernels = BestSharpenKernels();
    const auto rows = images.bytes_per_pixel == 1 ? kernels.rows_of_8_bit : kernels.rows_of_24_bit;
    rows(images.source + images.stride, images.destination + images.stride, images.stride, count,
         images.width);
  } else {
    for (std::uint32_t y = 1; y <= count; ++y) ConvolveRow(images, y, convolution);
  }
}

void Convolve(const Images& images, const Convolution& convolution) {
  if (images.width < 3 || images.height < 3) {
    for (std::uint32_t y = 0; y < images.height; ++y) CopyRow(images, y);
    return;
  }
  CopyRow(images, 0);
  ConvolveInnerRows(images, convolution);
  CopyRow(images, images.height - 1);
}

}  // namespace

int ConvolvePixels(const std::uint8_t* source, std::uint8_t* destination, std::uint32_t width,
                   std::uint32_t height, std::uint32_t stride, std::uint32_t bits_per_pixel,
                   const Convolution& convolution) {
  if (source == nullptr || destination == nullptr || convolution.divisor == 0) return 0;
  if (bits_per_pixel != 8 && bits_per_pixel != 24) return 0;
  // The stride check computes in 32 bits, so rows of 4 GiB and more can pass it.
  const std::uint64_t row_bytes = PackedRowBytes(bits_per_pixel, width);
  if (!IsValidStride(width, bits_per_pixel, stride) || row_bytes > stride) return 0;

  const Images images{
      .source = source,
      .destination = destination,
      .width = width,
      .height = height,
      .stride = stride,
      .bytes_per_pixel = bits_per_pixel / 8,
      .row_bytes = static_cast<std::uint32_t>(row_bytes),
  };
  Convolve(images, convolution);
  return 1;
}

}  // namespace pixtola
