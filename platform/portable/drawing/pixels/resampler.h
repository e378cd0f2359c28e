// Resampling of an image to rows that are taken one after another.
#ifndef PIXTOLA_PORTABLE_RESAMPLER_H_
#define PIXTOLA_PORTABLE_RESAMPLER_H_

#include <cstdint>

#include "base/heap_bytes.h"
#include "drawing/pixels/resample_axis.h"
#include "drawing/pixels/resample_kernels.h"
#include "drawing/pixels/resample_rows.h"

namespace pixtola::portable {

/// A part of the destination: the columns and rows that are wanted of it.
struct ResampleRequest {
  ResampleGeometry horizontal;
  ResampleGeometry vertical;
  ResampleFilter filter;
  std::uint32_t channels;  ///< 1, 3 or 4; the fourth is alpha
  ResampleRange columns;
  ResampleRange rows;
};

/// Rows with alpha are premultiplied before they are filtered, so that transparent pixels give no
/// colour to others, and are handed out premultiplied: that is what blending takes, and a division
/// would lose what the next multiplication needs. No colour is above its alpha. Rows of opaque
/// images are the same either way, and the same as if alpha were any fourth channel.
///
/// Memory: the tables of the columns, and the source and destination rows of a band of
/// kResampleRows rows.
class Resampler {
 public:
  /// False when out of memory. `source` outlives the resampler.
  bool Start(const ResampleRequest& request, ResampleSource& source);

  /// The rows of request.rows from the top down, each with as many pixels as there are columns; a
  /// row stays until the next call. Null when out of memory, and after the last row.
  const std::uint8_t* NextRow();

 private:
  bool MakeBand();
  template <typename Sample>
  BasicResampleBand<Sample> BandOf(const Sample* const* source);

  ResampleRequest request_{};
  ResampleSource* source_ = nullptr;
  const ResampleKernels* kernels_ = nullptr;
  ResampleAxis columns_;
  ResampleAxis rows_;  ///< of the band
  ResampleRows source_rows_;
  HeapBytes work_;
  HeapBytes band_;
  std::uint32_t rows_made_ = 0;   ///< with all bands until now
  std::uint32_t rows_taken_ = 0;  ///< of these
};

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_RESAMPLER_H_
