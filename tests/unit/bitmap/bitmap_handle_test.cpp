// Bitmaps as sections with handles: how they are described, which way their rows run, and the rule
// for alpha, compared with a plain definition of it.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "support/dib_section.h"
#include "support/pixel_rows.h"
#include "support/platform_expectations.h"
#include "support/reference_pixels.h"
#include "support/test_bitmap.h"

namespace pixtola::test {
namespace {

/// A handle of a bitmap, deleted at the end.
class Handle {
 public:
  explicit Handle(Gdiplus::Bitmap& bitmap) : result_(PxtBitmapToHBITMAP(&bitmap, &handle_)) {}
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() {
    if (handle_ != nullptr) DeleteObject(handle_);
  }

  int result() const { return result_; }
  HBITMAP get() const { return handle_; }

  DIBSECTION Description() const {
    DIBSECTION description{};
    EXPECT_EQ(GetObjectW(handle_, sizeof description, &description),
              static_cast<int>(sizeof description));
    return description;
  }

  /// The section's memory: blue, green, red, alpha.
  Bytes Pixels() const {
    const BITMAP section = Description().dsBm;
    const auto* first = static_cast<const std::uint8_t*>(section.bmBits);
    if (first == nullptr) return {};
    return {first, first + std::size_t(section.bmWidthBytes) * std::size_t(section.bmHeight)};
  }

 private:
  HBITMAP handle_ = nullptr;
  int result_;
};

struct Bgra {
  unsigned blue;
  unsigned green;
  unsigned red;
  unsigned alpha;
};

/// The rule in plain words: as long as no alpha was met, pixels stay; if one is met at all, all
/// before it are nothing, and from there on colours are what alpha leaves of them.
Bytes Premultiplied(const Bytes& pixels) {
  std::vector<Bgra> all;
  for (std::size_t i = 0; i < pixels.size(); i += 4) {
    all.push_back({pixels[i], pixels[i + 1], pixels[i + 2], pixels[i + 3]});
  }
  const auto first =
      std::find_if(all.begin(), all.end(), [](const Bgra& pixel) { return pixel.alpha != 0; });
  if (first == all.end()) return pixels;
  for (auto pixel = all.begin(); pixel != first; ++pixel) *pixel = {0, 0, 0, 0};
  for (auto pixel = first; pixel != all.end(); ++pixel) {
    pixel->blue = pixel->blue * pixel->alpha / 256;
    pixel->green = pixel->green * pixel->alpha / 256;
    pixel->red = pixel->red * pixel->alpha / 256;
  }
  Bytes result;
  for (const Bgra& pixel : all) {
    for (const unsigned byte : {pixel.blue, pixel.green, pixel.red, pixel.alpha}) {
      result.push_back(static_cast<std::uint8_t>(byte));
    }
  }
  return result;
}

Bytes PixelsBehindHandle(Gdiplus::Bitmap& bitmap) {
  const Handle handle(bitmap);
  EXPECT_EQ(handle.result(), 1);
  return handle.get() != nullptr ? handle.Pixels() : Bytes();
}

Bytes PixelsBehindHandle(UINT width, UINT height, const Bytes& argb) {
  return PixelsBehindHandle(*MakeBitmap(width, height, PixelFormat32bppARGB, argb));
}

TEST(PxtBitmapToHBITMAP, MakesASectionOf32BitsFromTheTopDown) {
  const BitmapPointer bitmap =
      MakeBitmap(3, 2, PixelFormat24bppRGB,
                 {10, 20, 30, 40, 50, 60, 70, 80, 90, 11, 21, 31, 41, 51, 61, 71, 81, 91});
  const Handle handle(*bitmap);
  ASSERT_EQ(handle.result(), 1);
  ASSERT_NE(handle.get(), nullptr);
  const DIBSECTION section = handle.Description();
  EXPECT_EQ(section.dsBm.bmType, 0);
  EXPECT_EQ(section.dsBm.bmWidth, 3);
  EXPECT_EQ(section.dsBm.bmHeight, 2);
  EXPECT_EQ(section.dsBm.bmWidthBytes, 12);
  EXPECT_EQ(section.dsBm.bmPlanes, 1);
  EXPECT_EQ(section.dsBm.bmBitsPixel, 32);
  EXPECT_NE(section.dsBm.bmBits, nullptr);
  EXPECT_EQ(section.dsBmih.biWidth, 3);
  EXPECT_EQ(section.dsBmih.biPlanes, 1);
  EXPECT_EQ(section.dsBmih.biBitCount, 32);
  EXPECT_EQ(section.dsBmih.biCompression, static_cast<DWORD>(BI_RGB));
  EXPECT_EQ(section.dsBmih.biSizeImage, 24U);
  EXPECT_EQ(section.dsBmih.biClrUsed, 0U);
  EXPECT_EQ(section.dshSection, nullptr);
  EXPECT_EQ(section.dsOffset, 0U);
  // 255 / 256 of each colour, which the shift rounds down.
  EXPECT_EQ(handle.Pixels(), (Bytes{9,  19, 29, 255, 39, 49, 59, 255, 69, 79, 89, 255,
                                    10, 20, 30, 255, 40, 50, 60, 255, 70, 80, 90, 255}));

  // Who takes the handle for a bitmap sees the top row at the top.
  Gdiplus::Bitmap seen(handle.get(), nullptr);
  ASSERT_EQ(seen.GetLastStatus(), Gdiplus::Ok);
  EXPECT_EQ(PixelsOf(seen, PixelFormat24bppRGB),
            (Bytes{9, 19, 29, 39, 49, 59, 69, 79, 89, 10, 20, 30, 40, 50, 60, 70, 80, 90}));
}

TEST(PxtBitmapToHBITMAP, MakesWhite254) {
  EXPECT_EQ(PixelsBehindHandle(1, 1, {255, 255, 255, 255}), (Bytes{254, 254, 254, 255}));
}

TEST(PxtBitmapToHBITMAP, MultipliesEveryValueWithEveryAlpha) {
  // A row for each alpha, a column for each value. The first pixel is opaque, so that the row
  // without alpha is multiplied, too.
  Bytes argb = {255, 0, 128, 255};
  for (unsigned i = 1; i < 256; ++i) argb.insert(argb.end(), {0, 0, 0, 255});
  for (unsigned alpha = 0; alpha < 256; ++alpha) {
    for (unsigned value = 0; value < 256; ++value) {
      for (const unsigned byte : {value, 255 - value, value ^ 0x55, alpha}) {
        argb.push_back(static_cast<std::uint8_t>(byte));
      }
    }
  }
  const Bytes expected = Premultiplied(argb);
  EXPECT_EQ(expected[0], 254);
  EXPECT_EQ(expected[4 * 256 + 1], 0);
  EXPECT_TRUE(PixelsBehindHandle(256, 257, argb) == expected);
}

TEST(PxtBitmapToHBITMAP, KeepsColoursWhereNoPixelHasAlpha) {
  Bytes argb;
  for (unsigned value = 0; value < 256; ++value) {
    for (const unsigned byte : {value, 255 - value, value ^ 0x55, 0U}) {
      argb.push_back(static_cast<std::uint8_t>(byte));
    }
  }
  EXPECT_EQ(PixelsBehindHandle(16, 16, argb), argb);
}

TEST(PxtBitmapToHBITMAP, ClearsWhatStandsBeforeAHalfTransparentLastPixel) {
  EXPECT_EQ(PixelsBehindHandle(2, 2, {1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0, 255, 101, 2, 128}),
            (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 127, 50, 1, 128}));
}

TEST(PxtBitmapToHBITMAP, ClearsPixelsWithoutAlphaAfterOneThatHasIt) {
  EXPECT_EQ(PixelsBehindHandle(4, 1, {1, 2, 3, 0, 80, 90, 100, 1, 255, 255, 255, 0, 9, 9, 9, 255}),
            (Bytes{0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 8, 8, 8, 255}));
}

TEST(PxtBitmapToHBITMAP, FollowsTheRuleWhereverTheFirstAlphaStands) {
  constexpr UINT kWidth = 7;
  constexpr UINT kHeight = 5;
  std::mt19937 random(7);
  for (std::size_t first = 0; first <= kWidth * kHeight; ++first) {
    for (const unsigned alpha : {1U, 127U, 255U}) {
      Bytes argb(kWidth * kHeight * 4);
      for (std::uint8_t& byte : argb) byte = static_cast<std::uint8_t>(random());
      for (std::size_t i = 0; i < kWidth * kHeight; ++i) {
        if (i < first) argb[4 * i + 3] = 0;
        if (i == first) argb[4 * i + 3] = static_cast<std::uint8_t>(alpha);
        if (i > first && i % 3 == 0) argb[4 * i + 3] = 0;
      }
      ASSERT_EQ(PixelsBehindHandle(kWidth, kHeight, argb), Premultiplied(argb)) << first;
    }
  }
}

TEST(PxtBitmapToHBITMAP, TakesBitmapsOfAllFormats) {
  std::mt19937 random(3);
  for (const auto format : kFormats) {
    if (k48BitChannelsHave16Bits && format == PixelFormat64bppPARGB) continue;
    for (const std::size_t width : {1U, 8U, 13U, 33U}) {
      RowsBitmap image(width, 5, format, random);
      if (HasIndexes(format)) {
        ASSERT_EQ(image.SetPalette(RandomPalette(std::size_t{1} << BitsOf(format), random)),
                  Gdiplus::Ok);
      }
      const Bytes argb = PixelsOf(image.bitmap, PixelFormat32bppARGB);
      ASSERT_EQ(argb.size(), width * 5 * 4);
      const Bytes before = image.rows.bytes();
      EXPECT_EQ(PixelsBehindHandle(image.bitmap), Premultiplied(argb))
          << NameOf(format) << ", width " << width;
      EXPECT_EQ(image.rows.bytes(), before);
      EXPECT_EQ(image.bitmap.GetLastStatus(), Gdiplus::Ok);
    }
  }
}

TEST(PxtBitmapToHBITMAP, ShowsOneBitImagesWithoutAPaletteInBlackAndWhite) {
  const BitmapPointer bitmap = MakeBitmap(8, 1, PixelFormat1bppIndexed, {0b01100000});
  Bytes expected;
  for (const std::uint8_t level : Bytes{0, 254, 254, 0, 0, 0, 0, 0}) {
    expected.insert(expected.end(), {level, level, level, 255});
  }
  EXPECT_EQ(PixelsBehindHandle(*bitmap), expected);
  // What has no colours is no palette.
  if (kPalettesAreCheckedDifferently) return;
  EXPECT_NE(bitmap->SetPalette(PaletteBlock(0, {}).get()), Gdiplus::Ok);
  EXPECT_EQ(PixelsBehindHandle(*bitmap), expected);
}

TEST(PxtBitmapToHBITMAP, TurnsRowsThatRunUpwards) {
  std::mt19937 random(4);
  RowsBitmap image(5, 4, PixelFormat32bppARGB, random, RowOrder::kUpwards);
  EXPECT_EQ(PixelsBehindHandle(image.bitmap),
            Premultiplied(PixelsOf(image.bitmap, PixelFormat32bppARGB)));
}

TEST(PxtBitmapToHBITMAP, OutlivesTheBitmap) {
  BitmapPointer bitmap = MakeBitmap(1, 1, PixelFormat32bppARGB, {200, 100, 50, 255});
  const Handle handle(*bitmap);
  bitmap.reset();
  EXPECT_EQ(handle.Pixels(), (Bytes{199, 99, 49, 255}));
}

TEST(PxtBitmapToHBITMAP, GivesEachCallASectionOfItsOwnToDelete) {
  const BitmapPointer bitmap = MakeBitmap(1, 1, PixelFormat32bppARGB, {200, 100, 50, 255});
  HBITMAP first = nullptr;
  HBITMAP second = nullptr;
  ASSERT_EQ(PxtBitmapToHBITMAP(bitmap.get(), &first), 1);
  ASSERT_EQ(PxtBitmapToHBITMAP(bitmap.get(), &second), 1);
  EXPECT_NE(first, second);
  EXPECT_TRUE(DeleteObject(first));
  BITMAP section{};
  EXPECT_EQ(GetObjectW(first, sizeof section, &section), 0);
  EXPECT_EQ(GetObjectW(second, sizeof section, &section), static_cast<int>(sizeof section));
  EXPECT_TRUE(DeleteObject(second));
}

TEST(PxtBitmapToHBITMAP, LeavesTheBitmapUnlocked) {
  const BitmapPointer bitmap = MakeBitmap(1, 1, PixelFormat32bppARGB, {200, 100, 50, 255});
  EXPECT_EQ(Handle(*bitmap).result(), 1);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{200, 100, 50, 255}));
  EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::Ok);
}

/// What is in the place of the handle before a call: never used as one.
HBITMAP StaleHandle() {
  static std::uintptr_t place = 0;
  return reinterpret_cast<HBITMAP>(&place);
}

TEST(PxtBitmapToHBITMAP, HasNoHandleForABitmapWithoutPixels) {
  Gdiplus::Bitmap empty(0, 0, PixelFormat32bppARGB);
  HBITMAP handle = StaleHandle();
  EXPECT_EQ(PxtBitmapToHBITMAP(&empty, &handle), 0);
  EXPECT_EQ(handle, nullptr);
}

TEST(PxtBitmapToHBITMAP, HasNoHandleForAnImageThatDidNotOpen) {
  Gdiplus::Bitmap missing(L"there is no such file");
  HBITMAP handle = StaleHandle();
  EXPECT_EQ(PxtBitmapToHBITMAP(&missing, &handle), 0);
  EXPECT_EQ(handle, nullptr);
}

TEST(PxtBitmapToHBITMAP, RecordsAFailedLockAndGivesNull) {
  const BitmapPointer bitmap = MakeBitmap(1, 1, PixelFormat32bppARGB, {200, 100, 50, 255});
  {
    const HoldLock lock(*bitmap);
    HBITMAP handle = StaleHandle();
    EXPECT_EQ(PxtBitmapToHBITMAP(bitmap.get(), &handle), 0);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::WrongState);
  }
  EXPECT_EQ(Handle(*bitmap).result(), 1);
}

TEST(PxtBitmapToHBITMAP, RecordsAFormatThatCannotBeRead) {
  if (kGrayOf16BitsIsNotRefused) GTEST_SKIP() << "Wine reads it or says otherwise";
  Bytes row(8);
  Gdiplus::Bitmap bitmap(4, 1, 8, PixelFormat16bppGrayScale, row.data());
  ASSERT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
  HBITMAP handle = StaleHandle();
  EXPECT_EQ(PxtBitmapToHBITMAP(&bitmap, &handle), 0);
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(bitmap.GetLastStatus(), Gdiplus::InvalidParameter);
}

TEST(PxtBitmapToHBITMAP, HasNoHandleForABitmapLargerThanMemory) {
  // Its rows are never looked at.
  Bytes row(1'000'000);
  Gdiplus::Bitmap bitmap(1'000'000, 0x7FFFFFFF, 1'000'000, PixelFormat8bppIndexed, row.data());
  if (bitmap.GetLastStatus() != Gdiplus::Ok) GTEST_SKIP() << "the platform makes no such bitmap";
  HBITMAP handle = StaleHandle();
  EXPECT_EQ(PxtBitmapToHBITMAP(&bitmap, &handle), 0);
  EXPECT_EQ(handle, nullptr);
}

TEST(PxtBitmapToHBITMAP, RefusesNullArguments) {
  const BitmapPointer bitmap = MakeBitmap(1, 1, PixelFormat32bppARGB, {200, 100, 50, 255});
  HBITMAP handle = StaleHandle();
  EXPECT_EQ(PxtBitmapToHBITMAP(nullptr, &handle), 0);
  EXPECT_EQ(handle, StaleHandle());
  EXPECT_EQ(PxtBitmapToHBITMAP(bitmap.get(), nullptr), 0);
}

}  // namespace
}  // namespace pixtola::test
