#include "convert/pixels/otsu/pack_kernels.h"

namespace pixtola {

namespace {

void PackRow(std::uint8_t threshold, const std::uint8_t* gray, std::uint32_t width,
             std::uint8_t* destination) {
  for (std::uint64_t x = 0; x < width; x += 8) {
    const std::uint64_t pixels = width - x < 8 ? width - x : 8;
    unsigned bits = 0;
    for (std::uint64_t i = 0; i < pixels; ++i) {
      if (gray[x + i] >= threshold) bits |= 0x80U >> i;
    }
    destination[x / 8] = static_cast<std::uint8_t>(bits);
  }
}

}  // namespace

constexpr PackKernels kPlainPackKernels{.target = "plain", .row = PackRow};

#if !PIXTOLA_WITH_HIGHWAY
const PackKernels& BestPackKernels() { return kPlainPackKernels; }
#endif

}  // namespace pixtola
