// What the platform promises about bitmaps made from DIB sections. Written against the API alone:
// the same tests run on GDI+ and on the stand-in.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "platform.h"
#include "support/dib_section.h"
#include "support/test_bitmap.h"

namespace pixtola::test {
namespace {

namespace Flat = Gdiplus::DllExports;

/// The section as a bitmap; null when it cannot be had.
BitmapPointer BitmapOf(const DibSection& section) {
  Gdiplus::GpBitmap* native = nullptr;
  EXPECT_EQ(Flat::GdipCreateBitmapFromHBITMAP(section.get(), nullptr, &native), Gdiplus::Ok);
  if (native == nullptr) return nullptr;
  // The failed bitmap of size 0 holds no handle yet.
  BitmapPointer bitmap(new Gdiplus::Bitmap(0, 0, PixelFormat24bppRGB));
  pixtola::platform::AdoptNativeImage(*bitmap, native, Gdiplus::Ok);
  return bitmap;
}

/// Puts rows, from the top down and without padding, into a section of this height.
void Fill(const DibSection& section, LONG height, std::size_t row_bytes, const Bytes& rows) {
  const std::size_t stride = (row_bytes + 3) / 4 * 4;
  const std::size_t count = rows.size() / row_bytes;
  for (std::size_t y = 0; y < count; ++y) {
    const std::size_t place = height < 0 ? y : count - 1 - y;
    std::memcpy(static_cast<std::uint8_t*>(section.bits()) + place * stride,
                rows.data() + y * row_bytes, row_bytes);
  }
}

/// Numbers without a short period.
Bytes Numbers(std::size_t size) {
  Bytes bytes(size);
  std::uint32_t state = 7;
  for (std::uint8_t& byte : bytes) {
    state = state * 1664525 + 1013904223;
    byte = static_cast<std::uint8_t>(state >> 24);
  }
  return bytes;
}

constexpr LONG kHeights[] = {3, -3};

TEST(BitmapOfADibSection, Has24BitPixels) {
  const Bytes rows = Numbers(3 * 5 * 3);
  for (const LONG height : kHeights) {
    const DibSection section(DibInfo(5, height, 24));
    Fill(section, height, 15, rows);
    const BitmapPointer bitmap = BitmapOf(section);
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat24bppRGB);
    EXPECT_EQ(bitmap->GetWidth(), 5U);
    EXPECT_EQ(bitmap->GetHeight(), 3U);
    EXPECT_EQ(PixelsOf(*bitmap), rows) << height;
  }
}

TEST(BitmapOfADibSection, Has32BitPixelsWithoutAlpha) {
  const Bytes rows = Numbers(4 * 5 * 3);
  Bytes colors;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (i % 4 != 3) colors.push_back(rows[i]);
  }
  for (const LONG height : kHeights) {
    const DibSection section(DibInfo(5, height, 32));
    Fill(section, height, 20, rows);
    const BitmapPointer bitmap = BitmapOf(section);
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat32bppRGB);
    EXPECT_EQ(PixelsOf(*bitmap, PixelFormat24bppRGB), colors) << height;
  }
}

TEST(BitmapOfADibSection, Has16BitPixelsOf555) {
  Bytes rows = Numbers(2 * 5 * 3);
  for (std::size_t i = 1; i < rows.size(); i += 2) rows[i] &= 0x7F;
  for (const LONG height : kHeights) {
    const DibSection section(DibInfo(5, height, 16));
    Fill(section, height, 10, rows);
    const BitmapPointer bitmap = BitmapOf(section);
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat16bppRGB555);
    EXPECT_EQ(PixelsOf(*bitmap), rows) << height;
  }
}

TEST(BitmapOfADibSection, Has16BitPixelsOfItsBitFields) {
  Bytes rows = Numbers(2 * 5 * 3);
  for (std::size_t i = 1; i < rows.size(); i += 2) rows[i] &= 0x7F;
  const DibSection narrow(DibInfo(5, -3, 16).WithMasks(0x7C00, 0x03E0, 0x001F));
  Fill(narrow, -3, 10, rows);
  BitmapPointer bitmap = BitmapOf(narrow);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat16bppRGB555);
  EXPECT_EQ(PixelsOf(*bitmap), rows);

  const DibSection wide(DibInfo(5, -3, 16).WithMasks(0xF800, 0x07E0, 0x001F));
  Fill(wide, -3, 10, rows);
  bitmap = BitmapOf(wide);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat16bppRGB565);
  EXPECT_EQ(PixelsOf(*bitmap), rows);
}

/// Colours that differ from one another and from the usual palettes.
std::vector<DWORD> Colors(std::size_t count) {
  std::vector<DWORD> colors(count);
  for (std::size_t i = 0; i < count; ++i) colors[i] = static_cast<DWORD>(0x102030 + i * 0x010305);
  return colors;
}

std::vector<Gdiplus::ARGB> Opaque(const std::vector<DWORD>& colors) {
  std::vector<Gdiplus::ARGB> opaque(colors.begin(), colors.end());
  for (Gdiplus::ARGB& color : opaque) color |= 0xFF000000;
  return opaque;
}

TEST(BitmapOfADibSection, HasItsColoursAsPalette) {
  struct Case {
    WORD bits;
    Gdiplus::PixelFormat format;
  };
  for (const Case& depth : {Case{1, PixelFormat1bppIndexed}, Case{4, PixelFormat4bppIndexed},
                            Case{8, PixelFormat8bppIndexed}}) {
    const std::size_t row_bytes = 16U * depth.bits / 8;
    const Bytes rows = Numbers(row_bytes * 3);
    const std::vector<DWORD> colors = Colors(std::size_t{1} << depth.bits);
    for (const LONG height : kHeights) {
      const DibSection section(DibInfo(16, height, depth.bits).WithColors(colors));
      Fill(section, height, row_bytes, rows);
      const BitmapPointer bitmap = BitmapOf(section);
      ASSERT_NE(bitmap, nullptr);
      EXPECT_EQ(bitmap->GetPixelFormat(), depth.format);
      EXPECT_EQ(PixelsOf(*bitmap), rows) << depth.bits << ' ' << height;
      EXPECT_EQ(PaletteOf(*bitmap), Opaque(colors)) << depth.bits;
    }
  }
}

TEST(BitmapOfADibSection, HasPixelsOfItsOwn) {
  const Bytes rows = Numbers(3 * 4 * 2);
  DibSection section(DibInfo(4, 2, 24));
  Fill(section, 2, 12, rows);
  const BitmapPointer bitmap = BitmapOf(section);
  ASSERT_NE(bitmap, nullptr);
  std::memset(section.bits(), 0, rows.size());
  EXPECT_EQ(PixelsOf(*bitmap), rows);

  Fill(section, 2, 12, rows);
  Gdiplus::BitmapData data{};
  ASSERT_EQ(bitmap->LockBits(nullptr, Gdiplus::ImageLockModeWrite, PixelFormat24bppRGB, &data),
            Gdiplus::Ok);
  static_cast<std::uint8_t*>(data.Scan0)[0] = static_cast<std::uint8_t>(~rows[0]);
  bitmap->UnlockBits(&data);
  EXPECT_EQ(static_cast<const std::uint8_t*>(section.bits())[12], rows[0]);
}

TEST(BitmapOfADibSection, OutlivesTheSection) {
  const Bytes rows = Numbers(3 * 4 * 2);
  DibSection section(DibInfo(4, -2, 24));
  Fill(section, -2, 12, rows);
  const BitmapPointer bitmap = BitmapOf(section);
  ASSERT_NE(bitmap, nullptr);
  section.Delete();
  EXPECT_EQ(PixelsOf(*bitmap), rows);
}

TEST(BitmapOfADibSection, LeavesTheSection) {
  const DibSection section(DibInfo(4, -2, 24));
  std::memset(section.bits(), 9, 24);
  BitmapOf(section).reset();
  BITMAP described{};
  EXPECT_EQ(GetObjectW(section.get(), sizeof described, &described),
            static_cast<int>(sizeof described));
  EXPECT_EQ(static_cast<const std::uint8_t*>(section.bits())[23], 9);
}

TEST(BitmapOfADibSection, NeedsASection) {
  Gdiplus::GpBitmap* native = nullptr;
  EXPECT_EQ(Flat::GdipCreateBitmapFromHBITMAP(nullptr, nullptr, &native),
            Gdiplus::InvalidParameter);
  EXPECT_EQ(native, nullptr);
  DibSection section(DibInfo(4, -2, 24));
  const HBITMAP deleted = section.get();
  section.Delete();
  EXPECT_EQ(Flat::GdipCreateBitmapFromHBITMAP(deleted, nullptr, &native),
            Gdiplus::InvalidParameter);
  EXPECT_EQ(native, nullptr);
}

TEST(BitmapOfADibSection, NeedsAPlaceForTheBitmap) {
  const DibSection section(DibInfo(4, -2, 24));
  EXPECT_EQ(Flat::GdipCreateBitmapFromHBITMAP(section.get(), nullptr, nullptr),
            Gdiplus::InvalidParameter);
}

}  // namespace
}  // namespace pixtola::test
