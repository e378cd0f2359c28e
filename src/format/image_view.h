// Pixels in memory as the algorithms see them: rows of one length, one after another.
#ifndef PIXTOLA_FORMAT_IMAGE_VIEW_H_
#define PIXTOLA_FORMAT_IMAGE_VIEW_H_

#include <cstddef>
#include <cstdint>

namespace pixtola {

/// Owns nothing. A view may be of part of an image: its stride is then larger than its rows are
/// long.
///
/// The functions are always inlined, since kernels call them: a copy that was compiled for some
/// instruction set could otherwise become the one that everybody uses.
template <typename Byte>
struct BasicImageView {
  Byte* first_row = nullptr;  ///< the top row
  std::uint32_t width = 0;    ///< pixels
  std::uint32_t height = 0;   ///< rows
  std::ptrdiff_t stride = 0;  ///< bytes from a row to the one below; may be negative
  std::uint32_t bits_per_pixel = 0;

  [[gnu::always_inline]] Byte* Row(std::uint32_t y) const {
    return first_row + static_cast<std::ptrdiff_t>(y) * stride;
  }

  /// `count` rows from `first` on.
  [[gnu::always_inline]] BasicImageView Rows(std::uint32_t first, std::uint32_t count) const {
    return {Row(first), width, count, stride, bits_per_pixel};
  }

  /// The same rows with the bottom row first. There must be a row.
  [[gnu::always_inline]] BasicImageView UpsideDown() const {
    return {Row(height - 1), width, height, -stride, bits_per_pixel};
  }
};

using ImageView = BasicImageView<const std::uint8_t>;
using MutableImageView = BasicImageView<std::uint8_t>;

}  // namespace pixtola

#endif  // PIXTOLA_FORMAT_IMAGE_VIEW_H_
