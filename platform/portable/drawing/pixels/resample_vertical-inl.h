// The vertical pass of resampling in vectors, and the transposition of what it gives. Included once
// for each instruction set.
#if defined(PIXTOLA_PORTABLE_RESAMPLE_VERTICAL_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef PIXTOLA_PORTABLE_RESAMPLE_VERTICAL_INL_H_
#undef PIXTOLA_PORTABLE_RESAMPLE_VERTICAL_INL_H_
#else
#define PIXTOLA_PORTABLE_RESAMPLE_VERTICAL_INL_H_
#endif

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <cstddef>

#include "drawing/pixels/resample_vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pixtola::portable {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

/// Intermediates of one destination row: kColumns of them from sample x on.
struct ByteColumns {
  using Sample = std::uint8_t;
  static constexpr std::size_t kColumns = kRows * 4;

  static HWY_INLINE void Filter(const Sample* const* rows, const ResampleTaps& taps, std::size_t x,
                                std::int16_t* out) {
    const Bytes bytes;
    const Words words;
    const std::uint32_t shift = taps.shift - kResampleFractionBits;
    PairSums sums[4];
    for (PairSums& sum : sums) sum.Start(HalfOf(shift));
    for (std::uint32_t tap = 0; tap < taps.count; tap += 2) {
      // Behind the last tap of an odd number is a coefficient of 0, and no row.
      const auto upper = hn::LoadU(bytes, rows[tap] + x);
      const auto lower = tap + 1 < taps.count ? hn::LoadU(bytes, rows[tap + 1] + x) : upper;
      const auto coefficients = PairOfCoefficients(taps.coefficients + tap);
      const auto zero = hn::Zero(bytes);
      const auto low = hn::InterleaveLower(bytes, upper, lower);
      const auto high = hn::InterleaveUpper(bytes, upper, lower);
      const auto widen_lower = [&](hn::Vec<Bytes> pairs) HWY_ATTR {
        return hn::BitCast(words, hn::InterleaveLower(bytes, pairs, zero));
      };
      const auto widen_upper = [&](hn::Vec<Bytes> pairs) HWY_ATTR {
        return hn::BitCast(words, hn::InterleaveUpper(bytes, pairs, zero));
      };
      sums[0].Add(widen_lower(low), coefficients);
      sums[1].Add(widen_upper(low), coefficients);
      sums[2].Add(widen_lower(high), coefficients);
      sums[3].Add(widen_upper(high), coefficients);
    }
    const auto bits = static_cast<int>(shift);
    const auto first = hn::ReorderDemote2To(words, hn::ShiftRightSame(sums[0].Total(), bits),
                                            hn::ShiftRightSame(sums[1].Total(), bits));
    const auto second = hn::ReorderDemote2To(words, hn::ShiftRightSame(sums[2].Total(), bits),
                                             hn::ShiftRightSame(sums[3].Total(), bits));
    // Interleaving and narrowing stay within 16 bytes.
    if constexpr (kRows == 8) {
      hn::StoreU(hn::ConcatLowerLower(words, second, first), words, out);
      hn::StoreU(hn::ConcatUpperUpper(words, second, first), words, out + kRows * 2);
    } else {
      hn::StoreU(first, words, out);
      hn::StoreU(second, words, out + kRows * 2);
    }
  }
};

struct FineColumns {
  using Sample = std::int16_t;
  static constexpr std::size_t kColumns = kRows * 2;

  static HWY_INLINE void Filter(const Sample* const* rows, const ResampleTaps& taps, std::size_t x,
                                std::int16_t* out) {
    const Words words;
    PairSums low, high;
    low.Start(HalfOf(taps.shift));
    high.Start(HalfOf(taps.shift));
    for (std::uint32_t tap = 0; tap < taps.count; tap += 2) {
      const auto upper = hn::LoadU(words, rows[tap] + x);
      const auto lower = tap + 1 < taps.count ? hn::LoadU(words, rows[tap + 1] + x) : upper;
      const auto coefficients = PairOfCoefficients(taps.coefficients + tap);
      low.Add(hn::InterleaveLower(words, upper, lower), coefficients);
      high.Add(hn::InterleaveUpper(words, upper, lower), coefficients);
    }
    const auto bits = static_cast<int>(taps.shift);
    hn::StoreU(hn::ReorderDemote2To(words, hn::ShiftRightSame(low.Total(), bits),
                                    hn::ShiftRightSame(high.Total(), bits)),
               words, out);
  }
};

/// Samples `begin` to `end` of a row to out[0] and so on. Where the last vector does not fit before
/// `limit`, which is at least a vector from the start of the row, it is moved left, and what is
/// left of out[0] may be written once more.
template <class Columns>
void FilterVertically(const typename Columns::Sample* const* rows, const ResampleTaps& taps,
                      std::size_t begin, std::size_t end, std::size_t limit, std::int16_t* out) {
  std::size_t x = begin;
  for (; x < end && limit - x >= Columns::kColumns; x += Columns::kColumns) {
    Columns::Filter(rows, taps, x, out + (x - begin));
  }
  if (x < end) {
    // Up to a vector left of out[0] there is room.
    x = limit - Columns::kColumns;
    Columns::Filter(rows, taps, x, out + x - begin);
  }
}

/// Asks for samples `begin` to `end` of the rows, which are needed soon: the rows of a block are too
/// many for the processor to see by itself where it goes on.
template <typename Sample>
HWY_INLINE void PrefetchRows(const Sample* const* rows, std::uint32_t count, std::size_t begin,
                             std::size_t end) {
  constexpr std::size_t kLine = 64 / sizeof(Sample);
  for (std::uint32_t y = 0; y < count; ++y) {
    for (std::size_t x = begin; x < end; x += kLine) hwy::Prefetch(rows[y] + x);
  }
}

/// Of four rows, from `row` on: the pairs of 4 columns, and with vectors of 32 bytes of another 4
/// that are 8 columns further.
template <bool kUpper>
HWY_INLINE void LoadPairs(const std::int16_t* row, std::uint32_t channels, SumVector (&v)[4]) {
  const Words words;
  for (int i = 0; i < 4; ++i, row += kChunkStride) {
    const auto own = hn::LoadU(words, row);
    const auto next = hn::LoadU(words, row + channels);
    v[i] = hn::BitCast(Sums(), kUpper ? hn::InterleaveUpper(words, own, next)
                                      : hn::InterleaveLower(words, own, next));
  }
  TransposeFour(v);
}

/// 4 or 8 columns, those of LoadPairs.
template <bool kUpper>
HWY_INLINE void TransposePairs(const std::int16_t* rows, std::uint32_t channels,
                               std::int32_t* pairs) {
  const Sums sums;
  SumVector upper_rows[4];
  LoadPairs<kUpper>(rows, channels, upper_rows);
  if constexpr (kRows == 8) {
    SumVector lower_rows[4];
    LoadPairs<kUpper>(rows + 4 * kChunkStride, channels, lower_rows);
    for (std::size_t i = 0; i < 4; ++i) {
      hn::StoreU(hn::ConcatLowerLower(sums, lower_rows[i], upper_rows[i]), sums, pairs + i * kRows);
      hn::StoreU(hn::ConcatUpperUpper(sums, lower_rows[i], upper_rows[i]), sums,
                 pairs + (i + 8) * kRows);
    }
  } else {
    for (std::size_t i = 0; i < 4; ++i) hn::StoreU(upper_rows[i], sums, pairs + i * kRows);
  }
}

/// `count` columns, rounded up to whole vectors of intermediates.
void Transpose(const std::int16_t* rows, std::size_t count, std::uint32_t channels,
               std::int32_t* pairs) {
  constexpr std::size_t kStep = std::size_t{2} * kRows;
  for (std::size_t x = 0; x < count; x += kStep, rows += kStep, pairs += kStep * kRows) {
    TransposePairs<false>(rows, channels, pairs);
    TransposePairs<true>(rows, channels, pairs + 4 * kRows);
  }
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pixtola::portable
HWY_AFTER_NAMESPACE();

#endif  // PIXTOLA_PORTABLE_RESAMPLE_VERTICAL_INL_H_
