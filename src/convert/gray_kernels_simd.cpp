// The gray kernels in vectors, compiled once for each instruction set.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/gray_kernels_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "base/memory.h"
#include "convert/gray_kernels.h"

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

/// The sum of weights in 16-bit lanes; its upper byte is the gray. Red and blue come times 256.
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

#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2

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

/// Counts values two at a time: one counter for each pair halves the increments.
class PairCounter {
 public:
  /// `pairs` has 65536 counters of 0.
  PairCounter(std::uint32_t* pairs, Histogram& histogram) : pairs_(pairs), histogram_(histogram) {}

  void Count(const std::uint8_t* values, std::uint64_t count) {
    std::uint64_t i = 0;
    for (; count - i >= 8; i += 8) {
      std::uint64_t eight;
      hwy::CopyBytes<8>(values + i, &eight);
      if (eight == (eight >> 8 | eight << 56)) {
        // All the same. On flat paper the same counters would wait for one another.
        histogram_[eight & 0xFF] += 8;
        continue;
      }
      ++pairs_[eight & 0xFFFF];
      ++pairs_[eight >> 16 & 0xFFFF];
      ++pairs_[eight >> 32 & 0xFFFF];
      ++pairs_[eight >> 48];
    }
    for (; i < count; ++i) ++histogram_[values[i]];
  }

  /// Adds what the pairs hold to the histogram.
  void Fold() {
    for (std::uint32_t first = 0; first < 256; ++first) {
      std::uint32_t sum = 0;
      for (std::uint32_t second = 0; second < 256; ++second) {
        const std::uint32_t pairs = pairs_[first * 256 + second];
        sum += pairs;
        histogram_[second] += pairs;
      }
      histogram_[first] += sum;
    }
  }

 private:
  std::uint32_t* pairs_;
  Histogram& histogram_;
};

void CountLevels(const std::uint8_t* values, std::uint32_t width, std::uint32_t height,
                 std::uint32_t stride, Histogram& histogram) {
  constexpr std::uint64_t kFewestForPairs = 1 << 18;  // below, clearing and folding costs more
  const std::uint64_t count = std::uint64_t{width} * height;
  const Block<std::uint32_t> pairs =
      count < kFewestForPairs ? nullptr : AllocateZeroed<std::uint32_t>(65536);
  if (pairs == nullptr) {
    return kPlainGrayKernels.count_levels(values, width, height, stride, histogram);
  }
  PairCounter counter(pairs.get(), histogram);
  if (stride == width) {
    counter.Count(values, count);
  } else {
    for (std::uint32_t y = 0; y < height; ++y) {
      counter.Count(values + std::size_t{y} * stride, width);
    }
  }
  counter.Fold();
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
