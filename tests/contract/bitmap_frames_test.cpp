// What the platform promises about the frames of bitmaps that come from no file. Written against
// the API alone: the same tests run on GDI+ and on the stand-in.

#include <gtest/gtest.h>

#include "platform.h"
#include "support/platform_expectations.h"
#include "support/test_bitmap.h"

namespace pixtola::test {
namespace {

namespace Flat = Gdiplus::DllExports;

// The dimensions by their identifiers: not all headers name them.
constexpr GUID kPage = {
    0x7462DC86, 0x6180, 0x4C7E, {0x8E, 0x3F, 0xEE, 0x73, 0x33, 0xA7, 0xA4, 0x83}};
constexpr GUID kTime = {
    0x6AEDBD6D, 0x3FB5, 0x418A, {0x83, 0xA6, 0x7F, 0x45, 0x22, 0x9D, 0xC8, 0x72}};

Gdiplus::GpImage* NativeOf(const Gdiplus::Bitmap& bitmap) {
  return pixtola::platform::NativeImage(bitmap);
}

TEST(MemoryBitmapFrames, AreOneInAnyDimension) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(2, 1, PixelFormat24bppRGB));
  for (const GUID* const dimension : {&kPage, &kTime}) {
    UINT count = 0;
    EXPECT_EQ(Flat::GdipImageGetFrameCount(NativeOf(*bitmap), dimension, &count), Gdiplus::Ok);
    EXPECT_EQ(count, 1U);
  }
}

TEST(MemoryBitmapFrames, AreCountedOnlyWhereTheCountCanGo) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(2, 1, PixelFormat24bppRGB));
  UINT count = 0;
  EXPECT_EQ(Flat::GdipImageGetFrameCount(NativeOf(*bitmap), &kPage, nullptr),
            Gdiplus::InvalidParameter);
  EXPECT_EQ(Flat::GdipImageGetFrameCount(nullptr, &kPage, &count), Gdiplus::InvalidParameter);
}

TEST(MemoryBitmapFrames, LetTheFirstBeSelected) {
  const Bytes pixels = {1, 2, 3, 4, 5, 6};
  const BitmapPointer bitmap = MakeBitmap(2, 1, PixelFormat24bppRGB, pixels);
  for (const GUID* const dimension : {&kPage, &kTime}) {
    EXPECT_EQ(Flat::GdipImageSelectActiveFrame(NativeOf(*bitmap), dimension, 0), Gdiplus::Ok);
    EXPECT_EQ(PixelsOf(*bitmap), pixels);
  }
}

TEST(MemoryBitmapFrames, HaveNoSecond) {
  const Bytes pixels = {1, 2, 3, 4, 5, 6};
  const BitmapPointer bitmap = MakeBitmap(2, 1, PixelFormat24bppRGB, pixels);
  const Gdiplus::Status refused =
      kMissingFramesAreInvalidParameters ? Gdiplus::InvalidParameter : Gdiplus::Win32Error;
  for (const UINT frame : {1U, 2U, 0xFFFFFFFFU}) {
    EXPECT_EQ(Flat::GdipImageSelectActiveFrame(NativeOf(*bitmap), &kPage, frame), refused) << frame;
  }
  EXPECT_EQ(PixelsOf(*bitmap), pixels);
}

TEST(MemoryBitmapFrames, AskForTheBitmapAndADimension) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(2, 1, PixelFormat24bppRGB));
  EXPECT_EQ(Flat::GdipImageSelectActiveFrame(nullptr, &kPage, 0), Gdiplus::InvalidParameter);
  EXPECT_EQ(Flat::GdipImageSelectActiveFrame(NativeOf(*bitmap), nullptr, 0),
            Gdiplus::InvalidParameter);
}

}  // namespace
}  // namespace pixtola::test
