// Planes in vectors, compiled once for each instruction set.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "io/pixels/pcx_plane_kernels_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "io/pixels/pcx_plane_kernels.h"

HWY_BEFORE_NAMESPACE();
namespace pixtola {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR

const PcxPlaneKernels& Kernels() { return kPlainPcxPlaneKernels; }

#else

namespace hn = hwy::HWY_NAMESPACE;

// Wider vectors gain nothing: memory is the limit.
using Bytes = hn::CappedTag<std::uint8_t, 32>;
constexpr std::size_t kLanes = hn::MaxLanes(Bytes());

void InterleaveRgb(const std::uint8_t* red, const std::uint8_t* green, const std::uint8_t* blue,
                   std::size_t count, std::uint8_t* pixels) {
  const Bytes d;
  std::size_t x = 0;
  for (; count - x >= kLanes; x += kLanes) {
    hn::StoreInterleaved3(hn::LoadU(d, blue + x), hn::LoadU(d, green + x), hn::LoadU(d, red + x), d,
                          pixels + 3 * x);
  }
  kPlainPcxPlaneKernels.interleave_rgb(red + x, green + x, blue + x, count - x, pixels + 3 * x);
}

void InterleaveRgba(const std::uint8_t* red, const std::uint8_t* green, const std::uint8_t* blue,
                    const std::uint8_t* alpha, std::size_t count, std::uint8_t* pixels) {
  const Bytes d;
  std::size_t x = 0;
  for (; count - x >= kLanes; x += kLanes) {
    hn::StoreInterleaved4(hn::LoadU(d, blue + x), hn::LoadU(d, green + x), hn::LoadU(d, red + x),
                          hn::LoadU(d, alpha + x), d, pixels + 4 * x);
  }
  kPlainPcxPlaneKernels.interleave_rgba(red + x, green + x, blue + x, alpha + x, count - x,
                                        pixels + 4 * x);
}

void SeparateRgb(const std::uint8_t* pixels, std::size_t count, std::uint8_t* red,
                 std::uint8_t* green, std::uint8_t* blue) {
  const Bytes d;
  std::size_t x = 0;
  for (; count - x >= kLanes; x += kLanes) {
    hn::Vec<Bytes> first, second, third;
    hn::LoadInterleaved3(d, pixels + 3 * x, first, second, third);
    hn::StoreU(first, d, blue + x);
    hn::StoreU(second, d, green + x);
    hn::StoreU(third, d, red + x);
  }
  kPlainPcxPlaneKernels.separate_rgb(pixels + 3 * x, count - x, red + x, green + x, blue + x);
}

const PcxPlaneKernels& Kernels() {
  static const PcxPlaneKernels kernels{.target = hwy::TargetName(HWY_TARGET),
                                       .interleave_rgb = InterleaveRgb,
                                       .interleave_rgba = InterleaveRgba,
                                       .separate_rgb = SeparateRgb};
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

const PcxPlaneKernels& BestPcxPlaneKernels() { return HWY_DYNAMIC_DISPATCH(Kernels)(); }

}  // namespace pixtola
#endif
