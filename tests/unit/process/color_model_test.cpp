// The colour models by known values, and for all colours against the rules written out once more.
#include "process/pixels/color_model.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

#include "Pixtola.h"

namespace pixtola::test {
namespace {

std::uint8_t Byte(std::uint32_t value) { return static_cast<std::uint8_t>(value); }

Hsv ExportedHsv(Rgb color) {
  Hsv hsv{};
  PxtRGBtoHSV(color.red, color.green, color.blue, &hsv.hue, &hsv.saturation, &hsv.value);
  return hsv;
}

Rgb ExportedRgb(Hsv color) {
  Rgb rgb{};
  PxtHSVtoRGB(color.hue, color.saturation, color.value, &rgb.red, &rgb.green, &rgb.blue);
  return rgb;
}

// All of 2^24 colours take too long with sanitizers; 251 is prime to them, so that every byte of
// each channel still occurs.
#ifdef __SANITIZE_ADDRESS__
constexpr std::uint32_t kColorStep = 251;
#else
constexpr std::uint32_t kColorStep = 1;
#endif
constexpr std::uint32_t kColors = 1U << 24;

constexpr float kStep = 1.0F / 255.0F;

/// The greatest whole byte not above the number, and 0 for what is not a number.
std::uint8_t TruncatedByte(double number) {
  if (!(number >= 1.0)) return 0;
  return number >= 255.0 ? 255 : Byte(static_cast<std::uint32_t>(number));
}

/// With the divisions by zero of grays left in: what is not a number becomes 0.
Hsv ReferenceHsv(Rgb color) {
  const float r = static_cast<float>(color.red) * kStep;
  const float g = static_cast<float>(color.green) * kStep;
  const float b = static_cast<float>(color.blue) * kStep;
  const float max = std::fmax(std::fmax(r, g), b);
  const float delta = max - std::fmin(std::fmin(r, g), b);
  const float m = 1.0F / (delta * 6.0F);
  float h = 0.0F;
  if (r >= g && r >= b) {
    h = (g - b) * m;
  } else if (g >= b) {
    h = (b - r) * m + 1.0F / 3.0F;
  } else {
    h = (r - g) * m + 2.0F / 3.0F;
  }
  if (h < 0.0F) h = h + 1.0F;
  if (h >= 1.0F) h = h - 1.0F;
  const float s = delta / max;
  const float hue = h * 255.0F;
  const float saturation = s * 255.0F;
  const float value = max * 255.0F;
  return {TruncatedByte(hue + 0.5F), TruncatedByte(saturation + 0.5F), TruncatedByte(value + 0.5F)};
}

std::uint8_t RoundedByte(float channel) {
  const float scaled = channel * 255.0F;
  return TruncatedByte(static_cast<double>(scaled) + 0.5);
}

/// The channel as its distance from where it peaks says: red at 0, green at 2 and blue at 4 sixths.
Rgb ReferenceRgb(Hsv color) {
  const float h = color.hue == 255 ? 0.0F : static_cast<float>(color.hue) * kStep;
  const float s = static_cast<float>(color.saturation) * kStep;
  const float v = static_cast<float>(color.value) * kStep;
  const float x = static_cast<float>(static_cast<double>(h) * 6.0);
  const float f = x - std::floor(x);
  const float p = (1.0F - s) * v;
  const float q = (1.0F - f * s) * v;
  const float t = (1.0F - (1.0F - f) * s) * v;
  // What a channel does in the six sixths that begin where it starts to be the largest.
  const float course[6] = {v, v, q, p, p, t};
  const auto sixth = static_cast<std::uint32_t>(std::floor(x));
  return {RoundedByte(course[(sixth + 1) % 6]), RoundedByte(course[(sixth + 5) % 6]),
          RoundedByte(course[(sixth + 3) % 6])};
}

TEST(GetGrayValue, TheSecondArgumentTakesTheWeightOfBlue) {
  EXPECT_EQ(PxtGetGrayValue(0, 0, 0), 0U);
  EXPECT_EQ(PxtGetGrayValue(255, 255, 255), 254U);
  EXPECT_EQ(PxtGetGrayValue(255, 0, 0), 76U);
  EXPECT_EQ(PxtGetGrayValue(0, 255, 0), 28U);
  EXPECT_EQ(PxtGetGrayValue(0, 0, 255), 150U);
}

TEST(RgbToHsv, GraysHaveNeitherHueNorSaturation) {
  for (std::uint32_t level = 0; level < 256; ++level) {
    EXPECT_EQ(ExportedHsv({Byte(level), Byte(level), Byte(level)}), (Hsv{0, 0, Byte(level)}));
  }
}

TEST(RgbToHsv, PrimaryColorsAreThirdsOfTheCircleApart) {
  EXPECT_EQ(ExportedHsv({255, 0, 0}), (Hsv{0, 255, 255}));
  EXPECT_EQ(ExportedHsv({0, 255, 0}), (Hsv{85, 255, 255}));
  EXPECT_EQ(ExportedHsv({0, 0, 255}), (Hsv{170, 255, 255}));
}

TEST(RgbToHsv, TiesForTheLargestChannelTakeTheFirst) {
  // A sixth of 255 is 42.5, which rounds up.
  EXPECT_EQ(ExportedHsv({255, 255, 0}), (Hsv{43, 255, 255}));
}

TEST(RgbToHsv, HuesJustBelowRedAreAtTheEndOfTheCircle) {
  // 255 - 42.5 / 255 and 255 - 42.5 * 3 / 255.
  EXPECT_EQ(ExportedHsv({255, 0, 1}), (Hsv{255, 255, 255}));
  EXPECT_EQ(ExportedHsv({255, 0, 3}), (Hsv{255, 255, 255}));
  EXPECT_EQ(ExportedHsv({255, 0, 4}), (Hsv{254, 255, 255}));
}

TEST(RgbToHsv, AllColorsFollowTheRules) {
  for (std::uint32_t i = 0; i < kColors; i += kColorStep) {
    const Rgb color{Byte(i >> 16), Byte(i >> 8), Byte(i)};
    ASSERT_EQ(ExportedHsv(color), ReferenceHsv(color)) << ::testing::PrintToString(color);
  }
}

TEST(HsvToRgb, WithoutSaturationTheHueDoesNotMatter) {
  for (std::uint32_t hue = 0; hue < 256; ++hue) {
    for (const std::uint32_t level : {0U, 1U, 127U, 128U, 254U, 255U}) {
      EXPECT_EQ(ExportedRgb({Byte(hue), 0, Byte(level)}),
                (Rgb{Byte(level), Byte(level), Byte(level)}))
          << hue;
    }
  }
}

TEST(HsvToRgb, TheLastHueIsTheFirst) {
  EXPECT_EQ(ExportedRgb({255, 255, 255}), (Rgb{255, 0, 0}));
  EXPECT_EQ(ExportedRgb({255, 100, 200}), ExportedRgb({0, 100, 200}));
}

TEST(HsvToRgb, ThirdsOfTheCircleArePrimaryColors) {
  EXPECT_EQ(ExportedRgb({0, 255, 255}), (Rgb{255, 0, 0}));
  EXPECT_EQ(ExportedRgb({85, 255, 255}), (Rgb{0, 255, 0}));
  EXPECT_EQ(ExportedRgb({170, 255, 255}), (Rgb{0, 0, 255}));
}

TEST(HsvToRgb, AllColorsFollowTheRules) {
  for (std::uint32_t i = 0; i < kColors; i += kColorStep) {
    const Hsv color{Byte(i >> 16), Byte(i >> 8), Byte(i)};
    ASSERT_EQ(ExportedRgb(color), ReferenceRgb(color)) << ::testing::PrintToString(color);
  }
}

}  // namespace
}  // namespace pixtola::test
