// What the platform promises about DIB sections, pixels in memory that a handle refers to. Written
// against the API alone: the same tests run on Windows and on the stand-in.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "platform.h"
#include "support/dib_section.h"

namespace pixtola::test {
namespace {

/// What GetObjectW tells of a section.
DIBSECTION Described(HBITMAP bitmap) {
  DIBSECTION described{};
  EXPECT_EQ(GetObjectW(bitmap, sizeof described, &described), static_cast<int>(sizeof described));
  return described;
}

TEST(DibSection, GivesPixelsThatCanBeWritten) {
  for (const WORD bits : {WORD{1}, WORD{4}, WORD{8}, WORD{16}, WORD{24}, WORD{32}}) {
    for (const LONG height : {LONG{5}, LONG{-5}}) {
      const DibSection section(DibInfo(7, height, bits));
      ASSERT_NE(section.get(), nullptr) << bits;
      ASSERT_NE(section.bits(), nullptr) << bits;
      const std::size_t size = 5 * ((7U * bits + 31) / 32 * 4);
      std::memset(section.bits(), 0x5A, size);
      EXPECT_EQ(static_cast<const std::uint8_t*>(section.bits())[size - 1], 0x5A);
    }
  }
}

TEST(DibSection, IsDescribedAsABitmap) {
  for (const WORD bits : {WORD{1}, WORD{4}, WORD{8}, WORD{16}, WORD{24}, WORD{32}}) {
    for (const LONG width : {1, 7, 8, 9, 31, 32, 33}) {
      const DibSection section(DibInfo(width, 3, bits));
      BITMAP bitmap{};
      EXPECT_EQ(GetObjectW(section.get(), sizeof bitmap, &bitmap), static_cast<int>(sizeof bitmap));
      EXPECT_EQ(bitmap.bmType, 0);
      EXPECT_EQ(bitmap.bmWidth, width);
      EXPECT_EQ(bitmap.bmHeight, 3);
      EXPECT_EQ(bitmap.bmWidthBytes, (width * bits + 31) / 32 * 4) << width << 'x' << bits;
      EXPECT_EQ(bitmap.bmPlanes, 1);
      EXPECT_EQ(bitmap.bmBitsPixel, bits);
      EXPECT_EQ(bitmap.bmBits, section.bits());
    }
  }
}

TEST(DibSection, IsDescribedWithItsHeader) {
  for (const WORD bits : {WORD{1}, WORD{4}, WORD{8}, WORD{24}, WORD{32}}) {
    const DibSection section(DibInfo(9, 4, bits));
    const DIBSECTION described = Described(section.get());
    EXPECT_EQ(described.dsBm.bmWidth, 9);
    EXPECT_EQ(described.dsBm.bmHeight, 4);
    EXPECT_EQ(described.dsBm.bmBits, section.bits());
    EXPECT_EQ(described.dsBmih.biWidth, 9);
    EXPECT_EQ(described.dsBmih.biHeight, 4);
    EXPECT_EQ(described.dsBmih.biPlanes, 1);
    EXPECT_EQ(described.dsBmih.biBitCount, bits);
    EXPECT_EQ(described.dsBmih.biCompression, static_cast<DWORD>(BI_RGB));
    EXPECT_EQ(described.dshSection, nullptr);
    EXPECT_EQ(described.dsOffset, 0U);
  }
}

TEST(DibSection, IsDescribedWithItsBitFields) {
  for (const DWORD green : {0x07E0U, 0x03E0U}) {
    const DWORD red = green == 0x07E0U ? 0xF800U : 0x7C00U;
    const DibSection section(DibInfo(2, 2, 16).WithMasks(red, green, 0x001F));
    const DIBSECTION described = Described(section.get());
    EXPECT_EQ(described.dsBmih.biCompression, static_cast<DWORD>(BI_BITFIELDS));
    EXPECT_EQ(described.dsBitfields[0], red);
    EXPECT_EQ(described.dsBitfields[1], green);
    EXPECT_EQ(described.dsBitfields[2], 0x001FU);
  }
}

TEST(DibSection, OfRowsFromTheTopHasAPositiveHeightAsABitmap) {
  const DibSection section(DibInfo(9, -4, 24));
  const DIBSECTION described = Described(section.get());
  EXPECT_EQ(described.dsBm.bmWidth, 9);
  EXPECT_EQ(described.dsBm.bmHeight, 4);
  EXPECT_EQ(std::abs(described.dsBmih.biHeight), 4);
}

TEST(DibSection, MayCountAColourInItsHeader) {
  // sizeof(BITMAPINFO), a common slip for sizeof(BITMAPINFOHEADER).
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof info;
  ASSERT_EQ(info.bmiHeader.biSize, 44U);
  info.bmiHeader.biWidth = 3;
  info.bmiHeader.biHeight = -2;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  void* bits = nullptr;
  const HBITMAP bitmap = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  ASSERT_NE(bitmap, nullptr);
  ASSERT_NE(bits, nullptr);
  std::memset(bits, 1, 24);
  const DIBSECTION described = Described(bitmap);
  EXPECT_EQ(described.dsBm.bmWidth, 3);
  EXPECT_EQ(described.dsBm.bmHeight, 2);
  EXPECT_EQ(described.dsBm.bmBitsPixel, 32);
  EXPECT_TRUE(DeleteObject(bitmap));
}

TEST(DibSection, MayBeMadeForADeviceContext) {
  const HDC context = CreateCompatibleDC(nullptr);
  void* bits = nullptr;
  const DibInfo info(4, 4, 24);
  const HBITMAP bitmap = CreateDIBSection(context, info.get(), DIB_RGB_COLORS, &bits, nullptr, 0);
  EXPECT_NE(bitmap, nullptr);
  EXPECT_NE(bits, nullptr);
  EXPECT_TRUE(DeleteDC(context));
  EXPECT_EQ(Described(bitmap).dsBm.bmBits, bits);
  EXPECT_TRUE(DeleteObject(bitmap));
}

TEST(DibSection, CannotBeEmpty) {
  struct Size {
    LONG width;
    LONG height;
  };
  for (const Size& size : {Size{0, 4}, Size{4, 0}, Size{0, 0}, Size{-4, 4}}) {
    void* bits = &bits;
    const DibInfo info(size.width, size.height, 24);
    EXPECT_EQ(CreateDIBSection(nullptr, info.get(), DIB_RGB_COLORS, &bits, nullptr, 0), nullptr)
        << size.width << 'x' << size.height;
    EXPECT_EQ(bits, nullptr);
  }
}

TEST(DibSection, CannotBeLargerThanMemory) {
  void* bits = &bits;
  const DibInfo info(0x7FFFFFFF, 0x7FFFFFFF, 32);
  EXPECT_EQ(CreateDIBSection(nullptr, info.get(), DIB_RGB_COLORS, &bits, nullptr, 0), nullptr);
}

TEST(DibSection, HasOnlyTheUsualDepths) {
  for (const WORD depth : {WORD{2}, WORD{7}, WORD{48}, WORD{64}}) {
    void* bits = &bits;
    const DibInfo info(4, 4, depth);
    EXPECT_EQ(CreateDIBSection(nullptr, info.get(), DIB_RGB_COLORS, &bits, nullptr, 0), nullptr)
        << depth;
  }
}

TEST(DibSection, HoldsPixelsOfItsOwn) {
  const DibSection first(DibInfo(4, 4, 32));
  const DibSection second(DibInfo(4, 4, 32));
  std::memset(first.bits(), 1, 64);
  std::memset(second.bits(), 2, 64);
  EXPECT_EQ(static_cast<const std::uint8_t*>(first.bits())[63], 1);
}

TEST(DeletedDibSection, IsNoObjectAnyMore) {
  void* bits = nullptr;
  const DibInfo info(4, 4, 24);
  const HBITMAP bitmap = CreateDIBSection(nullptr, info.get(), DIB_RGB_COLORS, &bits, nullptr, 0);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_TRUE(DeleteObject(bitmap));
  BITMAP described{};
  EXPECT_EQ(GetObjectW(bitmap, sizeof described, &described), 0);
  EXPECT_FALSE(DeleteObject(bitmap));
}

TEST(NoDibSection, IsNoObject) {
  BITMAP described{};
  EXPECT_EQ(GetObjectW(nullptr, sizeof described, &described), 0);
  EXPECT_FALSE(DeleteObject(nullptr));
}

TEST(DeviceContexts, ExistForTheScreen) {
  const HDC screen = GetDC(nullptr);
  ASSERT_NE(screen, nullptr);
  const HDC memory = CreateCompatibleDC(screen);
  EXPECT_NE(memory, nullptr);
  EXPECT_NE(memory, screen);
  EXPECT_TRUE(DeleteDC(memory));
  EXPECT_EQ(ReleaseDC(nullptr, screen), 1);
}

TEST(DeviceContexts, ExistInMemory) {
  const HDC first = CreateCompatibleDC(nullptr);
  const HDC second = CreateCompatibleDC(nullptr);
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  EXPECT_NE(first, second);
  EXPECT_TRUE(DeleteDC(first));
  EXPECT_TRUE(DeleteDC(second));
}

TEST(DeviceContexts, AreNotDeletedTwice) {
  const HDC context = CreateCompatibleDC(nullptr);
  EXPECT_TRUE(DeleteDC(context));
  EXPECT_FALSE(DeleteDC(context));
  EXPECT_FALSE(DeleteDC(nullptr));
}

}  // namespace
}  // namespace pixtola::test
