// Colours as ARGB values: their channels, and premultiplication as the platform rounds it.
#ifndef PIXTOLA_PORTABLE_ARGB_H_
#define PIXTOLA_PORTABLE_ARGB_H_

#include <algorithm>

#include "pixtola/portable/gdiplus.h"

namespace pixtola::portable {

constexpr unsigned Alpha(Gdiplus::ARGB color) { return color >> 24; }
constexpr unsigned Red(Gdiplus::ARGB color) { return color >> 16 & 0xFF; }
constexpr unsigned Green(Gdiplus::ARGB color) { return color >> 8 & 0xFF; }
constexpr unsigned Blue(Gdiplus::ARGB color) { return color & 0xFF; }

constexpr Gdiplus::ARGB MakeArgb(unsigned alpha, unsigned red, unsigned green, unsigned blue) {
  return alpha << 24 | red << 16 | green << 8 | blue;
}

constexpr Gdiplus::ARGB Opaque(Gdiplus::ARGB color) { return color | 0xFF000000U; }

/// Rounds value * alpha / 255 to the nearest.
constexpr unsigned Premultiplied(unsigned value, unsigned alpha) {
  return (value * alpha + 127) / 255;
}

constexpr Gdiplus::ARGB Premultiply(Gdiplus::ARGB color) {
  const unsigned alpha = Alpha(color);
  if (alpha == 255) return color;
  return MakeArgb(alpha, Premultiplied(Red(color), alpha), Premultiplied(Green(color), alpha),
                  Premultiplied(Blue(color), alpha));
}

/// The platform divides by way of a truncated reciprocal; a transparent pixel keeps its colour.
constexpr Gdiplus::ARGB Unpremultiply(Gdiplus::ARGB color) {
  const unsigned alpha = Alpha(color);
  if (alpha == 0 || alpha == 255) return color;
  const unsigned reciprocal = 0xFF0000U / alpha;
  const auto divide = [reciprocal](unsigned value) {
    return std::min(255U, value * reciprocal >> 16);
  };
  return MakeArgb(alpha, divide(Red(color)), divide(Green(color)), divide(Blue(color)));
}

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_ARGB_H_
