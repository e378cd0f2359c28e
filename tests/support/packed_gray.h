// A whole gray image without padding, read row by row.
#ifndef PIXTOLA_TESTS_SUPPORT_PACKED_GRAY_H_
#define PIXTOLA_TESTS_SUPPORT_PACKED_GRAY_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "convert/pixels/gray/gray_reader.h"

namespace pixtola::test {

class PackedGray final : public GrayReader {
 public:
  PackedGray(const std::uint8_t* gray, std::uint32_t width) : gray_(gray), width_(width) {}

  void Read(std::uint32_t first_row, std::uint32_t row_count, std::uint8_t* gray,
            std::size_t gray_stride) const override {
    for (std::uint32_t i = 0; i < row_count; ++i) {
      std::copy_n(gray_ + std::size_t{first_row + i} * width_, width_, gray + i * gray_stride);
    }
  }

 private:
  const std::uint8_t* gray_;
  std::uint32_t width_;
};

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_PACKED_GRAY_H_
