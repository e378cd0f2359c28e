// The shared library through its public header, as a program uses it: pixels in memory become a
// bitmap, the bitmap a fax-compressed TIFF, the file a bitmap again.

#include <gtest/gtest.h>

#include <vector>

#include "Pixtola.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"

namespace pixtola::test {
namespace {

TEST(ShippedLibrary, TurnsPixelsIntoAGroup4File) {
  // 64 x 48: light gray with a dark square.
  const std::uint32_t stride = PxtCalcStride(64, PixelFormat24bppRGB);
  std::vector<std::uint8_t> pixels(stride * 48);
  for (std::uint32_t y = 0; y < 48; ++y) {
    for (std::uint32_t x = 0; x < 64; ++x) {
      const bool is_dark = x >= 16 && x < 32 && y >= 16 && y < 32;
      for (std::uint32_t channel = 0; channel < 3; ++channel) {
        pixels[y * stride + x * 3 + channel] = static_cast<std::uint8_t>(is_dark ? 20 : 200);
      }
    }
  }
  BitmapPointer page;
  ASSERT_EQ(PxtInsertBytes(pixels.data(), PixelFormat24bppRGB, 64, 48, stride, 300, 300,
                           Receive(page), nullptr),
            1);
  BitmapPointer bilevel;
  ASSERT_EQ(PxtBitmapToBitmap(MethodBilevelOtsu, *page, Receive(bilevel)), 1);

  const TemporaryFolder folder;
  const std::wstring path = (folder / "page.tif").wstring();
  ASSERT_EQ(PxtSaveBitmapToFile(bilevel.get(), PxtFileTypeTiffGroup4, path.c_str()), 1);
  BitmapPointer opened;
  ASSERT_EQ(PxtOpenImageFile(path.c_str(), Receive(opened)), 1);
  EXPECT_EQ(opened->GetPixelFormat(), PixelFormat1bppIndexed);
  EXPECT_NEAR(opened->GetHorizontalResolution(), 300, 0.01);
  const std::vector<std::uint8_t> bits = PixelsOf(*opened);
  ASSERT_EQ(bits.size(), 8U * 48U);
  for (std::uint32_t y = 0; y < 48; ++y) {
    for (std::uint32_t byte = 0; byte < 8; ++byte) {
      const bool is_dark = (byte == 2 || byte == 3) && y >= 16 && y < 32;
      EXPECT_EQ(bits[y * 8 + byte], is_dark ? 0 : 255) << byte << ' ' << y;
    }
  }
}

TEST(ShippedLibrary, WorksOnPixelsInMemory) {
  // Two gray pixels become a column; the left one comes first when turned to the right.
  std::uint8_t row[4] = {50, 200, 0, 0};
  std::uint8_t column[8] = {};
  Gdiplus::BitmapData source{2, 1, 4, PixelFormat8bppIndexed, row, 0};
  Gdiplus::BitmapData turned{0, 2, 4, PixelFormat8bppIndexed, column, 0};
  ASSERT_EQ(PxtRotateFlip(&source, &turned, PxtRotateClockwise), 1);
  EXPECT_EQ(turned.Width, 1U);
  EXPECT_EQ(turned.Height, 2U);
  EXPECT_EQ(column[0], 50);
  EXPECT_EQ(column[4], 200);

  std::uint8_t balanced[2] = {};
  ASSERT_EQ(PxtWhiteBalance(row, balanced, 2, PxtPixelSize8, 0), 1);
  EXPECT_EQ(balanced[0], 0);
  EXPECT_EQ(balanced[1], 255);
}

TEST(ShippedLibrary, ConvertsSingleColours) {
  EXPECT_EQ(PxtGetGrayValue(255, 255, 255), 254U);
  std::uint8_t hue = 0, saturation = 0, value = 0;
  PxtRGBtoHSV(0, 0, 255, &hue, &saturation, &value);
  EXPECT_EQ(hue, 170);
  std::uint8_t red = 1, green = 1, blue = 0;
  PxtHSVtoRGB(hue, saturation, value, &red, &green, &blue);
  EXPECT_EQ(red, 0);
  EXPECT_EQ(green, 0);
  EXPECT_EQ(blue, 255);
}

}  // namespace
}  // namespace pixtola::test
