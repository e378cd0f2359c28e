// Bitmaps as sections with handles: what the platform is asked for, and what happens when out of
// memory, the bitmap cannot be locked or its palette cannot be read.

#include <gtest/gtest.h>

#include "faults/fault_images.h"
#include "faults/fault_makers.h"
#include "support/fault_injection.h"
#include "support/platform_calls.h"

namespace pixtola::test {
namespace {

/// The memory of the section behind a handle.
Bytes PixelsBehind(HBITMAP handle) {
  DIBSECTION section{};
  if (GetObjectW(handle, sizeof(section), &section) != static_cast<int>(sizeof(section))) return {};
  const BITMAP& bitmap = section.dsBm;
  const auto* first = static_cast<const std::uint8_t*>(bitmap.bmBits);
  return {first, first + std::size_t(bitmap.bmWidthBytes) * std::size_t(bitmap.bmHeight)};
}

TEST(PxtBitmapToHBITMAP, AsksForASectionOf32BitsFromTheTopDown) {
  struct Size {
    UINT width;
    UINT height;
  };
  for (const auto& [width, height] : {Size{1, 1}, Size{45, 37}, Size{3, 1000}}) {
    for (const Gdiplus::PixelFormat format :
         {PixelFormat1bppIndexed, PixelFormat24bppRGB, PixelFormat32bppARGB}) {
      SCOPED_TRACE(testing::Message() << width << " x " << height << ", format " << format);
      const BitmapPointer bitmap = RandomBitmap(width, height, format);
      ASSERT_NE(bitmap, nullptr);
      HBITMAP handle = nullptr;
      PlatformCalls calls;
      EXPECT_EQ(calls.Run([&] { return PxtBitmapToHBITMAP(bitmap.get(), &handle); }), 1);
      EXPECT_TRUE(DeleteObject(handle));
      ASSERT_EQ(calls.sections.size(), 1U);
      const SectionCall& section = calls.sections.front();
      EXPECT_EQ(section.device, nullptr);
      EXPECT_EQ(section.usage, static_cast<UINT>(DIB_RGB_COLORS));
      EXPECT_EQ(section.file, nullptr);
      EXPECT_EQ(section.offset, 0U);
      const BITMAPINFOHEADER& header = section.header;
      EXPECT_EQ(header.biSize, 44U);  // with the colour behind it: 4 more than the header's own
      EXPECT_EQ(header.biWidth, static_cast<LONG>(width));
      EXPECT_EQ(header.biHeight, -static_cast<LONG>(height));
      EXPECT_EQ(header.biPlanes, 1);
      EXPECT_EQ(header.biBitCount, 32);
      EXPECT_EQ(header.biCompression, 0U);
      EXPECT_EQ(header.biSizeImage, width * height * 4);
      EXPECT_EQ(header.biXPelsPerMeter, 0);
      EXPECT_EQ(header.biYPelsPerMeter, 0);
      EXPECT_EQ(header.biClrUsed, 0U);
      EXPECT_EQ(header.biClrImportant, 0U);
    }
  }
}

TEST(PxtBitmapToHBITMAP, AsksForNoSectionWithoutPixels) {
  Gdiplus::Bitmap empty(0, 0, PixelFormat32bppARGB);
  HBITMAP handle = nullptr;
  PlatformCalls calls;
  EXPECT_EQ(calls.Run([&] { return PxtBitmapToHBITMAP(&empty, &handle); }), 0);
  EXPECT_TRUE(calls.sections.empty());
}

TEST(PxtBitmapToHBITMAP, ShowsOneBitImagesWhosePaletteCannotBeHad) {
  // Nobody has given it one: 0 is black and 1 is white, of which 254 is left.
  const BitmapPointer bitmap = MakeBitmap(8, 1, PixelFormat1bppIndexed, {0b10100000});
  Bytes expected;
  for (const std::uint8_t level : Bytes{254, 0, 254, 0, 0, 0, 0, 0}) {
    expected.insert(expected.end(), {level, level, level, 255});
  }
  for (const std::uint32_t nth : {1U, 2U}) {
    FaultPlan plan(Fault::kPalette, nth, Span::kToTheEnd);
    HBITMAP handle = nullptr;
    EXPECT_EQ(plan.Run([&] { return PxtBitmapToHBITMAP(bitmap.get(), &handle); }), 1);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(PixelsBehind(handle), expected);
    EXPECT_TRUE(DeleteObject(handle));
  }
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
}  // namespace pixtola::test
