#include "convert/pixels/adaptive/adaptive_windows.h"

#include <algorithm>
#include <cstring>

namespace pixtola {

namespace {

/// Rows of cells that a window covers.
constexpr std::uint32_t kWindowBands = kWindowSize / kCellSize;

/// Windows in the first column are measured in every eighth row of cells.
constexpr std::uint32_t kFirstColumnPeriod = 8;

/// `sum` is that of the samples taken, `slots` are the totals of all slots.
Statistics WindowStatistics(std::uint32_t sum, const Totals& slots) {
  const std::uint32_t mean = sum / kWindowSamples;
  // The sum of (slot - mean)^2, multiplied out; every term stays below 2^32.
  const std::uint32_t squared_differences =
      slots.squares + kWindowSamples * mean * mean - 2 * mean * slots.sum;
  return {static_cast<std::uint8_t>(mean), Deviation<kWindowSamples>(squared_differences)};
}

/// Of eight cells.
Totals GroupTotals(const CellLevels& levels) {
  Totals totals;
  for (std::uint32_t i = 0; i < kCellsPerGroup; ++i) totals.sum += levels.sums[i];
  for (std::uint32_t i = 0; i < kCellsPerGroup; ++i) totals.squares += levels.squares[i];
  return totals;
}

}  // namespace

Totals WindowSlots::LeftBelow(std::uint32_t first_row) {
  if (first_row != left_from_) {
    CopyPending();
    left_ = Measure(first_row, kWindowSize - first_row);
    left_from_ = first_row;
  }
  return left_;
}

Statistics WindowSlots::MeasureCut(CellPlace anchor, std::uint32_t rows) {
  CopyPending();
  const std::uint32_t x = anchor.column * kCellSize;
  std::uint32_t whole_rows = 0;
  std::uint32_t sum = 0;
  for (std::uint32_t row = 0; row < rows; ++row) {
    const std::uint32_t y = anchor.row * kCellSize + row;
    const auto count = std::min<std::uint64_t>(kWindowSize, image_.PixelsFrom(y, x));
    std::uint8_t* slots = samples_.data() + std::size_t{row} * kWindowSize;
    std::memcpy(slots, bands_.Row(y) + x, count);
    if (count == kWindowSize) {
      ++whole_rows;
    } else {
      for (std::uint64_t i = 0; i < count; ++i) sum += slots[i];
    }
  }
  if (whole_rows != 0) sum += Measure(0, whole_rows).sum;
  return WindowStatistics(sum, Measure(0, kWindowSize));
}

void WindowSlots::CopyPending() {
  for (std::uint32_t row = 0; row < pending_rows_; ++row) {
    std::memcpy(
        samples_.data() + std::size_t{row} * kWindowSize,
        bands_.Row(pending_.row * kCellSize + row) + std::size_t{pending_.column} * kCellSize,
        kWindowSize);
  }
  pending_rows_ = 0;
}

Totals WindowSlots::Measure(std::uint32_t first_row, std::uint32_t rows) const {
  std::uint32_t sums[kCellsPerGroup];
  std::uint32_t squares[kCellsPerGroup];
  std::uint8_t minima[kCellsPerGroup];
  const CellLevels levels{sums, squares, minima};
  kernels_.measure_cells(samples_.data() + std::size_t{first_row} * kWindowSize, kWindowSize, rows,
                         kCellsPerGroup, levels);
  return GroupTotals(levels);
}

WindowRows::WindowRows(const AdaptiveKernels& kernels, const GrayCells& image, GrayBands& bands)
    : kernels_(kernels),
      image_(image),
      bands_(bands),
      padded_columns_(std::uint64_t{image.groups} * kCellsPerGroup),
      slots_(kernels, image, bands),
      sums_(AllocateZeroed<std::uint32_t>(kWindowBands * padded_columns_)),
      squares_(AllocateZeroed<std::uint32_t>(kWindowBands * padded_columns_)),
      minima_(AllocateZeroed<std::uint8_t>(kWindowBands * padded_columns_)),
      band_totals_(AllocateZeroed<Totals>(kWindowBands * std::uint64_t{image.groups})),
      covered_(AllocateZeroed<Totals>(image.groups)),
      windows_(Allocate<Statistics>(image.groups)) {}

bool WindowRows::has_memory() const {
  return sums_ != nullptr && squares_ != nullptr && minima_ != nullptr && band_totals_ != nullptr &&
         covered_ != nullptr && windows_ != nullptr;
}

const Statistics* WindowRows::MeasureRow(std::uint32_t row) {
  while (next_band_ < row + kWindowBands) MeasureBand(next_band_++);

  // A window serves eight cells. The first cells of a row go on with the last window of the row
  // above, unless that has served eight already or this is an eighth row, where a window begins
  // anew.
  const bool has_first = row % kFirstColumnPeriod == 0 || image_.columns % kCellsPerGroup == 0;
  if (!has_first) windows_[0] = windows_[image_.groups - 1];
  MeasureWindows(row, has_first ? 0 : 1);
  return windows_.get();
}

void WindowRows::MeasureWindows(std::uint32_t row, std::uint32_t first_group) {
  const std::uint32_t rows = std::min(kWindowSize, image_.height - row * kCellSize);
  const std::uint32_t last_group = image_.groups - 1;
  const CellPlace last_anchor{row, last_group * kCellsPerGroup};
  const bool is_last_cut = !image_.Holds(last_anchor, rows, kWindowSize);
  const std::uint32_t end = is_last_cut ? last_group : image_.groups;
  if (first_group < end) {
    const Totals left = rows < kWindowSize ? slots_.LeftBelow(rows) : Totals{};
    for (std::uint32_t group = first_group; group < end; ++group) {
      Totals slots = covered_[group];
      slots.Add(left);
      windows_[group] = WindowStatistics(covered_[group].sum, slots);
    }
    slots_.Take({row, (end - 1) * kCellsPerGroup}, rows);
  }
  if (is_last_cut && first_group <= last_group) {
    windows_[last_group] = slots_.MeasureCut(last_anchor, rows);
  }
}

CellLevels WindowRows::Levels(std::uint32_t row) const {
  const std::uint64_t first = row % kWindowBands * padded_columns_;
  return {sums_.get() + first, squares_.get() + first, minima_.get() + first};
}

void WindowRows::MeasureBand(std::uint32_t band) {
  CellLevels levels = Levels(band);
  const bool has_pixels = std::uint64_t{band} * kCellSize < image_.height;
  if (has_pixels) {
    bands_.LoadThrough(band);
    MeasureCells(band, levels);
  }
  Totals* replaced = band_totals_.get() + std::uint64_t{band % kWindowBands} * image_.groups;
  for (std::uint32_t group = 0; group < image_.groups; ++group) {
    const Totals totals = has_pixels ? GroupTotals(levels) : Totals{};
    covered_[group].Add(totals);
    covered_[group].Remove(replaced[group]);
    replaced[group] = totals;
    levels.sums += kCellsPerGroup;
    levels.squares += kCellsPerGroup;
  }
}

void WindowRows::MeasureCells(std::uint32_t band, const CellLevels& levels) const {
  const std::uint32_t rows = std::min(kCellSize, image_.height - band * kCellSize);
  // Like window rows, blocks run on into the next image row to complete the last group. At the end
  // of the image there is none; the totals of the last group are not used then.
  const std::uint32_t whole_groups = image_.groups * kCellsPerGroup;
  const bool is_whole = image_.Holds({band, 0}, rows, whole_groups * kCellSize);
  kernels_.measure_cells(bands_.Cell(band, 0), bands_.stride(), rows,
                         is_whole ? whole_groups : image_.columns, levels);
}

}  // namespace pixtola
