// Images from resources. They are listed in tests/CMakeLists.txt, their files are in tests/data.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "Pixtola.h"
#include "support/resource_library.h"
#include "support/test_bitmap.h"
#include "support/test_images.h"

namespace pixtola::test {
namespace {

const LPCWSTR kRawData = MAKEINTRESOURCEW(10);

/// The image in a resource of the program; null when there is none.
BitmapPointer Load(LPCWSTR name, LPCWSTR type, HMODULE module = nullptr) {
  BitmapPointer bitmap;
  const int result = PxtLoadBitmapFromResource(name, type, module, Receive(bitmap));
  EXPECT_EQ(result, bitmap != nullptr ? 1 : 0);
  return bitmap;
}

/// Blue, green, red of data/resources/picture.bmp.
const Bytes kPicture = {1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 13, 14, 15, 16, 17, 18, 19};
/// The same of data/resources/other_picture.bmp.
const Bytes kOtherPicture = {200, 100, 50};

TEST(PxtLoadBitmapFromResource, GivesTheImageWithItsResolution) {
  const BitmapPointer bitmap = Load(L"picture", L"image");
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->GetWidth(), 3U);
  EXPECT_EQ(bitmap->GetHeight(), 2U);
  EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat24bppRGB);
  EXPECT_EQ(PixelsOf(*bitmap), kPicture);
  // 11,811 and 7,874 pixels a metre.
  EXPECT_NEAR(bitmap->GetHorizontalResolution(), 300, kDpiTolerance);
  EXPECT_NEAR(bitmap->GetVerticalResolution(), 200, kDpiTolerance);
  EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::Ok);
}

TEST(PxtLoadBitmapFromResource, ReadsEveryEncodingAsThePlatformReadsTheFile) {
  struct Example {
    LPCWSTR name;
    LPCWSTR type;
    const char* file;
  };
  for (const Example& example :
       {Example{MAKEINTRESOURCEW(21), kRawData, "pngsuite/basn2c08.png"},
        Example{L"colours", L"Image", "pngsuite/basn3p04.png"},
        Example{L"alpha", L"Image", "pngsuite/basn6a08.png"},
        Example{L"tree", L"Image", "giflib/treescap.gif"},
        Example{MAKEINTRESOURCEW(22), MAKEINTRESOURCEW(300), "libjpeg-turbo/testorig.jpg"},
        Example{L"page", L"Image", "libtiff/palette-1c-4b.tiff"}}) {
    SCOPED_TRACE(example.file);
    const auto path = TestImages() / example.file;
    Gdiplus::Bitmap file(path.wstring().c_str());
    ASSERT_EQ(file.GetLastStatus(), Gdiplus::Ok);
    const BitmapPointer bitmap = Load(example.name, example.type);
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(bitmap->GetWidth(), file.GetWidth());
    EXPECT_EQ(bitmap->GetHeight(), file.GetHeight());
    EXPECT_EQ(bitmap->GetPixelFormat(), file.GetPixelFormat());
    EXPECT_TRUE(PixelsOf(*bitmap) == PixelsOf(file));
    EXPECT_EQ(PaletteOf(*bitmap), PaletteOf(file));
    EXPECT_NEAR(bitmap->GetHorizontalResolution(), file.GetHorizontalResolution(), kDpiTolerance);
    EXPECT_NEAR(bitmap->GetVerticalResolution(), file.GetVerticalResolution(), kDpiTolerance);
  }
}

TEST(PxtLoadBitmapFromResource, FindsNamesWhateverTheirCaseAndIdsAsText) {
  for (const LPCWSTR name : {L"PICTURE", L"Picture", L"pIcTuRe"}) {
    const BitmapPointer bitmap = Load(name, L"IMAGE");
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(PixelsOf(*bitmap), kPicture);
  }
  EXPECT_NE(Load(L"#21", kRawData), nullptr);
  EXPECT_NE(Load(MAKEINTRESOURCEW(21), L"#10"), nullptr);
  EXPECT_NE(Load(L"#22", L"#300"), nullptr);
}

TEST(PxtLoadBitmapFromResource, LooksIntoTheModuleThatItIsGiven) {
  ASSERT_NE(AddressInResourceLibrary(), nullptr);
  const HMODULE library = GetModuleHandleW(L"pixtola_resource_library");
  ASSERT_NE(library, nullptr);
  const BitmapPointer other = Load(L"picture", L"image", library);
  ASSERT_NE(other, nullptr);
  EXPECT_EQ(PixelsOf(*other), kOtherPicture);
  EXPECT_EQ(Load(L"tree", L"image", library), nullptr);
  const BitmapPointer own = Load(L"picture", L"image", GetModuleHandleW(nullptr));
  ASSERT_NE(own, nullptr);
  EXPECT_EQ(PixelsOf(*own), kPicture);
}

TEST(PxtLoadBitmapFromResource, GivesANewBitmapEachTime) {
  const BitmapPointer first = Load(L"picture", L"image");
  const BitmapPointer second = Load(L"picture", L"image");
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  Gdiplus::BitmapData locked{};
  ASSERT_EQ(first->LockBits(nullptr, Gdiplus::ImageLockModeWrite, PixelFormat24bppRGB, &locked),
            Gdiplus::Ok);
  static_cast<std::uint8_t*>(locked.Scan0)[0] = 99;
  EXPECT_EQ(first->UnlockBits(&locked), Gdiplus::Ok);
  EXPECT_EQ(PixelsOf(*first)[0], 99);
  EXPECT_EQ(PixelsOf(*second), kPicture);
  EXPECT_EQ(PixelsOf(*Load(L"picture", L"image")), kPicture);
}

/// Loads into a place that holds something else and must keep it.
void ExpectNothingLoaded(LPCWSTR name, LPCWSTR type) {
  static std::uintptr_t place = 0;
  auto* const stale = reinterpret_cast<Gdiplus::Bitmap*>(&place);
  Gdiplus::Bitmap* bitmap = stale;
  EXPECT_EQ(PxtLoadBitmapFromResource(name, type, nullptr, &bitmap), 0);
  EXPECT_EQ(bitmap, stale);
}

TEST(PxtLoadBitmapFromResource, LeavesTheArgumentWhenTheResourceIsNotThere) {
  ExpectNothingLoaded(L"missing", L"image");
  ExpectNothingLoaded(L"picture", L"missing");
  ExpectNothingLoaded(L"picture", kRawData);
  ExpectNothingLoaded(MAKEINTRESOURCEW(23), kRawData);
  ExpectNothingLoaded(MAKEINTRESOURCEW(21), MAKEINTRESOURCEW(300));
  ExpectNothingLoaded(L"", L"image");
}

TEST(PxtLoadBitmapFromResource, LeavesTheArgumentForWhatIsNoImage) {
  ExpectNothingLoaded(L"text", L"image");
  ExpectNothingLoaded(L"cut", L"image");
}

TEST(PxtLoadBitmapFromResource, LeavesTheArgumentForAnEmptyResource) {
  ExpectNothingLoaded(L"empty", L"image");
}

TEST(PxtLoadBitmapFromResource, RefusesNullArguments) {
  ExpectNothingLoaded(nullptr, L"image");
  ExpectNothingLoaded(L"picture", nullptr);
  EXPECT_EQ(PxtLoadBitmapFromResource(L"picture", L"image", nullptr, nullptr), 0);
}

}  // namespace
}  // namespace pixtola::test
