// What the platform promises about the modes of locks: when pixels are read and written, where they
// lie meanwhile, and that nothing outside the rectangle is touched. Written against the API alone:
// the same tests run on GDI+ and on the stand-in.

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "Pixtola.h"
#include "support/conversion_checks.h"
#include "support/pixel_rows.h"
#include "support/platform_expectations.h"
#include "support/reference_pixels.h"

namespace pixtola::test {
namespace {

constexpr UINT kRead = Gdiplus::ImageLockModeRead;
constexpr UINT kWrite = Gdiplus::ImageLockModeWrite;
constexpr UINT kUserBuffer = Gdiplus::ImageLockModeUserInputBuf;
constexpr std::array<UINT, 6> kModes = {kRead,
                                        kWrite,
                                        kRead | kWrite,
                                        kRead | kUserBuffer,
                                        kWrite | kUserBuffer,
                                        kRead | kWrite | kUserBuffer};

/// One lock and what is to be seen of it.
struct Lock {
  Gdiplus::Rect part;
  UINT mode;
  Gdiplus::PixelFormat format;
  RowOrder buffer_order = RowOrder::kDownwards;
};

std::string Description(const RowsBitmap& image, const Lock& lock) {
  return PairName(image.rows.format(), lock.format) + ", mode " + std::to_string(lock.mode) +
         ", width " + std::to_string(lock.part.Width) + ", x " + std::to_string(lock.part.X) +
         (image.rows.stride() < 0 ? ", bitmap upwards" : "") +
         (lock.buffer_order == RowOrder::kUpwards ? ", buffer upwards" : "");
}

/// Where the rows of a lock without a buffer have to be.
void CheckPlace(RowsBitmap& image, const Lock& lock, const Gdiplus::BitmapData& data) {
  const std::size_t width = static_cast<std::size_t>(lock.part.Width);
  const std::size_t bit = Column(lock.part, 0) * BitsOfPixel(image.rows.format());
  if (lock.format != image.rows.format()) {
    EXPECT_EQ(data.Stride, static_cast<INT>(StrideOf(lock.format, width)));
  } else if (bit % 8 == 0) {
    EXPECT_EQ(data.Stride, image.rows.stride());
    EXPECT_EQ(data.Scan0,
              image.rows.top() + std::ptrdiff_t{image.rows.stride()} * lock.part.Y + bit / 8);
  }
}

/// Locks, looks at every pixel that is shown, changes every third one or, when nothing was shown,
/// all, unlocks, and looks at every byte of the bitmap and of the buffer.
void CheckLock(RowsBitmap& image, const Lock& lock, std::mt19937& random) {
  SCOPED_TRACE(Description(image, lock));
  const Gdiplus::PixelFormat own = image.rows.format();
  const bool reads = (lock.mode & kRead) != 0;
  const bool writes = (lock.mode & kWrite) != 0;
  const bool has_buffer = (lock.mode & kUserBuffer) != 0;
  const std::size_t width = static_cast<std::size_t>(lock.part.Width);
  const std::size_t height = static_cast<std::size_t>(lock.part.Height);
  PixelRows buffer(width, height, lock.format, RowBytes(lock.format, width) + 3, random,
                   lock.buffer_order);
  PixelRows expected_buffer = buffer;
  PixelRows expected_image = image.rows;

  Gdiplus::BitmapData data{};
  if (has_buffer) {
    data.Width = static_cast<UINT>(width);
    data.Height = static_cast<UINT>(height);
    data.PixelFormat = lock.format;
    data.Stride = buffer.stride();
    data.Scan0 = buffer.top();
  }
  ASSERT_EQ(image.bitmap.LockBits(&lock.part, lock.mode, lock.format, &data), Gdiplus::Ok);
  EXPECT_EQ(data.Width, width);
  EXPECT_EQ(data.Height, height);
  EXPECT_EQ(data.PixelFormat, lock.format);
  if (has_buffer) {
    EXPECT_EQ(data.Stride, buffer.stride());
    EXPECT_EQ(data.Scan0, buffer.top());
  } else {
    CheckPlace(image, lock, data);
  }

  std::string difference;
  for (std::size_t i = 0; i < width * height && reads; ++i) {
    const std::size_t x = i % width;
    const std::size_t y = i / width;
    const Pixel source = image.rows.At(Column(lock.part, x), Line(lock.part, y));
    const Pixel wanted =
        ConvertPixel(source, own, image.palette, lock.format, DefaultPalette(lock.format));
    const Pixel shown = LockedPixel(data, x, y);
    expected_buffer.Set(x, y, shown);
    const bool same = own == lock.format
                          ? shown == wanted
                          : Settled(lock.format, shown) == Settled(lock.format, wanted);
    if (!same && difference.empty()) {
      difference = "at x + " + std::to_string(x) + ", y + " + std::to_string(y) + ": " +
                   Change(source, shown, wanted);
    }
  }
  EXPECT_EQ(difference, "");
  if (has_buffer) {
    EXPECT_EQ(buffer.bytes(), expected_buffer.bytes()) << "after the lock";
  }

  // A lock for reading in the bitmap's own format may show the bitmap itself.
  const bool may_change = writes || has_buffer || own != lock.format;
  for (std::size_t i = 0; i < width * height && may_change; ++i) {
    if (reads && writes && i % 3 != 0) continue;
    SetLockedPixel(data, i % width, i / width, RandomPixel(lock.format, random));
  }
  std::vector<Pixel> final_pixels;
  for (std::size_t i = 0; i < width * height; ++i) {
    final_pixels.push_back(LockedPixel(data, i % width, i / width));
  }
  const Bytes final_buffer = buffer.bytes();
  ASSERT_EQ(image.bitmap.UnlockBits(&data), Gdiplus::Ok);

  for (std::size_t i = 0; i < width * height && writes; ++i) {
    const std::size_t x = Column(lock.part, i % width);
    const std::size_t y = Line(lock.part, i / width);
    const Pixel wanted =
        ConvertPixel(final_pixels[i], lock.format, DefaultPalette(lock.format), own, image.palette);
    const Pixel written = image.rows.At(x, y);
    const bool same =
        own == lock.format ? written == wanted : Settled(own, written) == Settled(own, wanted);
    expected_image.Set(x, y, written);
    ASSERT_TRUE(same) << "at x + " << i % width << ", y " << y << ": "
                      << Change(final_pixels[i], written, wanted);
  }
  EXPECT_EQ(image.rows.bytes(), expected_image.bytes()) << "outside the rectangle";
  EXPECT_EQ(buffer.bytes(), final_buffer) << "after the unlock";
}

std::string KnownDifference(Gdiplus::PixelFormat bitmap, Gdiplus::PixelFormat lock, UINT mode) {
  if (kUserBufferLocksLosePartialBytes && bitmap == lock && (mode & kUserBuffer) &&
      BitsOfPixel(bitmap) < 8) {
    return "Wine loses the last bits";
  }
  const std::string reads = (mode & kRead) != 0 ? KnownReadDifference(bitmap, lock) : "";
  return reads.empty() && (mode & kWrite) != 0 ? KnownWriteDifference(bitmap, lock) : reads;
}

std::string ModeName(UINT mode) {
  return std::string((mode & kRead) != 0 ? "Read" : "") + ((mode & kWrite) != 0 ? "Write" : "") +
         ((mode & kUserBuffer) != 0 ? "Buffer" : "");
}

/// All pairs of the bitmap's format and the lock's.
class LockMode : public testing::TestWithParam<UINT> {};

std::string NameOfMode(const testing::TestParamInfo<UINT>& info) { return ModeName(info.param); }

INSTANTIATE_TEST_SUITE_P(Modes, LockMode, testing::ValuesIn(kModes), NameOfMode);

TEST_P(LockMode, TouchesOnlyTheRectangleInAnyFormat) {
  std::mt19937 random(1);
  for (const auto own : kFormats) {
    RowsBitmap image(29, 4, own, random);
    ASSERT_EQ(image.bitmap.GetLastStatus(), Gdiplus::Ok) << NameOf(own);
    for (const auto format : kFormats) {
      if (!KnownDifference(own, format, GetParam()).empty()) continue;
      for (const INT width : {1, 2, 3, 7, 8, 9, 17}) {
        for (const INT x : {0, 1, 5, 8, 12}) {
          if (StartIsKnownToBeIgnored(own, x)) continue;
          CheckLock(image, {{x, 1, width, 2}, GetParam(), format}, random);
          if (HasFailure()) return;
        }
      }
    }
  }
}

TEST_P(LockMode, TakesPartsOfBytesAtEveryPixel) {
  std::mt19937 random(2);
  for (const Gdiplus::PixelFormat own : {PixelFormat1bppIndexed, PixelFormat4bppIndexed}) {
    if (!KnownDifference(own, own, GetParam()).empty()) continue;
    RowsBitmap image(43, 4, own, random);
    for (INT width = 1; width <= 25; ++width) {
      for (INT x = 0; x <= 18; ++x) {
        if (StartIsKnownToBeIgnored(own, x)) continue;
        CheckLock(image, {{x, 1, width, 2}, GetParam(), own}, random);
        if (HasFailure()) return;
      }
    }
  }
}

TEST_P(LockMode, FollowsRowsThatRunUpwards) {
  std::mt19937 random(3);
  for (const auto own : kFormats) {
    for (const auto format : kFormats) {
      if (!KnownDifference(own, format, GetParam()).empty()) continue;
      for (const auto bitmap_order : {RowOrder::kDownwards, RowOrder::kUpwards}) {
        RowsBitmap image(21, 5, own, random, bitmap_order);
        ASSERT_EQ(image.bitmap.GetLastStatus(), Gdiplus::Ok) << NameOf(own);
        for (const INT x : {0, 3}) {
          if (StartIsKnownToBeIgnored(own, x)) continue;
          CheckLock(image, {{x, 1, 11, 3}, GetParam(), format, RowOrder::kUpwards}, random);
          if (HasFailure()) return;
        }
      }
    }
  }
}

TEST(LockBits, ShowsPixelsInsideAByteFromItsHighestBit) {
  if (kLocksOfBitRowsIgnoreTheLeftEdge) GTEST_SKIP() << "Wine shows other pixels";
  for (const auto& [format, x] : {std::pair<Gdiplus::PixelFormat, INT>{PixelFormat1bppIndexed, 4},
                                  {PixelFormat4bppIndexed, 1}}) {
    const auto bitmap = MakeBitmap(static_cast<UINT>(x + 8), 1, format, {0x0B, 0xC0, 0, 0, 0});
    const Gdiplus::Rect part(x, 0, 8, 1);
    Gdiplus::BitmapData data{};
    ASSERT_EQ(bitmap->LockBits(&part, kRead, format, &data), Gdiplus::Ok);
    EXPECT_EQ(*static_cast<const std::uint8_t*>(data.Scan0), 0xBC) << NameOf(format);
    bitmap->UnlockBits(&data);
  }
}

TEST(LockBits, WithoutRectangleConvertsTheWholeImage) {
  const auto bitmap =
      MakeBitmap(2, 2, PixelFormat24bppRGB, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
  Bytes buffer(16, 0);
  Gdiplus::BitmapData data{};
  data.Width = 2;
  data.Height = 2;
  data.Stride = 8;
  data.PixelFormat = PixelFormat32bppARGB;
  data.Scan0 = buffer.data();
  ASSERT_EQ(bitmap->LockBits(nullptr, kRead | kUserBuffer, PixelFormat32bppARGB, &data),
            Gdiplus::Ok);
  EXPECT_EQ(buffer, (Bytes{1, 2, 3, 255, 4, 5, 6, 255, 7, 8, 9, 255, 10, 11, 12, 255}));
  bitmap->UnlockBits(&data);
}

}  // namespace
}  // namespace pixtola::test
