// The sharpening kernels in vectors, compiled once for each instruction set.
//
// Bytes are worked on as 16-bit lanes, the even ones and the odd ones of a vector separately. A
// band of several rows is worked on at once, from left to right, so that a row is loaded and split
// into even and odd bytes once, not three times: as the row above, as itself and as the row below.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "process/pixels/sharpen_kernels_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <cstddef>
#include <cstring>

#include "process/pixels/sharpen_kernels.h"

HWY_BEFORE_NAMESPACE();
namespace pixtola {
namespace HWY_NAMESPACE {
// Other files have functions of the same names in these namespaces.
namespace {

#if HWY_TARGET == HWY_SCALAR

const SharpenKernels& Kernels() { return kPlainSharpenKernels; }

#else

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
/// For rows that are too short for the full vector.
using SixteenBytes = hn::CappedTag<std::uint8_t, 16>;

template <class D>
using Words = hn::Vec<hn::RepartitionToWide<D>>;
template <class D>
using SignedWords = hn::Vec<hn::RebindToSigned<hn::RepartitionToWide<D>>>;

// x86 multiplies pairs of bytes and adds, and narrows with clamping, in one instruction each.
#if HWY_ARCH_X86

HWY_INLINE hn::Vec128<std::int16_t> AddPairsOfProducts(hn::Vec128<std::uint8_t> values,
                                                       hn::Vec128<std::int8_t> weights) {
  return hn::Vec128<std::int16_t>{_mm_maddubs_epi16(values.raw, weights.raw)};
}

HWY_INLINE hn::Vec128<std::uint8_t> NarrowInBlocks(hn::Vec128<std::int16_t> lower,
                                                   hn::Vec128<std::int16_t> upper) {
  return hn::Vec128<std::uint8_t>{_mm_packus_epi16(lower.raw, upper.raw)};
}

#if HWY_TARGET <= HWY_AVX2

HWY_INLINE hn::Vec256<std::int16_t> AddPairsOfProducts(hn::Vec256<std::uint8_t> values,
                                                       hn::Vec256<std::int8_t> weights) {
  return hn::Vec256<std::int16_t>{_mm256_maddubs_epi16(values.raw, weights.raw)};
}

HWY_INLINE hn::Vec256<std::uint8_t> NarrowInBlocks(hn::Vec256<std::int16_t> lower,
                                                   hn::Vec256<std::int16_t> upper) {
  return hn::Vec256<std::uint8_t>{_mm256_packus_epi16(lower.raw, upper.raw)};
}

#endif

#if HWY_TARGET <= HWY_AVX3

HWY_INLINE hn::Vec512<std::int16_t> AddPairsOfProducts(hn::Vec512<std::uint8_t> values,
                                                       hn::Vec512<std::int8_t> weights) {
  return hn::Vec512<std::int16_t>{_mm512_maddubs_epi16(values.raw, weights.raw)};
}

HWY_INLINE hn::Vec512<std::uint8_t> NarrowInBlocks(hn::Vec512<std::int16_t> lower,
                                                   hn::Vec512<std::int16_t> upper) {
  return hn::Vec512<std::uint8_t>{_mm512_packus_epi16(lower.raw, upper.raw)};
}

#endif

/// 9 times the odd byte minus the even byte before it.
template <class D>
HWY_INLINE SignedWords<D> NineTimesOddLessEven(D, hn::Vec<D> bytes) {
  const hn::RebindToSigned<D> weight;
  const hn::RepartitionToWide<decltype(weight)> weight_pair;
  return AddPairsOfProducts(bytes, hn::BitCast(weight, hn::Set(weight_pair, 0x09FF)));
}

/// Clamps to bytes and puts those of `odd` between those of `even`.
template <class D>
HWY_INLINE hn::Vec<D> InterleaveClamped(D d, SignedWords<D> even, SignedWords<D> odd) {
  alignas(16) static constexpr std::uint8_t kHalvesInTurn[16] = {0, 8,  1, 9,  2, 10, 3, 11,
                                                                 4, 12, 5, 13, 6, 14, 7, 15};
  return hn::TableLookupBytes(NarrowInBlocks(even, odd), hn::LoadDup128(d, kHalvesInTurn));
}

#else

template <class D>
HWY_INLINE SignedWords<D> NineTimesOddLessEven(D, hn::Vec<D> bytes) {
  const hn::RepartitionToWide<D> word;
  const hn::RebindToSigned<decltype(word)> signed_word;
  const auto words = hn::BitCast(word, bytes);
  const auto odd = hn::ShiftRight<8>(words);
  const auto even = hn::And(words, hn::Set(word, 0xFF));
  return hn::BitCast(signed_word, hn::Sub(hn::Add(odd, hn::ShiftLeft<3>(odd)), even));
}

template <class D>
HWY_INLINE hn::Vec<D> InterleaveClamped(D d, SignedWords<D> even, SignedWords<D> odd) {
  const hn::DFromV<SignedWords<D>> word;
  const auto zero = hn::Zero(word);
  const auto largest = hn::Set(word, 255);
  even = hn::Min(hn::Max(even, zero), largest);
  odd = hn::Min(hn::Max(odd, zero), largest);
  return hn::BitCast(d, hn::Or(even, hn::ShiftLeft<8>(odd)));
}

#endif

/// The even bytes and the odd bytes of a vector, or sums of such, in 16-bit lanes.
template <class D>
struct Halves {
  SignedWords<D> even;
  SignedWords<D> odd;
};

template <class D>
HWY_INLINE SignedWords<D> EvenBytes(D, hn::Vec<D> bytes) {
  const hn::DFromV<SignedWords<D>> word;
  return hn::And(hn::BitCast(word, bytes), hn::Set(word, 0xFF));
}

template <class D>
HWY_INLINE SignedWords<D> OddBytes(D, hn::Vec<D> bytes) {
  const hn::DFromV<SignedWords<D>> word;
  const hn::RepartitionToWide<D> unsigned_word;
  return hn::BitCast(word, hn::ShiftRight<8>(hn::BitCast(unsigned_word, bytes)));
}

template <class D>
HWY_INLINE Halves<D> Split(D d, hn::Vec<D> bytes) {
  return {EvenBytes(d, bytes), OddBytes(d, bytes)};
}

/// 9 times the bytes at `own` minus their left and right neighbours. `bytes` are the ones at `own`,
/// `halves` the same bytes split.
///
/// The trick is to bring a byte and one of its neighbours into one 16-bit lane, the neighbour as
/// the lower byte.
template <std::uint32_t kBytesPerPixel, class D>
HWY_INLINE Halves<D> NineTimesOwnLessSides(D d, const std::uint8_t* own, hn::Vec<D> bytes,
                                           const Halves<D>& halves) {
  if constexpr (kBytesPerPixel == 1) {
    const auto left = hn::LoadU(d, own - 1);
    const auto right = hn::LoadU(d, own + 1);
    return {hn::Sub(NineTimesOddLessEven(d, left), halves.odd),
            hn::Sub(NineTimesOddLessEven(d, bytes), OddBytes(d, right))};
  } else {
    static_assert(kBytesPerPixel == 3);
    const auto left = hn::LoadU(d, own - 3);
    const auto left_of_odd = hn::LoadU(d, own - 2);
    const auto shifted = hn::LoadU(d, own - 1);
    const auto right = hn::LoadU(d, own + 3);
    return {
        hn::Sub(NineTimesOddLessEven(d, hn::OddEven(shifted, left)), EvenBytes(d, right)),
        hn::Sub(NineTimesOddLessEven(d, hn::OddEven(bytes, left_of_odd)), OddBytes(d, right)),
    };
  }
}

/// Fifths of sums of -1020..2295, clamped to bytes and put in order again. Those of negative sums
/// are rounded down, not toward zero, but they end up as 0 all the same.
template <class D>
HWY_INLINE hn::Vec<D> ClampedFifths(D d, const Halves<D>& sum) {
  const hn::DFromV<SignedWords<D>> word;
  const auto fifth = hn::Set(word, 13108);  // 65536 / 5 rounded up; exact up to 2295
  return InterleaveClamped(d, hn::MulHigh(sum.even, fifth), hn::MulHigh(sum.odd, fifth));
}

/// One vector of bytes of each of `count` rows.
template <std::uint32_t kBytesPerPixel, class D>
HWY_INLINE void SharpenColumn(D d, const std::uint8_t* source, std::uint8_t* destination,
                              std::uint32_t stride, std::uint32_t count) {
  Halves<D> above = Split(d, hn::LoadU(d, source - stride));
  auto bytes = hn::LoadU(d, source);
  Halves<D> own = Split(d, bytes);
  for (std::uint32_t y = 0; y < count; ++y) {
    const Halves<D> row = NineTimesOwnLessSides<kBytesPerPixel>(d, source, bytes, own);
    source += stride;
    bytes = hn::LoadU(d, source);
    const Halves<D> below = Split(d, bytes);
    const Halves<D> sum = {hn::Sub(row.even, hn::Add(above.even, below.even)),
                           hn::Sub(row.odd, hn::Add(above.odd, below.odd))};
    hn::StoreU(ClampedFifths(d, sum), d, destination);
    destination += stride;
    above = own;
    own = below;
  }
}

/// All but the first and the last pixel of `count` rows, which must be a vector of bytes or more.
template <std::uint32_t kBytesPerPixel, class D>
void SharpenBand(D d, const std::uint8_t* source, std::uint8_t* destination, std::uint32_t stride,
                 std::uint32_t count, std::size_t row_bytes) {
  constexpr std::size_t kLanes = hn::MaxLanes(D());
  const std::size_t last = row_bytes - kBytesPerPixel - kLanes;
  for (std::size_t x = kBytesPerPixel; x < last; x += kLanes) {
    SharpenColumn<kBytesPerPixel>(d, source + x, destination + x, stride, count);
  }
  // The last vector does some bytes a second time, which is harmless: the two images do not
  // overlap.
  SharpenColumn<kBytesPerPixel>(d, source + last, destination + last, stride, count);
}

/// How many rows to work on at once: the more, the less is read twice, as long as they do not evict
/// one another from the first-level cache. Rows about a multiple of 4096 bytes apart share one set
/// of it, which holds eight lines as a rule.
HWY_INLINE std::uint32_t RowsOfBand(std::uint32_t stride) {
  return (stride + 64) % 4096 <= 128 ? 3 : 6;
}

template <std::uint32_t kBytesPerPixel>
void CopyOuterPixels(const std::uint8_t* source, std::uint8_t* destination, std::uint32_t stride,
                     std::uint32_t count, std::size_t row_bytes) {
  const std::size_t last_pixel = row_bytes - kBytesPerPixel;
  for (std::uint32_t y = 0; y < count; ++y, source += stride, destination += stride) {
    std::memcpy(destination, source, kBytesPerPixel);
    std::memcpy(destination + last_pixel, source + last_pixel, kBytesPerPixel);
  }
}

template <std::uint32_t kBytesPerPixel, class D>
void SharpenInBands(D d, const ImageView& image, const MutableImageView& result,
                    std::size_t row_bytes) {
  // Copies, since the bytes that are written could otherwise be those of the views.
  const std::uint8_t* source = image.first_row;
  std::uint8_t* destination = result.first_row;
  const auto stride = static_cast<std::uint32_t>(image.stride);
  std::uint32_t count = image.height;
  const std::uint32_t rows_of_band = RowsOfBand(stride);
  while (count > 0) {
    const std::uint32_t rows = HWY_MIN(count, rows_of_band);
    SharpenBand<kBytesPerPixel>(d, source, destination, stride, rows, row_bytes);
    CopyOuterPixels<kBytesPerPixel>(source, destination, stride, rows, row_bytes);
    source += std::size_t{rows} * stride;
    destination += std::size_t{rows} * stride;
    count -= rows;
  }
}

template <std::uint32_t kBytesPerPixel>
void SharpenRows(const ImageView& source, const MutableImageView& destination) {
  const std::size_t row_bytes = std::size_t{source.width} * kBytesPerPixel;
  const std::size_t inner_bytes = row_bytes - std::size_t{2} * kBytesPerPixel;
  if (inner_bytes >= hn::MaxLanes(Bytes())) {
    SharpenInBands<kBytesPerPixel>(Bytes(), source, destination, row_bytes);
  } else if (inner_bytes >= hn::MaxLanes(SixteenBytes())) {
    SharpenInBands<kBytesPerPixel>(SixteenBytes(), source, destination, row_bytes);
  } else if constexpr (kBytesPerPixel == 1) {
    kPlainSharpenKernels.rows_of_8_bit(source, destination);
  } else {
    kPlainSharpenKernels.rows_of_24_bit(source, destination);
  }
}

const SharpenKernels& Kernels() {
  static const SharpenKernels kernels{
      .target = hwy::TargetName(HWY_TARGET),
      .rows_of_8_bit = SharpenRows<1>,
      .rows_of_24_bit = SharpenRows<3>,
  };
  return kernels;
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pixtola
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pixtola {

HWY_EXPORT(Kernels);

const SharpenKernels& BestSharpenKernels() { return HWY_DYNAMIC_DISPATCH(Kernels)(); }

}  // namespace pixtola
#endif
