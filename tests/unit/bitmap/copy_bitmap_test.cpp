#include <gtest/gtest.h>

#include <vector>

#include "Pixtola.h"
#include "support/test_bitmap.h"

namespace {

using test_support::BitmapPointer;
using test_support::Bytes;
using test_support::HoldLock;
using test_support::MakeBitmap;
using test_support::PaletteBlock;
using test_support::PaletteOf;
using test_support::PixelsOf;
using test_support::Receive;

TEST(PxtCopyBitmap, KeepsPixelsPaletteAndResolution) {
  const BitmapPointer source = MakeBitmap(4, 2, PixelFormat8bppIndexed, {0, 1, 2, 1, 2, 1, 0, 0});
  const std::vector<Gdiplus::ARGB> colors = {0xFF102030, 0xFF405060, 0xFF708090};
  source->SetPalette(PaletteBlock(0, colors).get());
  source->SetResolution(300, 200);
  BitmapPointer copy;
  ASSERT_EQ(PxtCopyBitmap(source.get(), Receive(copy)), 1);
  EXPECT_NE(copy.get(), source.get());
  EXPECT_EQ(copy->GetPixelFormat(), PixelFormat8bppIndexed);
  EXPECT_EQ(PixelsOf(*copy), PixelsOf(*source));
  EXPECT_EQ(PaletteOf(*copy), colors);
  EXPECT_FLOAT_EQ(copy->GetHorizontalResolution(), 300);
  EXPECT_FLOAT_EQ(copy->GetVerticalResolution(), 200);
  EXPECT_EQ(copy->GetLastStatus(), Gdiplus::Ok);
  EXPECT_EQ(source->GetLastStatus(), Gdiplus::Ok);
}

TEST(PxtCopyBitmap, OwnsItsPixels) {
  Bytes rows = {1, 2, 3, 4, 5, 6, 7, 8};
  BitmapPointer copy;
  {
    Gdiplus::Bitmap source(2, 1, 8, PixelFormat32bppARGB, rows.data());
    ASSERT_EQ(PxtCopyBitmap(&source, Receive(copy)), 1);
  }
  std::fill(rows.begin(), rows.end(), std::uint8_t{0});
  EXPECT_EQ(PixelsOf(*copy), (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(PxtCopyBitmap, CopiesBottomUpBitmaps) {
  Bytes rows = {4, 5, 6, 0, 1, 2, 3, 0};
  Gdiplus::Bitmap source(1, 2, -4, PixelFormat24bppRGB, rows.data() + 4);
  ASSERT_EQ(source.GetLastStatus(), Gdiplus::Ok);
  BitmapPointer copy;
  ASSERT_EQ(PxtCopyBitmap(&source, Receive(copy)), 1);
  EXPECT_EQ(PixelsOf(*copy), (Bytes{1, 2, 3, 4, 5, 6}));
}

TEST(PxtCopyBitmap, RecordsAFailedLockAndLeavesTheArgument) {
  const BitmapPointer source(new Gdiplus::Bitmap(2, 2, PixelFormat24bppRGB));
  const HoldLock lock(*source);
  Gdiplus::Bitmap* copy = source.get();
  EXPECT_EQ(PxtCopyBitmap(source.get(), &copy), 0);
  EXPECT_EQ(copy, source.get());
  EXPECT_EQ(source->GetLastStatus(), Gdiplus::WrongState);
}

TEST(PxtCopyBitmap, RefusesNullArguments) {
  const BitmapPointer source(new Gdiplus::Bitmap(2, 2, PixelFormat24bppRGB));
  Gdiplus::Bitmap* copy = nullptr;
  EXPECT_EQ(PxtCopyBitmap(nullptr, &copy), 0);
  EXPECT_EQ(PxtCopyBitmap(source.get(), nullptr), 0);
}

}  // namespace
