// Conversions of bitmaps when out of memory or a bitmap cannot be locked.

#include <gtest/gtest.h>

#include <algorithm>

#include "faults/fault_images.h"
#include "faults/fault_makers.h"
#include "support/fault_injection.h"
#include "support/test_formats.h"

namespace pixtola::test {
namespace {

constexpr Fault kFaults[] = {Fault::kAllocation, Fault::kLock};

bool IsUntouched(const Bytes& bytes) {
  return std::all_of(bytes.begin(), bytes.end(),
                     [](std::uint8_t byte) { return byte == kUntouched; });
}

TEST(PxtBitmapToBytes, GivesNothingOrTheRightResultUnderFaults) {
  for (const Gdiplus::PixelFormat format : kFormatOfEachDepth) {
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
// The palette is the first thing that memory is asked for.
TEST(PxtBitmapToBytes, GoesOnWithoutAPaletteThatFindsNoMemory) {
  for (const Gdiplus::PixelFormat format : {PixelFormat1bppIndexed, PixelFormat4bppIndexed}) {
    const BitmapPointer bitmap = RandomBitmap(45, 37, format);
    for (const PxtConversionMethod method : kMethods) {
      SCOPED_TRACE(testing::Message() << "format " << format << ", method " << method);
      std::uint32_t size = 0;
      std::uint32_t stride = 0;
      ASSERT_EQ(PxtBitmapToBytes(method, *bitmap, nullptr, &size, &stride), 1);
      Bytes undisturbed(size, kUntouched);
      ASSERT_EQ(PxtBitmapToBytes(method, *bitmap, undisturbed.data(), &size, &stride), 1);
      Bytes bytes(size, kUntouched);
      FaultPlan plan(Fault::kAllocation, 1);
      const auto convert = [&] {
        return PxtBitmapToBytes(method, *bitmap, bytes.data(), &size, &stride);
      };
      EXPECT_EQ(plan.Run(convert), 1);
      EXPECT_TRUE(plan.HasFired());
      EXPECT_EQ(bytes, undisturbed);
    }
  }
  // Only pixels of 8 bits need it, and only when they are converted.
  const BitmapPointer bitmap = RandomBitmap(45, 37, PixelFormat8bppIndexed);
  std::uint32_t size = 0;
  std::uint32_t stride = 0;
  FaultPlan query_plan(Fault::kAllocation, 1);
  const auto query = [&] {
    return PxtBitmapToBytes(MethodGray8, *bitmap, nullptr, &size, &stride);
  };
  EXPECT_EQ(query_plan.Run(query), 1);
  EXPECT_TRUE(query_plan.HasFired());
  EXPECT_EQ(size, 48U * 37);
  EXPECT_EQ(stride, 48U);
  Bytes bytes(size, kUntouched);
  FaultPlan plan(Fault::kAllocation, 1);
  const auto convert = [&] {
    return PxtBitmapToBytes(MethodGray8, *bitmap, bytes.data(), &size, &stride);
  };
  EXPECT_EQ(plan.Run(convert), 0);
  EXPECT_TRUE(IsUntouched(bytes));
}

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
  for (const Gdiplus::PixelFormat format : kFormatOfEachDepth) {
    const BitmapPointer bitmap = RandomBitmap(kOddWidth, 37, format);
    ASSERT_NE(bitmap, nullptr);
    for (const PxtConversionMethod method : kMethods) {
      SCOPED_TRACE(testing::Message() << "format " << format << ", method " << method);
      const auto make = [&](Gdiplus::Bitmap** result) {
        return PxtBitmapToBitmap(method, *bitmap, result);
      };
      BitmapPointer undisturbed;
      ASSERT_EQ(make(Receive(undisturbed)), 1);
      // What cannot be encoded is copied directly.
      const Picture copied = WithDpi(PictureOf(*undisturbed), 200, 300);
      for (const Fault fault : kFaults) {
        for (const Span span : {Span::kOneCall, Span::kToTheEnd}) {
          bitmap->GetLastStatus();
          const Outcomes outcomes =
              MakeUnderEveryFault({.fault = fault,
                                   .on_failure = Always(OnFailure::kIsNullOrLeft),
                                   .also_right = {copied},
                                   .span = span},
                                  make);
          EXPECT_GE(outcomes.failures, 1U);
          // Other depths are locked in another format, which may need memory as well.
          const bool is_locked_as_it_is =
              format != PixelFormat4bppIndexed && format != PixelFormat16bppRGB565;
          if (fault == Fault::kLock || is_locked_as_it_is) {
            EXPECT_EQ(bitmap->GetLastStatus(),
                      fault == Fault::kLock ? Gdiplus::OutOfMemory : Gdiplus::Ok);
          }
          EXPECT_TRUE(CanBeLocked(*bitmap));
        }
      }
      // There is one stream, into which an encoded copy is written.
      const Outcomes writes = MakeUnderEveryFault({.fault = Fault::kWrite,
                                                   .on_failure = Always(OnFailure::kIsNull),
                                                   .also_right = {copied}},
                                                  make);
      EXPECT_GE(writes.faults, 1U);
      EXPECT_EQ(writes.failures, 0U);
      if (kDecodersMishandleFailedReads) continue;
      const Outcomes reads = MakeUnderEveryFault(
          {.fault = Fault::kRead, .on_failure = Always(OnFailure::kIsNull)}, make);
      EXPECT_GE(reads.failures, 1U);
    }
  }
}

TEST(PxtExtractBytes, WritesAllPixelsOrNoneUnderFaults) {
  for (const Gdiplus::PixelFormat format : kFormatOfEachDepth) {
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

}  // namespace
}  // namespace pixtola::test
