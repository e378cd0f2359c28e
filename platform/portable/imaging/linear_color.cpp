#include "imaging/linear_color.h"

#include <array>
#include <cmath>

#include "imaging/argb.h"

namespace pixtola::portable {

namespace {

double LinearFromSrgb(double value) {
  return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double SrgbFromLinear(double value) {
  return value <= 0.0031308 ? value * 12.92 : 1.055 * std::pow(value, 1 / 2.4) - 0.055;
}

struct Curves {
  std::array<std::uint16_t, 256> linear;
  std::array<std::uint8_t, kLinearOne + 1> srgb;

  Curves() {
    for (unsigned i = 0; i < linear.size(); ++i) {
      linear[i] = static_cast<std::uint16_t>(kLinearOne * LinearFromSrgb(i / 255.0) + 0.5);
    }
    for (unsigned i = 0; i < srgb.size(); ++i) {
      srgb[i] = static_cast<std::uint8_t>(255 * SrgbFromLinear(i * (1.0 / kLinearOne)) + 0.5);
    }
  }
};

const Curves& GetCurves() {
  static const Curves curves;
  return curves;
}

}  // namespace

LinearColor LinearFromArgb(Gdiplus::ARGB color) {
  const Curves& curves = GetCurves();
  const unsigned alpha = (Alpha(color) * kLinearOne + 127) / 255;
  return {curves.linear[Blue(color)], curves.linear[Green(color)], curves.linear[Red(color)],
          static_cast<std::uint16_t>(alpha)};
}

Gdiplus::ARGB ArgbFromLinear(const LinearColor& color) {
  const Curves& curves = GetCurves();
  const unsigned alpha = (color.alpha * 255U + kLinearOne / 2) / kLinearOne;
  return MakeArgb(alpha, curves.srgb[color.red], curves.srgb[color.green], curves.srgb[color.blue]);
}

}  // namespace pixtola::portable
