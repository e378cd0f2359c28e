#include <gtest/gtest.h>

#include <vector>

#include "Pixtola.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"
#include "support/tiff_file.h"

namespace pixtola::test {
namespace {

class PxtOpenImageFileTest : public testing::Test {
 protected:
  BitmapPointer Open(const std::string& name) {
    BitmapPointer bitmap;
    const int result = PxtOpenImageFile((folder_ / name).wstring().c_str(), Receive(bitmap));
    EXPECT_EQ(result, bitmap != nullptr ? 1 : 0);
    return bitmap;
  }

  TemporaryFolder folder_;
};

TEST_F(PxtOpenImageFileTest, OpensATiffWhateverItsName) {
  TiffPage page;
  page.rows = {0x5A};
  WriteTiff(folder_ / "page.jpg", {page});
  const BitmapPointer bitmap = Open("page.jpg");
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0x5A}));
}

TEST_F(PxtOpenImageFileTest, OpensWhatThePlatformDecodes) {
  const BitmapPointer saved =
      MakeBitmap(2, 2, PixelFormat24bppRGB, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
  for (const PxtFileType type : {PxtFileTypePng, PxtFileTypeBmp}) {
    ASSERT_EQ(PxtSaveBitmapToFile(saved.get(), type, (folder_ / "image").wstring().c_str()), 1);
    const BitmapPointer bitmap = Open("image");
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(PixelsOf(*bitmap, PixelFormat24bppRGB), PixelsOf(*saved));
  }
}

TEST_F(PxtOpenImageFileTest, DoesNotKeepTheFile) {
  const BitmapPointer saved = MakeBitmap(1, 1, PixelFormat24bppRGB, {1, 2, 3});
  ASSERT_EQ(PxtSaveBitmapToFile(saved.get(), PxtFileTypePng, (folder_ / "image").wstring().c_str()),
            1);
  const BitmapPointer bitmap = Open("image");
  ASSERT_NE(bitmap, nullptr);
  EXPECT_TRUE(std::filesystem::remove(folder_ / "image"));
  EXPECT_EQ(PixelsOf(*bitmap, PixelFormat24bppRGB), (Bytes{1, 2, 3}));
}

TEST_F(PxtOpenImageFileTest, FailsForWhatIsNoImage) {
  WriteWholeFile(folder_ / "text", {'h', 'e', 'l', 'l', 'o'});
  WriteWholeFile(folder_ / "empty", {});
  std::filesystem::create_directory(folder_ / "folder");
  EXPECT_EQ(Open("text"), nullptr);
  EXPECT_EQ(Open("empty"), nullptr);
  EXPECT_EQ(Open("folder"), nullptr);
  EXPECT_EQ(Open("missing"), nullptr);
}

TEST_F(PxtOpenImageFileTest, FailsForACorruptFile) {
  const BitmapPointer saved = MakeBitmap(16, 16, PixelFormat24bppRGB, Bytes(768, 7));
  ASSERT_EQ(PxtSaveBitmapToFile(saved.get(), PxtFileTypePng, (folder_ / "image").wstring().c_str()),
            1);
  auto bytes = ReadWholeFile(folder_ / "image");
  bytes.resize(30);
  WriteWholeFile(folder_ / "image", bytes);
  EXPECT_EQ(Open("image"), nullptr);
}

TEST_F(PxtOpenImageFileTest, ClearsTheResultOnFailure) {
  Gdiplus::Bitmap* bitmap = reinterpret_cast<Gdiplus::Bitmap*>(16);
  EXPECT_EQ(PxtOpenImageFile((folder_ / "missing").wstring().c_str(), &bitmap), 0);
  EXPECT_EQ(bitmap, nullptr);
}

TEST_F(PxtOpenImageFileTest, RefusesNullArguments) {
  Gdiplus::Bitmap* bitmap = nullptr;
  EXPECT_EQ(PxtOpenImageFile(nullptr, &bitmap), 0);
  EXPECT_EQ(PxtOpenImageFile(L"image.png", nullptr), 0);
}

}  // namespace
}  // namespace pixtola::test
