// The PCX reader: paths and files, and opening as users of the library do.

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <random>
#include <string>

#include "unit/io/pcx_reader_fixture.h"

namespace pixtola::test {
namespace {

TEST_F(ReadPcxFileTest, TrimsThePath) {
  WriteWholeFile(path_, FileOf(HeaderOf(8, 3, 1, 1), {1, 0, 2, 0, 3, 0}));
  const std::wstring path = path_.wstring();
  for (const std::wstring& padded :
       {L" " + path, path + L" ", L"\t \r\n\v\f" + path + L"\f\v\n\r \t"}) {
    const BitmapPointer bitmap = Read(padded);
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(PixelsOf(*bitmap), (Bytes{3, 2, 1}));
  }
}

TEST_F(ReadPcxFileTest, FailsForMissingFilesAndEmptyPaths) {
  EXPECT_EQ(Read(path_.wstring()), nullptr);
  EXPECT_EQ(Read(L""), nullptr);
  EXPECT_EQ(Read(L" \t\n"), nullptr);
  std::filesystem::create_directory(folder_ / "folder");
  EXPECT_EQ(Read((folder_ / "folder").wstring()), nullptr);
}

TEST_F(ReadPcxFileTest, RefusesNullPaths) { EXPECT_EQ(ReadPcxFile(nullptr), nullptr); }

TEST_F(ReadPcxFileTest, DoesNotKeepTheFile) {
  for (const PcxFileLayout& layout : PcxFileLayouts()) {
    SCOPED_TRACE(NameOf(layout));
    const Bytes file = FileOf(HeaderOf(layout.bits, layout.planes, 8, 2), Bytes(70, 0x21));
    const BitmapPointer bitmap = ReadBytes(file);
    ASSERT_NE(bitmap, nullptr);
    // On Windows an open file could neither be written nor removed.
    WriteWholeFile(path_, Bytes(file.size(), 0));
    EXPECT_EQ(ReadWholeFile(path_), Bytes(file.size(), 0));
    EXPECT_TRUE(std::filesystem::remove(path_));
    CheckBitmap(*bitmap, DecodePcx(file).value());
  }
}

TEST_F(ReadPcxFileTest, ClosesFilesThatItRefuses) {
  for (const std::size_t size : {0U, 100U, 128U}) {
    EXPECT_EQ(ReadBytes(Bytes(size, 0)), nullptr);
    std::FILE* const file = _wfsopen(path_.wstring().c_str(), L"r+b", _SH_DENYRW);
    EXPECT_NE(file, nullptr) << size;
    if (file != nullptr) std::fclose(file);
  }
}

TEST_F(ReadPcxFileTest, SharesFilesWithReadersOnly) {
  WriteWholeFile(path_, FileOf(HeaderOf(8, 3, 1, 1), {1, 0, 2, 0, 3, 0}));
  const std::wstring path = path_.wstring();
  std::FILE* const reader = _wfsopen(path.c_str(), L"rb", _SH_DENYNO);
  ASSERT_NE(reader, nullptr);
  EXPECT_NE(Read(path), nullptr);
  std::fclose(reader);
  std::FILE* const writer = _wfsopen(path.c_str(), L"r+b", _SH_DENYNO);
  ASSERT_NE(writer, nullptr);
  EXPECT_EQ(Read(path), nullptr);
  std::fclose(writer);
  EXPECT_NE(Read(path), nullptr);
}

TEST_F(ReadPcxFileTest, IsTheLastResortOfOpeningWhateverTheName) {
  std::mt19937 random(11);
  for (const PcxFileLayout& layout : PcxFileLayouts()) {
    SCOPED_TRACE(NameOf(layout));
    const PcxFileHeader header = HeaderOf(layout.bits, layout.planes, 24, 5);
    const std::size_t size = std::size_t{header.bytes_per_line} * layout.planes * 5;
    const Bytes file =
        FileOf(header, PackRuns(ImageBytes(size, random)), PaletteBytes(RandomColors(256, random)));
    for (const char* name : {"image.pcx", "image.png", "image"}) {
      WriteWholeFile(folder_ / name, file);
      BitmapPointer bitmap;
      ASSERT_EQ(PxtOpenImageFile((folder_ / name).wstring().c_str(), Receive(bitmap)), 1);
      ASSERT_NE(bitmap, nullptr);
      CheckBitmap(*bitmap, DecodePcx(file).value());
    }
  }
}

TEST_F(ReadPcxFileTest, GivesPageZeroOnly) {
  WriteWholeFile(path_, FileOf(HeaderOf(8, 3, 1, 1), {1, 0, 2, 0, 3, 0}));
  const std::wstring path = path_.wstring();
  for (const std::int32_t page : {0, -1}) {
    BitmapPointer bitmap;
    ASSERT_EQ(PxtOpenImageFilePage(path.c_str(), page, Receive(bitmap)), 1) << page;
    EXPECT_EQ(PixelsOf(*bitmap), (Bytes{3, 2, 1})) << page;
  }
  Gdiplus::Bitmap* bitmap = reinterpret_cast<Gdiplus::Bitmap*>(16);
  EXPECT_EQ(PxtOpenImageFilePage(path.c_str(), 1, &bitmap), 0);
  EXPECT_EQ(bitmap, nullptr);
}

}  // namespace
}  // namespace pixtola::test
