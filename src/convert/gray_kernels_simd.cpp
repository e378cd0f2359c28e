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

#if HWY_TARGET == HWY_SCALAR

const GrayKernels& Kernels() { return kPlainGrayKernels; }

#else

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
/// For what is left of a row where the full vector no longer fits.
using SixteenBytes = hn::CappedTag<std::uint8_t, 16>;

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

template <class D>
std::uint32_t GrayFrom24Bit(D d, const std::uint8_t* source, std::uint32_t x, std::uint32_t count,
                            std::uint8_t* gray) {
  constexpr std::uint32_t kLanes = static_cast<std::uint32_t>(hn::MaxLanes(D()));
  for (; count - x >= kLanes; x += kLanes) {
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

const GrayKernels& Kernels() {
  static const GrayKernels kernels{
      .target = hwy::TargetName(HWY_TARGET),
      .row_from_1_bit = kPlainGrayKernels.row_from_1_bit,
      .row_from_8_bit = kPlainGrayKernels.row_from_8_bit,
      .row_from_24_bit = GrayRowFrom24Bit,
      .row_from_32_bit = kPlainGrayKernels.row_from_32_bit,
      .count_levels = kPlainGrayKernels.count_levels,
  };
  return kernels;
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace pixtola
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pixtola {

HWY_EXPORT(Kernels);

const GrayKernels& BestGrayKernels() { return HWY_DYNAMIC_DISPATCH(Kernels)(); }

}  // namespace pixtola
#endif
