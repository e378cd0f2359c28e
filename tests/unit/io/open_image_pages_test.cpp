// The order in which the readers are tried, and the pages of files that they open.

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "Pixtola.h"
#include "support/platform_expectations.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"
#include "support/tiff_bytes.h"

namespace pixtola::test {
namespace {

constexpr std::int32_t kLastPage = std::numeric_limits<std::int32_t>::max();

/// A page of eight pixels.
TiffPage BilevelPage(std::uint8_t bits) {
  TiffPage page;
  page.rows = {bits};
  return page;
}

/// A page that the library's own reader refuses and platforms read: 4-bit gray.
TiffPage FourBitGrayPage() {
  TiffPage page;
  page.width = 2;
  page.bits_per_sample = 4;
  page.rows = {0x0F};
  return page;
}

/// 2 x 1 pixels of 24 bits: the first is red, the second as blue as 7 of 255.
Bytes PcxBytes() {
  Bytes file(135);
  file[0] = 10;
  file[1] = 5;
  file[2] = 1;
  file[3] = 8;
  file[8] = 1;       // xmax
  file[65] = 3;      // planes
  file[66] = 2;      // bytes per line
  file[128] = 0xC1;  // red: a run of one 255, then 0
  file[129] = 0xFF;
  file[134] = 7;  // green: 0 and 0, blue: 0 and 7
  return file;
}

/// `frames` frames of one pixel, shown one after the other.
Bytes GifBytes(int frames) {
  Bytes file = {'G', 'I', 'F', '8', '9', 'a', 1, 0, 1, 0, 0x80, 0, 0, 0, 0, 0, 255, 255, 255};
  for (int i = 0; i < frames; ++i) {
    const Bytes frame = {0x21, 0xF9, 4,
                         0,    10,   0,
                         0,    0,  // how long it is shown
                         ',',  0,    0,
                         0,    0,    1,
                         0,    1,    0,
                         0,  // where it stands
                         2,    2,    static_cast<std::uint8_t>(i % 2 == 0 ? 0x44 : 0x4C),
                         1,    0};
    file.insert(file.end(), frame.begin(), frame.end());
  }
  file.push_back(0x3B);
  return file;
}

class OpenPageTest : public testing::Test {
 protected:
  std::wstring PathOf(const std::string& name) const { return (folder_ / name).wstring(); }

  void Put(const std::string& name, const Bytes& bytes) const {
    WriteWholeFile(folder_ / name, bytes);
  }
  void Save(const std::string& name, PxtFileType type) const {
    const BitmapPointer bitmap = MakeBitmap(2, 1, PixelFormat24bppRGB, {0, 0, 255, 7, 0, 0});
    ASSERT_EQ(PxtSaveBitmapToFile(bitmap.get(), type, PathOf(name).c_str()), 1);
  }

  BitmapPointer Open(const std::string& name) const {
    BitmapPointer bitmap;
    const int result = PxtOpenImageFile(PathOf(name).c_str(), Receive(bitmap));
    EXPECT_EQ(result, bitmap != nullptr ? 1 : 0);
    return bitmap;
  }
  BitmapPointer OpenPage(const std::string& name, std::int32_t page) const {
    BitmapPointer bitmap;
    const int result = PxtOpenImageFilePage(PathOf(name).c_str(), page, Receive(bitmap));
    EXPECT_EQ(result, bitmap != nullptr ? 1 : 0);
    return bitmap;
  }
  /// Both ways to open the first page.
  std::vector<BitmapPointer> OpenBothWays(const std::string& name) const {
    std::vector<BitmapPointer> bitmaps;
    bitmaps.push_back(Open(name));
    bitmaps.push_back(OpenPage(name, 0));
    return bitmaps;
  }

  TemporaryFolder folder_;
};

// The order of the readers.

TEST_F(OpenPageTest, TriesTiffFirstWhateverTheName) {
  for (const std::string name : {"page.jpg", "page.pcx", "page.bmp", "page", "page.txt"}) {
    WriteTiff(folder_ / name, {BilevelPage(0x5A)});
    for (const BitmapPointer& bitmap : OpenBothWays(name)) {
      ASSERT_NE(bitmap, nullptr) << name;
      EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0x5A}));
    }
  }
}

TEST_F(OpenPageTest, LetsTheLibrarysOwnReaderReadTiffBeforeThePlatform) {
  // The platform would give 24 bits, and the colours of a map's high bytes.
  TiffPage color;
  color.width = 1;
  color.bits_per_sample = 8;
  color.samples_per_pixel = 3;
  color.photometric = PHOTOMETRIC_RGB;
  color.rows = {1, 2, 3};
  WriteTiff(folder_ / "color.tif", {color});
  for (const BitmapPointer& bitmap : OpenBothWays("color.tif")) {
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat32bppARGB);
    EXPECT_EQ(PixelsOf(*bitmap), (Bytes{3, 2, 1, 255}));
  }
}

TEST_F(OpenPageTest, LeavesTiffThatItsReaderRefusesToThePlatform) {
  WriteTiff(folder_ / "gray.tif", {FourBitGrayPage()});
  for (const BitmapPointer& bitmap : OpenBothWays("gray.tif")) {
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(PixelsOf(*bitmap, PixelFormat24bppRGB), (Bytes{0, 0, 0, 255, 255, 255}));
  }
}

TEST_F(OpenPageTest, OpensWhatThePlatformDecodesWhateverTheName) {
  for (const PxtFileType type : {PxtFileTypeBmp, PxtFileTypePng}) {
    for (const std::string name : {"image.tif", "image.pcx", "image"}) {
      Save(name, type);
      for (const BitmapPointer& bitmap : OpenBothWays(name)) {
        ASSERT_NE(bitmap, nullptr) << name;
        EXPECT_EQ(PixelsOf(*bitmap, PixelFormat24bppRGB), (Bytes{0, 0, 255, 7, 0, 0}));
      }
    }
  }
}

TEST_F(OpenPageTest, TriesPcxLastWhateverTheName) {
  for (const std::string name : {"scan.png", "scan.tif", "scan.pcx", "scan"}) {
    Put(name, PcxBytes());
    for (const BitmapPointer& bitmap : OpenBothWays(name)) {
      ASSERT_NE(bitmap, nullptr) << name;
      EXPECT_EQ(bitmap->GetPixelFormat(), PixelFormat24bppRGB);
      EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0, 0, 255, 7, 0, 0}));
    }
  }
}

TEST_F(OpenPageTest, FailsAfterAllThreeForWhatIsNoImage) {
  Bytes pcx = PcxBytes();
  pcx[0] = 11;
  Bytes tiff = TiffBytes({BilevelPage(0)});
  tiff.resize(8);
  Put("pcx", pcx);
  Put("tiff", tiff);
  Put("gif", {'G', 'I', 'F', '8', '9', 'a'});
  Put("png", {0x89, 'P', 'N', 'G', 13, 10, 26, 10});
  Put("bmp", {'B', 'M'});
  Put("jpeg", {0xFF, 0xD8, 0xFF});
  Put("text", {'t', 'e', 'x', 't'});
  Put("empty", {});
  for (const std::string name :
       {"pcx", "tiff", "gif", "png", "bmp", "jpeg", "text", "empty", "missing"}) {
    Gdiplus::Bitmap* bitmap = reinterpret_cast<Gdiplus::Bitmap*>(16);
    EXPECT_EQ(PxtOpenImageFile(PathOf(name).c_str(), &bitmap), 0) << name;
    EXPECT_EQ(bitmap, nullptr);
    for (const std::int32_t page : {-1, 0, 1}) {
      bitmap = reinterpret_cast<Gdiplus::Bitmap*>(16);
      EXPECT_EQ(PxtOpenImageFilePage(PathOf(name).c_str(), page, &bitmap), 0) << name;
      EXPECT_EQ(bitmap, nullptr);
    }
  }
}

TEST_F(OpenPageTest, RefusesNullArguments) {
  Gdiplus::Bitmap* bitmap = nullptr;
  EXPECT_EQ(PxtOpenImageFilePage(nullptr, 0, &bitmap), 0);
  Put("scan.pcx", PcxBytes());
  EXPECT_EQ(PxtOpenImageFilePage(PathOf("scan.pcx").c_str(), 0, nullptr), 0);
}

TEST_F(OpenPageTest, FindsFilesWhoseNamesHaveLettersOfAllKinds) {
  WriteWholeFile((folder_ / "").parent_path() / u8"Gr\u00F6\u00DFe \u65E5\u672C", PcxBytes());
  BitmapPointer bitmap;
  EXPECT_EQ(
      PxtOpenImageFile((PathOf("") + L"Gr\u00F6\u00DFe \u65E5\u672C").c_str(), Receive(bitmap)), 1);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0, 0, 255, 7, 0, 0}));
}

// What is opened stands for itself.

TEST_F(OpenPageTest, NeedsTheFileNoMore) {
  WriteTiff(folder_ / "tiff", {BilevelPage(0x5A)});
  Put("pcx", PcxBytes());
  Put("gif", GifBytes(3));
  Save("bmp", PxtFileTypeBmp);
  Save("png", PxtFileTypePng);
  Save("jpeg", PxtFileTypeJpeg);
  for (const std::string name : {"tiff", "pcx", "gif", "bmp", "png", "jpeg"}) {
    for (const BitmapPointer& bitmap : OpenBothWays(name)) {
      ASSERT_NE(bitmap, nullptr) << name;
      const Bytes before = PixelsOf(*bitmap, PixelFormat32bppARGB);
      const Bytes file = ReadWholeFile(folder_ / name);
      Put(name, Bytes(file.size(), 0xEE));
      EXPECT_EQ(PixelsOf(*bitmap, PixelFormat32bppARGB), before) << name;
      // Written, renamed and deleted: nobody holds it.
      std::error_code error;
      std::filesystem::rename(folder_ / name, folder_ / "other", error);
      EXPECT_FALSE(error) << name << ": " << error.message();
      EXPECT_TRUE(std::filesystem::remove(folder_ / "other", error)) << name;
      EXPECT_EQ(PixelsOf(*bitmap, PixelFormat32bppARGB), before) << name;
      Put(name, file);
    }
  }
}

// Pages.

TEST_F(OpenPageTest, OpensThePagesOfATiff) {
  const std::vector<TiffPage> pages = {BilevelPage(0x11), BilevelPage(0x22), BilevelPage(0x33)};
  WriteTiff(folder_ / "pages.tif", pages);
  for (std::int32_t i = 0; i < 3; ++i) {
    const BitmapPointer bitmap = OpenPage("pages.tif", i);
    ASSERT_NE(bitmap, nullptr) << i;
    EXPECT_EQ(PixelsOf(*bitmap), pages[static_cast<std::size_t>(i)].rows);
  }
  for (const std::int32_t page : {3, 4, kLastPage}) {
    EXPECT_EQ(OpenPage("pages.tif", page), nullptr) << page;
  }
  for (const std::int32_t page : {-1, -2, -kLastPage - 1}) {
    const BitmapPointer bitmap = OpenPage("pages.tif", page);
    ASSERT_NE(bitmap, nullptr) << page;
    EXPECT_EQ(PixelsOf(*bitmap), (Bytes{0x11}));
  }
}

TEST_F(OpenPageTest, DoesNotFindLaterPagesThatOnlyThePlatformReads) {
  for (const std::uint16_t bits : {std::uint16_t{2}, std::uint16_t{4}}) {
    TiffPage gray = FourBitGrayPage();
    gray.bits_per_sample = bits;
    WriteTiff(folder_ / "pages.tif", {BilevelPage(0x11), gray, BilevelPage(0x33)});
    EXPECT_EQ(OpenPage("pages.tif", 1), nullptr);  // the platform's copy has one page
    const BitmapPointer last = OpenPage("pages.tif", 2);
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(PixelsOf(*last), (Bytes{0x33}));

    WriteTiff(folder_ / "pages.tif", {gray, BilevelPage(0x22)});
    for (const std::int32_t page : {-1, 0}) {
      const BitmapPointer first = OpenPage("pages.tif", page);
      const bool is_decoded = bits != 2 || !kTiffOf2BitsIsNotDecoded;
      ASSERT_EQ(first != nullptr, is_decoded) << bits << " bits, page " << page;
      EXPECT_TRUE(first == nullptr || first->GetWidth() == 2);
    }
    const BitmapPointer second = OpenPage("pages.tif", 1);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(PixelsOf(*second), (Bytes{0x22}));
  }
}

TEST_F(OpenPageTest, OpensOnlyTheFirstPageOfOtherFiles) {
  Put("pcx", PcxBytes());
  Put("gif", GifBytes(1));
  Put("animated gif", GifBytes(3));
  Save("bmp", PxtFileTypeBmp);
  Save("png", PxtFileTypePng);
  Save("jpeg", PxtFileTypeJpeg);
  for (const std::string name : {"pcx", "gif", "animated gif", "bmp", "png", "jpeg"}) {
    const BitmapPointer whole = Open(name);
    ASSERT_NE(whole, nullptr) << name;
    for (const std::int32_t page : {0, -1, -kLastPage - 1}) {
      const BitmapPointer bitmap = OpenPage(name, page);
      ASSERT_NE(bitmap, nullptr) << name << ' ' << page;
      EXPECT_EQ(PixelsOf(*bitmap, PixelFormat32bppARGB), PixelsOf(*whole, PixelFormat32bppARGB));
    }
    for (const std::int32_t page : {1, 2, 3, kLastPage}) {
      Gdiplus::Bitmap* bitmap = reinterpret_cast<Gdiplus::Bitmap*>(16);
      EXPECT_EQ(PxtOpenImageFilePage(PathOf(name).c_str(), page, &bitmap), 0) << name;
      EXPECT_EQ(bitmap, nullptr);
    }
  }
}

TEST_F(OpenPageTest, ReadsAGifsFirstFrame) {
  Put("animated gif", GifBytes(3));
  const BitmapPointer bitmap = OpenPage("animated gif", 0);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap, PixelFormat24bppRGB), (Bytes{0, 0, 0}));
  EXPECT_EQ(bitmap->GetFrameCount(&Gdiplus::FrameDimensionPage), 1U);
}

}  // namespace
}  // namespace pixtola::test
