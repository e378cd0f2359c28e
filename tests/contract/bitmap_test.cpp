// What the platform promises about bitmaps, their palettes and their resolution. Written against
// the API alone: the same tests run on GDI+ and on the stand-in.

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "Pixtola.h"
#include "support/platform_expectations.h"
#include "support/test_bitmap.h"

namespace pixtola::test {
namespace {

namespace Flat = Gdiplus::DllExports;

TEST(BitmapCreation, ZeroesPixelsOfItsOwn) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(5, 4, PixelFormat32bppARGB));
  ASSERT_EQ(bitmap->GetLastStatus(), Gdiplus::Ok);
  EXPECT_EQ(PixelsOf(*bitmap), Bytes(80, 0));
}

TEST(BitmapCreation, RefusesEmptySizes) {
  for (const auto& [width, height] : {std::pair{0, 1}, {1, 0}, {-1, 1}, {1, -1}}) {
    Gdiplus::GpBitmap* bitmap = reinterpret_cast<Gdiplus::GpBitmap*>(16);
    EXPECT_EQ(
        Flat::GdipCreateBitmapFromScan0(width, height, 0, PixelFormat24bppRGB, nullptr, &bitmap),
        Gdiplus::InvalidParameter);
    EXPECT_EQ(bitmap, nullptr);
  }
}

TEST(BitmapCreation, AsksForStridesThatAreMultiplesOfFourWithTheCallersRows) {
  Bytes rows(64);
  for (const int stride : {0, 3, 5, 6, -6}) {
    Gdiplus::GpBitmap* bitmap = reinterpret_cast<Gdiplus::GpBitmap*>(16);
    EXPECT_EQ(
        Flat::GdipCreateBitmapFromScan0(1, 1, stride, PixelFormat24bppRGB, rows.data(), &bitmap),
        Gdiplus::InvalidParameter)
        << stride;
    if (stride == 0 && kNoStrideLeavesTheOldHandle) continue;
    EXPECT_EQ(bitmap, nullptr) << stride;
  }
}

TEST(BitmapCreation, TakesAnyStrideWithoutTheCallersRows) {
  for (const int stride : {0, 1, 2, 3, 4, 400, -4, -3}) {
    Gdiplus::GpBitmap* bitmap = nullptr;
    EXPECT_EQ(Flat::GdipCreateBitmapFromScan0(5, 2, stride, PixelFormat24bppRGB, nullptr, &bitmap),
              Gdiplus::Ok)
        << stride;
    Flat::GdipDisposeImage(bitmap);
  }
}

TEST(BitmapCreation, KnowsEveryFormatThatPixelsHave) {
  for (const Gdiplus::PixelFormat format :
       {PixelFormat1bppIndexed, PixelFormat4bppIndexed, PixelFormat8bppIndexed,
        PixelFormat16bppGrayScale, PixelFormat16bppRGB555, PixelFormat16bppRGB565,
        PixelFormat16bppARGB1555, PixelFormat24bppRGB, PixelFormat32bppRGB, PixelFormat32bppARGB,
        PixelFormat32bppPARGB, PixelFormat48bppRGB, PixelFormat64bppARGB, PixelFormat64bppPARGB}) {
    const BitmapPointer bitmap(new Gdiplus::Bitmap(3, 2, format));
    ASSERT_EQ(bitmap->GetLastStatus(), Gdiplus::Ok) << std::hex << format;
    EXPECT_EQ(bitmap->GetPixelFormat(), format);
    EXPECT_EQ(bitmap->GetWidth(), 3U);
    EXPECT_EQ(bitmap->GetHeight(), 2U);
    EXPECT_EQ(PixelsOf(*bitmap), Bytes(2 * PackedBytes(format, 3), 0)) << std::hex << format;
  }
}

TEST(BitmapCreation, RefersToTheCallersRows) {
  Bytes rows = {1, 2, 3, 0};
  Gdiplus::Bitmap bitmap(1, 1, 4, PixelFormat24bppRGB, rows.data());
  ASSERT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
  rows[0] = 9;
  EXPECT_EQ(PixelsOf(bitmap), (Bytes{9, 2, 3}));
  Gdiplus::BitmapData data{};
  const Gdiplus::Rect whole(0, 0, 1, 1);
  ASSERT_EQ(bitmap.LockBits(&whole, Gdiplus::ImageLockModeWrite, PixelFormat24bppRGB, &data),
            Gdiplus::Ok);
  static_cast<std::uint8_t*>(data.Scan0)[1] = 8;
  bitmap.UnlockBits(&data);
  EXPECT_EQ(rows[1], 8);
}

TEST(BitmapCreation, AcceptsRowsThatRunUpwards) {
  Bytes rows = {4, 5, 6, 0, 1, 2, 3, 0};
  Gdiplus::Bitmap bitmap(1, 2, -4, PixelFormat24bppRGB, rows.data() + 4);
  ASSERT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
  EXPECT_EQ(PixelsOf(bitmap), (Bytes{1, 2, 3, 4, 5, 6}));
}

TEST(BitmapResolution, IsKeptAndRefusesZeroAndLess) {
  if (kAnyResolutionIsTaken) GTEST_SKIP() << "Wine takes any";
  const BitmapPointer bitmap(new Gdiplus::Bitmap(1, 1, PixelFormat24bppRGB));
  EXPECT_EQ(bitmap->SetResolution(300, 150), Gdiplus::Ok);
  for (const auto& [x, y] : {std::pair{0.0F, 96.0F}, {96.0F, 0.0F}, {-1.0F, 96.0F}}) {
    EXPECT_EQ(bitmap->SetResolution(x, y), Gdiplus::InvalidParameter);
    EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::InvalidParameter);
  }
  EXPECT_FLOAT_EQ(bitmap->GetHorizontalResolution(), 300);
  EXPECT_FLOAT_EQ(bitmap->GetVerticalResolution(), 150);
}

TEST(BitmapResolution, Is96ForNewBitmaps) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(1, 1, PixelFormat24bppRGB));
  EXPECT_FLOAT_EQ(bitmap->GetHorizontalResolution(), 96);
  EXPECT_FLOAT_EQ(bitmap->GetVerticalResolution(), 96);
}

TEST(BitmapLastStatus, IsForgottenWhenReadAndSurvivesSuccess) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(1, 1, PixelFormat24bppRGB));
  const Gdiplus::Rect outside(1, 1, 1, 1);
  Gdiplus::BitmapData data{};
  bitmap->LockBits(&outside, Gdiplus::ImageLockModeRead, PixelFormat24bppRGB, &data);
  bitmap->SetResolution(96, 96);
  EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::InvalidParameter);
  EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::Ok);
}

TEST(BitmapPalette, OfOneBitIsBlackAndWhite) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(1, 1, PixelFormat1bppIndexed));
  EXPECT_EQ(PaletteOf(*bitmap), (std::vector<Gdiplus::ARGB>{0xFF000000, 0xFFFFFFFF}));
}

TEST(BitmapPalette, OfFourBitsIsTheSystemColours) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(1, 1, PixelFormat4bppIndexed));
  const std::vector<Gdiplus::ARGB> expected = {0xFF000000, 0xFF800000, 0xFF008000, 0xFF808000,
                                               0xFF000080, 0xFF800080, 0xFF008080, 0xFF808080,
                                               0xFFC0C0C0, 0xFFFF0000, 0xFF00FF00, 0xFFFFFF00,
                                               0xFF0000FF, 0xFFFF00FF, 0xFF00FFFF, 0xFFFFFFFF};
  EXPECT_EQ(PaletteOf(*bitmap), expected);
}

TEST(BitmapPalette, OfEightBitsIsTheHalftoneOne) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(1, 1, PixelFormat8bppIndexed));
  const auto palette = PaletteOf(*bitmap);
  ASSERT_EQ(palette.size(), 256U);
  EXPECT_EQ(palette[1], 0xFF800000U);
  EXPECT_EQ(palette[8], 0xFFC0C0C0U);
  EXPECT_EQ(palette[15], 0xFFFFFFFFU);
  for (unsigned i = 16; i < 40; ++i) EXPECT_EQ(palette[i], 0U) << i;
  EXPECT_EQ(palette[40], 0xFF000000U);
  EXPECT_EQ(palette[41], 0xFF000033U);
  EXPECT_EQ(palette[46], 0xFF003300U);
  EXPECT_EQ(palette[76], 0xFF330000U);
  EXPECT_EQ(palette[255], 0xFFFFFFFFU);
}

TEST(BitmapPalette, SaysWhatKindOfColoursItHas) {
  const auto flags_of = [](Gdiplus::PixelFormat format) {
    const BitmapPointer bitmap(new Gdiplus::Bitmap(1, 1, format));
    std::vector<std::uint32_t> block(2 + 256);
    auto* palette = reinterpret_cast<Gdiplus::ColorPalette*>(block.data());
    EXPECT_EQ(bitmap->GetPalette(palette, bitmap->GetPaletteSize()), Gdiplus::Ok);
    return palette->Flags;
  };
  EXPECT_EQ(flags_of(PixelFormat1bppIndexed), UINT{Gdiplus::PaletteFlagsGrayScale});
  EXPECT_EQ(flags_of(PixelFormat4bppIndexed), 0U);
  EXPECT_EQ(flags_of(PixelFormat8bppIndexed), UINT{Gdiplus::PaletteFlagsHalftone});
}

TEST(BitmapPalette, KeepsTheFlagsAsGiven) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(1, 1, PixelFormat8bppIndexed));
  ASSERT_EQ(bitmap->SetPalette(PaletteBlock(5, {0xFF010203, 0x80040506}).get()), Gdiplus::Ok);
  std::uint32_t block[4] = {};
  auto* palette = reinterpret_cast<Gdiplus::ColorPalette*>(block);
  ASSERT_EQ(bitmap->GetPalette(palette, sizeof(block)), Gdiplus::Ok);
  EXPECT_EQ(palette->Flags, 5U);
  EXPECT_EQ(palette->Count, 2U);
}

TEST(BitmapPalette, IsEmptyWithoutIndexes) {
  const BitmapPointer bitmap(new Gdiplus::Bitmap(1, 1, PixelFormat24bppRGB));
  std::uint32_t block[3] = {77, 77, 77};
  auto* palette = reinterpret_cast<Gdiplus::ColorPalette*>(block);
  ASSERT_EQ(bitmap->GetPalette(palette, sizeof(block)), Gdiplus::Ok);
  EXPECT_EQ(palette->Count, 0U);
}

TEST(BitmapPalette, TellsItsSize) {
  EXPECT_EQ(BitmapPointer(new Gdiplus::Bitmap(1, 1, PixelFormat1bppIndexed))->GetPaletteSize(), 16);
  EXPECT_EQ(BitmapPointer(new Gdiplus::Bitmap(1, 1, PixelFormat8bppIndexed))->GetPaletteSize(),
            1032);
  EXPECT_EQ(BitmapPointer(new Gdiplus::Bitmap(1, 1, PixelFormat24bppRGB))->GetPaletteSize(), 12);
}

TEST(BitmapPalette, RefusesTooSmallABlock) {
  if (kPalettesAreCheckedDifferently) GTEST_SKIP() << "Wine answers otherwise";
  const BitmapPointer bitmap(new Gdiplus::Bitmap(1, 1, PixelFormat1bppIndexed));
  std::uint32_t block[4] = {};
  EXPECT_EQ(bitmap->GetPalette(reinterpret_cast<Gdiplus::ColorPalette*>(block), 15),
            Gdiplus::InvalidParameter);
}

TEST(BitmapPalette, KeepsFewerEntriesAndRefusesNoneAndTooMany) {
  if (kPalettesAreCheckedDifferently) GTEST_SKIP() << "Wine takes empty palettes";
  const BitmapPointer bitmap(new Gdiplus::Bitmap(1, 1, PixelFormat8bppIndexed));
  const std::vector<Gdiplus::ARGB> colors = {0xFF010203, 0x80040506};
  EXPECT_EQ(bitmap->SetPalette(PaletteBlock(5, colors).get()), Gdiplus::Ok);
  EXPECT_EQ(PaletteOf(*bitmap), colors);
  EXPECT_EQ(bitmap->GetPaletteSize(), 16);
  EXPECT_EQ(bitmap->SetPalette(PaletteBlock(0, {}).get()), Gdiplus::InvalidParameter);
  EXPECT_EQ(bitmap->SetPalette(PaletteBlock(0, std::vector<Gdiplus::ARGB>(257)).get()),
            Gdiplus::InvalidParameter);
  EXPECT_EQ(PaletteOf(*bitmap), colors);
}

TEST(BitmapClone, HasTheSamePixelsAndPalette) {
  const BitmapPointer bitmap =
      MakeBitmap(8, 2, PixelFormat8bppIndexed, {0, 1, 0, 1, 0, 0, 1, 1, 1, 1, 0, 0, 1, 0, 1, 0});
  const std::vector<Gdiplus::ARGB> colors = {0xFF010203, 0xFF040506};
  bitmap->SetPalette(PaletteBlock(0, colors).get());
  const BitmapPointer clone(static_cast<Gdiplus::Bitmap*>(bitmap->Clone()));
  ASSERT_NE(clone, nullptr);
  EXPECT_EQ(PixelsOf(*clone), PixelsOf(*bitmap));
  EXPECT_EQ(PaletteOf(*clone), colors);
}

TEST(BitmapClone, OwnsItsPixels) {
  Bytes rows = {1, 2, 3, 0, 4, 5, 6, 0};
  BitmapPointer clone;
  {
    Gdiplus::Bitmap bitmap(1, 2, 4, PixelFormat24bppRGB, rows.data());
    bitmap.SetResolution(300, 150);
    clone.reset(static_cast<Gdiplus::Bitmap*>(bitmap.Clone()));
    ASSERT_NE(clone, nullptr);
    rows.assign(8, 99);
  }
  EXPECT_EQ(PixelsOf(*clone), (Bytes{1, 2, 3, 4, 5, 6}));
  if (kClonesForgetTheResolution) GTEST_SKIP() << "Wine forgets the resolution";
  EXPECT_FLOAT_EQ(clone->GetHorizontalResolution(), 300);
  EXPECT_FLOAT_EQ(clone->GetVerticalResolution(), 150);
}

}  // namespace
}  // namespace pixtola::test
