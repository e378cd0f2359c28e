// Single colours between the models: bytes of red, green and blue, and bytes of hue, saturation and
// value. All of the arithmetic is in single precision, in the order written, except where a double
// is named: the last bit of each step decides how halves are rounded.
#ifndef PIXTOLA_PROCESS_PIXELS_COLOR_MODEL_H_
#define PIXTOLA_PROCESS_PIXELS_COLOR_MODEL_H_

#include <algorithm>
#include <cstdint>

namespace pixtola {

struct Rgb {
  std::uint8_t red;
  std::uint8_t green;
  std::uint8_t blue;

  friend bool operator==(const Rgb&, const Rgb&) = default;
};

/// Hue 0 to 255 is once around the circle of hues; saturation and value are fractions of 255.
struct Hsv {
  std::uint8_t hue;
  std::uint8_t saturation;
  std::uint8_t value;

  friend bool operator==(const Hsv&, const Hsv&) = default;
};

/// One step of a byte as a fraction: 1 / 255 in single precision. Bytes are multiplied by it;
/// dividing them by 255 would round to other fractions.
inline constexpr float kByteStep = 0.003921569F;

/// Where green and blue begin on the circle of hues, as fractions of it.
inline constexpr float kGreenHue = 0.33333334F;
inline constexpr float kBlueHue = 0.6666667F;

namespace detail {

/// A fraction as a byte: rounded in single precision.
inline std::uint8_t ByteOfFraction(float fraction) {
  const int level = static_cast<int>(fraction * 255.0F + 0.5F);
  return static_cast<std::uint8_t>(std::clamp(level, 0, 255));
}

/// A channel as a byte: scaled in single precision, but rounded in double precision.
inline std::uint8_t ByteOfChannel(float channel) {
  const int level = static_cast<int>(double{channel * 255.0F} + 0.5);
  return static_cast<std::uint8_t>(std::clamp(level, 0, 255));
}

/// The hue of a colour that is not gray as a fraction of the circle. Where channels tie for the
/// largest, red goes before green and green before blue.
inline float HueFraction(Rgb color, float delta) {
  const float red = color.red * kByteStep;
  const float green = color.green * kByteStep;
  const float blue = color.blue * kByteStep;
  const std::uint8_t largest = std::max({color.red, color.green, color.blue});
  const float sixth = 1.0F / (delta * 6.0F);
  float hue;
  if (color.red == largest) {
    hue = (green - blue) * sixth;
  } else if (color.green == largest) {
    hue = (blue - red) * sixth + kGreenHue;
  } else {
    hue = (red - green) * sixth + kBlueHue;
  }
  if (hue < 0.0F) hue += 1.0F;
  if (hue >= 1.0F) hue += -1.0F;
  return hue;
}

}  // namespace detail

inline Hsv HsvFromRgb(Rgb color) {
  const std::uint8_t largest = std::max({color.red, color.green, color.blue});
  const std::uint8_t smallest = std::min({color.red, color.green, color.blue});
  const float max = largest * kByteStep;
  const float delta = max - smallest * kByteStep;
  // Grays, black among them, have no hue, and nothing to divide by.
  if (largest == smallest) return {0, 0, detail::ByteOfFraction(max)};
  return {detail::ByteOfFraction(detail::HueFraction(color, delta)),
          detail::ByteOfFraction(delta / max), detail::ByteOfFraction(max)};
}

/// Hue 255 gives the colour of hue 0.
inline Rgb RgbFromHsv(Hsv color) {
  float hue = color.hue * kByteStep;
  const float saturation = color.saturation * kByteStep;
  const float value = color.value * kByteStep;
  const std::uint8_t max = detail::ByteOfChannel(value);
  if (color.saturation == 0) return {max, max, max};

  if (hue >= 1.0F) hue = 0.0F;
  const float position = static_cast<float>(double{hue} * 6.0);
  const int sector = static_cast<int>(position);
  const float within = position - static_cast<float>(sector);
  const std::uint8_t min = detail::ByteOfChannel((1.0F - saturation) * value);
  const std::uint8_t falling = detail::ByteOfChannel((1.0F - within * saturation) * value);
  const std::uint8_t rising = detail::ByteOfChannel((1.0F - (1.0F - within) * saturation) * value);
  switch (sector) {
    case 0:
      return {max, rising, min};
    case 1:
      return {falling, max, min};
    case 2:
      return {min, max, rising};
    case 3:
      return {min, falling, max};
    case 4:
      return {rising, min, max};
    default:
      return {max, min, falling};
  }
}

}  // namespace pixtola

#endif  // PIXTOLA_PROCESS_PIXELS_COLOR_MODEL_H_
