// Where the rows of a gray image come from, for what reads each of them when it needs it.
#ifndef PIXTOLA_CONVERT_PIXELS_GRAY_GRAY_READER_H_
#define PIXTOLA_CONVERT_PIXELS_GRAY_GRAY_READER_H_

#include <cstddef>
#include <cstdint>

namespace pixtola {

class GrayReader {
 public:
  /// Writes the gray values of `row_count` rows. A row starts `gray_stride` bytes after the one
  /// before; only its pixels are written.
  virtual void Read(std::uint32_t first_row, std::uint32_t row_count, std::uint8_t* gray,
                    std::size_t gray_stride) const = 0;

 protected:
  ~GrayReader() = default;
};

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_GRAY_GRAY_READER_H_
