#include "convert/pixels/diffusion/diffusion_wavefront.h"

#include <algorithm>
#include <cstring>

namespace pixtola {

namespace {

/// Columns without error between a row and the next one of the same lane. Two are enough for the
/// filter; with twelve, a block of steps that is not yet wholly in the next row no longer has
/// pixels of the previous one.
constexpr std::uint64_t kGuardColumns = 12;

constexpr std::uint64_t RoundUpToBlock(std::uint64_t value) {
  constexpr std::uint64_t kBlock = DiffusionWavefront::kBlock;
  return (value + kBlock - 1) / kBlock * kBlock;
}

void FillRow(bool white, std::uint32_t width, std::uint8_t* row, std::size_t stride) {
  std::memset(row, 0, stride);
  if (!white) return;
  std::memset(row, 0xFF, width / 8);
  if (width % 8 != 0) row[width / 8] = static_cast<std::uint8_t>(0xFF00 >> width % 8);
}

}  // namespace

bool DiffuseWithoutErrors(const DiffusionLevels& levels, const MutableImageView& destination) {
  // The upper limit comes last, so with low > high every value is `high`.
  const std::uint8_t lowest = std::min(levels.low, levels.high);
  const bool all_white = lowest >= levels.threshold;
  const bool all_black = levels.high < levels.threshold;
  if (!all_white && !all_black && destination.width != 0 && destination.height != 0) return false;
  for (std::uint32_t y = 0; y < destination.height; ++y) {
    FillRow(all_white, destination.width, destination.Row(y),
            static_cast<std::size_t>(destination.stride));
  }
  return true;
}

DiffusionWavefront::DiffusionWavefront(std::uint32_t width, std::uint32_t lanes)
    : width_(width),
      lanes_(lanes),
      // The lowest lane must have left a column of its row before the highest one reaches it.
      period_(std::max(RoundUpToBlock(width + kGuardColumns),
                       RoundUpToBlock(std::uint64_t{kLag} * lanes + kBlock))),
      row_bytes_((std::uint64_t{width} + 7) / 8),
      unread_column_(period_ + kSlack),
      column_bytes_(unread_column_ + std::uint64_t{kLag} * lanes + kSlack),
      inactive_bytes_(period_ / kLag + lanes + kSlack),
      memory_(AllocateZeroed<std::uint8_t>(2 * column_bytes_ + kLag * inactive_bytes_ +
                                           std::uint64_t{lanes} * kBlock)) {
  if (memory_ == nullptr) return;
  near_ = memory_.get();
  far_ = near_ + column_bytes_;
  inactive_ = far_ + column_bytes_;
  staging_ = inactive_ + kLag * inactive_bytes_;
}

void DiffusionWavefront::EnterPiece(const std::uint8_t* gray, const MutableImageView& destination) {
  gray_ = gray;
  destination_ = destination;
  bands_ = (std::uint64_t{destination.height} + lanes_ - 1) / lanes_;
}

std::uint64_t DiffusionWavefront::StepsOfBand(std::uint64_t band) const {
  if (band < bands_) return period_;
  const std::uint64_t last_rows = destination_.height - (bands_ - 1) * lanes_;
  return RoundUpToBlock(last_rows * kLag);
}

void DiffusionWavefront::FillRows(std::uint8_t near, std::uint8_t far) {
  std::memset(near_, near, column_bytes_);
  std::memset(far_, far, column_bytes_);
}

void DiffusionWavefront::EnterBand(std::uint64_t band) {
  band_ = band;
  if (band <= 1) MarkInactiveLanes(band == 0);
  // From the block after the one in which the last lane enters the band, while that lane, whose
  // place in the image is the last one, still has a whole block before the end of the image.
  steady_begin_ = steady_end_ = 0;
  const std::uint64_t band_end = (band + 1) * lanes_;
  if (width_ < kBlock || band_end > destination_.height) return;
  steady_begin_ = std::uint64_t{kLag} * lanes_ + kBlock;
  const std::uint64_t left = std::uint64_t{width_} * (destination_.height - band_end + 1);
  steady_end_ = left + std::uint64_t{kLag} * (lanes_ - 1) - kBlock + 1;
}

void DiffusionWavefront::MarkInactiveLanes(bool is_first_band) {
  const auto width = static_cast<std::int64_t>(width_);
  // Before their first row lanes are inactive for as long as it takes.
  const std::int64_t guard_begin =
      is_first_band ? INT64_MIN : width - static_cast<std::int64_t>(period_);
  for (std::uint32_t phase = 0; phase < kLag; ++phase) {
    std::uint8_t* const table = inactive_ + phase * inactive_bytes_;
    for (std::uint64_t i = 0; i < inactive_bytes_; ++i) {
      const std::int64_t column =
          (static_cast<std::int64_t>(i) - std::int64_t{lanes_ - 1}) * kLag + phase;
      const bool is_outside = column >= width || (column < 0 && column >= guard_begin);
      table[i] = is_outside ? 0xFF : 0;
    }
  }
}

void DiffusionWavefront::PointLanes(std::uint64_t step, const std::uint8_t** lanes) {
  for (std::uint32_t k = 0; k < lanes_; ++k) lanes[k] = staging_;
  const auto width = static_cast<std::int64_t>(width_);
  const auto top = static_cast<std::int64_t>(band_ * lanes_);
  const auto column = static_cast<std::int64_t>(step);
  const auto rows_from = [this](std::int64_t row) {
    return std::clamp<std::int64_t>(std::int64_t{destination_.height} - row, 0, lanes_);
  };
  // The lanes of the rows from `entered` on are in the band before or have only its guard columns
  // left in this block.
  const std::int64_t entered = std::min<std::int64_t>(lanes_, column / kLag + kBlock / kLag);
  PointRun(0, std::min(entered, rows_from(top)), top * width + column, lanes);
  if (band_ == 0 || entered == lanes_) return;
  const std::int64_t top_before = top - std::int64_t{lanes_};
  PointRun(entered, rows_from(top_before),
           top_before * width + column + static_cast<std::int64_t>(period_), lanes);
}

/// Points the lanes of the rows `first` to `end` of a band, of which row k has its values at
/// `origin` + k * (width - kLag) in the image.
void DiffusionWavefront::PointRun(std::int64_t first, std::int64_t end, std::int64_t origin,
                                  const std::uint8_t** lanes) {
  if (first >= end) return;
  const auto pitch = static_cast<std::int64_t>(width_) - std::int64_t{kLag};
  const auto size = static_cast<std::int64_t>(std::uint64_t{width_} * destination_.height);
  const std::int64_t last = size - std::int64_t{kBlock};
  const auto is_inside = [last](std::int64_t offset) { return offset >= 0 && offset <= last; };
  if (is_inside(origin + first * pitch) && is_inside(origin + (end - 1) * pitch)) {
    for (std::int64_t k = first; k < end; ++k) {
      lanes[lanes_ - 1 - k] = gray_ + (origin + k * pitch);
    }
    return;
  }
  for (std::int64_t k = first; k < end; ++k) {
    const std::int64_t offset = origin + k * pitch;
    const std::int64_t lane = lanes_ - 1 - k;
    if (is_inside(offset)) {
      lanes[lane] = gray_ + offset;
      continue;
    }
    std::uint8_t* const staged = staging_ + lane * kBlock;
    lanes[lane] = staged;
    const std::int64_t begin = std::max<std::int64_t>(offset, 0);
    const std::int64_t stop = std::min(offset + std::int64_t{kBlock}, size);
    if (begin < stop) {
      std::memcpy(staged + (begin - offset), gray_ + begin, static_cast<std::size_t>(stop - begin));
    }
  }
}

void DiffusionWavefront::StoreBytes(std::uint64_t first_byte, std::uint32_t count,
                                    const std::uint8_t* lane_bytes) {
  const std::uint64_t top = band_ * lanes_;
  if (count == kBlock && first_byte >= lanes_ / 2 && first_byte + count < row_bytes_ &&
      top + lanes_ <= destination_.height) {
    std::uint8_t* row = destination_.Row(static_cast<std::uint32_t>(top)) + first_byte;
    for (std::uint32_t k = 0; k < lanes_; ++k, row += destination_.stride) {
      std::memcpy(row - (k + 1) / 2, lane_bytes + std::size_t{lanes_ - 1 - k} * kBlock, kBlock);
    }
    return;
  }
  for (std::uint32_t k = 0; k < lanes_; ++k) {
    const std::uint8_t* const bytes = lane_bytes + std::size_t{lanes_ - 1 - k} * kBlock;
    const std::int64_t first =
        static_cast<std::int64_t>(first_byte) - static_cast<std::int64_t>((k + 1) / 2);
    StoreRun(top + k, first, count, bytes);
    if (first < 0 && band_ > 0) {
      StoreRun(top - lanes_ + k, first + static_cast<std::int64_t>(period_ / 8), count, bytes);
    }
  }
}

/// Stores those of the bytes that are inside the row, and with its last one the zeros after it.
void DiffusionWavefront::StoreRun(std::uint64_t row, std::int64_t first_byte, std::uint32_t count,
                                  const std::uint8_t* bytes) {
  if (row >= destination_.height) return;
  std::uint8_t* const destination = destination_.Row(static_cast<std::uint32_t>(row));
  const auto row_bytes = static_cast<std::int64_t>(row_bytes_);
  const std::int64_t end_byte = first_byte + std::int64_t{count};
  if (first_byte >= 0 && end_byte < row_bytes && count == kBlock) {
    std::memcpy(destination + first_byte, bytes, kBlock);
    return;
  }
  const std::int64_t begin = std::max<std::int64_t>(first_byte, 0);
  const std::int64_t end = std::min(end_byte, row_bytes);
  if (begin >= end) return;
  std::memcpy(destination + begin, bytes + (begin - first_byte),
              static_cast<std::size_t>(end - begin));
  if (end == row_bytes) {
    std::memset(destination + row_bytes_, 0,
                static_cast<std::uint64_t>(destination_.stride) - row_bytes_);
  }
}

}  // namespace pixtola
