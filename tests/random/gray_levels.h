// Planes of gray levels, like scanned pages and unlike any.
#ifndef PIXTOLA_TESTS_RANDOM_GRAY_LEVELS_H_
#define PIXTOLA_TESTS_RANDOM_GRAY_LEVELS_H_

#include <cstdint>
#include <vector>

#include "random/chooser.h"

namespace pixtola::test {

// A plane of levels that looks like one of the images that conversions meet.
std::vector<std::uint8_t> Levels(Chooser& choose, std::uint32_t width, std::uint32_t height,
                                 const char** content);

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_RANDOM_GRAY_LEVELS_H_
