// One axis of a resampling: which source samples make each destination sample, and with what
// weights.
#ifndef PIXTOLA_PORTABLE_RESAMPLE_AXIS_H_
#define PIXTOLA_PORTABLE_RESAMPLE_AXIS_H_

#include <cstdint>
#include <span>

#include "base/heap_bytes.h"
#include "drawing/pixels/resample_taps.h"

namespace pixtola::portable {

/// A range of the source, in samples, is stretched over all destination samples: sample i of these
/// is centred at source_start + (i + 0.5) * source_length / destination_length. The range may reach
/// beyond the image, whose samples are centred at 0.5, 1.5 and so on.
struct ResampleGeometry {
  std::int32_t source_start;
  std::int32_t source_length;       ///< above 0
  std::int32_t image_size;          ///< above 0
  std::int32_t destination_length;  ///< above 0
};

enum class ResampleFilter {
  kNearest,  ///< the sample that the centre lies in
  /// Keys' cubic convolution with a = -0.5, which is also the spline of Catmull and Rom. Where the
  /// image shrinks it is as much wider, so that no detail too fine for the destination is left.
  kBicubic
};

/// Destination samples `first` to `first + count`.
struct ResampleRange {
  std::uint32_t first;
  std::uint32_t count;
};

/// The destination samples whose centres are inside of the image; nothing is drawn at others.
ResampleRange SamplesInside(const ResampleGeometry& geometry);

/// Taps may lie outside of the source range: they take the image's samples there. Beyond the image
/// its edge samples repeat, so the weights of what lies beyond are added to the edge's.
///
/// The taps of a destination sample depend on the geometry alone, not on the range that is asked
/// for: a part of an image looks as it does in the whole.
class ResampleAxis {
 public:
  /// The taps of the samples of `range`, which are below geometry.destination_length. False when
  /// out of memory; there are no taps then.
  bool Compute(const ResampleGeometry& geometry, ResampleFilter filter, const ResampleRange& range);

  /// One for each sample of the range. `first` never decreases, nor does `first + count`.
  std::span<const ResampleTaps> taps() const { return {taps_.get(), count_}; }

  /// The image's samples that are used: from the first tap of all to past the last.
  std::uint32_t source_begin() const { return count_ == 0 ? 0 : taps_[0].first; }
  std::uint32_t source_end() const {
    return count_ == 0 ? 0 : taps_[count_ - 1].first + taps_[count_ - 1].count;
  }
  /// Lets the taps count from another sample than the image's first; none is before it.
  void CountFrom(std::uint32_t first) {
    for (std::uint32_t i = 0; i < count_; ++i) taps_[i].first -= first;
  }
  /// The largest number of taps of a sample.
  std::uint32_t longest_run() const { return longest_run_; }

 private:
  struct FreeTaps {
    void operator()(ResampleTaps* taps) const { std::free(taps); }
  };

  std::unique_ptr<ResampleTaps[], FreeTaps> taps_;
  HeapBytes coefficients_;
  std::uint32_t count_ = 0;
  std::uint32_t longest_run_ = 0;
};

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_RESAMPLE_AXIS_H_
