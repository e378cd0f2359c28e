// Draws the pages in 24-bit colour and reduces them to the other layouts. All arithmetic is in
// integers and the random numbers are made here, so that nothing depends on compiler or library.
#include "pages.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

namespace pixtola::bench {

namespace {

constexpr std::uint64_t kSeed = 20;
constexpr std::uint32_t kWidthAt300Dpi = 2480;
constexpr std::uint32_t kHeightAt300Dpi = 3508;

/// Steele, Lea and Flood's SplitMix: a counter whose bits are mixed.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  std::uint64_t Next() {
    state_ += 0x9E3779B97F4A7C15U;
    std::uint64_t bits = state_;
    bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9U;
    bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBU;
    return bits ^ (bits >> 31);
  }

  std::uint32_t Below(std::uint32_t limit) { return static_cast<std::uint32_t>(Next() % limit); }

 private:
  std::uint64_t state_;
};

using Color = std::array<std::uint8_t, 3>;  // blue, green, red

constexpr Color kPaper = {234, 241, 246};
constexpr Color kInk = {44, 40, 40};
constexpr Color kRedInk = {48, 40, 196};
constexpr Color kBlueInk = {168, 72, 40};
constexpr Color kGreenInk = {72, 152, 56};
constexpr Color kMarker = {96, 232, 240};

/// In pixels; right and bottom are exclusive.
struct Area {
  std::uint32_t left, top, right, bottom;
};

/// The part of a page between shares of its width and height, given in per cent.
Area PartOf(const Image& page, const Area& percent) {
  return {page.width * percent.left / 100, page.height * percent.top / 100,
          page.width * percent.right / 100, page.height * percent.bottom / 100};
}

std::uint8_t* PixelAt(Image& page, std::uint32_t x, std::uint32_t y) {
  return page.bytes.data() + (std::size_t{y} * page.width + x) * 3;
}

void Fill(Image& page, const Area& area, const Color& color) {
  for (std::uint32_t y = area.top; y < area.bottom; ++y) {
    std::uint8_t* pixel = PixelAt(page, area.left, y);
    for (std::uint32_t x = area.left; x < area.right; ++x) {
      pixel = std::copy(color.begin(), color.end(), pixel);
    }
  }
}

// ------------------------------------------------------------------------------------------ text

constexpr std::uint32_t kGlyphColumns = 5;
constexpr std::uint32_t kGlyphRows = 7;

/// Draws a mark of the size and blackness of a letter: about a third of its dots are set.
void DrawGlyph(Image& page, std::uint32_t left, std::uint32_t top, std::uint32_t dot,
               const Color& color, std::uint64_t shape) {
  const std::uint64_t dots = shape & ((shape >> 35) | (shape >> 20));
  for (std::uint32_t row = 0; row < kGlyphRows; ++row) {
    for (std::uint32_t column = 0; column < kGlyphColumns; ++column) {
      if (((dots >> (row * kGlyphColumns + column)) & 1) == 0) continue;
      const std::uint32_t x = left + column * dot;
      const std::uint32_t y = top + row * dot;
      Fill(page, {x, y, x + dot, y + dot}, color);
    }
  }
}

const Color& InkOfWord(Random& random) {
  switch (random.Below(40)) {
    case 0:
      return kRedInk;
    case 1:
      return kBlueInk;
    default:
      return kInk;
  }
}

/// Lines of words; one word in twenty is in colour.
void DrawText(Image& page, const Area& area, std::uint32_t dot, Random& random) {
  const std::uint32_t advance = (kGlyphColumns + 1) * dot;
  const std::uint32_t line_pitch = 2 * kGlyphRows * dot;
  for (std::uint32_t y = area.top; y + line_pitch <= area.bottom; y += line_pitch) {
    std::uint32_t x = area.left;
    while (x + 12 * advance <= area.right) {
      const Color& ink = InkOfWord(random);
      for (std::uint32_t letters = 2 + random.Below(9); letters > 0; --letters, x += advance) {
        DrawGlyph(page, x, y, dot, ink, random.Next());
      }
      x += advance;
    }
  }
}

// --------------------------------------------------------------------------- gradient, photograph

void DrawGradient(Image& page, const Area& area) {
  for (std::uint32_t x = area.left; x < area.right; ++x) {
    const auto level = static_cast<std::uint8_t>((x - area.left) * 255 / (area.right - area.left));
    Fill(page, {x, area.top, x + 1, area.bottom}, {level, level, level});
  }
}

/// A random value at each node of a grid, interpolated between them.
class SmoothField {
 public:
  SmoothField(const Area& area, std::uint32_t cell, Random& random)
      : area_(area), cell_(cell), nodes_across_((area.right - area.left) / cell + 2) {
    const std::uint32_t nodes_down = (area.bottom - area.top) / cell + 2;
    nodes_.resize(std::size_t{nodes_across_} * nodes_down);
    for (std::uint32_t& node : nodes_) node = random.Below(256);
  }

  std::uint32_t At(std::uint32_t x, std::uint32_t y) const {
    const std::uint32_t column = (x - area_.left) / cell_;
    const std::uint32_t row = (y - area_.top) / cell_;
    const std::uint32_t right_share = (x - area_.left) % cell_;
    const std::uint32_t lower_share = (y - area_.top) % cell_;
    const std::uint32_t* const node = nodes_.data() + std::size_t{row} * nodes_across_ + column;
    const std::uint32_t upper = Between(node[0], node[1], right_share);
    const std::uint32_t lower = Between(node[nodes_across_], node[nodes_across_ + 1], right_share);
    return Between(upper, lower, lower_share);
  }

 private:
  std::uint32_t Between(std::uint32_t first, std::uint32_t second, std::uint32_t share) const {
    return (first * (cell_ - share) + second * share) / cell_;
  }

  Area area_;
  std::uint32_t cell_;
  std::uint32_t nodes_across_;
  std::vector<std::uint32_t> nodes_;
};

/// Wide shapes and finer ones in each channel, and a texture common to all.
void DrawPhotograph(Image& page, const Area& area, std::uint32_t dot, Random& random) {
  const SmoothField texture(area, dot, random);
  for (std::uint32_t channel = 0; channel < 3; ++channel) {
    const SmoothField wide(area, 96 * dot, random);
    const SmoothField fine(area, 16 * dot, random);
    for (std::uint32_t y = area.top; y < area.bottom; ++y) {
      for (std::uint32_t x = area.left; x < area.right; ++x) {
        const std::uint32_t sum = wide.At(x, y) * 9 + fine.At(x, y) * 5 + texture.At(x, y) * 2;
        PixelAt(page, x, y)[channel] = static_cast<std::uint8_t>(sum / 16);
      }
    }
  }
}

// ----------------------------------------------------------------------------------- marks, noise

void DrawDisc(Image& page, std::uint32_t center_x, std::uint32_t center_y, std::uint32_t radius,
              const Color& color) {
  for (std::uint32_t y = center_y - radius; y <= center_y + radius; ++y) {
    for (std::uint32_t x = center_x - radius; x <= center_x + radius; ++x) {
      const std::int64_t across = std::int64_t{x} - center_x;
      const std::int64_t down = std::int64_t{y} - center_y;
      if (across * across + down * down > std::int64_t{radius} * radius) continue;
      std::copy(color.begin(), color.end(), PixelAt(page, x, y));
    }
  }
}

void DrawMarks(Image& page) {
  DrawDisc(page, page.width * 74 / 100, page.height * 77 / 100, page.width * 7 / 100, kRedInk);
  DrawDisc(page, page.width * 84 / 100, page.height * 86 / 100, page.width * 6 / 100, kBlueInk);
  Fill(page, PartOf(page, {66, 90, 76, 94}), kGreenInk);
  Fill(page, PartOf(page, {40, 2, 70, 4}), kMarker);
}

/// Adds -7 to 7 to every channel, small values more often: two uniform numbers of three bits.
void AddNoise(Image& page, Random& random) {
  std::uint64_t bits = 0;
  std::size_t index = 0;
  for (std::uint8_t& value : page.bytes) {
    if (index++ % 10 == 0) bits = random.Next();
    const int noise = static_cast<int>(bits & 7) + static_cast<int>((bits >> 3) & 7) - 7;
    bits >>= 6;
    value = static_cast<std::uint8_t>(std::clamp(value + noise, 0, 255));
  }
}

Image DrawPage(std::uint32_t dpi) {
  const std::uint32_t scale = dpi / 300;
  const std::uint32_t dot = 4 * scale;
  Image page(kWidthAt300Dpi * scale, kHeightAt300Dpi * scale, 3);
  Random random(kSeed);
  Fill(page, {0, 0, page.width, page.height}, kPaper);
  DrawText(page, PartOf(page, {8, 6, 92, 60}), dot, random);
  DrawGradient(page, PartOf(page, {8, 62, 92, 67}));
  DrawPhotograph(page, PartOf(page, {8, 70, 60, 95}), dot, random);
  DrawMarks(page);
  AddNoise(page, random);
  return page;
}

// ---------------------------------------------------------------------------------------- layouts

void StorePixel(const std::uint8_t* bgr, std::uint32_t bytes_per_pixel, std::uint8_t* out) {
  switch (bytes_per_pixel) {
    case 1:
      *out = static_cast<std::uint8_t>((bgr[0] * 29 + bgr[1] * 150 + bgr[2] * 77) >> 8);
      break;
    case 2:
      std::copy_n(bgr, 2, out);
      break;
    default:
      std::copy_n(bgr, 3, out);
      out[3] = 255;
  }
}

}  // namespace

Image MakePage(std::uint32_t dpi, std::uint32_t bytes_per_pixel) {
  Image drawn = DrawPage(dpi);
  if (bytes_per_pixel == 3) return drawn;
  Image page(drawn.width, drawn.height, bytes_per_pixel);
  const std::size_t pixels = std::size_t{page.width} * page.height;
  for (std::size_t i = 0; i < pixels; ++i) {
    StorePixel(drawn.bytes.data() + i * 3, bytes_per_pixel,
               page.bytes.data() + i * bytes_per_pixel);
  }
  return page;
}

}  // namespace pixtola::bench
