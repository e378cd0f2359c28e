// The plain definition of the pixel conversions, see the header. Every rule is spelled out once, in
// the simplest form that is exact; oddities which callers rely on are marked as such.
// Must be compiled without contraction of floating-point expressions (-ffp-contract=off).
#include "support/reference_conversion.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace pixtola::test {
namespace {

constexpr std::uint32_t kMethodGray = 0;
constexpr std::uint32_t kMethodOtsu = 1;
constexpr std::uint32_t kMethodAdaptive = 2;
constexpr std::uint32_t kMethodDiffusion = 3;

constexpr std::uint32_t kCell = kReferenceCell;
constexpr std::int64_t kRadius = 5;  // of the neighbourhood of a cell, in cells

using Bytes = std::vector<std::uint8_t>;
using Histogram = std::array<std::uint32_t, 256>;

// What the method itself is given, once the arguments are checked and the rectangle is clipped.
struct Task {
  const ReferenceSource& source;
  std::uint64_t start;          // position of the first byte to convert
  std::uint32_t width, height;  // of the rectangle
  std::uint32_t output_stride;
};

// The only way to the bytes of the source. The start position is not bound to the rectangle (see
// StartOf), so a conversion may ask for bytes past the image; those count as 0.
std::uint8_t byte_at(const ReferenceSource& source, std::uint64_t position) {
  const std::uint64_t image_size = std::uint64_t{source.height} * source.stride;
  if (position >= image_size || position >= source.bytes.size()) return 0;
  return source.bytes[static_cast<std::size_t>(position)];
}

std::uint64_t RowStart(const Task& task, std::uint32_t y) {
  return task.start + std::uint64_t{y} * task.source.stride;
}

std::size_t OutputIndex(const Task& task, std::uint32_t y, std::uint64_t byte) {
  return static_cast<std::size_t>(std::uint64_t{y} * task.output_stride + byte);
}

// Bit `index` of a row of 1-bit pixels; the leftmost pixel is the most significant bit of a byte.
bool BitAt(const ReferenceSource& source, std::uint64_t row_start, std::uint64_t index) {
  return (byte_at(source, row_start + index / 8) >> (7 - index % 8) & 1) != 0;
}

void SetBit(Bytes& bytes, std::size_t row_start, std::uint32_t index, bool white) {
  std::uint8_t& byte = bytes.at(row_start + index / 8);
  const unsigned bit = 0x80u >> (index % 8);
  byte = static_cast<std::uint8_t>(white ? byte | bit : byte & ~bit);
}

// Gray value of a palette entry; alpha is ignored, and indices without an entry are black.
std::uint8_t GrayOfIndex(const ReferencePalette& palette, std::uint8_t index) {
  if (index >= palette.entries.size()) return 0;
  const std::uint32_t argb = palette.entries[index];
  return ReferenceGrayOf(static_cast<std::uint8_t>(argb >> 16 & 0xFF),
                         static_cast<std::uint8_t>(argb >> 8 & 0xFF),
                         static_cast<std::uint8_t>(argb & 0xFF));
}

// Gray value of one pixel. An 8-bit source has a palette here.
std::uint8_t GrayAt(const Task& task, std::uint32_t x, std::uint32_t y) {
  const std::uint64_t row = RowStart(task, y);
  switch (task.source.bits_per_pixel) {
    case 1:
      return BitAt(task.source, row, x) ? 255 : 0;
    case 8:
      return GrayOfIndex(*task.source.palette, byte_at(task.source, row + x));
    default: {
      const std::uint64_t pixel = row + std::uint64_t{x} * (task.source.bits_per_pixel / 8);
      return ReferenceGrayOf(byte_at(task.source, pixel + 2), byte_at(task.source, pixel + 1),
                             byte_at(task.source, pixel));
    }
  }
}

bool LacksPalette(const ReferenceSource& source) {
  return source.bits_per_pixel == 8 && !source.palette.has_value();
}

bool EntryChecksHold(const Task& task, std::uint32_t output_bits) {
  return task.width != 0 && task.height != 0 &&
         ReferenceIsValidStride(task.width, output_bits, task.output_stride) &&
         ReferenceIsValidStride(task.width, task.source.bits_per_pixel, task.source.stride);
}

// Method 0. For 1-bit and 8-bit sources the whole output row is made from source bytes, so the
// padding of the output carries the padding of the source; for the others it is 0.
int ConvertToGray(const Task& task, Bytes& destination) {
  const ReferenceSource& source = task.source;
  if (!EntryChecksHold(task, 8) || LacksPalette(source)) return 0;
  for (std::uint32_t y = 0; y < task.height; ++y) {
    for (std::uint32_t x = 0; x < task.output_stride; ++x) {
      std::uint8_t gray = 0;
      if (source.bits_per_pixel == 1) {
        const bool in_row = x < std::uint64_t{source.stride} * 8;
        gray = in_row && BitAt(source, RowStart(task, y), x) ? 255 : 0;
      } else if (source.bits_per_pixel == 8) {
        gray = x < source.stride ? GrayAt(task, x, y) : std::uint8_t{0};
      } else {
        gray = x < task.width ? GrayAt(task, x, y) : std::uint8_t{0};
      }
      destination.at(OutputIndex(task, y, x)) = gray;
    }
  }
  return 1;
}

// What every bilevel method does with a 1-bit source: its rows are copied, padding included.
int CopyBilevel(const Task& task, Bytes& destination) {
  for (std::uint32_t y = 0; y < task.height; ++y) {
    for (std::uint32_t i = 0; i < task.output_stride; ++i) {
      destination.at(OutputIndex(task, y, i)) =
          i < task.source.stride ? byte_at(task.source, RowStart(task, y) + i) : std::uint8_t{0};
    }
  }
  return 1;
}

// The gray image that the bilevel methods work on: rows of exactly `width` bytes.
Bytes GrayImage(const Task& task) {
  Bytes gray;
  for (std::uint32_t y = 0; y < task.height; ++y) {
    for (std::uint32_t x = 0; x < task.width; ++x) gray.push_back(GrayAt(task, x, y));
  }
  return gray;
}

Histogram HistogramOf(const Bytes& gray) {
  Histogram histogram{};
  for (const std::uint8_t level : gray) ++histogram[level];
  return histogram;
}

void FillOutput(const Task& task, Bytes& destination, std::uint8_t value) {
  for (std::uint32_t y = 0; y < task.height; ++y) {
    for (std::uint32_t i = 0; i < task.output_stride; ++i) {
      destination.at(OutputIndex(task, y, i)) = value;
    }
  }
}

// Method 1. Only the bytes that hold pixels are written, the rest of a row stays as it was.
int BinarizeOtsu(const Task& task, Bytes& destination) {
  if (!EntryChecksHold(task, 1)) return 0;
  if (task.source.bits_per_pixel == 1) return CopyBilevel(task, destination);
  if (LacksPalette(task.source)) return 0;
  const Bytes gray = GrayImage(task);
  const std::uint8_t threshold = ReferenceOtsuThreshold(HistogramOf(gray));
  std::size_t next = 0;
  for (std::uint32_t y = 0; y < task.height; ++y) {
    const std::size_t row = OutputIndex(task, y, 0);
    for (std::uint32_t x = 0; x < task.width; ++x) {
      if (x % 8 == 0) destination.at(row + x / 8) = 0;
      SetBit(destination, row, x, gray.at(next++) >= threshold);
    }
  }
  return 1;
}

// Mean of the thresholds around a cell; the weight falls with the distance.
std::uint32_t NeighbourhoodMean(const Bytes& cells, std::int64_t columns, std::int64_t rows,
                                std::int64_t column, std::int64_t row) {
  std::int64_t sum = 0;
  std::int64_t weights = 0;
  for (std::int64_t r = row - kRadius; r <= row + kRadius; ++r) {
    for (std::int64_t c = column - kRadius; c <= column + kRadius; ++c) {
      if (r < 0 || r >= rows || c < 0 || c >= columns) continue;
      const std::int64_t weight = 10 - std::abs(row - r) - std::abs(column - c);
      sum += weight * cells.at(static_cast<std::size_t>(r * columns + c));
      weights += weight;
    }
  }
  return static_cast<std::uint32_t>(sum / weights);
}

// Moves a local threshold toward the global one: far if that is higher, a little if it is lower.
std::uint32_t PullToward(std::uint32_t global, std::uint32_t local) {
  if (global >= local) {
    const auto up = static_cast<std::uint32_t>(std::floor((global - local) * 0.75));
    return up % 256 + local < 255 ? local + up : local;
  }
  const auto down = static_cast<std::uint32_t>(std::floor((local - global) * 0.25));
  return local > down ? local - down : local;
}

// Method 2. Starts all white; rows below the last whole row of cells are never looked at.
int BinarizeAdaptive(const Task& task, Bytes& destination) {
  if (!EntryChecksHold(task, 1)) return 0;
  FillOutput(task, destination, 255);
  if (task.source.bits_per_pixel == 1) return CopyBilevel(task, destination);
  // The palette is missed only where it is first needed, when the output is already white.
  if (LacksPalette(task.source)) return 0;

  const Bytes gray = GrayImage(task);
  const Bytes cells = ReferenceCellThresholds(gray, task.width, task.height);
  const std::uint32_t global = ReferenceOtsuThreshold(HistogramOf(gray));
  const std::uint32_t columns = task.width / kCell;
  const std::uint32_t rows = task.height / kCell;
  const auto gray_index = [&](std::uint32_t x, std::uint32_t y) {
    return static_cast<std::size_t>(std::uint64_t{y} * task.width + x);
  };

  std::uint32_t threshold = 255;
  for (std::uint32_t row = 0; row < rows; ++row) {
    const std::uint32_t top = row * kCell;
    for (std::uint32_t column = 0; column < columns; ++column) {
      threshold = PullToward(global, NeighbourhoodMean(cells, columns, rows, column, row));
      for (std::uint32_t y = top; y < top + kCell; ++y) {
        for (std::uint32_t x = column * kCell; x < (column + 1) * kCell; ++x) {
          if (gray.at(gray_index(x, y)) <= threshold) {
            SetBit(destination, OutputIndex(task, y, 0), x, false);
          }
        }
      }
    }
    // The strip right of the last whole cell is a peculiarity that outputs depend on: it has as
    // many rows as it has columns, takes 16 gray bytes per row even where these belong to the next
    // row of the image, and a pixel equal to the threshold is white here.
    const std::uint32_t strip = task.width % kCell;
    for (std::uint32_t y = top; y < top + strip; ++y) {
      for (std::uint32_t i = 0; i < kCell; ++i) {
        const std::uint32_t x = columns * kCell + i;
        if (gray.at(gray_index(x, y)) < threshold) {
          SetBit(destination, OutputIndex(task, y, 0), x, false);
        }
      }
    }
  }
  return 1;
}

// Method 3. Starts all black; the error of a white pixel is the threshold minus its value, the
// error of a black pixel its value.
int BinarizeDiffusion(const Task& task, Bytes& destination) {
  if (!EntryChecksHold(task, 1)) return 0;
  if (task.source.bits_per_pixel == 1) return CopyBilevel(task, destination);
  if (LacksPalette(task.source)) return 0;

  const Bytes gray = GrayImage(task);
  const Histogram histogram = HistogramOf(gray);
  const std::int32_t threshold = ReferenceOtsuThreshold(histogram);
  std::int32_t lowest = 0;  // first level in use, but never above 254
  while (lowest < 254 && histogram[static_cast<std::size_t>(lowest)] == 0) ++lowest;
  std::int32_t highest = 255;  // last level in use; level 0 counts only if nothing is above it
  while (highest > 0 && histogram[static_cast<std::size_t>(highest)] == 0) --highest;

  FillOutput(task, destination, 0);
  // Pixel x has entry x + 2; the two entries at either end stay 0.
  std::vector<std::int32_t> previous(std::size_t{task.width} + 4, 0);
  std::size_t next = 0;
  for (std::uint32_t y = 0; y < task.height; ++y) {
    std::vector<std::int32_t> current(std::size_t{task.width} + 4, 0);
    for (std::uint32_t x = 0; x < task.width; ++x) {
      const std::size_t e = std::size_t{x} + 2;
      // Shifts of negative errors round toward minus infinity.
      std::int32_t value = gray.at(next++);
      value += (current.at(e - 2) >> 3) + (current.at(e - 1) >> 2);
      value += (previous.at(e - 2) >> 4) + (previous.at(e - 1) >> 3) + (previous.at(e) >> 2);
      value += (previous.at(e + 1) >> 3) + (previous.at(e + 2) >> 4);
      value = std::min(std::max(value, lowest), highest);
      const bool white = value >= threshold;
      current.at(e) = white ? threshold - value : value;
      SetBit(destination, OutputIndex(task, y, 0), x, white);
    }
    previous = current;
  }
  return 1;
}

// Clipping happens only for rectangles whose right and bottom edges are positive; all comparisons
// are signed.
ReferenceRect Clip(ReferenceRect rect, const ReferenceSource& source) {
  if (rect.right <= 0 || rect.bottom <= 0) return rect;
  rect.right = std::min(rect.right, static_cast<std::int32_t>(source.width));
  rect.left = std::max(std::min(rect.left, rect.right), 0);
  rect.bottom = std::min(rect.bottom, static_cast<std::int32_t>(source.height));
  rect.top = std::max(std::min(rect.top, rect.bottom), 0);
  return rect;
}

// b - a as an unsigned number that wraps at 32 bits.
std::uint32_t Distance(std::int32_t a, std::int32_t b) {
  return static_cast<std::uint32_t>(b) - static_cast<std::uint32_t>(a);
}

// Where a conversion starts to read. The rule takes the width of the rectangle for the stride of
// the image and does not scale `left` by the pixel size; existing callers depend on it. It wraps
// at 32 bits, so what looks like a position before the image is one far past it.
std::uint32_t StartOf(const ReferenceRect& rect) {
  return static_cast<std::uint32_t>(rect.left) +
         static_cast<std::uint32_t>(rect.top) * Distance(rect.left, rect.right);
}

}  // namespace

std::uint32_t ReferenceCalcStride(std::uint32_t bits_per_pixel, std::uint32_t width) {
  std::uint32_t row_bytes = 0;
  if (bits_per_pixel >= 8) {
    row_bytes = bits_per_pixel / 8 * width;
  } else {
    const std::uint32_t bits = bits_per_pixel * width;
    row_bytes = bits / 8 + (bits % 8 != 0 ? 1u : 0u);
  }
  while (row_bytes % 4 != 0) ++row_bytes;
  return row_bytes;
}

bool ReferenceIsValidStride(std::uint32_t width, std::uint32_t bits_per_pixel,
                            std::uint32_t stride) {
  if (stride % 4 != 0) return false;
  if (bits_per_pixel == 1) return stride >= (std::uint64_t{width} + 7) / 8;
  // Four pixels to a byte although a 4-bit row holds two: kept, callers pass such strides.
  if (bits_per_pixel == 4) return stride >= (std::uint64_t{width} + 3) / 4;
  if (bits_per_pixel == 8) return stride >= width;
  if (bits_per_pixel % 8 != 0) return false;
  const std::uint32_t row_bytes = bits_per_pixel / 8 * width;  // wraps at 32 bits
  return stride >= row_bytes;
}

std::uint8_t ReferenceGrayOf(std::uint8_t red, std::uint8_t green, std::uint8_t blue) {
  // Weights 0.30, 0.59 and 0.11 in 1/256, each product truncated on its own.
  const std::uint32_t sum =
      red * 30u * 256u / 100u + green * 59u * 256u / 100u + blue * 11u * 256u / 100u;
  return static_cast<std::uint8_t>(sum >> 8);
}

std::uint8_t ReferenceOtsuThreshold(const std::array<std::uint32_t, 256>& histogram) {
  double total = 0;
  double weighted = 0;
  int levels = 0;
  for (std::uint32_t i = 0; i < 256; ++i) {
    const std::uint32_t product = (i + 1) * histogram[i];  // wraps at 32 bits
    total += histogram[i];
    weighted += product;
    if (histogram[i] != 0) ++levels;
  }
  if (levels == 0) return 128;
  if (levels == 2) return static_cast<std::uint8_t>(weighted / total);
  if (levels == 1) {
    const double mean = weighted / total;
    return static_cast<std::uint8_t>(mean >= 128.0 ? mean - 1.0 : mean + 1.0);
  }

  double best = -1.0;
  std::uint8_t result = 0;
  double count = 0;
  double sum = 0;
  for (std::uint32_t i = 0; i < 255; ++i) {
    if (histogram[i] == 0) continue;
    count += histogram[i];
    const double rest = total - count;
    if (rest == 0) break;
    sum += (i + 1.0) * histogram[i];
    const double mean_below = sum / count;
    const double mean_above = (weighted - sum) / rest;
    const double distance = mean_below - mean_above;
    const double score = ((rest * count) * distance) * distance;
    if (score > best) {
      best = score;
      result = static_cast<std::uint8_t>(i);
    }
  }
  return result;
}

ReferenceConversion ReferenceBytesRectToBytes(std::uint32_t method, const ReferenceSource& source,
                                              ReferenceRect rect,
                                              std::vector<std::uint8_t>* destination,
                                              std::uint32_t capacity) {
  ReferenceConversion conversion;
  conversion.rect = rect;

  if (method > kMethodDiffusion) return conversion;
  const std::uint32_t bits = source.bits_per_pixel;
  if (bits != 1 && bits != 8 && bits != 24 && bits != 32) return conversion;
  if (source.bytes.empty() || source.width == 0 || source.height == 0 || source.stride == 0) {
    return conversion;
  }
  if (!ReferenceIsValidStride(source.width, bits, source.stride)) return conversion;

  rect = Clip(rect, source);
  conversion.rect = rect;
  if (rect.right == 0 || rect.bottom == 0) return conversion;

  const std::uint32_t width = Distance(rect.left, rect.right);
  const std::uint32_t height = Distance(rect.top, rect.bottom);
  const std::uint32_t stride = ReferenceCalcStride(method == kMethodGray ? 8 : 1, width);
  conversion.stride = stride;  // reported even when the capacity turns out too small

  const std::uint64_t true_need = std::uint64_t{height} * stride;
  const auto reported_need = static_cast<std::uint32_t>(true_need);  // wraps at 32 bits
  if (destination == nullptr) {
    conversion.size = reported_need;
    conversion.result = 1;
    return conversion;
  }
  if (capacity < reported_need) {
    conversion.size = reported_need;
    return conversion;
  }
  // No stated capacity can cover such an output, whatever the wrapped number says.
  if (true_need != reported_need) return conversion;

  const Task task{source, StartOf(rect), width, height, stride};
  switch (method) {
    case kMethodGray:
      conversion.result = ConvertToGray(task, *destination);
      break;
    case kMethodOtsu:
      conversion.result = BinarizeOtsu(task, *destination);
      break;
    case kMethodAdaptive:
      conversion.result = BinarizeAdaptive(task, *destination);
      break;
    default:
      conversion.result = BinarizeDiffusion(task, *destination);
      break;
  }
  return conversion;
}

}  // namespace pixtola::test
