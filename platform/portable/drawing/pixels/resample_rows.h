// The source rows that a band of destination rows is made of, each read once.
#ifndef PIXTOLA_PORTABLE_RESAMPLE_ROWS_H_
#define PIXTOLA_PORTABLE_RESAMPLE_ROWS_H_

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/heap_bytes.h"
#include "drawing/pixels/resample_kernels.h"

namespace pixtola::portable {

/// Where the rows of an image come from, for what reads each of them when it needs it.
class ResampleSource {
 public:
  /// Pixels `first` to `first + count` of row `y` as bytes: gray; blue, green, red; or blue, green,
  /// red and straight alpha. Either where they stand, if they stay there, or written to `buffer`,
  /// which has room for them.
  virtual const std::uint8_t* Row(std::uint32_t y, std::uint32_t first, std::uint32_t count,
                                  std::uint8_t* buffer) = 0;

 protected:
  ~ResampleSource() = default;
};

/// Keeps as many rows as a band takes. Rows with alpha are premultiplied when a band needs it:
/// where all of its rows are opaque the bytes themselves do.
class ResampleRows {
 public:
  /// Columns `first` to `first + count`; up to `capacity` rows, at least 1, are fetched at once.
  /// False when out of memory.
  bool Allocate(std::uint32_t first, std::uint32_t count, std::uint32_t channels,
                std::uint32_t capacity);

  /// Reads those of the rows `begin` to `end` that are not there.
  void Fetch(std::uint32_t begin, std::uint32_t end, ResampleSource& source,
             const ResampleKernels& kernels);

  /// What was fetched last. Without a channel of alpha all rows are opaque.
  bool are_opaque() const { return are_opaque_; }
  const std::uint8_t* const* bytes() const { return bytes_; }
  /// Premultiplied; only where the rows are not all opaque.
  const std::int16_t* const* fine() const { return fine_; }

 private:
  /// Row y has the place y % capacity.
  struct Place {
    std::uint64_t next_row;  ///< the row's number and 1, so that 0 is none
    const std::uint8_t* bytes;
    bool is_opaque;
    bool is_premultiplied;
  };

  void Read(std::uint32_t y, ResampleSource& source, const ResampleKernels& kernels);

  std::uint32_t first_ = 0;
  std::uint32_t count_ = 0;
  std::uint32_t channels_ = 0;
  std::uint32_t capacity_ = 0;
  bool are_opaque_ = true;

  HeapBytes lists_;
  Place* places_ = nullptr;
  const std::uint8_t** bytes_ = nullptr;
  const std::int16_t** fine_ = nullptr;
  HeapBytes buffers_;  ///< for rows that do not stand in memory; untouched if all do
  HeapBytes premultiplied_;
};

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_RESAMPLE_ROWS_H_
