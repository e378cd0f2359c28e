// Whole resamplings, by what follows from their definition.
#include "drawing/pixels/resampler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <random>
#include <vector>

#include "portable/resampling.h"

namespace pixtola::portable {
namespace {

constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();

TEST(Resampler, KeepsAPictureOfTheSameSize) {
  for (const std::uint32_t channels : {1U, 3U}) {
    for (const std::int32_t size : {1, 2, 9, 33, 700}) {
      const Picture picture = RandomPicture(size, 19, channels);
      EXPECT_EQ(Resampled(picture, size, 19).bytes, picture.bytes);
    }
  }
  const Picture opaque = WithAlpha(RandomPicture(41, 19, 4), 255);
  EXPECT_EQ(Resampled(opaque, 41, 19).bytes, opaque.bytes);
}

TEST(Resampler, KeepsFlatPicturesFlatForAnySizesAndRanges) {
  std::mt19937 random(7);
  const auto below = [&](std::uint32_t limit) {
    return static_cast<std::int32_t>(random() % limit);
  };
  for (int i = 0; i < 300; ++i) {
    const std::uint32_t channels = i % 3 == 0 ? 1 : i % 3 == 1 ? 3 : 4;
    Picture picture(1 + below(90), 1 + below(90), channels);
    const std::uint8_t pixel[4] = {255, 7, static_cast<std::uint8_t>(i), 255};
    for (std::size_t at = 0; at < picture.bytes.size(); ++at) {
      picture.bytes[at] = pixel[at % channels];
    }
    ResampleRequest request = WholeOf(picture, 1 + below(90), 1 + below(90));
    request.horizontal.source_start = below(200) - 100;
    request.horizontal.source_length = 1 + below(200);
    request.vertical.source_start = below(200) - 100;
    request.vertical.source_length = 1 + below(200);
    const Picture result = Resampled(picture, request);
    for (std::size_t at = 0; at < result.bytes.size(); ++at) {
      ASSERT_EQ(result.bytes[at], pixel[at % channels]);
    }
  }
}

TEST(Resampler, KeepsRampsMonotone) {
  Picture ramp(256, 3, 1);
  for (std::size_t i = 0; i < ramp.bytes.size(); ++i) {
    ramp.bytes[i] = static_cast<std::uint8_t>(i % 256);
  }
  for (const std::int32_t width : {2, 17, 100, 128, 255, 256, 257, 384, 1000}) {
    const Picture result = Resampled(ramp, width, 3);
    const auto end = result.bytes.begin() + width;
    EXPECT_TRUE(std::is_sorted(result.bytes.begin(), end)) << width;
    EXPECT_LT(result.bytes[0], *(end - 1)) << width;
  }
}

TEST(Resampler, MakesAFineCheckerboardGray) {
  Picture board(128, 128, 1);
  for (std::int32_t y = 0; y < 128; ++y) {
    for (std::int32_t x = 0; x < 128; ++x) board.At(x, y, 0) = (x + y) % 2 == 0 ? 255 : 0;
  }
  for (const std::int32_t size : {7, 16, 32, 64}) {
    const Picture result = Resampled(board, size, size);
    // At the edges one of their samples repeats.
    for (std::int32_t y = 2; y < size - 2; ++y) {
      for (std::int32_t x = 2; x < size - 2; ++x) EXPECT_NEAR(result.At(x, y, 0), 127.5, 1);
    }
  }
}

TEST(Resampler, TakesNoColorFromClearPixels) {
  Picture picture(40, 40, 4);
  for (std::int32_t y = 0; y < 40; ++y) {
    for (std::int32_t x = 0; x < 40; ++x) {
      const bool is_clear = (x / 5 + y / 5) % 2 == 0;
      picture.At(x, y, 0) = is_clear ? 255 : 0;
      picture.At(x, y, 1) = is_clear ? 255 : 0;
      picture.At(x, y, 2) = is_clear ? 0 : 255;
      picture.At(x, y, 3) = is_clear ? 0 : 255;
    }
  }
  for (const std::int32_t size : {13, 20, 40, 71}) {
    const Picture result = Resampled(picture, size, size);
    for (std::size_t i = 0; i < result.bytes.size(); i += 4) {
      ASSERT_EQ(result.bytes[i], 0);
      ASSERT_EQ(result.bytes[i + 1], 0);
      // Red is what is there of anything at all.
      ASSERT_EQ(result.bytes[i + 2], result.bytes[i + 3]);
    }
  }
}

TEST(Resampler, MakesNoColorAboveItsAlpha) {
  const Picture picture = RandomPicture(50, 50, 4);
  const Picture result = Resampled(picture, 77, 35);
  for (std::size_t i = 0; i < result.bytes.size(); ++i) {
    ASSERT_LE(result.bytes[i], result.bytes[i / 4 * 4 + 3]);
  }
}

TEST(Resampler, MakesOpaquePartsTheSameBesideOthers) {
  const Picture opaque = WithAlpha(RandomPicture(60, 60, 4), 255);
  // The last row is within the bands of few rows only.
  Picture mixed = opaque;
  mixed.At(59, 59, 3) = 100;
  for (const std::int32_t size : {9, 30, 90}) {
    const Picture all = Resampled(opaque, size, size);
    const Picture some = Resampled(mixed, size, size);
    const auto untouched = static_cast<std::ptrdiff_t>(all.bytes.size() / 2);
    EXPECT_TRUE(std::equal(all.bytes.begin(), all.bytes.begin() + untouched, some.bytes.begin()));
    // Alpha like any other channel.
    Picture colors(60, 60, 3);
    for (std::int32_t y = 0; y < 60; ++y) {
      for (std::int32_t x = 0; x < 60; ++x) {
        for (std::uint32_t i = 0; i < 3; ++i) colors.At(x, y, i) = opaque.At(x, y, i);
      }
    }
    const Picture expected = Resampled(colors, size, size);
    for (std::size_t i = 0; i < all.bytes.size(); ++i) {
      ASSERT_EQ(all.bytes[i], i % 4 == 3 ? 255 : expected.bytes[i / 4 * 3 + i % 4]);
    }
  }
}

TEST(Resampler, MakesPartsAsInTheWhole) {
  for (const std::uint32_t channels : {1U, 3U, 4U}) {
    const Picture picture = RandomPicture(70, 60, channels);
    for (const std::int32_t size : {20, 50, 130}) {
      ResampleRequest request = WholeOf(picture, size, size);
      const Picture whole = Resampled(picture, request);
      request.columns = {static_cast<std::uint32_t>(size / 3), 7};
      request.rows = {static_cast<std::uint32_t>(size / 4), 11};
      const Picture part = Resampled(picture, request, true);
      for (std::int32_t y = 0; y < 11; ++y) {
        for (std::int32_t x = 0; x < 7; ++x) {
          for (std::uint32_t i = 0; i < channels; ++i) {
            ASSERT_EQ(part.At(x, y, i), whole.At(x + size / 3, y + size / 4, i));
          }
        }
      }
    }
  }
}

TEST(Resampler, RepeatsTheEdgeForRangesBesideTheImage) {
  const Picture picture = RandomPicture(20, 20, 3);
  ResampleRequest request = WholeOf(picture, 5, 5);
  request.horizontal.source_start = 1000;
  request.vertical.source_start = -1000;
  const Picture result = Resampled(picture, request);
  for (std::size_t i = 0; i < result.bytes.size(); ++i) {
    EXPECT_EQ(result.bytes[i], picture.At(19, 0, static_cast<std::uint32_t>(i % 3)));
  }
}

TEST(Resampler, ReadsEachRowOnce) {
  const Picture picture = RandomPicture(30, 200, 1);
  for (const std::int32_t height : {1, 13, 100, 200, 333}) {
    PictureSource source(picture);
    Resampler resampler;
    ASSERT_TRUE(resampler.Start(WholeOf(picture, 10, height), source));
    for (std::int32_t y = 0; y < height; ++y) ASSERT_NE(resampler.NextRow(), nullptr);
    EXPECT_EQ(source.rows_read(), 200U) << height;
  }
}

TEST(Resampler, TakesTheNearestSample) {
  const Picture picture = RandomPicture(30, 20, 3);
  ResampleRequest request = WholeOf(picture, 90, 10);
  request.filter = ResampleFilter::kNearest;
  const Picture result = Resampled(picture, request);
  for (std::int32_t y = 0; y < 10; ++y) {
    for (std::int32_t x = 0; x < 90; ++x) {
      ASSERT_EQ(result.At(x, y, 1), picture.At(x / 3, y * 2 + 1, 1));
    }
  }
}

TEST(Resampler, StretchesOnePixelToAnySize) {
  const Picture picture = RandomPicture(1, 1, 3);
  ResampleRequest request = WholeOf(picture, kLargest, kLargest);
  request.columns = {static_cast<std::uint32_t>(kLargest) - 20, 20};
  request.rows = {static_cast<std::uint32_t>(kLargest) - 20, 20};
  const Picture result = Resampled(picture, request);
  for (std::size_t i = 0; i < result.bytes.size(); ++i) {
    ASSERT_EQ(result.bytes[i], picture.bytes[i % 3]);
  }
}

TEST(Resampler, ShrinksHugeRangesToOnePixel) {
  const Picture picture = RandomPicture(30, 30, 1);
  ResampleRequest request = WholeOf(picture, 1, 1);
  request.horizontal = {-kLargest / 2, kLargest, 30, 1};
  request.vertical = {-kLargest / 2, kLargest, 30, 1};
  // The halves to both sides of the image are its edges', so the result is the corners' mean.
  const double mean =
      (picture.At(0, 0, 0) + picture.At(29, 0, 0) + picture.At(0, 29, 0) + picture.At(29, 29, 0)) /
      4.0;
  EXPECT_NEAR(Resampled(picture, request).bytes[0], mean, 0.6);
}

TEST(Resampler, MakesNothingOfNothing) {
  const Picture picture = RandomPicture(3, 3, 1);
  PictureSource source(picture);
  ResampleRequest request = WholeOf(picture, 5, 5);
  request.columns.count = 0;
  Resampler resampler;
  ASSERT_TRUE(resampler.Start(request, source));
  EXPECT_EQ(resampler.NextRow(), nullptr);
}

TEST(ResampleRows, BeyondAnyMemoryAreOutOfMemory) {
  ResampleRows rows;
  EXPECT_FALSE(rows.Allocate(0, 0x7FFFFFFF, 4, 0xFFFFFFFF));
}

}  // namespace
}  // namespace pixtola::portable
