// The gray kernels in vectors, compiled once for each instruction set.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/pixels/gray/gray_kernels_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "convert/pixels/gray/gray_kernels.h"

HWY_BEFORE_NAMESPACE();
namespace pixtola {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR

const GrayKernels& Kernels() { return kPlainGrayKernels; }

#else

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
/// For what is left of a row where the full vector no longer fits.
using SixteenBytes = hn::CappedTag<std::uint8_t, 16>;

template <class D>
inline constexpr std::uint32_t kLanes = static_cast<std::uint32_t>(hn::MaxLanes(D()));

// The gray weights without their tables, exact for every colour: floor(i * weight * 256) is
// i * 256 * K / 65536 for red and blue. No single K does it for green, whose weight is split into
// its whole part and the rest.
constexpr std::uint16_t kRedFactor = 19661;
constexpr std::uint16_t kBlueFactor = 7209;
constexpr std::uint16_t kGreenWhole = 151;
constexpr std::uint16_t kGreenRest = 2622;

/// The sum of weights in 16-bit lanes; its upper byte is the gray. Red and blue are given times
/// 256.
template <class V>
HWY_INLINE V WeightSum(V red256, V green, V blue256) {
  const hn::DFromV<V> d;
  const V red = hn::MulHigh(red256, hn::Set(d, kRedFactor));
  const V blue = hn::MulHigh(blue256, hn::Set(d, kBlueFactor));
  const V green_whole = hn::Mul(green, hn::Set(d, kGreenWhole));
  const V green_rest = hn::MulHigh(green, hn::Set(d, kGreenRest));
  return hn::Add(hn::Add(red, blue), hn::Add(green_whole, green_rest));
}

/// Gray of whole vectors of bytes, one vector a channel: first the even pixels, then the odd ones.
template <class V>
HWY_INLINE V GrayOfChannels(V blue8, V green8, V red8) {
  const hn::DFromV<V> d;
  const hn::RepartitionToWide<decltype(d)> d16;
  const auto blue = hn::BitCast(d16, blue8);
  const auto green = hn::BitCast(d16, green8);
  const auto red = hn::BitCast(d16, red8);
  const auto upper = hn::Set(d16, std::uint16_t{0xFF00});
  const auto even =
      WeightSum(hn::ShiftLeft<8>(red), hn::AndNot(upper, green), hn::ShiftLeft<8>(blue));
  const auto odd = WeightSum(hn::And(upper, red), hn::ShiftRight<8>(green), hn::And(upper, blue));
  return hn::OddEven(hn::BitCast(d, odd), hn::BitCast(d, hn::ShiftRight<8>(even)));
}

/// Converts whole vectors of pixels from `x` on and returns where it stopped.
template <class D>
std::uint32_t GrayFrom24Bit(D d, const std::uint8_t* source, std::uint32_t x, std::uint32_t count,
                            std::uint8_t* gray) {
  for (; count - x >= kLanes<D>; x += kLanes<D>) {
    hn::Vec<D> blue, green, red;
    hn::LoadInterleaved3(d, source + std::size_t{x} * 3, blue, green, red);
    hn::StoreU(GrayOfChannels(blue, green, red), d, gray + x);
  }
  return x;
}

#if HWY_TARGET == HWY_AVX3_DL

/// The weight sums of 32 pixels of 24 bits, whose blue bytes are every third one from `first_blue`
/// on in two vectors: one instruction selects a whole channel.
HWY_INLINE hn::Vec<hn::ScalableTag<std::uint16_t>> WeightSumOfTriples(hn::Vec<Bytes> bytes,
                                                                      hn::Vec<Bytes> more_bytes,
                                                                      hn::Vec<Bytes> first_blue) {
  const Bytes d;
  using V16 = hn::Vec<hn::ScalableTag<std::uint16_t>>;
  constexpr __mmask64 kLower = 0x5555555555555555;  // the lower bytes of 16-bit lanes
  const auto green = hn::Add(first_blue, hn::Set(d, std::uint8_t{1}));
  const auto red = hn::Add(first_blue, hn::Set(d, std::uint8_t{2}));
  const auto select = [&](__mmask64 lanes, hn::Vec<Bytes> places) HWY_ATTR {
    return V16{_mm512_maskz_permutex2var_epi8(lanes, bytes.raw, places.raw, more_bytes.raw)};
  };
  return WeightSum(select(~kLower, red), select(kLower, green), select(~kLower, first_blue));
}

std::uint32_t GrayFrom24Bit(Bytes d, const std::uint8_t* source, std::uint32_t x,
                            std::uint32_t count, std::uint8_t* gray) {
  alignas(64) std::uint8_t blue_places[64];  // each for the lower and the upper byte of a lane
  alignas(64) std::uint8_t upper_bytes[64];
  for (std::uint32_t i = 0; i < 64; ++i) {
    blue_places[i] = static_cast<std::uint8_t>(i / 2 * 3);
    upper_bytes[i] = static_cast<std::uint8_t>(i * 2 + 1);
  }
  const auto blue = hn::Load(d, blue_places);
  const auto blue_from_32 = hn::Add(blue, hn::Set(d, std::uint8_t{32}));
  const auto upper = hn::Load(d, upper_bytes);
  for (; count - x >= 64; x += 64) {
    const std::uint8_t* pixels = source + std::size_t{x} * 3;
    const auto first = hn::LoadU(d, pixels);
    const auto second = hn::LoadU(d, pixels + 64);
    const auto third = hn::LoadU(d, pixels + 128);
    const auto low = WeightSumOfTriples(first, second, blue);
    const auto high = WeightSumOfTriples(second, third, blue_from_32);
    hn::StoreU(hn::Vec<Bytes>{_mm512_permutex2var_epi8(low.raw, upper.raw, high.raw)}, d, gray + x);
  }
  return x;
}

#endif

void GrayRowFrom24Bit(const std::uint8_t* source, std::uint32_t count, std::uint8_t* gray) {
  std::uint32_t x = GrayFrom24Bit(Bytes(), source, 0, count, gray);
  x = GrayFrom24Bit(SixteenBytes(), source, x, count, gray);
  kPlainGrayKernels.row_from_24_bit(source + std::size_t{x} * 3, count - x, gray + x);
}

/// The weight sums of two vectors of 32-bit pixels.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V WeightSumOfPixels(D d16, V first, V second) {
  const V blue_green = hn::ConcatEven(d16, second, first);
  const V red_alpha = hn::ConcatOdd(d16, second, first);
  return WeightSum(hn::ShiftLeft<8>(red_alpha), hn::ShiftRight<8>(blue_green),
                   hn::ShiftLeft<8>(blue_green));
}

template <class D>
std::uint32_t GrayFrom32Bit(D d, const std::uint8_t* source, std::uint32_t x, std::uint32_t count,
                            std::uint8_t* gray) {
  const hn::RepartitionToWide<D> d16;
  for (; count - x >= kLanes<D>; x += kLanes<D>) {
    const std::uint8_t* pixels = source + std::size_t{x} * 4;
    const auto first = hn::BitCast(d16, hn::LoadU(d, pixels));
    const auto second = hn::BitCast(d16, hn::LoadU(d, pixels + kLanes<D>));
    const auto third = hn::BitCast(d16, hn::LoadU(d, pixels + 2 * kLanes<D>));
    const auto fourth = hn::BitCast(d16, hn::LoadU(d, pixels + 3 * kLanes<D>));
    const auto low = WeightSumOfPixels(d16, first, second);
    const auto high = WeightSumOfPixels(d16, third, fourth);
    hn::StoreU(hn::ConcatOdd(d, hn::BitCast(d, high), hn::BitCast(d, low)), d, gray + x);
  }
  return x;
}

void GrayRowFrom32Bit(const std::uint8_t* source, std::uint32_t count, std::uint8_t* gray) {
  std::uint32_t x = GrayFrom32Bit(Bytes(), source, 0, count, gray);
  x = GrayFrom32Bit(SixteenBytes(), source, x, count, gray);
  kPlainGrayKernels.row_from_32_bit(source + std::size_t{x} * 4, count - x, gray + x);
}

#if HWY_TARGET == HWY_AVX3_DL

/// A table of 256 bytes in four vectors: one instruction looks up in two of them.
class RegisterTable {
 public:
  using V = hn::Vec<Bytes>;

  explicit RegisterTable(const GrayLookup& lookup) {
    const Bytes d;
    for (int part = 0; part < 4; ++part) parts_[part] = hn::LoadU(d, lookup.data() + part * 64);
  }

  HWY_INLINE V Lookup(V index) const {
    const V low{_mm512_permutex2var_epi8(parts_[0].raw, index.raw, parts_[1].raw)};
    const V high{_mm512_permutex2var_epi8(parts_[2].raw, index.raw, parts_[3].raw)};
    return V{_mm512_mask_mov_epi8(low.raw, _mm512_movepi8_mask(index.raw), high.raw)};
  }

 private:
  V parts_[4];
};

#elif HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2

/// A table of 256 bytes in vectors of 16 entries. An index below 128 that has lost k * 16 selects
/// from the k-th vector by its low four bits until it turns negative, which selects 0. The vectors
/// hold differences to the one before, so that the exclusive or of all that were selected is the
/// entry. Narrower vectors would gain nothing over looking up one by one.
class RegisterTable {
 public:
  using V = hn::Vec<Bytes>;

  explicit RegisterTable(const GrayLookup& lookup) {
    const Bytes d;
    auto previous = hn::Zero(d);
    for (int part = 0; part < 16; ++part) {
      // Each half of the table starts anew.
      if (part == 8) previous = hn::Zero(d);
      const auto entries = hn::LoadDup128(d, lookup.data() + part * 16);
      hn::StoreU(hn::Xor(entries, previous), d, differences_ + part * kLanes<Bytes>);
      previous = entries;
    }
  }

  HWY_INLINE V Lookup(V index) const {
    const Bytes d;
    const hn::RebindToSigned<Bytes> d_signed;
    const auto upper_bit = hn::Set(d, std::uint8_t{0x80});
    const V low = LookupHalf(index, differences_);
    const V high = LookupHalf(hn::Xor(index, upper_bit), differences_ + 8 * kLanes<Bytes>);
    const auto is_high =
        hn::MaskFromVec(hn::BitCast(d, hn::BroadcastSignBit(hn::BitCast(d_signed, index))));
    return hn::IfThenElse(is_high, high, low);
  }

 private:
  HWY_INLINE V LookupHalf(V index, const std::uint8_t* differences) const {
    const Bytes d;
    const auto sixteen = hn::Set(d, std::uint8_t{16});
    V result = hn::TableLookupBytesOr0(hn::LoadU(d, differences), index);
    for (std::uint32_t part = 1; part < 8; ++part) {
      index = hn::Sub(index, sixteen);
      result = hn::Xor(
          result, hn::TableLookupBytesOr0(hn::LoadU(d, differences + part * kLanes<Bytes>), index));
    }
    return result;
  }

  std::uint8_t differences_[16 * kLanes<Bytes>];
};

#endif

#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2

void GrayRowFrom8Bit(const std::uint8_t* source, std::uint32_t count, const GrayLookup& lookup,
                     std::uint8_t* gray) {
  const Bytes d;
  const RegisterTable table(lookup);
  std::uint32_t x = 0;
  for (; count - x >= kLanes<Bytes>; x += kLanes<Bytes>) {
    hn::StoreU(table.Lookup(hn::LoadU(d, source + x)), d, gray + x);
  }
  kPlainGrayKernels.row_from_8_bit(source + x, count - x, lookup, gray + x);
}

#else

void GrayRowFrom8Bit(const std::uint8_t* source, std::uint32_t count, const GrayLookup& lookup,
                     std::uint8_t* gray) {
  kPlainGrayKernels.row_from_8_bit(source, count, lookup, gray);
}

#endif

/// Not in vectors, but with half the increments: one for each pair.
void CountLevels(const std::uint8_t* values, std::uint64_t count, Histogram& levels,
                 std::uint32_t* pairs) {
  if (pairs == nullptr) return kPlainGrayKernels.count_levels(values, count, levels, nullptr);
  std::uint64_t i = 0;
  for (; count - i >= 8; i += 8) {
    std::uint64_t eight;
    hwy::CopyBytes<8>(values + i, &eight);
    if (eight == (eight >> 8 | eight << 56)) {
      // All the same. On blank paper the increments would wait for one another.
      levels[eight & 0xFF] += 8;
      continue;
    }
    // In either byte order, each value of a pair is counted.
    ++pairs[eight & 0xFFFF];
    ++pairs[eight >> 16 & 0xFFFF];
    ++pairs[eight >> 32 & 0xFFFF];
    ++pairs[eight >> 48];
  }
  for (; i < count; ++i) ++levels[values[i]];
}

const GrayKernels& Kernels() {
  static const GrayKernels kernels{
      .target = hwy::TargetName(HWY_TARGET),
      .row_from_1_bit = kPlainGrayKernels.row_from_1_bit,
      .row_from_8_bit = GrayRowFrom8Bit,
      .row_from_24_bit = GrayRowFrom24Bit,
      .row_from_32_bit = GrayRowFrom32Bit,
      .count_levels = CountLevels,
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

const GrayKernels& BestGrayKernels() { return HWY_DYNAMIC_DISPATCH(Kernels)(); }

}  // namespace pixtola
#endif
