// The kept rows of a gray image: each is read once and in order, and followed by its run-on.
#include "convert/pixels/adaptive/gray_bands.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "support/packed_gray.h"

namespace pixtola {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kKeptRows = GrayBands::kKeptBands * kCellSize;

Bytes RandomBytes(std::size_t count, std::mt19937& random) {
  Bytes bytes(count);
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
  return bytes;
}

/// Expects rows to be read one after the other.
class OrderedReader final : public GrayReader {
 public:
  OrderedReader(const std::uint8_t* gray, std::uint32_t width, std::uint32_t height)
      : packed_(gray, width), height_(height) {}

  void Read(std::uint32_t first_row, std::uint32_t row_count, std::uint8_t* gray,
            std::size_t gray_stride) const override {
    EXPECT_EQ(first_row, next_row_);
    EXPECT_GT(row_count, 0U);
    ASSERT_LE(row_count, height_ - first_row);
    packed_.Read(first_row, row_count, gray, gray_stride);
    next_row_ = first_row + row_count;
  }

  std::uint32_t next_row() const { return next_row_; }

 private:
  test::PackedGray packed_;
  std::uint32_t height_;
  mutable std::uint32_t next_row_ = 0;
};

/// An image, its bands, and what they have to hold.
class GrayBandsPage {
 public:
  GrayBandsPage(std::uint32_t width, std::uint32_t height, std::mt19937& random)
      : width_(width),
        height_(height),
        gray_(RandomBytes(std::size_t{width} * height, random)),
        reader_(gray_.data(), width, height),
        bands_(reader_, width, height) {}

  GrayBands& bands() { return bands_; }

  /// All rows that are kept once `band` is ready: those that the band below does not replace.
  void ExpectRowsThrough(std::uint32_t band) const {
    const std::uint32_t end = std::min((band + 1) * kCellSize, height_);
    const std::uint32_t read_end = std::min(end + kCellSize, height_);
    ASSERT_EQ(reader_.next_row(), read_end) << width_ << " x " << height_ << " band " << band;
    const std::uint32_t first =
        band + 2 > GrayBands::kKeptBands ? (band + 2 - GrayBands::kKeptBands) * kCellSize : 0;
    for (std::uint32_t y = first; y < end; ++y) {
      const std::uint32_t run_on_end = std::min((y / kCellSize + 2) * kCellSize, height_);
      const std::uint8_t* expected = gray_.data() + std::size_t{y} * width_;
      const std::size_t count =
          std::min<std::size_t>(width_ + GrayBands::kRunOn, std::size_t{run_on_end - y} * width_);
      ASSERT_TRUE(std::equal(expected, expected + count, bands_.Row(y)))
          << width_ << " x " << height_ << " row " << y << " after band " << band;
    }
  }

 private:
  std::uint32_t width_;
  std::uint32_t height_;
  Bytes gray_;
  OrderedReader reader_;
  GrayBands bands_;
};

TEST(GrayBands, HoldTheLatestRowsAndWhatRunsOn) {
  std::mt19937 random(31);
  for (const std::uint32_t width : {1U, 2U, 15U, 16U, 17U, 55U, 56U, 64U, 111U, 112U, 113U, 300U}) {
    for (const std::uint32_t height :
         {1U, 15U, 16U, 17U, 31U, 32U, 33U, kKeptRows - 1, kKeptRows, kKeptRows + 1, kKeptRows + 16,
          kKeptRows + 17, 2 * kKeptRows + 5}) {
      GrayBandsPage page(width, height, random);
      ASSERT_TRUE(page.bands().has_memory());
      for (std::uint32_t band = 0; band * kCellSize < height; ++band) {
        page.bands().LoadThrough(band);
        page.ExpectRowsThrough(band);
        if (HasFatalFailure()) return;
      }
    }
  }
}

TEST(GrayBands, LoadSeveralBandsAtOnce) {
  std::mt19937 random(32);
  for (std::uint32_t step = 1; step <= 2 * GrayBands::kKeptBands; ++step) {
    GrayBandsPage page(19, 3 * kKeptRows + 3, random);
    ASSERT_TRUE(page.bands().has_memory());
    for (std::uint32_t band = step - 1; band * kCellSize < 3 * kKeptRows; band += step) {
      page.bands().LoadThrough(band);
      page.ExpectRowsThrough(band);
      if (HasFatalFailure()) return;
    }
  }
}

TEST(GrayBands, LoadNothingTwiceAndNothingBelowTheImage) {
  std::mt19937 random(33);
  GrayBandsPage page(40, 50, random);
  page.bands().LoadThrough(1);
  page.ExpectRowsThrough(1);
  page.bands().LoadThrough(0);
  page.ExpectRowsThrough(1);
  page.bands().LoadThrough(0xFFFFFFFF);
  page.ExpectRowsThrough(3);
}

TEST(GrayBands, ReadNothingUntilAskedAndOneBandAhead) {
  const Bytes gray(20 * 100, 7);
  const OrderedReader reader(gray.data(), 20, 100);
  GrayBands bands(reader, 20, 100);
  EXPECT_EQ(reader.next_row(), 0U);
  bands.LoadThrough(0);
  EXPECT_EQ(reader.next_row(), 32U);
}

TEST(GrayBands, KeepRowsApartFromOneAnother) {
  const Bytes gray(1);
  for (std::uint32_t width = 1; width <= 5000; ++width) {
    const test::PackedGray reader(gray.data(), width);
    const GrayBands bands(reader, width, 1);
    ASSERT_TRUE(bands.has_memory());
    ASSERT_GE(bands.stride(), width + GrayBands::kRunOn) << width;
    // An odd number of cache lines, each row starting with one.
    ASSERT_EQ(bands.stride() % 128, 64U) << width;
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(bands.Row(0)) % 64, 0U) << width;
  }
}

}  // namespace
}  // namespace pixtola
