#include "convert/pixels/adaptive/gray_bands.h"

#include <algorithm>
#include <cstring>

namespace pixtola {

namespace {

constexpr std::uint32_t kCacheLine = 64;

/// Rows start at a cache line, for the sake of vectors of that size. An odd number of lines keeps
/// the rows of a cell from competing for the same set of the cache.
std::uint64_t StrideOf(std::uint32_t width) {
  const std::uint64_t lines =
      (std::uint64_t{width} + GrayBands::kRunOn + kCacheLine - 1) / kCacheLine;
  return (lines | 1) * kCacheLine;
}

std::uint64_t KeptRows(std::uint32_t height) {
  const std::uint64_t rows = (std::uint64_t{height} + kCellSize - 1) / kCellSize * kCellSize;
  return std::min<std::uint64_t>(rows, GrayBands::kKeptBands * kCellSize);
}

}  // namespace

GrayBands::GrayBands(const GrayReader& reader, std::uint32_t width, std::uint32_t height)
    : reader_(reader),
      width_(width),
      height_(height),
      stride_(StrideOf(width)),
      memory_(Allocate<std::uint8_t>(KeptRows(height) * stride_ + kCacheLine)) {
  if (memory_ == nullptr) return;
  const auto address = reinterpret_cast<std::uintptr_t>(memory_.get());
  rows_ = memory_.get() + (kCacheLine - address % kCacheLine);
}

void GrayBands::LoadThrough(std::uint32_t band) {
  const std::uint64_t band_end = (std::uint64_t{band} + 1) * kCellSize;
  const auto end = static_cast<std::uint32_t>(std::min<std::uint64_t>(band_end, height_));
  while (ready_rows_ < end) {
    if (read_rows_ == 0) ReadBand();
    const std::uint32_t band_rows_end = read_rows_;
    ReadBand();
    RunOn(ready_rows_, band_rows_end);
    ready_rows_ = band_rows_end;
  }
}

void GrayBands::ReadBand() {
  const std::uint32_t count = std::min(kCellSize, height_ - read_rows_);
  if (count == 0) return;
  reader_.Read(read_rows_, count, PlaceOf(read_rows_), stride_);
  read_rows_ += count;
}

void GrayBands::RunOn(std::uint32_t first_row, std::uint32_t end_row) {
  for (std::uint32_t y = first_row; y < end_row; ++y) {
    std::uint8_t* behind = PlaceOf(y) + width_;
    std::uint32_t missing = kRunOn;
    for (std::uint32_t below = y + 1; below < read_rows_ && missing != 0; ++below) {
      const std::uint32_t count = std::min(missing, width_);
      std::memcpy(behind, Row(below), count);
      behind += count;
      missing -= count;
    }
  }
}

}  // namespace pixtola
