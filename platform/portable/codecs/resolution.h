// Dots per inch, and pixels per metre, which BMP and PNG files hold instead.
#ifndef PIXTOLA_PORTABLE_RESOLUTION_H_
#define PIXTOLA_PORTABLE_RESOLUTION_H_

#include <cmath>
#include <cstdint>

namespace pixtola::portable {

inline constexpr double kMetresPerInch = 0.0254;

/// What a file without a resolution has.
inline constexpr float kDefaultDotsPerInch = 96.0F;

/// Rounded; 0, which stands for none, when it does not fit a file.
inline std::uint32_t PixelsPerMetre(float dots_per_inch) {
  const double pixels = std::round(double{dots_per_inch} / kMetresPerInch);
  return pixels > 0 && pixels <= 0x7FFFFFFF ? static_cast<std::uint32_t>(pixels) : 0;
}

/// The default for 0.
inline float DotsPerInchOf(std::uint32_t pixels_per_metre) {
  return pixels_per_metre != 0 ? static_cast<float>(pixels_per_metre * kMetresPerInch)
                               : kDefaultDotsPerInch;
}

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_RESOLUTION_H_
