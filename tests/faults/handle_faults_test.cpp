// Bitmaps as sections behind handles, when memory lacks or the bitmap cannot be locked.

#include <gtest/gtest.h>

#include "faults/fault_images.h"
#include "faults/fault_makers.h"
#include "support/fault_injection.h"

namespace {

using test_support::BitmapPointer;
using test_support::Bytes;
using test_support::CanBeLocked;
using test_support::Fault;
using test_support::FaultPlan;
using test_support::ForEveryFault;
using test_support::kOddWidth;
using test_support::RandomBitmap;
using test_support::Span;

/// The memory of the section behind a handle.
Bytes PixelsBehind(HBITMAP handle) {
  DIBSECTION section{};
  if (GetObjectW(handle, sizeof(section), &section) != static_cast<int>(sizeof(section))) return {};
  const auto* first = static_cast<const std::uint8_t*>(section.dsBm.bmBits);
  return {first, first + std::size_t{4} * kOddWidth * 37};
}

TEST(PxtBitmapToHBITMAP, HandsOutTheRightSectionOrNoneUnderFaults) {
  for (const Gdiplus::PixelFormat format :
       {PixelFormat1bppIndexed, PixelFormat4bppIndexed, PixelFormat8bppIndexed,
        PixelFormat16bppRGB565, PixelFormat24bppRGB, PixelFormat32bppARGB}) {
    const BitmapPointer bitmap = RandomBitmap(kOddWidth, 37, format);
    ASSERT_NE(bitmap, nullptr);
    // The first call also makes room in the platform's tables.
    HBITMAP undisturbed = nullptr;
    ASSERT_EQ(PxtBitmapToHBITMAP(bitmap.get(), &undisturbed), 1);
    const Bytes pixels = PixelsBehind(undisturbed);
    EXPECT_TRUE(DeleteObject(undisturbed));
    for (const Fault fault : {Fault::kAllocation, Fault::kLock}) {
      for (const Span span : {Span::kOneCall, Span::kToTheEnd}) {
        SCOPED_TRACE(testing::Message() << "format " << format);
        bitmap->GetLastStatus();
        const std::uint32_t faults = ForEveryFault(
            fault,
            [&](FaultPlan& plan) {
              auto handle = reinterpret_cast<HBITMAP>(bitmap.get());
              const int result =
                  plan.Run([&] { return PxtBitmapToHBITMAP(bitmap.get(), &handle); });
              EXPECT_EQ(result, plan.HasFired() ? 0 : 1);
              EXPECT_EQ(handle == nullptr, result == 0);
              EXPECT_EQ(bitmap->GetLastStatus(), fault == Fault::kLock && plan.HasFired()
                                                     ? Gdiplus::OutOfMemory
                                                     : Gdiplus::Ok);
              EXPECT_TRUE(CanBeLocked(*bitmap));
              if (handle == nullptr) return;
              EXPECT_TRUE(PixelsBehind(handle) == pixels);
              EXPECT_TRUE(DeleteObject(handle));
            },
            span);
        EXPECT_GE(faults, 1U);
        EXPECT_TRUE(fault != Fault::kLock || faults == 1);
      }
    }
  }
}

}  // namespace
