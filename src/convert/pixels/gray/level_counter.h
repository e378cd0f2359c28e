// Counting the gray levels of an image piece by piece.
#ifndef PIXTOLA_CONVERT_PIXELS_GRAY_LEVEL_COUNTER_H_
#define PIXTOLA_CONVERT_PIXELS_GRAY_LEVEL_COUNTER_H_

#include <cstdint>

#include "base/memory.h"
#include "convert/pixels/gray/gray_kernels.h"
#include "format/histogram.h"

namespace pixtola {

class LevelCounter {
 public:
  /// `pixels` is how many there will be in all: whether work memory pays off depends on it.
  explicit LevelCounter(std::uint64_t pixels);

  void Add(const std::uint8_t* values, std::uint64_t count) {
    kernels_.count_levels(values, count, levels_, pairs_.get());
  }

  /// All that were added.
  Histogram Total() const;

 private:
  const GrayKernels& kernels_;
  Histogram levels_{};
  Block<std::uint32_t> pairs_;  ///< null when not worth it, or when out of memory
};

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_GRAY_LEVEL_COUNTER_H_
