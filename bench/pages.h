// The pages that are measured: drawn from a fixed seed, the same on every machine.
#ifndef PIXTOLA_BENCH_PAGES_H_
#define PIXTOLA_BENCH_PAGES_H_

#include <cstdint>

#include "image.h"

namespace pixtola::bench {

/// An A4 page as a scanner delivers it: text on slightly noisy, slightly warm paper, a gradient, a
/// region like a photograph, and marks in colour.
///
/// @param dpi              a positive multiple of 300
/// @param bytes_per_pixel  1: gray; 2: pairs of bytes that differ; 3: blue, green, red; 4: the same
///                         and an alpha of 255
Image MakePage(std::uint32_t dpi, std::uint32_t bytes_per_pixel);

}  // namespace pixtola::bench

#endif  // PIXTOLA_BENCH_PAGES_H_
