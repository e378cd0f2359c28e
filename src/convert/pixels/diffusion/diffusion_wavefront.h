// The path of vector lanes through an image that is diffused: which lane works where, and its
// memory.
//
// A pixel needs the errors of two pixels to its left and of five in the row above, up to two
// columns to the right. Lanes can therefore work on consecutive rows at the same time when each one
// stays some columns behind the one above it. Nothing here depends on the instruction set.
#ifndef PIXTOLA_CONVERT_PIXELS_DIFFUSION_DIFFUSION_WAVEFRONT_H_
#define PIXTOLA_CONVERT_PIXELS_DIFFUSION_DIFFUSION_WAVEFRONT_H_

#include <cstddef>
#include <cstdint>

#include "base/memory.h"
#include "convert/pixels/diffusion/diffusion_kernels.h"
#include "format/image_view.h"

namespace pixtola {

/// True when levels like these make all pixels of any image white, or all of them black. The image
/// is then written. Otherwise the levels are in the order low < threshold <= high.
bool DiffuseWithoutErrors(const DiffusionLevels& levels, const MutableImageView& destination);

/// A piece is some rows of the image. `lanes` lanes go through it in bands of as many rows. The
/// highest lane has the top row of a band, and in every step each lane is `kLag` columns behind the
/// lane above it. After its last column a lane passes some columns of no error and goes on with its
/// row of the next band, while the lower lanes are still in their rows of the band before. A band
/// takes `period()` steps, in blocks of `kBlock`; the band after the last one, in which no row
/// begins, takes fewer.
///
/// The next piece goes on with what the last row of the one before, a whole number of bands, passes
/// on.
class DiffusionWavefront {
 public:
  static constexpr std::uint32_t kLag = 4;
  static constexpr std::uint32_t kBlock = 16;
  /// Readable bytes after the entry of a step in the tables below, for a whole vector.
  static constexpr std::uint32_t kSlack = 64;

  /// `lanes` is a multiple of 4.
  DiffusionWavefront(std::uint32_t width, std::uint32_t lanes);

  /// False when out of memory; nothing else may be called then.
  bool IsReady() const { return memory_ != nullptr; }

  /// Goes to the first piece or to the next: its packed gray rows, and the rows of 1 bit per pixel
  /// that they become.
  void EnterPiece(const std::uint8_t* gray, const MutableImageView& destination);

  std::uint64_t bands() const { return bands_; }
  std::uint64_t period() const { return period_; }
  std::uint64_t StepsOfBand(std::uint64_t band) const;

  /// Begins a band; the first one is 0.
  void EnterBand(std::uint64_t band);

  /// True when some lane may be outside its row during a block of steps.
  bool HasInactiveLanes(std::uint64_t step) const {
    return step < std::uint64_t{kLag} * (lanes_ - 1) || step + kBlock > width_;
  }

  /// For one step: a byte for each lane, not 0 if the lane is outside its row.
  const std::uint8_t* InactiveLanes(std::uint64_t step) const {
    return inactive_ + step % kLag * inactive_bytes_ + step / kLag;
  }

  /// Points each lane to its gray values of a block of steps; those outside its row are undefined.
  void PointLanes(std::uint64_t step, const std::uint8_t** lanes);

  /// True when PointLanes may be left out: all that it gave for the block before need only be
  /// advanced by `kBlock`.
  bool IsAsBefore(std::uint64_t step) const { return step >= steady_begin_ && step < steady_end_; }

  // Two bytes for each column go from the lowest lane to the highest one in the next band. From
  // `Upper...` the highest lane reads in this step, to `Lower...` the lowest one writes. The
  // `kSlack` bytes after an entry that is written are no longer needed.
  const std::uint8_t* UpperNear(std::uint64_t step) const { return near_ + step; }
  const std::uint8_t* UpperFar(std::uint64_t step) const { return far_ + step; }
  std::uint8_t* LowerNear(std::uint64_t step) const { return near_ + LowerColumn(step); }
  std::uint8_t* LowerFar(std::uint64_t step) const { return far_ + LowerColumn(step); }
  /// What the highest lane finds in the first band of the first piece.
  void FillRows(std::uint8_t near, std::uint8_t far);

  /// Writes `count` bytes of each lane, the result of 8 steps each, from the bytes `lane_bytes`
  /// (16 for each lane). The first of them ended in this band with step 8 * `first_byte` + 7 in the
  /// even rows of the band, four steps before in the odd ones.
  void StoreBytes(std::uint64_t first_byte, std::uint32_t count, const std::uint8_t* lane_bytes);

 private:
  /// The column after which the lowest lane is one lag behind. Until it enters its first row in the
  /// piece it writes where nobody reads.
  std::uint64_t LowerColumn(std::uint64_t step) const {
    const std::uint64_t lag = std::uint64_t{kLag} * lanes_;
    if (step >= lag) return step - lag;
    return band_ == 0 ? unread_column_ + step : step + period_ - lag;
  }
  void MarkInactiveLanes(bool is_first_band);
  void PointRun(std::int64_t first, std::int64_t end, std::int64_t origin,
                const std::uint8_t** lanes);
  void StoreRun(std::uint64_t row, std::int64_t first_byte, std::uint32_t count,
                const std::uint8_t* bytes);

  const std::uint8_t* gray_ = nullptr;
  MutableImageView destination_{};
  std::uint32_t width_;
  std::uint32_t lanes_;
  std::uint64_t period_;
  std::uint64_t bands_ = 0;
  std::uint64_t row_bytes_;
  std::uint64_t band_ = 0;
  std::uint64_t steady_begin_ = 0;
  std::uint64_t steady_end_ = 0;

  std::uint64_t unread_column_;  ///< past all that are read
  std::uint64_t column_bytes_;
  std::uint64_t inactive_bytes_;
  Block<std::uint8_t> memory_;
  std::uint8_t* near_ = nullptr;
  std::uint8_t* far_ = nullptr;
  std::uint8_t* inactive_ = nullptr;
  std::uint8_t* staging_ = nullptr;
};

}  // namespace pixtola

#endif  // PIXTOLA_CONVERT_PIXELS_DIFFUSION_DIFFUSION_WAVEFRONT_H_
