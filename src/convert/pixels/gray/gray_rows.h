// The rows of a source as gray, made when they are needed. Making a row again costs less than
// keeping a whole gray image: memory that is touched for the first time is slow.
#ifndef PIXTOLA_CONVERT_PIXELS_GRAY_GRAY_ROWS_H_
#define PIXTOLA_CONVERT_PIXELS_GRAY_GRAY_ROWS_H_

#include <cstdint>
#include <optional>

#include "convert/pixels/gray/gray_kernels.h"
#include "convert/pixels/gray/gray_reader.h"
#include "convert/pixels/gray/level_counter.h"
#include "platform.h"

namespace pixtola {

/// The gray of each palette entry, alpha ignored; values at or above the palette's Count give 0.
GrayLookup MakeGrayLookup(const Gdiplus::ColorPalette& palette);

/// A source of 1, 8, 24 or 32 bits a pixel, seen as gray rows.
class GrayRows final : public GrayReader {
 public:
  /// The palette is that of an 8-bit source; null for other depths.
  GrayRows(const std::uint8_t* source, std::uint32_t width, std::uint32_t height,
           std::uint32_t source_stride, std::uint32_t source_bits_per_pixel,
           const Gdiplus::ColorPalette* palette);

  /// Whether there is such a depth, and the palette that it needs. Otherwise nothing else may be
  /// called.
  bool IsValid() const { return is_valid_; }

  std::uint32_t width() const { return width_; }
  std::uint32_t height() const { return height_; }
  const std::uint8_t* SourceRow(std::uint32_t y) const {
    return source_ + std::size_t{y} * stride_;
  }

  /// The gray of the first `count` pixels of row `y`, which may be more than the row's width where
  /// the source has bytes of padding for them.
  void ConvertRow(std::uint32_t y, std::uint32_t count, std::uint8_t* gray) const;

  void Read(std::uint32_t first_row, std::uint32_t row_count, std::uint8_t* gray,
            std::size_t gray_stride) const override;

  /// The smallest value of an 8-bit source's pixels that is `level` or lighter, if all values above
  /// it are so as well and all below it darker: what a palette in the order of its grays has.
  std::optional<std::uint8_t> FirstValueFrom(std::uint8_t level) const;

  /// The levels of the whole source. Nothing when memory lacks.
  std::optional<Histogram> CountLevels() const;

 private:
  std::uint64_t size() const { return std::uint64_t{width_} * height_; }
  Histogram CountIndexedLevels() const;
  /// Converts a row and counts its levels. Meanwhile the memory has time to bring the next row.
  void ConvertToGrayWithHistogram(std::uint32_t y, std::uint8_t* gray, LevelCounter& counter) const;

  const std::uint8_t* source_;
  std::uint32_t width_;
  std::uint32_t height_;
  std::uint32_t stride_;
  std::uint32_t bits_per_pixel_;
  bool is_valid_;
  GrayLookup lookup_{};
  const GrayKernels& kernels_;
};

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_GRAY_GRAY_ROWS_H_
