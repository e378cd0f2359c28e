#include "random/conversion_cases.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "Pixtola.h"
#include "random/chooser.h"
#include "random/gray_levels.h"

namespace pixtola::test {
namespace {

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

ReferencePalette RandomPalette(Chooser& choose) {
  std::uint32_t count = 256;
  if (choose.OneIn(2)) count = choose.Between(0, 256);
  if (choose.OneIn(40)) count = choose.Between(257, 300);  // those above 255 are never looked at
  ReferencePalette palette;
  const std::uint32_t kind = choose.Below(3);
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint32_t level = (kind == 0 ? i : 255 - i) & 0xFF;
    palette.entries.push_back(kind == 2 ? choose.Word() : 0xFF000000u + level * 0x010101u);
  }
  return palette;
}

// Fills the rows of the source from a plane of levels; padding, alpha and the like are noise.
void FillSource(Chooser& choose, Case& c) {
  ReferenceSource& source = c.source;
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
  ReferenceSource& source = c.source;
  source.bits_per_pixel = choose.OneOf({1u, 8u, 8u, 24u, 32u});
  source.width = RandomExtent(choose);
  source.height = RandomExtent(choose);
  source.stride = ReferenceCalcStride(source.bits_per_pixel, source.width);
  if (choose.OneIn(3)) source.stride += 4 * choose.Between(1, choose.OneIn(4) ? 40 : 3);
}

// A rectangle with both edges positive, which the library clips.
ReferenceRect ClippedRect(Chooser& choose, std::int32_t width, std::int32_t height) {
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
ReferenceRect UnclippedRect(Chooser& choose, const ReferenceSource& source) {
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

ReferenceRect WholeOf(const ReferenceSource& source) {
  return {0, 0, static_cast<std::int32_t>(source.width), static_cast<std::int32_t>(source.height)};
}

ReferenceRect RandomRect(Chooser& choose, const ReferenceSource& source) {
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
  ReferenceSource& source = c.source;
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

}  // namespace

std::string Text(const ReferenceRect& rect) {
  std::ostringstream text;
  text << "{" << rect.left << ", " << rect.top << ", " << rect.right << ", " << rect.bottom << "}";
  return text.str();
}

std::string Text(const Case& c) {
  const ReferenceSource& source = c.source;
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
  c.source.stride = ReferenceCalcStride(c.source.bits_per_pixel, c.source.width);
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

Case MakeContrastCase(std::uint64_t seed, std::uint64_t number) {
  Chooser choose(seed, number);
  Case c;
  c.seed = seed;
  c.number = number;
  c.method = MethodBilevelAdaptive;
  c.content = "contrast on the left";
  const std::uint32_t width = choose.Between(224, 255);
  const std::uint32_t height = choose.Between(32, 150);
  const std::uint32_t stride = ReferenceCalcStride(8, width);
  c.source = {{}, 8, width, height, stride, ReferencePalette{}};
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

}  // namespace pixtola::test
