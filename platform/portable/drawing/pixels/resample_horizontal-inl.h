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

/// Adds what `pair_count` pairs of taps give, one vector for each channel.
template <std::uint32_t kChannels>
HWY_INLINE void AddPairs(const std::int32_t* pairs, const std::int16_t* coefficients,
                         std::uint32_t pair_count, PairSums (&sums)[kChannels]) {
  for (std::uint32_t i = 0; i < pair_count; ++i) {
    const auto both = PairOfCoefficients(coefficients + std::size_t{2} * i);
    for (std::uint32_t channel = 0; channel < kChannels; ++channel) {
      sums[channel].Add(hn::BitCast(Words(), hn::LoadU(Sums(), pairs + channel * kRows)), both);
    }
    pairs += std::size_t{2} * kChannels * kRows;
  }
}

/// The levels of one pixel, not yet clamped, a vector of all rows for each channel.
template <std::uint32_t kChannels>
HWY_INLINE void FilterPixel(const std::int32_t* pairs, const ResampleTaps& taps,
                            std::int32_t* levels) {
  const std::uint32_t shift = taps.shift + kResampleFractionBits;
  const std::uint32_t pair_count = (taps.count + 1) / 2;
  PairSums sums[kChannels];
  for (PairSums& sum : sums) sum.Start(HalfOf(shift));
  // The usual numbers where images grow and where they become half as large, without a loop.
  if (pair_count == 2) {
    AddPairs<kChannels>(pairs, taps.coefficients, 2, sums);
  } else if (pair_count == 4) {
    AddPairs<kChannels>(pairs, taps.coefficients, 4, sums);
  } else {
    AddPairs<kChannels>(pairs, taps.coefficients, pair_count, sums);
  }
  for (std::uint32_t channel = 0; channel < kChannels; ++channel) {
    hn::StoreU(hn::ShiftRightSame(sums[channel].Total(), static_cast<int>(shift)), Sums(),
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

/// Pixels whose levels are kept until they become bytes: whole batches for any number of channels.
constexpr std::uint32_t kPixels = kBatch;

/// Writes what the levels of `samples` samples of each row are as bytes.
HWY_INLINE void StoreRows(const std::int32_t* levels, std::size_t samples, std::uint8_t* rows,
                          std::size_t stride, std::uint32_t row_count) {
  for (std::size_t x = 0; x < samples; x += kBatch, levels += kBatch * kRows, rows += kBatch) {
    if (row_count == kRows && samples - x >= kBatch) {
      StoreBatch(levels, rows, stride);
      continue;
    }
    alignas(32) std::uint8_t bytes[kRows * kBatch];
    StoreBatch(levels, bytes, kBatch);
    const std::size_t count = HWY_MIN(samples - x, kBatch);
    for (std::uint32_t y = 0; y < row_count; ++y) {
      std::memcpy(rows + y * stride, bytes + y * kBatch, count);
    }
  }
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pixtola::portable
HWY_AFTER_NAMESPACE();

#endif  // PIXTOLA_PORTABLE_RESAMPLE_HORIZONTAL_INL_H_
