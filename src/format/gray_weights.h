// The gray value of a colour: three weight tables, one sum, one shift.
#ifndef PIXTOLA_FORMAT_GRAY_WEIGHTS_H_
#define PIXTOLA_FORMAT_GRAY_WEIGHTS_H_

#include <array>
#include <cstdint>

namespace pixtola {

namespace detail {

/// Entry i is i * percent / 100 * 256, truncated; in integers, so that no rounding can interfere.
constexpr std::array<std::uint16_t, 256> MakeGrayWeights(std::uint32_t percent) {
  std::array<std::uint16_t, 256> weights{};
  for (std::uint32_t i = 0; i < 256; ++i) {
    weights[i] = static_cast<std::uint16_t>(i * percent * 256 / 100);
  }
  return weights;
}

}  // namespace detail

inline constexpr std::array<std::uint16_t, 256> GrayWeightRed = detail::MakeGrayWeights(30);
inline constexpr std::array<std::uint16_t, 256> GrayWeightGreen = detail::MakeGrayWeights(59);
inline constexpr std::array<std::uint16_t, 256> GrayWeightBlue = detail::MakeGrayWeights(11);

/// Gray 0 to 254. Kept on purpose: the truncated weights sum to 65279 at most, so white is 254.
constexpr std::uint8_t GrayValue(std::uint8_t red, std::uint8_t green, std::uint8_t blue) {
  return static_cast<std::uint8_t>(
      (GrayWeightRed[red] + GrayWeightGreen[green] + GrayWeightBlue[blue]) >> 8);
}

}  // namespace pixtola

#endif  // PIXTOLA_FORMAT_GRAY_WEIGHTS_H_
