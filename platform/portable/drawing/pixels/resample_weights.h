// The weights of the resampling filter, and their rounding to integers.
#ifndef PIXTOLA_PORTABLE_RESAMPLE_WEIGHTS_H_
#define PIXTOLA_PORTABLE_RESAMPLE_WEIGHTS_H_

#include <cstdint>
#include <span>

namespace pixtola::portable {

/// The filter is 0 from this distance on.
constexpr double kKeysSupport = 2;

/// Keys' cubic convolution with a = -0.5 at x.
double KeysWeight(double x);

/// Its integral from 0 to x.
double KeysIntegral(double x);

/// Rounds weights that sum up to 1 to integers that sum up to 2^shift, and returns the shift: the
/// largest, up to 16, with which all of them have 16 bits. `order` has room for as many indexes;
/// what `weights` holds is lost.
std::uint32_t RoundWeights(std::span<double> weights, std::uint32_t* order,
                           std::int16_t* coefficients);

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_RESAMPLE_WEIGHTS_H_
