// How many pixels an image has at each level.
#ifndef PIXTOLA_FORMAT_HISTOGRAM_H_
#define PIXTOLA_FORMAT_HISTOGRAM_H_

#include <array>
#include <cstdint>

namespace pixtola {

/// Pixels per level of a channel.
using Histogram = std::array<std::uint32_t, 256>;

}  // namespace pixtola

#endif  // PIXTOLA_FORMAT_HISTOGRAM_H_
