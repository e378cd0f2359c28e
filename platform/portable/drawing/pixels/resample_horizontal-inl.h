// The horizontal pass of resampling in vectors: from transposed pairs of intermediates to rows of
// bytes. Included once for each instruction set.
#if defined(PIXTOLA_PORTABLE_RESAMPLE_HORIZONTAL_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef PIXTOLA_PORTABLE_RESAMPLE_HORIZONTAL_INL_H_
#undef PIXTOLA_PORTABLE_RESAMPLE_HORIZONTAL_INL_H_
#else
#define PIXTOLA_PORTABLE_RESAMPLE_HORIZONTAL_INL_H_
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstring>

#include "drawing/pixels/resample_vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pixtola::portable {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

/// The levels of one pixel, not yet clamped, a vector of all rows for each channel.
template <std::uint32_t kChannels>
HWY_INLINE void FilterPixel(const std::int32_t* pairs, const ResampleTaps& taps,
                            std::int32_t* levels) {
  const Sums d;
  const std::uint32_t shift = taps.shift + kResampleFractionBits;
  PairSums sums[kChannels];
  for (PairSums& sum : sums) sum.Start(HalfOf(shift));
  for (std::uint32_t tap = 0; tap < taps.count; tap += 2) {
    const auto coefficients = PairOfCoefficients(taps.coefficients + tap);
    for (std::uint32_t channel = 0; channel < kChannels; ++channel) {
      sums[channel].Add(hn::BitCast(Words(), hn::LoadU(d, pairs + channel * kRows)), coefficients);
    }
    pairs += std::size_t{2} * kChannels * kRows;
  }
  for (std::uint32_t channel = 0; channel < kChannels; ++channel) {
    hn::StoreU(hn::ShiftRightSame(sums[channel].Total(), static_cast<int>(shift)), d,
               levels + channel * kRows);
  }
}

/// Four levels as bytes, in the lane of each row.
HWY_INLINE SumVector FourBytes(const std::int32_t* levels) {
  const Sums sums;
  const Words words;
  const Bytes bytes;
  alignas(16) static constexpr std::uint8_t kInTurn[16] = {0, 8,  1, 9,  2, 10, 3, 11,
                                                           4, 12, 5, 13, 6, 14, 7, 15};
  const auto zero = hn::Zero(words);
  const auto largest = hn::Set(words, std::int16_t{255});
  const auto load = [&](std::size_t i) HWY_ATTR { return hn::LoadU(sums, levels + i * kRows); };
  auto first = hn::ReorderDemote2To(words, load(0), load(1));
  auto second = hn::ReorderDemote2To(words, load(2), load(3));
  first = hn::Min(hn::Max(first, zero), largest);
  second = hn::Min(hn::Max(second, zero), largest);
  const auto all = hn::BitCast(bytes, hn::Or(first, hn::ShiftLeft<8>(second)));
  return hn::BitCast(sums, hn::TableLookupBytes(all, hn::LoadDup128(bytes, kInTurn)));
}

/// Levels of this many samples become bytes at once: a vector of bytes of each row.
constexpr std::size_t kBatch = kRows * 4;

HWY_INLINE void StoreBatch(const std::int32_t* levels, std::uint8_t* rows, std::size_t stride) {
  const Sums sums;
  const Bytes bytes;
  SumVector first[4];
  for (std::size_t i = 0; i < 4; ++i) first[i] = FourBytes(levels + i * 4 * kRows);
  TransposeFour(first);
  if constexpr (kRows == 8) {
    SumVector second[4];
    for (std::size_t i = 0; i < 4; ++i) second[i] = FourBytes(levels + (i + 4) * 4 * kRows);
    TransposeFour(second);
    for (std::size_t i = 0; i < 4; ++i) {
      hn::StoreU(hn::BitCast(bytes, hn::ConcatLowerLower(sums, second[i], first[i])), bytes,
                 rows + i * stride);
      hn::StoreU(hn::BitCast(bytes, hn::ConcatUpperUpper(sums, second[i], first[i])), bytes,
                 rows + (i + 4) * stride);
    }
  } else {
    for (std::size_t i = 0; i < 4; ++i) {
      hn::StoreU(hn::BitCast(bytes, first[i]), bytes, rows + i * stride);
    }
  }
}

/// Collects levels, and writes them as bytes when there are enough.
class ByteRows {
 public:
  ByteRows(std::uint8_t* rows, std::size_t stride, std::uint32_t row_count)
      : rows_(rows), stride_(stride), row_count_(row_count) {}

  /// Where the levels of the next pixel go.
  HWY_INLINE std::int32_t* Next() { return levels_ + count_ * kRows; }

  HWY_INLINE void Added(std::size_t samples) {
    count_ += samples;
    if (count_ < kBatch) return;
    if (row_count_ == kRows) {
      StoreBatch(levels_, rows_, stride_);
    } else {
      StorePart(kBatch);
    }
    rows_ += kBatch;
    count_ -= kBatch;
    // Of the last pixel up to 3 levels may be left.
    for (std::size_t i = 0; i < count_; ++i) {
      hn::StoreU(hn::LoadU(Sums(), levels_ + (kBatch + i) * kRows), Sums(), levels_ + i * kRows);
    }
  }

  void Finish() { StorePart(count_); }

 private:
  void StorePart(std::size_t count) {
    alignas(32) std::uint8_t bytes[kRows * kBatch];
    StoreBatch(levels_, bytes, kBatch);
    for (std::uint32_t y = 0; y < row_count_; ++y) {
      std::memcpy(rows_ + y * stride_, bytes + y * kBatch, count);
    }
  }

  std::uint8_t* rows_;
  std::size_t stride_;
  std::uint32_t row_count_;
  std::size_t count_ = 0;
  alignas(32) std::int32_t levels_[(kBatch + 4) * kRows] = {};
};

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pixtola::portable
HWY_AFTER_NAMESPACE();

#endif  // PIXTOLA_PORTABLE_RESAMPLE_HORIZONTAL_INL_H_
