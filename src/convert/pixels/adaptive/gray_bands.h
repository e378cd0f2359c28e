// The latest rows of a gray image as the adaptive conversion goes down it, instead of the whole
// image: memory that is touched for the first time is slow.
#ifndef PIXTOLA_CONVERT_PIXELS_ADAPTIVE_GRAY_BANDS_H_
#define PIXTOLA_CONVERT_PIXELS_ADAPTIVE_GRAY_BANDS_H_

#include <cstddef>
#include <cstdint>

#include "base/memory.h"
#include "convert/pixels/adaptive/adaptive_kernels.h"
#include "convert/pixels/gray/gray_reader.h"

namespace pixtola {

/// Reads an image a band at a time: as many rows as a cell has. The rows of a band follow one
/// another, and after each one comes its run-on: the first pixels of the rows below it, as in a
/// packed image.
class GrayBands {
 public:
  /// A window may begin as many bands above the current one as it covers, another one covers as
  /// many from the current one on, and its run-on is in the next.
  static constexpr std::uint32_t kKeptBands = 2 * kWindowSize / kCellSize + 1;

  /// Pixels after a row: a window has at least one cell in the row, and these are the rest of its
  /// width.
  static constexpr std::uint32_t kRunOn = kWindowSize - kCellSize;

  GrayBands(const GrayReader& reader, std::uint32_t width, std::uint32_t height);

  bool has_memory() const { return memory_ != nullptr; }

  /// Makes `band` ready, and all before it that were not. The one below is then read as well. There
  /// are no bands below the image.
  void LoadThrough(std::uint32_t band);

  /// Row `y`, if its band is ready and among the latest. The run-on ends with the image, and with
  /// the band below.
  const std::uint8_t* Row(std::uint32_t y) const { return PlaceOf(y); }

  /// The first pixel of a cell.
  const std::uint8_t* Cell(std::uint32_t row, std::uint32_t column) const {
    return Row(row * kCellSize) + std::size_t{column} * kCellSize;
  }

  /// From one row of a band to the next.
  std::size_t stride() const { return stride_; }

 private:
  std::uint8_t* PlaceOf(std::uint32_t y) const {
    return rows_ + std::size_t{y % (kKeptBands * kCellSize)} * stride_;
  }
  void ReadBand();
  void RunOn(std::uint32_t first_row, std::uint32_t end_row);

  const GrayReader& reader_;
  std::uint32_t width_;
  std::uint32_t height_;
  std::size_t stride_;
  Block<std::uint8_t> memory_;
  std::uint8_t* rows_ = nullptr;
  std::uint32_t ready_rows_ = 0;  ///< from the first one on
  std::uint32_t read_rows_ = 0;
};

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_ADAPTIVE_GRAY_BANDS_H_
