// The rows of a source as gray, made when they are needed. Making a row again costs less than
// keeping a whole gray image: memory that is touched for the first time is slow.
#ifndef PIXTOLA_CONVERT_PIXELS_GRAY_GRAY_ROWS_H_
#define PIXTOLA_CONVERT_PIXELS_GRAY_GRAY_ROWS_H_

#include <cstdint>
#include <optional>

#include "convert/pixels/gray/gray_kernels.h"
#include "convert/pixels/gray/gray_reader.h"
#include "convert/pixels/gray/level_counter.h"
#include "format/histogram.h"
#include "format/image_view.h"

namespace pixtola {

/// A source of 1, 8, 24 or 32 bits per pixel, seen as gray rows.
class GrayRows final : public GrayReader {
 public:
  /// `lookup` is that of an 8-bit source; null for other depths. It is copied.
  GrayRows(const ImageView& source, const GrayLookup* lookup);

  /// Whether the depth is one of these, with the lookup that it needs. Otherwise nothing else may
  /// be called.
  bool IsValid() const { return is_valid_; }

  /// The gray of the first `count` pixels of row `y`, which may be more than the row's width where
  /// the source has bytes of padding for them.
  void ConvertRow(std::uint32_t y, std::uint32_t count, std::uint8_t* gray) const;

  void Read(std::uint32_t first_row, std::uint32_t row_count, std::uint8_t* gray,
            std::size_t gray_stride) const override;

  /// The smallest value of an 8-bit source's pixels that is `level` or lighter, if all values above
  /// it are so as well and all below it darker: as in a palette sorted by gray.
  std::optional<std::uint8_t> FirstValueFrom(std::uint8_t level) const;

  /// The levels of the whole source; nothing when out of memory.
  std::optional<Histogram> CountLevels() const;

 private:
  std::uint32_t width() const { return source_.width; }
  std::uint32_t height() const { return source_.height; }
  std::uint64_t size() const { return std::uint64_t{width()} * height(); }
  Histogram CountIndexedLevels() const;
  /// Converts a row and counts its levels. Meanwhile the next row is prefetched.
  void ConvertToGrayWithHistogram(std::uint32_t y, std::uint8_t* gray, LevelCounter& counter) const;

  ImageView source_;
  bool is_valid_;
  GrayLookup lookup_{};
  const GrayKernels& kernels_;
};

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_GRAY_GRAY_ROWS_H_
