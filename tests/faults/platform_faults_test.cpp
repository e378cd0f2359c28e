// The stand-in's bitmaps and locks when out of memory.

#include <gtest/gtest.h>

#include <cstring>

#include "faults/fault_images.h"
#include "support/fault_injection.h"

namespace pixtola::test {
namespace {

namespace Flat = Gdiplus::DllExports;

constexpr Gdiplus::PixelFormat kFormats[] = {PixelFormat1bppIndexed, PixelFormat4bppIndexed,
                                             PixelFormat8bppIndexed, PixelFormat16bppRGB555,
                                             PixelFormat24bppRGB,    PixelFormat32bppPARGB};

/// All bytes of the rows that a reading lock gives.
Bytes LockedRows(Gdiplus::Bitmap& bitmap, const Gdiplus::Rect& part, Gdiplus::PixelFormat format) {
  Gdiplus::BitmapData data{};
  if (bitmap.LockBits(&part, Gdiplus::ImageLockModeRead, format, &data) != Gdiplus::Ok) return {};
  const auto* rows = static_cast<const std::uint8_t*>(data.Scan0);
  const Bytes bytes(rows, rows + part.Height * data.Stride);
  bitmap.UnlockBits(&data);
  return bytes;
}

TEST(BitmapsWithoutMemory, AreNotMade) {
  Bytes rows = RandomBytes(180 * 37);
  for (const Gdiplus::PixelFormat format : kFormats) {
    for (BYTE* scan0 : {static_cast<BYTE*>(nullptr), rows.data()}) {
      const std::uint32_t faults = ForEveryFault(Fault::kAllocation, [&](FaultPlan& plan) {
        Gdiplus::GpBitmap* bitmap = nullptr;
        const Gdiplus::GpStatus status = plan.Run(
            [&] { return Flat::GdipCreateBitmapFromScan0(45, 37, 180, format, scan0, &bitmap); });
        EXPECT_EQ(status, plan.HasFired() ? Gdiplus::OutOfMemory : Gdiplus::Ok);
        EXPECT_EQ(bitmap == nullptr, plan.HasFired());
        Flat::GdipDisposeImage(bitmap);
      });
      EXPECT_GE(faults, 1U);
    }
  }
}

TEST(BitmapsWithoutMemory, AreNotCloned) {
  for (const Gdiplus::PixelFormat format : kFormats) {
    const BitmapPointer bitmap = RandomBitmap(45, 37, format);
    bitmap->GetLastStatus();
    const std::uint32_t faults = ForEveryFault(Fault::kAllocation, [&](FaultPlan& plan) {
      Gdiplus::Bitmap* raw = nullptr;
      plan.Run([&] { raw = bitmap->Clone(); });
      const BitmapPointer clone(raw);
      EXPECT_EQ(clone == nullptr, plan.HasFired());
      if (clone != nullptr) {
        EXPECT_TRUE(PictureOf(*clone) == PictureOf(*bitmap));
      }
    });
    EXPECT_GE(faults, 2U);
  }
}

TEST(BitmapsWithoutMemory, AreNotLockedInAnotherFormat) {
  for (const Gdiplus::PixelFormat format : kFormats) {
    for (const Gdiplus::PixelFormat locked_format : kFormats) {
      // Beginning inside a byte, so that even locks in the bitmap's own format may need memory.
      const Gdiplus::Rect part(3, 2, 30, 20);
      for (const UINT mode : {UINT{Gdiplus::ImageLockModeRead}, UINT{Gdiplus::ImageLockModeWrite},
                              UINT{Gdiplus::ImageLockModeRead | Gdiplus::ImageLockModeWrite}}) {
        const BitmapPointer bitmap = RandomBitmap(45, 37, format);
        SCOPED_TRACE(testing::Message() << format << " as " << locked_format << ", mode " << mode);
        const std::uint32_t faults = ForEveryFault(Fault::kAllocation, [&](FaultPlan& plan) {
          // Writing back what was read may change it: the palettes differ.
          const Bytes pixels = PixelsOf(*bitmap);
          const Bytes undisturbed = LockedRows(*bitmap, part, locked_format);
          Gdiplus::BitmapData data{};
          const Gdiplus::Status status =
              plan.Run([&] { return bitmap->LockBits(&part, mode, locked_format, &data); });
          if (status == Gdiplus::Ok) {
            // The search for the nearest entry of a palette goes on without the memory it would
            // like.
            EXPECT_TRUE(!plan.HasFired() || (locked_format & PixelFormatIndexed) != 0);
            ASSERT_NE(data.Scan0, nullptr);
            const auto* rows = static_cast<const std::uint8_t*>(data.Scan0);
            EXPECT_TRUE(mode == Gdiplus::ImageLockModeWrite ||
                        Bytes(rows, rows + 20 * data.Stride) == undisturbed);
            bitmap->UnlockBits(&data);
            return;
          }
          EXPECT_TRUE(plan.HasFired());
          EXPECT_EQ(status, Gdiplus::OutOfMemory);
          EXPECT_TRUE(CanBeLocked(*bitmap));
          EXPECT_TRUE(PixelsOf(*bitmap) == pixels);
        });
        EXPECT_TRUE(format == locked_format || faults > 0);
      }
    }
  }
}

TEST(BitmapsWithoutMemory, TakeAllWrittenPixelsOrNone) {
  const BitmapPointer bitmap = RandomBitmap(45, 37, PixelFormat24bppRGB);
  const Bytes before = PixelsOf(*bitmap);
  const Gdiplus::Rect whole(0, 0, 45, 37);
  ForEveryFault(Fault::kAllocation, [&](FaultPlan& plan) {
    Gdiplus::BitmapData data{};
    ASSERT_EQ(bitmap->LockBits(&whole, Gdiplus::ImageLockModeWrite, PixelFormat32bppRGB, &data),
              Gdiplus::Ok);
    std::memset(data.Scan0, 0x77, static_cast<std::size_t>(data.Stride) * 37);
    const Gdiplus::Status status = plan.Run([&] { return bitmap->UnlockBits(&data); });
    EXPECT_EQ(status, plan.HasFired() ? Gdiplus::OutOfMemory : Gdiplus::Ok);
    EXPECT_EQ(PixelsOf(*bitmap), plan.HasFired() ? before : Bytes(before.size(), 0x77));
    EXPECT_TRUE(CanBeLocked(*bitmap));
  });
}

TEST(GdipAlloc, GivesNullWithoutMemory) {
  FaultPlan plan(Fault::kAllocation, 1);
  EXPECT_EQ(plan.Run([] { return Flat::GdipAlloc(8); }), nullptr);
  // So does `new` of the bitmap classes: no constructor runs.
  FaultPlan plan_for_new(Fault::kAllocation, 1);
  Gdiplus::Bitmap* const bitmap =
      plan_for_new.Run([] { return new Gdiplus::Bitmap(4, 4, PixelFormat24bppRGB); });
  EXPECT_EQ(bitmap, nullptr);
  EXPECT_EQ(plan_for_new.calls(), 1U);
}

}  // namespace
}  // namespace pixtola::test
