// The resampling kernels in vectors, compiled once for each instruction set.
//
// A vector of 32-bit lanes has a lane for each row of a band. The vertical pass goes along the
// rows; its intermediates are transposed, so that for each sample column there is a vector of
// pairs: in the lane of a row the intermediate of the column and that of the same channel one pixel
// further. The horizontal pass then takes two taps of a sample of all rows by one load and one
// multiplication, in the same way for any number of channels and for any place of the taps.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "drawing/pixels/resample_kernels_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <cstddef>
#include <cstring>

#include "drawing/pixels/resample_alpha-inl.h"
#include "drawing/pixels/resample_horizontal-inl.h"
#include "drawing/pixels/resample_kernels.h"
#include "drawing/pixels/resample_vertical-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pixtola::portable {
namespace HWY_NAMESPACE {
// Other files have functions of the same names in these namespaces.
namespace {

#if HWY_TARGET == HWY_SCALAR

const ResampleKernels& Kernels() { return kPlainResampleKernels; }

#else

template <class Columns, std::uint32_t kChannels>
class BandFilter {
 public:
  using Band = BasicResampleBand<typename Columns::Sample>;

  BandFilter(const Band& band, std::uint32_t first_row, std::uint32_t row_count)
      : band_(band),
        rows_(band.rows + first_row),
        row_count_(row_count),
        samples_(std::size_t{band.source_width} * kChannels),
        capacity_(std::size_t{band.longest_run} * kChannels + kResamplePiece),
        destination_(band.destination + first_row * band.stride) {
    const auto address = reinterpret_cast<std::uintptr_t>(band.work);
    std::uint8_t* const work = band.work + (64 - address % 64) % 64;
    piece_ = reinterpret_cast<std::int16_t*>(work);
    pairs_ = reinterpret_cast<std::int32_t*>(work + sizeof(std::int16_t) * kRows * kPieceStride);
    // The lanes of rows that the band lacks, and what follows the last column, are multiplied,
    // too, though nothing comes of it.
    std::memset(piece_, 0, sizeof(std::int16_t) * kRows * kPieceStride);
  }

  void Run() {
    alignas(32) std::int32_t levels[kPixels * kChannels * kRows] = {};
    begin_ = end_ = FirstOf(0);
    std::uint8_t* rows = destination_;
    for (std::uint32_t x = 0; x < band_.column_count; x += kPixels) {
      const std::uint32_t count = HWY_MIN(band_.column_count - x, kPixels);
      for (std::uint32_t i = 0; i < count;)
        i += FilterPixels(x + i, count - i, levels + i * kChannels * kRows);
      StoreRows(levels, std::size_t{count} * kChannels, rows, band_.stride, row_count_);
      rows += kPixels * kChannels;
    }
  }

 private:
  std::size_t FirstOf(std::uint32_t x) const {
    return std::size_t{band_.columns[x].first} * kChannels;
  }
  std::size_t EndOf(std::uint32_t x) const {
    return FirstOf(x) + std::size_t{band_.columns[x].count} * kChannels;
  }

  /// The levels of up to `count` pixels, as many as there are pairs for; at least of one.
  std::uint32_t FilterPixels(std::uint32_t x, std::uint32_t count, std::int32_t* levels) {
    if (end_ < EndOf(x)) MoveTo(FirstOf(x));
    while (end_ < EndOf(x + count - 1)) --count;
    const ResampleTaps* taps = band_.columns + x;
    const std::int32_t* const pairs = pairs_;
    const std::size_t begin = begin_;
    for (std::uint32_t i = 0; i < count; ++i, ++taps, levels += kChannels * kRows) {
      const std::size_t first = std::size_t{taps->first} * kChannels;
      FilterPixel<kChannels>(pairs + (first - begin) * kRows, *taps, levels);
    }
    return count;
  }

  /// Makes the pairs of all columns from `first` on that there is room for.
  void MoveTo(std::size_t first) {
    if (first < end_) {
      std::memmove(pairs_, pairs_ + (first - begin_) * kRows,
                   (end_ - first) * kRows * sizeof(std::int32_t));
    } else {
      end_ = first;
    }
    begin_ = first;
    // There is always room for the first: what was kept is less than a run.
    while (end_ < samples_ && capacity_ - (end_ - begin_) >= kResamplePiece) {
      AddPiece(HWY_MIN(samples_ - end_, std::size_t{kResamplePiece}));
    }
  }

  void AddPiece(std::size_t count) {
    const std::size_t end = HWY_MIN(end_ + count + kOverlap, samples_);
    std::int16_t* const piece = piece_ + kResampleSlack;
    const std::size_t next_end = HWY_MIN(end + kResamplePiece, samples_);
    std::uint32_t tap = rows_[0].first;
    for (std::uint32_t y = 0; y < row_count_; ++y) {
      // The taps that the row above does not have.
      tap = HWY_MAX(tap, rows_[y].first);
      const std::uint32_t tap_end = rows_[y].first + rows_[y].count;
      PrefetchRows(band_.source + tap, tap_end - tap, end, next_end);
      tap = tap_end;
      FilterVertically<Columns>(band_.source + rows_[y].first, rows_[y], end_, end, samples_,
                                piece + y * kPieceStride);
    }
    Transpose(piece, count, kChannels, pairs_ + (end_ - begin_) * kRows);
    end_ += count;
  }

  const Band& band_;
  const ResampleTaps* rows_;
  std::uint32_t row_count_;
  std::size_t samples_;   ///< of a source row
  std::size_t capacity_;  ///< columns that pairs_ has room for, but for the slack
  std::uint8_t* destination_;
  std::int16_t* piece_;  ///< intermediates, row by row
  std::int32_t* pairs_;  ///< of columns begin_ to end_
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

template <class Columns, std::uint32_t kChannels>
void FilterBand(const BasicResampleBand<typename Columns::Sample>& band) {
  for (std::uint32_t y = 0; y < band.row_count; y += kRows) {
    BandFilter<Columns, kChannels>(band, y, HWY_MIN(band.row_count - y, kRows)).Run();
  }
}

/// False where the rows are too short.
template <class Columns>
bool FilterBand(const BasicResampleBand<typename Columns::Sample>& band) {
  if (std::size_t{band.source_width} * band.channels < Columns::kColumns) return false;
  if (band.channels == 1) {
    FilterBand<Columns, 1>(band);
  } else if (band.channels == 3) {
    FilterBand<Columns, 3>(band);
  } else {
    FilterBand<Columns, 4>(band);
  }
  return true;
}

void Band(const ResampleBand& band) {
  if (!FilterBand<ByteColumns>(band)) kPlainResampleKernels.band(band);
}

void FineBand(const FineResampleBand& band) {
  if (!FilterBand<FineColumns>(band)) kPlainResampleKernels.fine_band(band);
}

const ResampleKernels& Kernels() {
  static const ResampleKernels kernels{
      .target = hwy::TargetName(HWY_TARGET),
      .band = Band,
      .fine_band = FineBand,
      .is_opaque = IsOpaque,
      .premultiply = Premultiply,
      .limit_to_alpha = LimitToAlpha,
  };
  return kernels;
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pixtola::portable
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pixtola::portable {

HWY_EXPORT(Kernels);

const ResampleKernels& BestResampleKernels() { return HWY_DYNAMIC_DISPATCH(Kernels)(); }

}  // namespace pixtola::portable
#endif
