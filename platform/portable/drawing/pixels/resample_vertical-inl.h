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

/// A vector of sums of bytes has as many columns as four vectors of sums, one of words half of
/// them.
struct ByteColumns {
  using Sample = std::uint8_t;
  static constexpr std::size_t kColumns = kRows * 4;
  static constexpr std::uint32_t kFractionBits = kResampleFractionBits;
  static constexpr std::size_t kVectors = 4;

  static HWY_INLINE void Add(const Sample* upper_row, const Sample* lower_row,
                             WordVector coefficients, PairSums (&sums)[kVectors]) {
    const Bytes bytes;
    const Words words;
    const auto upper = hn::LoadU(bytes, upper_row);
    const auto lower = hn::LoadU(bytes, lower_row);
    const auto zero = hn::Zero(bytes);
    const auto low = hn::InterleaveLower(bytes, upper, lower);
    const auto high = hn::InterleaveUpper(bytes, upper, lower);
    sums[0].Add(hn::BitCast(words, hn::InterleaveLower(bytes, low, zero)), coefficients);
    sums[1].Add(hn::BitCast(words, hn::InterleaveUpper(bytes, low, zero)), coefficients);
    sums[2].Add(hn::BitCast(words, hn::InterleaveLower(bytes, high, zero)), coefficients);
    sums[3].Add(hn::BitCast(words, hn::InterleaveUpper(bytes, high, zero)), coefficients);
  }

  static HWY_INLINE void Store(const PairSums (&sums)[kVectors], int shift, std::int16_t* out) {
    const Words words;
    const auto first = hn::ReorderDemote2To(words, hn::ShiftRightSame(sums[0].Total(), shift),
                                            hn::ShiftRightSame(sums[1].Total(), shift));
    const auto second = hn::ReorderDemote2To(words, hn::ShiftRightSame(sums[2].Total(), shift),
                                             hn::ShiftRightSame(sums[3].Total(), shift));
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
  static constexpr std::uint32_t kFractionBits = 0;
  static constexpr std::size_t kVectors = 2;

  static HWY_INLINE void Add(const Sample* upper_row, const Sample* lower_row,
                             WordVector coefficients, PairSums (&sums)[kVectors]) {
    const Words words;
    const auto upper = hn::LoadU(words, upper_row);
    const auto lower = hn::LoadU(words, lower_row);
    sums[0].Add(hn::InterleaveLower(words, upper, lower), coefficients);
    sums[1].Add(hn::InterleaveUpper(words, upper, lower), coefficients);
  }

  static HWY_INLINE void Store(const PairSums (&sums)[kVectors], int shift, std::int16_t* out) {
    const Words words;
    hn::StoreU(hn::ReorderDemote2To(words, hn::ShiftRightSame(sums[0].Total(), shift),
                                    hn::ShiftRightSame(sums[1].Total(), shift)),
               words, out);
  }
};

/// Any number of taps.
template <class Columns>
struct AnyTaps {
  using Sample = typename Columns::Sample;

  AnyTaps(const Sample* const* source, const ResampleTaps& taps)
      : rows(source), coefficients(taps.coefficients), count(taps.count) {}

  HWY_INLINE void Add(std::size_t x, PairSums (&sums)[Columns::kVectors]) const {
    std::uint32_t tap = 0;
    for (; tap + 1 < count; tap += 2) {
      Columns::Add(rows[tap] + x, rows[tap + 1] + x, PairOfCoefficients(coefficients + tap), sums);
    }
    if (tap == count) return;
    // Behind the last tap of an odd number is a coefficient of 0, and no row.
    Columns::Add(rows[tap] + x, rows[tap] + x, PairOfCoefficients(coefficients + tap), sums);
  }

  const Sample* const* rows;
  const std::int16_t* coefficients;
  std::uint32_t count;
};

/// A few pairs of them, kept in registers.
template <class Columns, std::uint32_t kPairs>
struct FewTaps {
  using Sample = typename Columns::Sample;

  FewTaps(const Sample* const* source, const ResampleTaps& taps) {
    for (std::uint32_t i = 0; i < 2 * kPairs; ++i) rows[i] = source[HWY_MIN(i, taps.count - 1)];
    for (std::uint32_t i = 0; i < kPairs; ++i) {
      coefficients[i] = PairOfCoefficients(taps.coefficients + std::size_t{2} * i);
    }
  }

  HWY_INLINE void Add(std::size_t x, PairSums (&sums)[Columns::kVectors]) const {
    for (std::uint32_t i = 0; i < kPairs; ++i) {
      Columns::Add(rows[2 * i] + x, rows[2 * i + 1] + x, coefficients[i], sums);
    }
  }

  const Sample* rows[2 * kPairs];
  WordVector coefficients[kPairs];
};

/// Samples `begin` to `end` of a row to out[0] and so on. Where the last vector does not fit before
/// `limit`, which is at least a vector from the start of the row, it is moved left: up to a vector
/// left of out[0] there is room.
template <class Columns, class Taps>
void FilterVertically(const Taps& taps, std::uint32_t shift, std::size_t begin, std::size_t end,
                      std::size_t limit, std::int16_t* out) {
  const auto start = HalfOf(shift);
  const auto filter = [&](std::size_t x) HWY_ATTR {
    PairSums sums[Columns::kVectors];
    for (PairSums& sum : sums) sum.Start(start);
    taps.Add(x, sums);
    Columns::Store(sums, static_cast<int>(shift), out + x - begin);
  };
  std::size_t x = begin;
  for (; x < end && limit - x >= Columns::kColumns; x += Columns::kColumns) filter(x);
  if (x < end) filter(limit - Columns::kColumns);
}

template <class Columns>
void FilterVertically(const typename Columns::Sample* const* rows, const ResampleTaps& taps,
                      std::size_t begin, std::size_t end, std::size_t limit, std::int16_t* out) {
  const std::uint32_t shift = taps.shift - Columns::kFractionBits;
  switch ((taps.count + 1) / 2) {
    case 1:
      return FilterVertically<Columns>(FewTaps<Columns, 1>(rows, taps), shift, begin, end, limit,
                                       out);
    case 2:
      return FilterVertically<Columns>(FewTaps<Columns, 2>(rows, taps), shift, begin, end, limit,
                                       out);
    case 3:
      return FilterVertically<Columns>(FewTaps<Columns, 3>(rows, taps), shift, begin, end, limit,
                                       out);
    case 4:
      return FilterVertically<Columns>(FewTaps<Columns, 4>(rows, taps), shift, begin, end, limit,
                                       out);
    default:
      return FilterVertically<Columns>(AnyTaps<Columns>(rows, taps), shift, begin, end, limit, out);
  }
}

/// Asks for samples `begin` to `end` of the rows, which are needed soon: the rows of a band are
/// too many for the processor to see by itself where it goes on.
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
  for (int i = 0; i < 4; ++i, row += kPieceStride) {
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
    LoadPairs<kUpper>(rows + 4 * kPieceStride, channels, lower_rows);
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
