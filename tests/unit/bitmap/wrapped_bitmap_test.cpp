// Bitmaps that own what they are made of: rows in memory, a palette, the stream that backs them.

#include "bitmap/wrapped_bitmap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include "bitmap/bitmap_generator.h"
#include "support/guarded_buffer.h"
#include "support/memory_streams.h"
#include "support/pixel_rows.h"
#include "support/platform_expectations.h"
#include "support/scripted_stream.h"
#include "support/test_bitmap.h"
#include "support/test_formats.h"
#include "unit/bitmap/format_view.h"

namespace pixtola::test {
namespace {

/// What a wrapped bitmap keeps to itself. Only this kind of cast finds bases that are not public.
CBitmapGenerator& GeneratorOf(CWrappedBitmap& bitmap) { return (CBitmapGenerator&)bitmap; }

BitmapPointer Make(const std::uint8_t* data, Gdiplus::PixelFormat format, std::uint32_t width,
                   std::uint32_t height, std::uint32_t stride, float dpi = 300,
                   const Gdiplus::ColorPalette* palette = nullptr) {
  return MakeWrappedBitmap(FormatView(data, format, width, height, stride), format, {dpi, dpi},
                           palette);
}

TEST(CWrappedBitmap, MovesTheBitmapOutOfTheGenerator) {
  const Bytes data(16);
  for (const auto format : {PixelFormat8bppIndexed, PixelFormat32bppARGB}) {
    CWrappedBitmap bitmap(FormatView(data.data(), format, 1, 4, 4), format, {96, 96}, nullptr);
    EXPECT_EQ(GeneratorOf(bitmap).bitmap, nullptr);
    EXPECT_EQ(GeneratorOf(bitmap).status, Gdiplus::Ok);
    EXPECT_EQ(GeneratorOf(bitmap).stream != nullptr, format == PixelFormat8bppIndexed);
    EXPECT_EQ(bitmap.GetWidth(), 1U);
  }
}

TEST(CWrappedBitmap, EndsItsImageBeforeTheStreamBehindIt) {
  // Bases end in the reverse of their order.
  const Bytes data(16);
  CWrappedBitmap bitmap(FormatView(data.data(), PixelFormat8bppIndexed, 4, 4, 4),
                        PixelFormat8bppIndexed, {96, 96}, nullptr);
  const void* const generator = &GeneratorOf(bitmap);
  const void* const image = static_cast<Gdiplus::Bitmap*>(&bitmap);
  EXPECT_EQ(generator, static_cast<void*>(&bitmap));
  EXPECT_LT(generator, image);
}

TEST(CWrappedBitmap, DeletedAsABitmapReleasesItsStreamOnce) {
  const Bytes data(16);
  BitmapPointer bitmap = Make(data.data(), PixelFormat8bppIndexed, 4, 4, 4);
  ASSERT_NE(bitmap, nullptr);
  ComPointer<IStream>& stream = GeneratorOf(static_cast<CWrappedBitmap&>(*bitmap)).stream;
  ASSERT_NE(stream, nullptr);
  StreamPointer original(stream.release());
  ScriptedStream recorded;
  recorded.references = 2;
  stream.reset(&recorded);
  bitmap.reset();
  EXPECT_EQ(recorded.references, 1U);
  EXPECT_TRUE(recorded.calls.empty());
  EXPECT_EQ(original.release()->Release(), 0U);
}

TEST(CWrappedBitmap, EndsWithoutALeakWhenDeletedAsAnImage) {
  const Bytes data(16);
  IStream* stream = nullptr;
  {
    const std::unique_ptr<Gdiplus::Image> image =
        Make(data.data(), PixelFormat1bppIndexed, 4, 4, 4);
    ASSERT_NE(image, nullptr);
    stream = GeneratorOf(static_cast<CWrappedBitmap&>(*image)).stream.get();
    ASSERT_NE(stream, nullptr);
    stream->AddRef();
  }
  EXPECT_EQ(stream->Release(), 0U);
}

TEST(CWrappedBitmap, HasTheGeneratorsStatusAsItsLast) {
  const CWrappedBitmap bitmap(FormatView(nullptr, PixelFormat24bppRGB, 1, 1, 4),
                              PixelFormat24bppRGB, {96, 96}, nullptr);
  EXPECT_EQ(bitmap.GetLastStatus(), Gdiplus::InvalidParameter);
  EXPECT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
}

TEST(CWrappedBitmap, OwnsItsPixels) {
  GuardedBuffer data(16);
  for (std::size_t i = 0; i < 16; ++i) data.data()[i] = static_cast<std::uint8_t>(i);
  const BitmapPointer bitmap = Make(data.data(), PixelFormat32bppARGB, 2, 2, 8);
  ASSERT_NE(bitmap, nullptr);
  std::fill_n(data.data(), 16, std::uint8_t{77});
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}));
}

TEST(CWrappedBitmap, KeepsSizeFormatAndResolution) {
  const Bytes data(8 * 3, 9);
  const BitmapPointer bitmap =
      MakeWrappedBitmap(FormatView(data.data(), PixelFormat24bppRGB, 2, 3, 8), PixelFormat24bppRGB,
                        {300, 150}, nullptr);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetWidth(), 2U);
  EXPECT_EQ(bitmap->GetHeight(), 3U);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat24bppRGB);
  EXPECT_FLOAT_EQ(bitmap->GetHorizontalResolution(), 300);
  EXPECT_FLOAT_EQ(bitmap->GetVerticalResolution(), 150);
  EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::Ok);
}

TEST(CWrappedBitmap, KeepsThePlatformsResolutionWhenGivenNone) {
  const Bytes data(4);
  const BitmapPointer bitmap = Make(data.data(), PixelFormat24bppRGB, 1, 1, 4, 0);
  ASSERT_NE(bitmap, nullptr);
  const BitmapPointer plain(new Gdiplus::Bitmap(1, 1, PixelFormat24bppRGB));
  EXPECT_FLOAT_EQ(bitmap->GetHorizontalResolution(), plain->GetHorizontalResolution());
}

TEST(CWrappedBitmap, WidensStridesThatAreNoMultiplesOfFour) {
  // 1 pixel wide, rows 5 bytes apart; the last row ends where the buffer does.
  GuardedBuffer data(10);
  const std::uint8_t bytes[] = {1, 2, 3, 90, 91, 4, 5, 6, 92, 93};
  std::copy_n(bytes, 10, data.data());
  const BitmapPointer bitmap = Make(data.data(), PixelFormat24bppRGB, 1, 2, 5);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{1, 2, 3, 4, 5, 6}));
}

TEST(CWrappedBitmap, WalksUpwardsWithANegativeStride) {
  GuardedBuffer data(12);
  const std::uint8_t bytes[] = {7, 8, 9, 0, 4, 5, 6, 0, 1, 2, 3, 0};
  std::copy_n(bytes, 12, data.data());
  const BitmapPointer bitmap = Make(data.data() + 8, PixelFormat24bppRGB, 1, 3, 0U - 4U);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST(CWrappedBitmap, NeverReadsPastA4BitImageWhoseRowsAreLongerThanItsStride) {
  // The stride check lets 10 pixels into 4 bytes, though they need 5.
  for (const auto side : {GuardSide::kAfterEnd, GuardSide::kBeforeStart}) {
    GuardedBuffer data(4, 0, side);
    const std::uint8_t bytes[] = {0x12, 0x34, 0x56, 0x78};
    std::copy_n(bytes, 4, data.data());
    const BitmapPointer bitmap = Make(data.data(), PixelFormat4bppIndexed, 10, 1, 4);
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0x12, 0x34, 0x56, 0x78, 0x00}));
  }
}

TEST(CWrappedBitmap, GivesOneBitImagesBlackAndWhite) {
  const Bytes data = {0b10100000, 0b11000000, 0, 0};
  const BitmapPointer bitmap = Make(data.data(), PixelFormat1bppIndexed, 16, 1, 4);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PaletteOf(*bitmap), (std::vector<Gdiplus::ARGB>{0xFF000000, 0xFFFFFFFF}));
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0b10100000, 0b11000000}));
}

TEST(CWrappedBitmap, GivesEightBitImagesAGrayRamp) {
  const Bytes data = {0, 100, 255, 0};
  const BitmapPointer bitmap = Make(data.data(), PixelFormat8bppIndexed, 4, 1, 4);
  ASSERT_NE(bitmap, nullptr);
  const auto palette = PaletteOf(*bitmap);
  ASSERT_EQ(palette.size(), 256U);
  EXPECT_EQ(palette[0], 0xFF000000U);
  EXPECT_EQ(palette[100], 0xFF646464U);
  EXPECT_EQ(palette[255], 0xFFFFFFFFU);
  EXPECT_EQ(PixelsOf(*bitmap), data);
}

TEST(CWrappedBitmap, LeavesFourBitImagesThePlatformsPalette) {
  const Bytes data = {0x01, 0x23, 0x45, 0x67};
  const BitmapPointer bitmap = Make(data.data(), PixelFormat4bppIndexed, 8, 1, 4);
  ASSERT_NE(bitmap, nullptr);
  const BitmapPointer plain(new Gdiplus::Bitmap(8, 1, PixelFormat4bppIndexed));
  EXPECT_EQ(PaletteOf(*bitmap), PaletteOf(*plain));
  EXPECT_EQ(PixelsOf(*bitmap), data);
}

TEST(CWrappedBitmap, TakesTheCallersPalette) {
  const std::vector<Gdiplus::ARGB> colors = {0xFFFFFFFF, 0xFF123456};
  const PaletteBlock palette(0, colors);
  const Bytes data = {0b01000000, 0, 0, 0};
  const BitmapPointer bitmap =
      Make(data.data(), PixelFormat1bppIndexed, 8, 1, 4, 300, palette.get());
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PaletteOf(*bitmap), colors);
}

TEST(CWrappedBitmap, CopiesRowsThatEndInPartOfAByte) {
  const Bytes one_bit = {0b10100110, 0b11100000, 0, 0, 0b01011001, 0b00100000, 0, 0};
  const BitmapPointer bilevel = Make(one_bit.data(), PixelFormat1bppIndexed, 11, 2, 4);
  ASSERT_NE(bilevel, nullptr);
  EXPECT_EQ(PixelsOf(*bilevel), (Bytes{0b10100110, 0b11100000, 0b01011001, 0b00100000}));
  const Bytes four_bit = {0x12, 0x30, 0, 0};
  const BitmapPointer indexed = Make(four_bit.data(), PixelFormat4bppIndexed, 3, 1, 4);
  ASSERT_NE(indexed, nullptr);
  EXPECT_EQ(PixelsOf(*indexed), (Bytes{0x12, 0x30}));
}

TEST(CWrappedBitmap, KeepsIndexesAndOpaqueColoursOfAllWidths) {
  std::mt19937 random(1);
  for (const auto format : kIndexedFormats) {
    const std::size_t colors = std::size_t{1} << BitsOf(format);
    for (std::uint32_t width = 1; width <= 34; ++width) {
      for (const std::uint32_t height : {1U, 2U, 5U}) {
        PixelRows rows(width, height, format, StrideOf(format, width), random);
        std::vector<Gdiplus::ARGB> palette(colors);
        for (Gdiplus::ARGB& entry : palette) {
          entry = 0xFF000000U | (static_cast<Gdiplus::ARGB>(random()) & 0xFFFFFFU);
        }
        const BitmapPointer bitmap =
            Make(rows.top(), format, width, height, static_cast<std::uint32_t>(rows.stride()), 150,
                 PaletteBlock(0, palette).get());
        ASSERT_NE(bitmap, nullptr);
        EXPECT_EQ(bitmap->GetPixelFormat(), format);
        EXPECT_EQ(bitmap->GetWidth(), width);
        EXPECT_EQ(bitmap->GetHeight(), height);
        EXPECT_EQ(PaletteOf(*bitmap), palette);
        Gdiplus::Bitmap source(static_cast<INT>(width), static_cast<INT>(height), rows.stride(),
                               format, rows.top());
        ASSERT_EQ(PixelsOf(*bitmap), PixelsOf(source)) << format << ", width " << width;
      }
    }
  }
}

TEST(CWrappedBitmap, KeepsIndexesThatThePaletteHasNoEntryFor) {
  const PaletteBlock palette(0, {0xFF102030, 0xFF405060});
  const Bytes bytes = {0, 1, 2, 255};
  for (const auto format : {PixelFormat4bppIndexed, PixelFormat8bppIndexed}) {
    const auto width = 32 / BitsOf(format);
    const BitmapPointer bitmap = Make(bytes.data(), format, width, 1, 4, 300, palette.get());
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(PixelsOf(*bitmap), bytes);
    // Some readers add the black that such indexes show.
    auto colors = PaletteOf(*bitmap);
    ASSERT_GE(colors.size(), 2U);
    EXPECT_EQ(colors[0], 0xFF102030U);
    EXPECT_EQ(colors[1], 0xFF405060U);
    EXPECT_EQ(std::count(colors.begin(), colors.end(), 0xFF000000U),
              static_cast<std::ptrdiff_t>(colors.size() - 2));
  }
}

TEST(CWrappedBitmap, NeedsOnlyThePaletteEntriesThatItsIndexesCanName) {
  std::vector<Gdiplus::ARGB> colors;
  for (unsigned i = 0; i < 256; ++i) colors.push_back(0xFF000000U | i * 0x010203U);
  const PaletteBlock palette(0, colors);
  const Bytes bytes = {0x01, 0x23, 0xAB, 0xEF};
  for (const auto format : {PixelFormat1bppIndexed, PixelFormat4bppIndexed}) {
    const auto width = 32 / BitsOf(format);
    const BitmapPointer bitmap = Make(bytes.data(), format, width, 1, 4, 300, palette.get());
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(PixelsOf(*bitmap), bytes);
    const auto kept = PaletteOf(*bitmap);
    const std::size_t needed = std::size_t{1} << BitsOf(format);
    ASSERT_GE(kept.size(), needed);
    for (std::size_t i = 0; i < needed; ++i) EXPECT_EQ(kept[i], colors[i]) << i;
  }
}

TEST(CWrappedBitmap, KeepsPagesOfAnyShape) {
  std::mt19937 random(2);
  const std::pair<std::uint32_t, std::uint32_t> shapes[] = {{2480, 700}, {40'003, 2}, {3, 20'001}};
  for (const auto format : kIndexedFormats) {
    for (const auto& [width, height] : shapes) {
      PixelRows rows(width, height, format, StrideOf(format, width));
      Bytes bytes(rows.bytes().size());
      for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
      rows.SetBytes(bytes);
      const BitmapPointer bitmap =
          Make(rows.top(), format, width, height, static_cast<std::uint32_t>(rows.stride()));
      ASSERT_NE(bitmap, nullptr);
      Gdiplus::Bitmap source(static_cast<INT>(width), static_cast<INT>(height), rows.stride(),
                             format, rows.top());
      EXPECT_TRUE(PixelsOf(*bitmap) == PixelsOf(source)) << format << ", width " << width;
    }
  }
}

TEST(CWrappedBitmap, TurnsIndexedRowsThatRunUpwards) {
  GuardedBuffer data(12);
  const std::uint8_t bytes[] = {7, 8, 9, 0, 4, 5, 6, 0, 1, 2, 3, 0};
  std::copy_n(bytes, 12, data.data());
  const BitmapPointer bitmap = Make(data.data() + 8, PixelFormat8bppIndexed, 3, 3, 0U - 4U);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST(CWrappedBitmap, WidensStridesOfIndexedRows) {
  GuardedBuffer data(6);
  const std::uint8_t bytes[] = {1, 2, 3, 4, 5, 6};
  std::copy_n(bytes, 6, data.data());
  const BitmapPointer bitmap = Make(data.data(), PixelFormat8bppIndexed, 3, 2, 3);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{1, 2, 3, 4, 5, 6}));
}

TEST(CWrappedBitmap, OwnsItsIndexedPixels) {
  GuardedBuffer data(4);
  std::fill_n(data.data(), 4, std::uint8_t{3});
  std::vector<Gdiplus::ARGB> colors = {0xFF000001, 0xFF000002, 0xFF000003, 0xFF000004};
  auto palette = std::make_unique<PaletteBlock>(0, colors);
  const BitmapPointer bitmap =
      Make(data.data(), PixelFormat8bppIndexed, 4, 1, 4, 300, palette->get());
  ASSERT_NE(bitmap, nullptr);
  palette.reset();
  std::fill_n(data.data(), 4, std::uint8_t{1});
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{3, 3, 3, 3}));
  EXPECT_EQ(PaletteOf(*bitmap), colors);
}

TEST(CWrappedBitmap, MakesPaletteEntriesOpaque) {
  for (const auto format : kIndexedFormats) {
    const PaletteBlock palette(Gdiplus::PaletteFlagsHasAlpha, {0x80102030, 0x00405060});
    const Bytes data(4);
    const BitmapPointer bitmap = Make(data.data(), format, 4, 1, 4, 300, palette.get());
    ASSERT_NE(bitmap, nullptr);
    const auto colors = PaletteOf(*bitmap);
    ASSERT_GE(colors.size(), 2U);
    EXPECT_EQ(colors[0], 0xFF102030U);
    EXPECT_EQ(colors[1], 0xFF405060U);
  }
}

TEST(CWrappedBitmap, KeepsTheResolutionOfIndexedImagesToWholePixelsAMetre) {
  const Bytes data(16);
  for (const auto format : kIndexedFormats) {
    for (const float dpi : {50.0F, 72.0F, 96.0F, 150.0F, 203.2F, 300.0F, 600.0F, 2400.0F}) {
      const BitmapPointer bitmap = MakeWrappedBitmap(FormatView(data.data(), format, 4, 4, 4),
                                                     format, {dpi, dpi + 1}, nullptr);
      ASSERT_NE(bitmap, nullptr);
      EXPECT_NEAR(bitmap->GetHorizontalResolution(), dpi, kDpiTolerance);
      EXPECT_NEAR(bitmap->GetVerticalResolution(), dpi + 1, kDpiTolerance);
    }
  }
}

TEST(CWrappedBitmap, GivesIndexedImagesWithoutAResolutionThePlatforms) {
  if (kAnyResolutionIsTaken) GTEST_SKIP() << "Wine takes 0 for a resolution";
  const Bytes data(16);
  for (const auto format : kIndexedFormats) {
    const BitmapPointer bitmap = Make(data.data(), format, 4, 4, 4, 0);
    ASSERT_NE(bitmap, nullptr);
    EXPECT_NEAR(bitmap->GetHorizontalResolution(), 96, kDpiTolerance);
  }
}

TEST(CWrappedBitmap, OfIndexesCanBeWrittenLikeAnyOther) {
  const Bytes data = {0, 1, 2, 3};
  const BitmapPointer bitmap = Make(data.data(), PixelFormat8bppIndexed, 4, 1, 4);
  ASSERT_NE(bitmap, nullptr);
  Gdiplus::BitmapData locked{};
  const Gdiplus::Rect second(1, 0, 1, 1);
  ASSERT_EQ(bitmap->LockBits(&second, Gdiplus::ImageLockModeWrite, PixelFormat8bppIndexed, &locked),
            Gdiplus::Ok);
  *static_cast<std::uint8_t*>(locked.Scan0) = 77;
  EXPECT_EQ(bitmap->UnlockBits(&locked), Gdiplus::Ok);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0, 77, 2, 3}));
  EXPECT_EQ(bitmap->SetPalette(PaletteBlock(0, {0xFF000000, 0xFF0000FF}).get()), Gdiplus::Ok);
  EXPECT_EQ(PaletteOf(*bitmap).at(1), 0xFF0000FFU);
  EXPECT_EQ(bitmap->SetResolution(123, 123), Gdiplus::Ok);
  EXPECT_FLOAT_EQ(bitmap->GetHorizontalResolution(), 123);
}

TEST(CWrappedBitmap, OfIndexesHasOneFrame) {
  const Bytes data(4);
  const BitmapPointer bitmap = Make(data.data(), PixelFormat8bppIndexed, 4, 1, 4);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetFrameCount(&Gdiplus::FrameDimensionPage), 1U);
}

}  // namespace
}  // namespace pixtola::test
