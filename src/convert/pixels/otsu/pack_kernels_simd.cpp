// Packing in vectors, compiled once for each instruction set.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/pixels/otsu/pack_kernels_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "convert/pixels/otsu/pack_kernels.h"

HWY_BEFORE_NAMESPACE();
namespace pixtola {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR

const PackKernels& Kernels() { return kPlainPackKernels; }

#else

namespace hn = hwy::HWY_NAMESPACE;

/// Masks have the first lane in the least significant bit: reversing the pixels of each byte puts
/// the leftmost in the most significant one.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V ReverseEights(D d, V pixels) {
  alignas(16) static constexpr std::uint8_t kOrder[16] = {7,  6,  5,  4,  3,  2,  1, 0,
                                                          15, 14, 13, 12, 11, 10, 9, 8};
  return hn::TableLookupBytes(pixels, hn::LoadDup128(d, kOrder));
}

/// Packs whole vectors of pixels from `x` on and returns where it stopped.
template <class D>
std::uint32_t Pack(D d, std::uint8_t threshold, const std::uint8_t* gray, std::uint32_t x,
                   std::uint32_t width, std::uint8_t* destination) {
  constexpr std::uint32_t kLanes = static_cast<std::uint32_t>(hn::MaxLanes(D()));
  const auto first_white = hn::Set(d, threshold);
  for (; width - x >= kLanes; x += kLanes) {
    const auto pixels = ReverseEights(d, hn::LoadU(d, gray + x));
    const auto is_white = hn::Eq(hn::Max(pixels, first_white), pixels);
    hn::StoreMaskBits(d, is_white, destination + x / 8);
  }
  return x;
}

void PackRow(std::uint8_t threshold, const std::uint8_t* gray, std::uint32_t width,
             std::uint8_t* destination) {
  std::uint32_t x = Pack(hn::ScalableTag<std::uint8_t>(), threshold, gray, 0, width, destination);
  x = Pack(hn::CappedTag<std::uint8_t, 16>(), threshold, gray, x, width, destination);
  kPlainPackKernels.row(threshold, gray + x, width - x, destination + x / 8);
}

const PackKernels& Kernels() {
  static const PackKernels kernels{.target = hwy::TargetName(HWY_TARGET), .row = PackRow};
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

const PackKernels& BestPackKernels() { return HWY_DYNAMIC_DISPATCH(Kernels)(); }

}  // namespace pixtola
#endif
