// The inner steps of resampling: bands of destination rows, and the rows of images with alpha.
//
// The vertical pass comes first: each sample column of the source becomes an intermediate of 16
// bits with kResampleFractionBits fraction bits, which may be below 0 or above 255. The horizontal
// pass makes bytes of them. Both round to the nearest, halves up; bytes are clamped.
#ifndef PIXTOLA_PORTABLE_RESAMPLE_KERNELS_H_
#define PIXTOLA_PORTABLE_RESAMPLE_KERNELS_H_

#include <cstddef>
#include <cstdint>

#include "drawing/pixels/resample_taps.h"

namespace pixtola::portable {

inline constexpr std::uint32_t kResampleFractionBits = 6;

/// The most destination rows of a band.
inline constexpr std::uint32_t kResampleRows = 8;

/// Some destination rows. A sample is a channel of a pixel.
template <typename Sample>
struct BasicResampleBand {
  const Sample* const* source;  ///< the rows that the taps of `rows` count from
  std::uint32_t source_width;   ///< pixels, at least 1; the taps of `columns` count from the first
  std::uint32_t channels;       ///< 1, 3 or 4
  const ResampleTaps* rows;
  std::uint32_t row_count;      ///< 1 to kResampleRows
  const ResampleTaps* columns;  ///< neither their first nor their last taps go back
  std::uint32_t column_count;   ///< at least 1
  std::uint32_t longest_run;    ///< the most taps of a column
  std::uint8_t* destination;    ///< the first row; column_count pixels are written
  std::size_t stride;           ///< bytes from a destination row to the next
  std::uint8_t* work;           ///< of ResampleWorkBytes
};

using ResampleBand = BasicResampleBand<std::uint8_t>;
/// Samples with kResampleFractionBits fraction bits, 0 to 255 times their unit.
using FineResampleBand = BasicResampleBand<std::int16_t>;

/// What any table's kernels need as work memory for a band.
std::uint64_t ResampleWorkBytes(std::uint32_t source_width, std::uint32_t channels,
                                std::uint32_t longest_run);

struct ResampleKernels {
  const char* target;  ///< the instruction set; "plain" for the definition

  // Both make the same of the same values.
  void (*band)(const ResampleBand& band);
  void (*fine_band)(const FineResampleBand& band);

  // Rows of `count` pixels of blue, green, red and alpha.

  /// Whether each alpha is 255.
  bool (*is_opaque)(const std::uint8_t* pixels, std::size_t count);
  /// Colours times alpha and the alpha, as fine samples: at most one unit from the exact product,
  /// and without any error where alpha is 255.
  void (*premultiply)(const std::uint8_t* pixels, std::size_t count, std::int16_t* samples);
  /// Colours above their alpha, where the filter overshoots, become equal to it.
  void (*limit_to_alpha)(std::uint8_t* pixels, std::size_t count);
};

/// The definition.
extern const ResampleKernels kPlainResampleKernels;

/// Those for the best instruction set of the processor. They give the same bytes.
const ResampleKernels& BestResampleKernels();

/// The 255th part of a product of two bytes as a fine sample is (product * this) >> 16. A little
/// more than 65536 * 64 / 255, so that 255 * x becomes 64 * x for all bytes x.
inline constexpr std::uint32_t kPremultiplyFactor = 16449;

/// In the work memory of the vector kernels: samples that are worked on at once, and what they may
/// write beyond.
inline constexpr std::uint32_t kResamplePiece = 512;
inline constexpr std::uint32_t kResampleSlack = 64;

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_RESAMPLE_KERNELS_H_
