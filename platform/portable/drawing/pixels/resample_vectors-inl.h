// Vectors of the resampling kernels: sums of products of pairs, and transposing. Included once for
// each instruction set.
#if defined(PIXTOLA_PORTABLE_RESAMPLE_VECTORS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef PIXTOLA_PORTABLE_RESAMPLE_VECTORS_INL_H_
#undef PIXTOLA_PORTABLE_RESAMPLE_VECTORS_INL_H_
#else
#define PIXTOLA_PORTABLE_RESAMPLE_VECTORS_INL_H_
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstring>

#include "drawing/pixels/resample_kernels.h"

HWY_BEFORE_NAMESPACE();
namespace pixtola::portable {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

namespace hn = hwy::HWY_NAMESPACE;

// Vectors of 64 bytes would gain nothing over those of 32, and leave more lanes empty at the end.
using Sums = hn::CappedTag<std::int32_t, kResampleRows>;
using Words = hn::Repartition<std::int16_t, Sums>;
using Bytes = hn::Repartition<std::uint8_t, Sums>;
using SumVector = hn::Vec<Sums>;
using WordVector = hn::Vec<Words>;

constexpr std::uint32_t kRows = static_cast<std::uint32_t>(hn::MaxLanes(Sums()));
/// A piece's row of intermediates, which start kResampleSlack from its start.
constexpr std::size_t kPieceStride = kResamplePiece + 2 * kResampleSlack;
/// How far intermediates must reach beyond the columns that are transposed: more than a pixel.
constexpr std::size_t kOverlap = kRows * 4;
static_assert(kResamplePiece % kOverlap == 0 && kOverlap <= kResampleSlack);

HWY_INLINE WordVector PairOfCoefficients(const std::int16_t* coefficients) {
  std::int32_t pair;
  std::memcpy(&pair, coefficients, sizeof(pair));
  return hn::BitCast(Words(), hn::Set(Sums(), pair));
}

/// Sums of products of pairs. Some instruction sets need two vectors for that until the end.
struct PairSums {
  SumVector first;
  SumVector second;

  HWY_INLINE void Start(SumVector start) {
    first = start;
    second = hn::Zero(Sums());
  }
  HWY_INLINE void Add(WordVector pairs, WordVector coefficients) {
    first = hn::ReorderWidenMulAccumulate(Sums(), pairs, coefficients, first, second);
  }
  HWY_INLINE SumVector Total() const { return hn::RearrangeToOddPlusEven(first, second); }
};

HWY_INLINE SumVector HalfOf(std::uint32_t shift) {
  return hn::Set(Sums(), std::int32_t{1} << (shift - 1));
}

/// Within 16 bytes: lane i of vector k becomes lane k of vector i.
HWY_INLINE void TransposeFour(SumVector (&v)[4]) {
  const Sums sums;
  const hn::Repartition<std::int64_t, Sums> wide;
  const auto low01 = hn::BitCast(wide, hn::InterleaveLower(sums, v[0], v[1]));
  const auto low23 = hn::BitCast(wide, hn::InterleaveLower(sums, v[2], v[3]));
  const auto high01 = hn::BitCast(wide, hn::InterleaveUpper(sums, v[0], v[1]));
  const auto high23 = hn::BitCast(wide, hn::InterleaveUpper(sums, v[2], v[3]));
  v[0] = hn::BitCast(sums, hn::InterleaveLower(wide, low01, low23));
  v[1] = hn::BitCast(sums, hn::InterleaveUpper(wide, low01, low23));
  v[2] = hn::BitCast(sums, hn::InterleaveLower(wide, high01, high23));
  v[3] = hn::BitCast(sums, hn::InterleaveUpper(wide, high01, high23));
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pixtola::portable
HWY_AFTER_NAMESPACE();

#endif  // PIXTOLA_PORTABLE_RESAMPLE_VECTORS_INL_H_
