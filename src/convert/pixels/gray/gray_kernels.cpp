#include "convert/pixels/gray/gray_kernels.h"

#include "format/gray_weights.h"

namespace pixtola {

namespace {

void GrayRowFrom1Bit(const std::uint8_t* source, std::uint32_t count, std::uint8_t* gray) {
  for (std::uint32_t x = 0; x < count; ++x) {
    gray[x] = (source[x / 8] >> (7 - x % 8) & 1) != 0 ? 255 : 0;
  }
}

void GrayRowFrom8Bit(const std::uint8_t* source, std::uint32_t count, const GrayLookup& lookup,
                     std::uint8_t* gray) {
  for (std::uint32_t x = 0; x < count; ++x) gray[x] = lookup[source[x]];
}

void GrayRowFrom24Bit(const std::uint8_t* source, std::uint32_t count, std::uint8_t* gray) {
  for (std::uint32_t x = 0; x < count; ++x, source += 3) {
    gray[x] = GrayValue(source[2], source[1], source[0]);
  }
}

void GrayRowFrom32Bit(const std::uint8_t* source, std::uint32_t count, std::uint8_t* gray) {
  for (std::uint32_t x = 0; x < count; ++x, source += 4) {
    gray[x] = GrayValue(source[2], source[1], source[0]);
  }
}

void CountLevels(const std::uint8_t* values, std::uint64_t count, Histogram& levels,
                 std::uint32_t* /*pairs*/) {
  for (std::uint64_t i = 0; i < count; ++i) ++levels[values[i]];
}

}  // namespace

constexpr GrayKernels kPlainGrayKernels{
    .target = "plain",
    .row_from_1_bit = GrayRowFrom1Bit,
    .row_from_8_bit = GrayRowFrom8Bit,
    .row_from_24_bit = GrayRowFrom24Bit,
    .row_from_32_bit = GrayRowFrom32Bit,
    .count_levels = CountLevels,
};

#if !PIXTOLA_WITH_HIGHWAY
const GrayKernels& BestGrayKernels() { return kPlainGrayKernels; }
#endif

}  // namespace pixtola
