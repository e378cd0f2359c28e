#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <utility>
#include <vector>

#include "Pixtola.h"
#include "support/pixel_rows.h"
#include "support/reference_pixels.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"

namespace pixtola::test {
namespace {

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
  // In whole pixels a metre.
  EXPECT_NEAR(copy->GetHorizontalResolution(), 300, kDpiTolerance);
  EXPECT_NEAR(copy->GetVerticalResolution(), 200, kDpiTolerance);
  EXPECT_EQ(copy->GetLastStatus(), Gdiplus::Ok);
  EXPECT_EQ(source->GetLastStatus(), Gdiplus::Ok);
}

TEST(PxtCopyBitmap, CopiesAllFormatsAndWidths) {
  std::mt19937 random(5);
  for (const auto format : kFormats) {
    for (const std::size_t width : {1U, 7U, 8U, 9U, 31U, 32U, 33U, 100U}) {
      SCOPED_TRACE(testing::Message() << NameOf(format) << ", width " << width);
      RowsBitmap source(width, 5, format, random);
      ASSERT_EQ(source.bitmap.GetLastStatus(), Gdiplus::Ok);
      ASSERT_EQ(source.bitmap.SetResolution(240, 120), Gdiplus::Ok);
      BitmapPointer copy;
      ASSERT_EQ(PxtCopyBitmap(&source.bitmap, Receive(copy)), 1);
      EXPECT_EQ(copy->GetPixelFormat(), format);
      EXPECT_EQ(copy->GetWidth(), width);
      EXPECT_EQ(copy->GetHeight(), 5U);
      EXPECT_EQ(PixelsOf(*copy), PixelsOf(source.bitmap));
      EXPECT_NEAR(copy->GetHorizontalResolution(), 240, kDpiTolerance);
      EXPECT_NEAR(copy->GetVerticalResolution(), 120, kDpiTolerance);
      EXPECT_EQ(source.bitmap.GetLastStatus(), Gdiplus::Ok);
    }
  }
}

TEST(PxtCopyBitmap, KeepsTheExactResolutionWhereThereAreNoIndexes) {
  const BitmapPointer source(new Gdiplus::Bitmap(2, 2, PixelFormat24bppRGB));
  ASSERT_EQ(source->SetResolution(300.125F, 203.2F), Gdiplus::Ok);
  BitmapPointer copy;
  ASSERT_EQ(PxtCopyBitmap(source.get(), Receive(copy)), 1);
  EXPECT_EQ(copy->GetHorizontalResolution(), 300.125F);
  EXPECT_EQ(copy->GetVerticalResolution(), 203.2F);
}

TEST(PxtCopyBitmap, GivesBitmapsTheirDefaultPalettesAlong) {
  for (const auto format :
       {PixelFormat1bppIndexed, PixelFormat4bppIndexed, PixelFormat8bppIndexed}) {
    const BitmapPointer source(new Gdiplus::Bitmap(8, 2, format));
    auto expected = PaletteOf(*source);
    ASSERT_EQ(expected.size(), std::size_t{1} << BitsOf(format));
    for (Gdiplus::ARGB& entry : expected) entry |= 0xFF000000U;
    BitmapPointer copy;
    ASSERT_EQ(PxtCopyBitmap(source.get(), Receive(copy)), 1);
    EXPECT_EQ(PaletteOf(*copy), expected);
  }
}

TEST(PxtCopyBitmap, LetsGoOfTheFile) {
  const TemporaryFolder folder;
  const auto path = folder / "image.png";
  const BitmapPointer saved = MakeBitmap(2, 1, PixelFormat24bppRGB, {1, 2, 3, 4, 5, 6});
  ASSERT_EQ(PxtSaveBitmapToFile(saved.get(), PxtFileTypePng, path.wstring().c_str()), 1);
  BitmapPointer copy;
  {
    Gdiplus::Bitmap file(path.wstring().c_str());
    ASSERT_EQ(PxtCopyBitmap(&file, Receive(copy)), 1);
  }
  EXPECT_TRUE(std::filesystem::remove(path));
  EXPECT_EQ(PixelsOf(*copy), (Bytes{1, 2, 3, 4, 5, 6}));
}

TEST(PxtCopyBitmap, LeavesTheSourceUnlockedAndAsItWas) {
  const BitmapPointer source = MakeBitmap(4, 1, PixelFormat8bppIndexed, {1, 2, 3, 4});
  BitmapPointer copy;
  ASSERT_EQ(PxtCopyBitmap(source.get(), Receive(copy)), 1);
  EXPECT_EQ(PixelsOf(*source), (Bytes{1, 2, 3, 4}));
  Gdiplus::BitmapData locked{};
  ASSERT_EQ(copy->LockBits(nullptr, Gdiplus::ImageLockModeWrite, PixelFormat8bppIndexed, &locked),
            Gdiplus::Ok);
  static_cast<std::uint8_t*>(locked.Scan0)[0] = 77;
  copy->UnlockBits(&locked);
  EXPECT_EQ(PixelsOf(*source), (Bytes{1, 2, 3, 4}));
}

TEST(PxtCopyBitmap, CopiesCopies) {
  BitmapPointer bitmap = MakeBitmap(4, 1, PixelFormat8bppIndexed, {1, 2, 3, 4});
  ASSERT_EQ(bitmap->SetResolution(300, 300), Gdiplus::Ok);
  for (int i = 0; i < 20; ++i) {
    BitmapPointer copy;
    ASSERT_EQ(PxtCopyBitmap(bitmap.get(), Receive(copy)), 1);
    bitmap = std::move(copy);
  }
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{1, 2, 3, 4}));
  EXPECT_NEAR(bitmap->GetHorizontalResolution(), 300, kDpiTolerance);  // it does not drift away
}

TEST(PxtCopyBitmap, LeavesTheArgumentForABitmapWithoutAnImage) {
  Gdiplus::Bitmap none(0, 0, PixelFormat24bppRGB);
  const BitmapPointer other(new Gdiplus::Bitmap(1, 1, PixelFormat24bppRGB));
  Gdiplus::Bitmap* copy = other.get();
  EXPECT_EQ(PxtCopyBitmap(&none, &copy), 0);
  EXPECT_EQ(copy, other.get());
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
}  // namespace pixtola::test
