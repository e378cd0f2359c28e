#include "io/pcx_layout.h"

#include <algorithm>
#include <iterator>

namespace pixtola {

namespace {

constexpr PcxLayout kLayouts[] = {
    {1, 1, false, PixelFormat1bppIndexed, 0, CopyPcxRow},
    {1, 2, false, PixelFormat4bppIndexed, 4, MergePcx1x2},
    {1, 3, false, PixelFormat4bppIndexed, 8, MergePcx1x3},
    {1, 4, false, PixelFormat4bppIndexed, 16, MergePcx1x4},
    {2, 1, false, PixelFormat4bppIndexed, 4, WidenPcx2To4},
    {2, 2, false, PixelFormat4bppIndexed, 16, MergePcx2x2},
    {2, 3, true, PixelFormat8bppIndexed, 64, MergePcx2x3},
    {2, 4, true, PixelFormat8bppIndexed, 256, MergePcx2x4},
    {4, 1, false, PixelFormat4bppIndexed, 16, CopyPcxRow},
    {4, 2, true, PixelFormat8bppIndexed, 256, MergePcx4x2},
    {8, 1, true, PixelFormat8bppIndexed, 256, CopyPcxRow},
    {8, 3, true, PixelFormat24bppRGB, 0, InterleavePcxRgb},
    {8, 4, true, PixelFormat32bppARGB, 0, InterleavePcxRgba},
};

}  // namespace

const PcxLayout* FindPcxLayout(const PcxHeader& header) {
  const auto* found =
      std::find_if(std::begin(kLayouts), std::end(kLayouts), [&header](const PcxLayout& layout) {
        return layout.bits_per_pixel == header.bits_per_pixel && layout.planes == header.planes;
      });
  if (found == std::end(kLayouts)) return nullptr;
  const bool is_old = header.version != kPcxNewestVersion;
  return found->needs_newest_version && is_old ? nullptr : found;
}

}  // namespace pixtola
