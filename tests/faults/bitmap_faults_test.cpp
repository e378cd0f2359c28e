// Conversions and copies of bitmaps when memory lacks or a bitmap cannot be locked.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "bitmap/wrapped_bitmap.h"
#include "faults/fault_images.h"
#include "support/fault_injection.h"
#include "support/platform_expectations.h"

namespace {

using test_support::BitmapPointer;
using test_support::Bytes;
using test_support::CanBeLocked;
using test_support::Fault;
using test_support::FaultPlan;
using test_support::ForEveryFault;
using test_support::kUntouched;
using test_support::Picture;
using test_support::PictureOf;
using test_support::RandomBitmap;
using test_support::RandomBytes;

constexpr Fault kFaults[] = {Fault::kAllocation, Fault::kLock};
constexpr PxtConversionMethod kMethods[] = {MethodGray8, MethodBilevelOtsu, MethodBilevelAdaptive,
                                            MethodBilevelDiffusion};
constexpr Gdiplus::PixelFormat kFormats[] = {PixelFormat1bppIndexed, PixelFormat4bppIndexed,
                                             PixelFormat8bppIndexed, PixelFormat16bppRGB565,
                                             PixelFormat24bppRGB,    PixelFormat32bppARGB};

/// Rows of 1 and 4 bits that end within a byte, where copies of them are right.
constexpr UINT kWidth = expectations::kUserBufferLocksLosePartialBytes ? 48 : 45;

bool IsUntouched(const Bytes& bytes) {
  return std::all_of(bytes.begin(), bytes.end(),
                     [](std::uint8_t byte) { return byte == kUntouched; });
}

/// What a bitmap's handle is before the call that may leave it alone: never used as a bitmap.
Gdiplus::Bitmap* UntouchedBitmap() {
  static std::uintptr_t place = 0;
  return reinterpret_cast<Gdiplus::Bitmap*>(&place);
}

/// What a function that hands out a bitmap does to its out pointer when it fails.
enum class OnFailure { kIsNull, kIsLeft, kIsNullOrLeft };

using Maker = std::function<int(Gdiplus::Bitmap**)>;

/// Calls `make` under every fault: it hands out the undisturbed bitmap, one of `also_right`, or
/// none. Returns how many calls failed.
int MakeUnderEveryFault(Fault fault, const Maker& make, OnFailure on_failure,
                        const std::vector<Picture>& also_right = {}) {
  BitmapPointer undisturbed;
  EXPECT_EQ(make(test_support::Receive(undisturbed)), 1);
  if (undisturbed == nullptr) return 0;
  const Picture expected = PictureOf(*undisturbed);
  undisturbed.reset();

  int failures = 0;
  ForEveryFault(fault, [&](FaultPlan& plan) {
    Gdiplus::Bitmap* made = UntouchedBitmap();
    const int result = plan.Run([&] { return make(&made); });
    if (result == 1) {
      ASSERT_NE(made, UntouchedBitmap());
      ASSERT_NE(made, nullptr);
      const BitmapPointer owned(made);
      const Picture picture = PictureOf(*made);
      EXPECT_TRUE(picture == expected ||
                  std::find(also_right.begin(), also_right.end(), picture) != also_right.end());
      EXPECT_TRUE(plan.HasFired() || picture == expected);
    } else {
      EXPECT_EQ(result, 0);
      EXPECT_TRUE(plan.HasFired());
      const bool is_null = made == nullptr && on_failure != OnFailure::kIsLeft;
      const bool is_untouched = made == UntouchedBitmap() && on_failure != OnFailure::kIsNull;
      EXPECT_TRUE(is_null || is_untouched);
      ++failures;
    }
  });
  return failures;
}

TEST(PxtBitmapToBytes, GivesNothingOrTheRightResultUnderFaults) {
  for (const Gdiplus::PixelFormat format : kFormats) {
    const BitmapPointer bitmap = RandomBitmap(45, 37, format);
    ASSERT_NE(bitmap, nullptr);
    for (const PxtConversionMethod method : kMethods) {
      SCOPED_TRACE(testing::Message() << "format " << format << ", method " << method);
      std::uint32_t size = 0;
      std::uint32_t stride = 0;
      ASSERT_EQ(PxtBitmapToBytes(method, *bitmap, nullptr, &size, &stride), 1);
      Bytes undisturbed(size, kUntouched);
      ASSERT_EQ(PxtBitmapToBytes(method, *bitmap, undisturbed.data(), &size, &stride), 1);
      for (const Fault fault : kFaults) {
        bitmap->GetLastStatus();
        const std::uint32_t faults = ForEveryFault(fault, [&](FaultPlan& plan) {
          Bytes bytes(size, kUntouched);
          const int result = plan.Run(
              [&] { return PxtBitmapToBytes(method, *bitmap, bytes.data(), &size, &stride); });
          if (result == 1) {
            EXPECT_EQ(bytes, undisturbed);
          } else {
            EXPECT_TRUE(plan.HasFired());
            const bool is_filled =
                method == MethodBilevelAdaptive && bytes == Bytes(size, std::uint8_t{255});
            EXPECT_TRUE(IsUntouched(bytes) || is_filled);
            if (fault == Fault::kLock) {
              EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::OutOfMemory);
            }
          }
          EXPECT_TRUE(CanBeLocked(*bitmap));
        });
        EXPECT_TRUE(fault != Fault::kLock || faults == 1);
      }
    }
  }
}

// Rows that run upwards in memory are copied before they are converted.
TEST(PxtBitmapToBytes, GivesNothingWhenRowsCannotBeTurnedRound) {
  Bytes pixels = RandomBytes(48 * 4 * 20);
  Gdiplus::Bitmap bitmap(48, 20, -48 * 4, PixelFormat32bppRGB, pixels.data() + 48 * 4 * 19);
  std::uint32_t size = 48 * 20;
  std::uint32_t stride = 0;
  Bytes undisturbed(size);
  ASSERT_EQ(PxtBitmapToBytes(MethodGray8, bitmap, undisturbed.data(), &size, &stride), 1);
  const std::uint32_t faults = ForEveryFault(Fault::kAllocation, [&](FaultPlan& plan) {
    Bytes bytes(size, kUntouched);
    const int result = plan.Run(
        [&] { return PxtBitmapToBytes(MethodGray8, bitmap, bytes.data(), &size, &stride); });
    EXPECT_EQ(result, plan.HasFired() ? 0 : 1);
    EXPECT_EQ(bytes, plan.HasFired() ? Bytes(size, kUntouched) : undisturbed);
  });
  EXPECT_GE(faults, 1U);
}

TEST(PxtBitmapToBitmap, HandsOutTheRightBitmapOrNoneUnderFaults) {
  for (const Gdiplus::PixelFormat format : kFormats) {
    const BitmapPointer bitmap = RandomBitmap(kWidth, 37, format);
    ASSERT_NE(bitmap, nullptr);
    for (const PxtConversionMethod method : kMethods) {
      for (const Fault fault : kFaults) {
        SCOPED_TRACE(testing::Message() << "format " << format << ", method " << method);
        const int failures = MakeUnderEveryFault(
            fault,
            [&](Gdiplus::Bitmap** result) { return PxtBitmapToBitmap(method, *bitmap, result); },
            OnFailure::kIsNullOrLeft);
        // The result, which has indexes, is made without a lock.
        EXPECT_GE(failures, fault == Fault::kLock ? 1 : 2);
        EXPECT_TRUE(CanBeLocked(*bitmap));
      }
    }
  }
}

TEST(PxtInsertBytes, HandsOutTheRightBitmapOrNoneUnderFaults) {
  for (const Gdiplus::PixelFormat format : kFormats) {
    const auto packed = static_cast<std::uint32_t>(test_support::PackedBytes(format, kWidth));
    const std::uint32_t aligned = (packed + 3) / 4 * 4;
    const Bytes pixels = RandomBytes((std::size_t{aligned} + 1) * 37);
    const bool is_indexed = (format & PixelFormatIndexed) != 0;
    const test_support::PaletteBlock palette(
        0, is_indexed ? test_support::RandomColors(format) : std::vector<Gdiplus::ARGB>());
    // As it is, to be widened, and upwards: the latter two are copied first.
    const std::uint32_t strides[] = {aligned, aligned + 1, 0 - aligned};
    for (const std::uint32_t stride : strides) {
      const std::uint8_t* first = pixels.data();
      if (stride == 0 - aligned) first += std::size_t{aligned} * 36;
      for (const Fault fault : kFaults) {
        SCOPED_TRACE(testing::Message() << "format " << format << ", stride " << stride);
        const int failures = MakeUnderEveryFault(
            fault,
            [&](Gdiplus::Bitmap** result) {
              return PxtInsertBytes(first, format, kWidth, 37, stride, 200, 300, result,
                                    palette.get());
            },
            OnFailure::kIsLeft);
        // Indexed bitmaps are made without a lock.
        EXPECT_EQ(failures == 0, is_indexed && fault == Fault::kLock);
      }
    }
  }
}

TEST(CBitmapGenerator, CopiesRowsWhereTheyCannotBeEncoded) {
  for (const Gdiplus::PixelFormat format :
       {PixelFormat1bppIndexed, PixelFormat4bppIndexed, PixelFormat8bppIndexed}) {
    SCOPED_TRACE(testing::Message() << "format " << format);
    const std::uint32_t stride = PxtCalcStride(48, format);
    const Bytes rows = RandomBytes(std::size_t{stride} * 37);
    const test_support::PaletteBlock palette(0, test_support::RandomColors(format));
    const auto make = [&] {
      return test_support::BitmapPointer(
          pixtola::MakeWrappedBitmap(rows.data(), format, 48, 37, stride, 200, 300, palette.get()));
    };
    const Picture expected = PictureOf(*make());
    EXPECT_NE(expected.dpi_x, 200);  // in whole pixels a metre
    int copies = 0;
    for (const Fault fault : kFaults) {
      ForEveryFault(fault, [&](FaultPlan& plan) {
        const BitmapPointer bitmap = plan.Run(make);
        if (bitmap == nullptr) return;
        const Picture picture = PictureOf(*bitmap);
        EXPECT_TRUE(picture == expected);
        if (picture.dpi_x == expected.dpi_x) return;
        // Nothing was encoded: what was asked for is there to the bit.
        EXPECT_TRUE(plan.HasFired());
        EXPECT_EQ(picture.dpi_x, 200);
        EXPECT_EQ(picture.dpi_y, 300);
        ++copies;
      });
    }
    EXPECT_GE(copies, 1);
  }
}

TEST(PxtInsertBytesRect, HandsOutTheRightBitmapOrNoneUnderFaults) {
  for (const Gdiplus::PixelFormat format : {PixelFormat8bppIndexed, PixelFormat24bppRGB}) {
    const std::uint32_t stride = PxtCalcStride(45, format);
    const Bytes pixels = RandomBytes(std::size_t{stride} * 37);
    for (const RECT rect : {RECT{0, 0, 44, 36}, RECT{8, 3, 30, 20}}) {
      for (const Fault fault : kFaults) {
        SCOPED_TRACE(testing::Message() << "format " << format << ", left " << rect.left);
        const int failures = MakeUnderEveryFault(
            fault,
            [&](Gdiplus::Bitmap** result) {
              return PxtInsertBytesRect(pixels.data(), format, 45, 37, stride, &rect, 200, 300,
                                        result);
            },
            OnFailure::kIsNull);
        // A part is locked to be taken out, a whole indexed bitmap is made without a lock.
        const bool is_never_locked = format == PixelFormat8bppIndexed && rect.left == 0;
        EXPECT_EQ(failures == 0, is_never_locked && fault == Fault::kLock);
      }
    }
  }
}

TEST(PxtExtractBytes, WritesAllPixelsOrNoneUnderFaults) {
  for (const Gdiplus::PixelFormat format : kFormats) {
    const BitmapPointer bitmap = RandomBitmap(48, 37, format);
    ASSERT_NE(bitmap, nullptr);
    std::uint32_t size = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t stride = 0;
    Gdiplus::PixelFormat own_format = PixelFormatUndefined;
    const auto extract = [&](std::uint8_t* destination) {
      return PxtExtractBytes(*bitmap, destination, &size, &width, &height, &stride, &own_format);
    };
    ASSERT_EQ(extract(nullptr), 1);
    Bytes undisturbed(size, kUntouched);
    ASSERT_EQ(extract(undisturbed.data()), 1);
    for (const Fault fault : kFaults) {
      SCOPED_TRACE(testing::Message() << "format " << format);
      const std::uint32_t faults = ForEveryFault(fault, [&](FaultPlan& plan) {
        Bytes bytes(undisturbed.size(), kUntouched);
        const int result = plan.Run([&] { return extract(bytes.data()); });
        EXPECT_EQ(result, plan.HasFired() ? 0 : 1);
        EXPECT_EQ(bytes, plan.HasFired() ? Bytes(bytes.size(), kUntouched) : undisturbed);
        EXPECT_TRUE(CanBeLocked(*bitmap));
      });
      // One lock tells the stride, another one copies.
      EXPECT_TRUE(fault != Fault::kLock || faults == 2);
    }
  }
}

TEST(PxtCopyBitmap, HandsOutTheRightBitmapOrNoneUnderFaults) {
  for (const Gdiplus::PixelFormat format : kFormats) {
    const BitmapPointer bitmap = RandomBitmap(kWidth, 37, format);
    ASSERT_NE(bitmap, nullptr);
    // A palette that there is no memory for counts as none.
    std::vector<Picture> also_right;
    if ((format & PixelFormatIndexed) != 0) {
      also_right.push_back(test_support::WithoutPalette(PictureOf(*bitmap)));
    }
    for (const Fault fault : kFaults) {
      SCOPED_TRACE(testing::Message() << "format " << format);
      const int failures = MakeUnderEveryFault(
          fault, [&](Gdiplus::Bitmap** copy) { return PxtCopyBitmap(bitmap.get(), copy); },
          OnFailure::kIsNullOrLeft, also_right);
      EXPECT_GE(failures, 1);
      EXPECT_TRUE(CanBeLocked(*bitmap));
    }
  }
}

}  // namespace
