#include "random/gray_levels.h"

#include <algorithm>
#include <cstddef>

namespace pixtola::test {

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

}  // namespace pixtola::test
