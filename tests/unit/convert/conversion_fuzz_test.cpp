// Compares the conversions of byte buffers with their plain definition on random images, rectangles
// and capacities, byte for byte, with all memory guarded: whatever a faster way of computing may
// get wrong at an odd size, stride or offset shows here. Null arguments are left to other tests.
//
// Cases depend on PXT_FUZZ_SEED and their number alone. PXT_FUZZ_FIRST and PXT_FUZZ_COUNT choose
// the numbers to run; PXT_FUZZ_TRACE prints each case before it runs, to find one that crashes.
#include "Pixtola.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <iostream>
#include <memory>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "support/guarded_buffer.h"
#include "support/reference_conversion.h"

namespace {

using test_support::GuardedBuffer;
using test_support::GuardSide;

constexpr std::uint64_t kDefaultSeed = 20240117;
constexpr int kMismatchesShown = 5;
constexpr std::uint32_t kNotWritten = 0xDEADBEEF;

// Above this need a case only asks for the size or states a small capacity.
constexpr std::uint32_t kLargestOutput = 1u << 20;

std::uint64_t EnvironmentOr(const char* name, std::uint64_t fallback) {
  const char* const text = std::getenv(name);
  return text == nullptr ? fallback : std::strtoull(text, nullptr, 10);
}

// Uniform choices that come out the same on every platform, which those of <random> need not.
class Chooser {
 public:
  Chooser(std::uint64_t seed, std::uint64_t number)
      : generator_(seed * 0x9E3779B97F4A7C15u + number * 0xD1B54A32D192ED03u) {}

  std::uint32_t Below(std::uint32_t count) {
    return static_cast<std::uint32_t>((generator_() >> 32) * count >> 32);
  }
  std::uint32_t Between(std::uint32_t first, std::uint32_t last) {
    return first + Below(last - first + 1);
  }
  std::int32_t SignedBetween(std::int32_t first, std::int32_t last) {
    return first + static_cast<std::int32_t>(Below(static_cast<std::uint32_t>(last - first + 1)));
  }
  bool OneIn(std::uint32_t count) { return Below(count) == 0; }
  std::uint8_t Byte() { return static_cast<std::uint8_t>(Below(256)); }
  std::uint32_t Word() { return static_cast<std::uint32_t>(generator_()); }
  template <typename T>
  T OneOf(std::initializer_list<T> values) {
    return values.begin()[Below(static_cast<std::uint32_t>(values.size()))];
  }

 private:
  std::mt19937_64 generator_;
};

enum class Capacity { kQuery, kExact, kLarger, kOneShort, kAny };

struct Case {
  std::uint64_t seed = 0;
  std::uint64_t number = 0;
  std::uint32_t method = 0;
  reference::Source source{};
  reference::Rect rect{};
  bool whole = false;  // PxtBytesToBytes, which takes no rectangle
  Capacity capacity = Capacity::kExact;
  std::uint32_t capacity_choice = 0;  // what kQuery and kAny state, how much more kLarger states
  std::size_t source_offset = 0;
  std::size_t destination_offset = 0;
  GuardSide source_side = GuardSide::kAfterEnd;
  GuardSide destination_side = GuardSide::kAfterEnd;
  const char* content = "";
};

const char* NameOf(Capacity capacity) {
  switch (capacity) {
    case Capacity::kQuery:
      return "size query";
    case Capacity::kExact:
      return "exact capacity";
    case Capacity::kLarger:
      return "larger capacity";
    case Capacity::kOneShort:
      return "capacity one byte short";
    default:
      return "any capacity";
  }
}

const char* NameOf(GuardSide side) { return side == GuardSide::kAfterEnd ? "end" : "start"; }

std::string Text(const reference::Rect& rect) {
  std::ostringstream text;
  text << "{" << rect.left << ", " << rect.top << ", " << rect.right << ", " << rect.bottom << "}";
  return text.str();
}

std::string Text(const Case& c) {
  const reference::Source& source = c.source;
  std::ostringstream text;
  text << "PXT_FUZZ_SEED=" << c.seed << " PXT_FUZZ_FIRST=" << c.number << " PXT_FUZZ_COUNT=1\n  "
       << (c.whole ? "PxtBytesToBytes" : "PxtBytesRectToBytes") << ", method " << c.method
       << ", depth " << source.bits_per_pixel << ", size " << source.width << " x " << source.height
       << ", stride " << source.stride << ", " << c.content
       << (source.bytes.empty() ? ", null source" : "") << "\n  rect " << Text(c.rect)
       << ", palette ";
  if (source.palette.has_value()) {
    text << "of " << source.palette->entries.size();
  } else {
    text << "absent";
  }
  text << ", " << NameOf(c.capacity) << " (" << c.capacity_choice << "), source guarded at its "
       << NameOf(c.source_side) << " + " << c.source_offset << ", destination at its "
       << NameOf(c.destination_side) << " + " << c.destination_offset << "\n";
  return text.str();
}

// ------------------------------------------------------------------------------- making of cases

// A plane of levels that looks like one of the images that conversions meet.
std::vector<std::uint8_t> Levels(Chooser& choose, std::uint32_t width, std::uint32_t height,
                                 const char** content) {
  std::vector<std::uint8_t> levels(std::size_t{width} * height);
  const std::uint8_t low = choose.Byte();
  const std::uint8_t high = choose.Byte();
  const auto fill = [&](auto level_at) {
    std::size_t next = 0;
    for (std::uint32_t y = 0; y < height; ++y) {
      for (std::uint32_t x = 0; x < width; ++x) {
        levels[next++] = static_cast<std::uint8_t>(level_at(x, y));
      }
    }
  };
  switch (choose.Below(8)) {
    case 0:
      *content = "noise";
      fill([&](std::uint32_t, std::uint32_t) { return choose.Byte(); });
      break;
    case 1: {
      *content = "flat";
      const std::uint8_t level =
          choose.OneIn(3) ? choose.OneOf<std::uint8_t>({0, 1, 126, 127, 128, 254, 255}) : low;
      fill([&](std::uint32_t, std::uint32_t) { return level; });
      break;
    }
    case 2: {
      *content = "two levels";
      const std::uint32_t period = choose.Between(1, 20);
      fill([&](std::uint32_t x, std::uint32_t y) {
        return (x / period + y / period) % 2 == 0 ? low : high;
      });
      break;
    }
    case 3: {
      *content = "gradient";
      const std::uint32_t step_x = choose.Below(9);
      const std::uint32_t step_y = choose.Below(9);
      fill([&](std::uint32_t x, std::uint32_t y) {
        return (low + (x * step_x + y * step_y) / 4) & 0xFF;
      });
      break;
    }
    case 4: {
      *content = "noise of few levels";
      const std::uint32_t spread = choose.Between(1, 24);
      fill([&](std::uint32_t, std::uint32_t) { return (low + choose.Below(spread)) & 0xFF; });
      break;
    }
    case 5: {
      // Mostly one level, so that whole cells and windows have no deviation.
      *content = "flat with specks";
      fill([&](std::uint32_t, std::uint32_t) { return choose.OneIn(60) ? choose.Byte() : low; });
      break;
    }
    case 6: {
      // Contrast in a few places, outside of which next to nothing deviates.
      *content = "islands";
      fill([&](std::uint32_t, std::uint32_t) { return low; });
      const std::uint32_t specks = choose.Below(20);
      for (std::uint32_t i = 0; i < specks && !levels.empty(); ++i) {
        levels[choose.Below(static_cast<std::uint32_t>(levels.size()))] = low | 1;
      }
      const std::uint32_t islands = choose.Between(1, 6);
      for (std::uint32_t i = 0; i < islands && !levels.empty(); ++i) {
        const std::uint32_t left = choose.Below(width);
        const std::uint32_t top = choose.Below(height);
        const std::uint32_t right = std::min(width, left + choose.Between(2, 24));
        const std::uint32_t bottom = std::min(height, top + choose.Between(2, 24));
        for (std::uint32_t y = top; y < bottom; ++y) {
          for (std::uint32_t x = left; x < right; ++x) {
            if (choose.OneIn(2)) levels[std::size_t{y} * width + x] = high;
          }
        }
      }
      break;
    }
    default: {
      // Dark strokes in lines of text, on paper whose brightness falls off to one side.
      *content = "document";
      const std::uint32_t pitch = choose.Between(6, 20);
      const std::uint32_t shade = choose.Below(120);
      fill([&](std::uint32_t x, std::uint32_t y) {
        const std::uint32_t paper = 240 - shade * x / width + choose.Below(8);
        const bool line = y % pitch < pitch / 2;
        const bool stroke = line && (x * 7 + y / pitch * 13) % 11 < 3 + (y * x) % 2;
        return stroke ? paper / 4 + choose.Below(16) : paper;
      });
      break;
    }
  }
  return levels;
}

reference::Palette RandomPalette(Chooser& choose) {
  std::uint32_t count = 256;
  if (choose.OneIn(2)) count = choose.Between(0, 256);
  if (choose.OneIn(40)) count = choose.Between(257, 300);  // those above 255 are never looked at
  reference::Palette palette;
  const std::uint32_t kind = choose.Below(3);
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint32_t level = (kind == 0 ? i : 255 - i) & 0xFF;
    palette.entries.push_back(kind == 2 ? choose.Word() : 0xFF000000u + level * 0x010101u);
  }
  return palette;
}

// Fills the rows of the source from a plane of levels; padding, alpha and the like are noise.
void FillSource(Chooser& choose, Case& c) {
  reference::Source& source = c.source;
  source.bytes.resize(std::size_t{source.stride} * source.height);
  const bool noisy_padding = !choose.OneIn(4);
  for (std::uint8_t& byte : source.bytes) byte = noisy_padding ? choose.Byte() : std::uint8_t{0};
  const std::vector<std::uint8_t> levels = Levels(choose, source.width, source.height, &c.content);
  const std::uint32_t tint = choose.OneIn(2) ? 0 : choose.Between(1, 40);
  const std::uint32_t pixel_size = source.bits_per_pixel / 8;
  std::size_t next = 0;
  for (std::uint32_t y = 0; y < source.height; ++y) {
    for (std::uint32_t x = 0; x < source.width; ++x) {
      const std::uint8_t level = levels[next++];
      const std::size_t row = std::size_t{y} * source.stride;
      if (source.bits_per_pixel == 1) {
        const std::size_t position = row + x / 8;
        if (position >= source.bytes.size()) continue;
        const unsigned bit = 0x80u >> (x % 8);
        const unsigned old = source.bytes[position];
        source.bytes[position] = static_cast<std::uint8_t>(level < 128 ? old & ~bit : old | bit);
        continue;
      }
      for (std::uint32_t channel = 0; channel < std::min(pixel_size, 3u); ++channel) {
        // Sources that are refused may have rows longer than the buffer.
        const std::size_t position = row + std::size_t{x} * pixel_size + channel;
        if (position >= source.bytes.size()) continue;
        const std::uint32_t shift = tint == 0 ? 0 : choose.Below(tint);
        const std::uint32_t value = level > shift ? level - shift : level;
        source.bytes[position] = pixel_size == 1 ? level : static_cast<std::uint8_t>(value);
      }
    }
  }
}

std::uint32_t RandomExtent(Chooser& choose) {
  switch (choose.Below(20)) {
    case 0:
    case 1:
    case 2:
      return choose.Between(1, 8) * 16 + choose.Between(0, 2) - 1;
    case 3:
      return choose.Between(1, 2) * 128 + choose.Between(0, 2) - 1;
    case 4:
      return choose.Between(1, 300);
    default:
      return choose.Between(1, 70);
  }
}

void ChooseImage(Chooser& choose, Case& c) {
  reference::Source& source = c.source;
  source.bits_per_pixel = choose.OneOf({1u, 8u, 8u, 24u, 32u});
  source.width = RandomExtent(choose);
  source.height = RandomExtent(choose);
  source.stride = reference::CalcStride(source.bits_per_pixel, source.width);
  if (choose.OneIn(3)) source.stride += 4 * choose.Between(1, choose.OneIn(4) ? 40 : 3);
}

// A rectangle with both edges positive, which the library clips.
reference::Rect ClippedRect(Chooser& choose, std::int32_t width, std::int32_t height) {
  const auto edge = [&](std::int32_t extent) { return choose.SignedBetween(1, extent); };
  const std::int32_t right = edge(width);
  const std::int32_t bottom = edge(height);
  switch (choose.Below(8)) {
    case 0:  // partly outside
      return {choose.SignedBetween(-20, width - 1), choose.SignedBetween(-20, height - 1),
              choose.SignedBetween(1, width + 30), choose.SignedBetween(1, height + 30)};
    case 1:  // outside on all sides
      return {-choose.SignedBetween(1, 1000), -choose.SignedBetween(1, 1000),
              width + choose.SignedBetween(0, 1000), height + choose.SignedBetween(0, 1000)};
    case 2:  // any order of edges, also wholly beyond the image
      return {choose.SignedBetween(-5, width + 5), choose.SignedBetween(-5, height + 5),
              choose.SignedBetween(1, width + 10), choose.SignedBetween(1, height + 10)};
    case 3:  // as far as numbers go
      return {choose.OneIn(2) ? INT32_MIN : 0, choose.OneIn(2) ? INT32_MIN : 0,
              choose.OneIn(2) ? INT32_MAX : right, choose.OneIn(2) ? INT32_MAX : bottom};
    default:  // inside
      return {choose.SignedBetween(0, right - 1), choose.SignedBetween(0, bottom - 1), right,
              bottom};
  }
}

// A rectangle with a negative right or bottom edge: neither clipped nor refused.
reference::Rect UnclippedRect(Chooser& choose, const reference::Source& source) {
  const std::uint32_t row_bits = std::min(source.stride, 400u) * 8;
  const std::uint32_t widest =
      std::max(1u, std::min(row_bits / std::max(source.bits_per_pixel, 1u), 90u));
  const auto width = static_cast<std::int32_t>(choose.OneIn(12) ? widest + choose.Between(1, 9)
                                                                : choose.Between(1, widest));
  const std::int32_t height = choose.SignedBetween(1, 60);
  const auto image_height = static_cast<std::int32_t>(source.height);
  const auto image_size = static_cast<std::int32_t>(source.stride * source.height);
  switch (choose.Below(5)) {
    case 0: {  // both negative
      const std::int32_t right = -choose.SignedBetween(1, 50);
      const std::int32_t bottom = -choose.SignedBetween(1, 50);
      return {right - width, bottom - height, right, bottom};
    }
    case 1: {  // right negative; the start lies in the image when `top` makes up for it
      const std::int32_t right = -choose.SignedBetween(1, 20);
      const std::int32_t top = choose.SignedBetween(0, image_height + 20);
      return {right - width, top, right, top + height};
    }
    case 2: {  // bottom negative; the start lies in the image or near its ends
      const std::int32_t bottom = -choose.SignedBetween(1, 20);
      const std::int32_t top = bottom - height;
      const std::int32_t left = -top * width + choose.SignedBetween(-10, image_size + 10);
      return {left, top, left + width, bottom};
    }
    case 3: {  // the product of the start wraps at 32 bits, often to a start in the image
      const std::uint32_t power = choose.Between(2, 6);
      const std::int32_t right = -choose.SignedBetween(1, 10);
      const std::int32_t top =
          (std::int32_t{1} << (32 - power - choose.Below(2))) + choose.SignedBetween(0, 30);
      return {right - (std::int32_t{1} << power), top, right, top + height};
    }
    default: {  // reversed, so that an extent is a huge number
      const std::int32_t right = choose.SignedBetween(-40, 40);
      const std::int32_t bottom =
          right < 0 ? choose.SignedBetween(-40, 40) : -choose.SignedBetween(1, 40);
      const bool huge_width = choose.OneIn(2);
      return {
          huge_width ? right + choose.SignedBetween(1, 50) : right - width,
          huge_width && choose.OneIn(2) ? bottom - height : bottom + choose.SignedBetween(1, 50),
          right, bottom};
    }
  }
}

reference::Rect WholeOf(const reference::Source& source) {
  return {0, 0, static_cast<std::int32_t>(source.width), static_cast<std::int32_t>(source.height)};
}

reference::Rect RandomRect(Chooser& choose, const reference::Source& source) {
  const auto width = std::max(static_cast<std::int32_t>(source.width), 1);
  const auto height = std::max(static_cast<std::int32_t>(source.height), 1);
  switch (choose.Below(20)) {
    case 0:
      return {0, 0, choose.OneIn(2) ? 0 : width, choose.OneIn(2) ? 0 : -height};
    case 1:
    case 2:
    case 3:
    case 4:
      return UnclippedRect(choose, source);
    case 5:
    case 6:
    case 7:
    case 8:
    case 9:
      return WholeOf(source);
    default:
      return ClippedRect(choose, width, height);
  }
}

// Turns one argument into one that must be refused, or that is close to it.
void SpoilArgument(Chooser& choose, Case& c) {
  reference::Source& source = c.source;
  switch (choose.Below(6)) {
    case 0:
      c.method = choose.OneOf({4u, 5u, 256u, 0xFFFFFFFFu});
      break;
    case 1:
      source.bits_per_pixel = choose.OneOf({0u, 2u, 4u, 12u, 15u, 16u, 48u});
      break;
    case 2:
      source.width = 0;
      break;
    case 3:
      source.height = 0;
      break;
    case 4:
      source.stride = source.stride <= 4 ? 0 : source.stride - 4;
      break;
    default:
      source.stride += choose.Between(1, 3);
      break;
  }
}

void ChooseBuffers(Chooser& choose, Case& c) {
  const auto side = [&] {
    return choose.OneIn(3) ? GuardSide::kBeforeStart : GuardSide::kAfterEnd;
  };
  c.source_side = side();
  c.destination_side = side();
  if (choose.OneIn(4)) c.source_offset = choose.Between(1, 15);
  if (choose.OneIn(4)) c.destination_offset = choose.Between(1, 15);
  switch (choose.Below(16)) {
    case 0:
    case 1:
      c.capacity = Capacity::kQuery;
      c.capacity_choice = choose.OneIn(2) ? choose.Word() : 0;
      break;
    case 2:
      c.capacity = Capacity::kOneShort;
      break;
    case 3:
      c.capacity = Capacity::kAny;
      c.capacity_choice = choose.Below(600);
      break;
    case 4:
    case 5:
    case 6:
      c.capacity = Capacity::kLarger;
      c.capacity_choice = choose.Between(1, 70);
      break;
    default:
      c.capacity = Capacity::kExact;
      break;
  }
}

Case MakeCase(std::uint64_t seed, std::uint64_t number, bool whole) {
  Chooser choose(seed, number);
  Case c;
  c.seed = seed;
  c.number = number;
  c.whole = whole;
  c.method = choose.Below(4);
  ChooseImage(choose, c);
  if (choose.OneIn(25)) SpoilArgument(choose, c);
  FillSource(choose, c);
  if (choose.OneIn(200)) c.source.bytes.clear();
  if (c.source.bits_per_pixel == 8 ? !choose.OneIn(50) : choose.OneIn(2)) {
    c.source.palette = RandomPalette(choose);
  }
  c.rect = whole ? WholeOf(c.source) : RandomRect(choose, c.source);
  ChooseBuffers(choose, c);
  return c;
}

// Images with many cells and several large windows, whole or nearly so.
Case MakeLargeCase(std::uint64_t seed, std::uint64_t number) {
  Chooser choose(seed, number);
  Case c;
  c.seed = seed;
  c.number = number;
  c.method = choose.OneOf({0u, 1u, 2u, 2u, 2u, 3u});
  c.source.bits_per_pixel = choose.OneOf({8u, 8u, 24u, 32u});
  switch (choose.Below(6)) {
    case 0:
      c.source.width = 400;
      c.source.height = 260;
      break;
    case 1:
      c.source.width = choose.Between(16, 60);
      c.source.height = choose.Between(300, 900);
      break;
    case 2:
      c.source.width = choose.Between(300, 1200);
      c.source.height = choose.Between(16, 60);
      break;
    default:
      c.source.width = choose.Between(120, 420);
      c.source.height = choose.Between(120, 300);
      break;
  }
  c.source.stride = reference::CalcStride(c.source.bits_per_pixel, c.source.width);
  if (choose.OneIn(2)) c.source.stride += 4 * choose.Between(1, 9);
  FillSource(choose, c);
  if (c.source.bits_per_pixel == 8) c.source.palette = RandomPalette(choose);
  c.rect = WholeOf(c.source);
  if (choose.OneIn(3)) {
    c.rect.left = choose.SignedBetween(0, 15);
    c.rect.top = choose.SignedBetween(0, 15);
  }
  ChooseBuffers(choose, c);
  return c;
}

// Contrast left of column 128 and next to none right of it: cells on the left of a row take over
// the large window that the row above ended with, and the quotient of the two deviations gets so
// large that a cell value uses all its 32 bits, or more.
Case MakeContrastCase(std::uint64_t seed, std::uint64_t number) {
  Chooser choose(seed, number);
  Case c;
  c.seed = seed;
  c.number = number;
  c.method = MethodBilevelAdaptive;
  c.content = "contrast on the left";
  const std::uint32_t width = choose.Between(224, 255);
  const std::uint32_t height = choose.Between(32, 150);
  const std::uint32_t stride = reference::CalcStride(8, width);
  c.source = {{}, 8, width, height, stride, reference::Palette{}};
  for (std::uint32_t i = 0; i < 256; ++i) {
    c.source.palette->entries.push_back(std::min(i + 1, 255u) * 0x010101u);
  }
  const std::uint8_t level = choose.Byte();
  c.source.bytes.assign(std::size_t{stride} * height, level);
  const std::uint32_t amplitude = choose.OneOf({2u, 4u, 16u, 256u});
  const std::uint32_t rarity = choose.OneOf({1u, 1u, 20u, 200u});
  for (std::uint32_t y = choose.Below(32); y < height; ++y) {
    for (std::uint32_t x = 16; x < 128; ++x) {
      if (!choose.OneIn(rarity)) continue;
      c.source.bytes[std::size_t{y} * stride + x] =
          static_cast<std::uint8_t>(std::min(level / 2 + choose.Below(amplitude), 255u));
    }
  }
  const std::uint32_t specks = choose.Below(60);
  for (std::uint32_t i = 0; i < specks; ++i) {
    const std::uint32_t x = choose.Between(128, width - 1);
    c.source.bytes[std::size_t{choose.Below(height)} * stride + x] =
        static_cast<std::uint8_t>(std::min(level + 1, 255));
  }
  c.rect = WholeOf(c.source);
  return c;
}

// -------------------------------------------------------------------------------------- comparing

// The palette as a block that ends at an inaccessible page. Where the palette must be ignored, the
// block is empty at times, so that a mere look at its count is found.
std::unique_ptr<GuardedBuffer> PaletteBlock(const Case& c) {
  const reference::Source& source = c.source;
  if (!source.palette.has_value()) return nullptr;
  if (source.bits_per_pixel != 8) return std::make_unique<GuardedBuffer>(0);
  const std::vector<std::uint32_t>& entries = source.palette->entries;
  auto block = std::make_unique<GuardedBuffer>((2 + entries.size()) * sizeof(std::uint32_t));
  const std::uint32_t header[2] = {0, static_cast<std::uint32_t>(entries.size())};
  std::memcpy(block->data(), header, sizeof(header));
  if (!entries.empty()) {
    std::memcpy(block->data() + sizeof(header), entries.data(),
                entries.size() * sizeof(std::uint32_t));
  }
  block->MakeReadOnly();
  return block;
}

std::uint32_t StatedCapacity(const Case& c, std::uint32_t need) {
  switch (c.capacity) {
    case Capacity::kQuery:
    case Capacity::kAny:
      return c.capacity_choice;
    case Capacity::kLarger:
      return need > kLargestOutput ? 64 : need + c.capacity_choice;
    case Capacity::kOneShort:
      return need > kLargestOutput ? 64 : need - (need != 0 ? 1u : 0u);
    default:
      return need > kLargestOutput ? 64 : need;
  }
}

template <typename A, typename B>
void Note(std::ostringstream& differences, const std::string& what, A expected, B actual) {
  if (expected == actual) return;
  differences << "  " << what << ": expected " << expected << ", library " << actual << "\n";
}

// The first byte that differs, with its place in the output.
void NoteBytes(std::ostringstream& differences, const Case& c, std::uint32_t stride,
               const std::vector<std::uint8_t>& expected, const GuardedBuffer& actual) {
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const unsigned wanted = expected[i];
    const unsigned found = actual.data()[i];
    if (wanted == found) continue;
    const std::size_t row_size = std::max(stride, 1u);
    std::size_t x = i % row_size;
    if (c.method != MethodGray8) {
      unsigned bit = 0;
      while (((wanted ^ found) >> (7 - bit) & 1) == 0) ++bit;
      x = x * 8 + bit;
    }
    differences << "  first different byte " << i << " of " << expected.size() << ", byte "
                << i % row_size << " of row " << i / row_size << ", pixel x " << x << " y "
                << i / row_size << ": expected " << wanted << ", library " << found << "\n";
    return;
  }
}

// Runs one case through both; the differences as text, empty when there are none.
std::string Differences(const Case& c) {
  const reference::Source& source = c.source;
  const bool query = c.capacity == Capacity::kQuery;
  const reference::Conversion asked =
      reference::BytesRectToBytes(c.method, source, c.rect, nullptr, 0);
  const std::uint32_t capacity = StatedCapacity(c, asked.size.value_or(64));

  std::vector<std::uint8_t> expected_bytes(query ? 0 : capacity, GuardedBuffer::kFill);
  const reference::Conversion expected = reference::BytesRectToBytes(
      c.method, source, c.rect, query ? nullptr : &expected_bytes, capacity);

  GuardedBuffer source_bytes(source.bytes.size(), c.source_offset, c.source_side);
  std::copy(source.bytes.begin(), source.bytes.end(), source_bytes.data());
  source_bytes.MakeReadOnly();
  GuardedBuffer destination(expected_bytes.size(), c.destination_offset, c.destination_side);
  const std::unique_ptr<GuardedBuffer> palette_block = PaletteBlock(c);

  const auto method = static_cast<PxtConversionMethod>(c.method);
  const std::uint8_t* const first = source.bytes.empty() ? nullptr : source_bytes.data();
  std::uint8_t* const output = query ? nullptr : destination.data();
  const void* const palette_bytes = palette_block == nullptr ? nullptr : palette_block->data();
  const auto* const palette = static_cast<const Gdiplus::ColorPalette*>(palette_bytes);
  RECT rect;
  rect.left = c.rect.left;
  rect.top = c.rect.top;
  rect.right = c.rect.right;
  rect.bottom = c.rect.bottom;
  std::uint32_t size = capacity;
  std::uint32_t stride = kNotWritten;
  int result = 0;
  if (c.whole) {
    result = PxtBytesToBytes(method, first, source.bits_per_pixel, source.width, source.height,
                             source.stride, output, &size, &stride, palette);
  } else {
    result = PxtBytesRectToBytes(method, first, &rect, source.bits_per_pixel, source.width,
                                 source.height, source.stride, output, &size, &stride, palette);
  }

  std::ostringstream differences;
  Note(differences, "result", expected.result, result);
  Note(differences, "size", expected.size.value_or(capacity), size);
  Note(differences, "stride", expected.stride.value_or(kNotWritten), stride);
  if (!c.whole) {
    const reference::Rect clipped{
        static_cast<std::int32_t>(rect.left), static_cast<std::int32_t>(rect.top),
        static_cast<std::int32_t>(rect.right), static_cast<std::int32_t>(rect.bottom)};
    Note(differences, "rect", Text(expected.rect), Text(clipped));
  }
  NoteBytes(differences, c, expected.stride.value_or(1), expected_bytes, destination);
  if (!destination.SurroundingsAreUntouched()) {
    differences << "  bytes around the destination were written\n";
  }
  return differences.str();
}

template <typename Make>
void RunCases(std::uint64_t default_first, std::uint64_t default_count, const Make& make) {
  const std::uint64_t seed = EnvironmentOr("PXT_FUZZ_SEED", kDefaultSeed);
  const std::uint64_t first = EnvironmentOr("PXT_FUZZ_FIRST", default_first);
  const std::uint64_t count = EnvironmentOr("PXT_FUZZ_COUNT", default_count);
  const bool trace = std::getenv("PXT_FUZZ_TRACE") != nullptr;
  int mismatches = 0;
  for (std::uint64_t number = first; number < first + count; ++number) {
    const Case c = make(seed, number);
    if (trace) std::cerr << Text(c) << std::flush;
    const std::string differences = Differences(c);
    if (differences.empty()) continue;
    ADD_FAILURE() << Text(c) << differences;
    if (++mismatches == kMismatchesShown) {
      FAIL() << "stopped after " << mismatches << " mismatches";
    }
  }
}

TEST(PxtBytesRectToBytes, EqualsThePlainDefinitionOnRandomImages) {
  RunCases(0, 12000,
           [](std::uint64_t seed, std::uint64_t number) { return MakeCase(seed, number, false); });
}

TEST(PxtBytesRectToBytes, EqualsThePlainDefinitionOnLargeImages) {
  RunCases(0, 200, MakeLargeCase);
}

TEST(PxtBytesRectToBytes, EqualsThePlainDefinitionWhereCellsDeviateFarMoreThanTheirWindow) {
  RunCases(0, 1000, MakeContrastCase);
}

TEST(PxtBytesToBytes, EqualsThePlainDefinitionOnRandomImages) {
  RunCases(1000000, 4000,
           [](std::uint64_t seed, std::uint64_t number) { return MakeCase(seed, number, true); });
}

// The wrapped need is small here, and a library that believed it would write gigabytes.
TEST(PxtBytesRectToBytes, EqualsThePlainDefinitionWhereTheNeedWrapsAtThirtyTwoBits) {
  struct Wrapping {
    std::uint32_t bits_per_pixel, width, height;
  };
  for (const Wrapping& wrapping :
       {Wrapping{24, 0x55555556, 3}, Wrapping{32, 0x40000000, 4}, Wrapping{32, 0x40000001, 4},
        Wrapping{32, 0x40000000, 32}, Wrapping{24, 0x55555556, 48}, Wrapping{24, 0x55555557, 96}}) {
    for (std::uint32_t method = 0; method < 4; ++method) {
      for (const Capacity capacity : {Capacity::kQuery, Capacity::kExact, Capacity::kLarger}) {
        Case c;
        c.method = method;
        c.source = {std::vector<std::uint8_t>(8, 77), wrapping.bits_per_pixel, 1, 1, 8, {}};
        c.rect = {-0x7FFFFFFF, -1 - static_cast<std::int32_t>(wrapping.height),
                  static_cast<std::int32_t>(wrapping.width) - 0x7FFFFFFF, -1};
        c.capacity = capacity;
        c.content = "wrapping need";
        const std::string differences = Differences(c);
        EXPECT_TRUE(differences.empty()) << Text(c) << differences;
      }
    }
  }
}

}  // namespace
