// The bytes that the TIFF writer writes, to files and to streams, as libtiff itself reads them.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "io/tiff_reader.h"
#include "io/tiff_writer.h"
#include "support/recording_stream.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"
#include "support/test_formats.h"
#include "support/tiff_bytes.h"

namespace pixtola::test {
namespace {

constexpr PxtFileType kDeepTypes[] = {PxtFileTypeTiffLzw, PxtFileTypeTiffRunLength,
                                      PxtFileTypeTiffNone};

using Palette = std::vector<Gdiplus::ARGB>;
const Palette kBlackFirst = {0xFF000000, 0xFFFFFFFF};
const Palette kWhiteFirst = {0xFFFFFFFF, 0xFF000000};

Bytes RandomRows(UINT width, UINT height, Gdiplus::PixelFormat format) {
  std::mt19937 random(width * 7919 + height);
  Bytes rows(PackedBytes(format, width) * height);
  for (std::uint8_t& byte : rows) byte = static_cast<std::uint8_t>(random());
  return rows;
}

BitmapPointer RandomBitmap(UINT width, UINT height, Gdiplus::PixelFormat format) {
  return MakeBitmap(width, height, format, RandomRows(width, height, format));
}

/// Lines of writing: much that is one colour, and specks.
BitmapPointer Page(UINT width, UINT height) {
  std::mt19937 random(1);
  const std::size_t row_bytes = PackedBytes(PixelFormat1bppIndexed, width);
  Bytes rows(row_bytes * height, 0xFF);
  for (UINT y = 0; y < height; ++y) {
    if (y % 50 > 30) continue;
    for (std::size_t x = row_bytes / 10; x < row_bytes * 9 / 10; ++x) {
      if (random() % 8 == 0) rows[y * row_bytes + x] = static_cast<std::uint8_t>(random());
    }
  }
  return MakeBitmap(width, height, PixelFormat1bppIndexed, rows);
}

/// What libtiff decodes of the first page, row by row, bits past a row's end being 0. Empty when it
/// cannot.
Bytes DecodedRows(const Bytes& file) {
  TiffMemory memory(file);
  const TiffPointer tiff = memory.Open("r");
  if (tiff == nullptr) return {};
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint16_t bits = 1;
  std::uint16_t samples = 1;
  TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width);
  TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height);
  TIFFGetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, &bits);
  TIFFGetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, &samples);
  const auto line_size = static_cast<std::size_t>(TIFFScanlineSize(tiff.get()));
  const unsigned used = width * bits * samples % 8;
  Bytes rows(line_size * height);
  for (std::uint32_t y = 0; y < height; ++y) {
    std::uint8_t* row = rows.data() + y * line_size;
    if (TIFFReadScanline(tiff.get(), row, y, 0) != 1) return {};
    if (used != 0) row[line_size - 1] &= static_cast<std::uint8_t>(0xFF00U >> used);
  }
  return rows;
}

std::uint32_t Value(const TiffFields& fields, std::uint16_t tag) {
  const auto field = fields.find(tag);
  return field != fields.end() ? field->second.values.at(0) : 99999;
}

class WrittenTiffTest : public testing::Test {
 protected:
  /// Writes to a file and to a stream, which must come to the same; the bytes.
  Bytes Write(Gdiplus::Bitmap& bitmap, PxtFileType type) {
    std::filesystem::remove(path_);  // to replace its contents would wait for the disk
    EXPECT_EQ(WriteTiffFile(&bitmap, type, path_.wstring().c_str()), 1);
    RecordingStream stream;
    EXPECT_EQ(WriteTiffStream(&bitmap, type, &stream), 1);
    EXPECT_EQ(stream.references, 1U);
    const Bytes file = ReadWholeFile(path_);
    EXPECT_TRUE(file == stream.bytes) << "the file and the stream differ";
    return file;
  }

  /// Neither way succeeds, and the bitmap is not left locked.
  void ExpectRefused(Gdiplus::Bitmap& bitmap, PxtFileType type) {
    EXPECT_EQ(WriteTiffFile(&bitmap, type, path_.wstring().c_str()), 0);
    RecordingStream stream;
    EXPECT_EQ(WriteTiffStream(&bitmap, type, &stream), 0);
    EXPECT_EQ(stream.references, 1U);
    ExpectUnlocked(bitmap);
  }

  static void ExpectUnlocked(Gdiplus::Bitmap& bitmap) {
    Gdiplus::BitmapData data{};
    ASSERT_EQ(bitmap.LockBits(nullptr, Gdiplus::ImageLockModeRead, bitmap.GetPixelFormat(), &data),
              Gdiplus::Ok);
    bitmap.UnlockBits(&data);
  }

  TemporaryFolder folder_;
  std::filesystem::path path_ = folder_ / "written.tif";
};

/// Rows of a strip: as many whole ones as 8 KiB hold, at least one.
std::uint32_t RowsPerStrip(UINT width) { return std::max(1U, 8192 / ((width + 7) / 8)); }

TEST_F(WrittenTiffTest, HoldsTheBitsOfBilevelImagesOfEverySize) {
  std::vector<std::pair<UINT, UINT>> sizes = {{1, 1},  {2, 3},   {7, 5},    {8, 8},   {9, 1},
                                              {15, 2}, {16, 16}, {17, 33},  {31, 9},  {32, 4},
                                              {33, 7}, {63, 2},  {64, 64},  {65, 3},  {100, 40},
                                              {1, 99}, {4, 500}, {2479, 3}, {8191, 2}};
  // Around the ends of strips: of many low rows, of some, of one, and of less than one.
  for (const UINT width : {3U, 800U, 2500U, 65536U, 65544U}) {
    const UINT rows = RowsPerStrip(width);
    for (const UINT height : {rows - 1, rows, rows + 1, 2 * rows, 2 * rows + 1}) {
      if (height > 0 && (width != 3 || height <= rows + 1)) sizes.emplace_back(width, height);
    }
  }
  for (const auto& [width, height] : sizes) {
    const BitmapPointer bitmap = RandomBitmap(width, height, PixelFormat1bppIndexed);
    ASSERT_NE(bitmap, nullptr);
    // Large ones with one palette only: they take long.
    const bool is_large = width * height > 20000;
    for (const Palette& palette : {kBlackFirst, kWhiteFirst}) {
      if (is_large && palette == kWhiteFirst) continue;
      bitmap->SetPalette(PaletteBlock(0, palette).get());
      for (const PxtFileType type : kTiffTypes) {
        const Bytes file = Write(*bitmap, type);
        EXPECT_TRUE(DecodedRows(file) == PixelsOf(*bitmap))
            << width << " x " << height << ", type " << type;
        EXPECT_EQ(Value(FieldsOf(file), TIFFTAG_ROWSPERSTRIP), RowsPerStrip(width));
      }
    }
  }
}

TEST_F(WrittenTiffTest, HoldsAWholePage) {
  const BitmapPointer bitmap = Page(2500, 3500);
  ASSERT_NE(bitmap, nullptr);
  for (const PxtFileType type : kTiffTypes) {
    EXPECT_TRUE(DecodedRows(Write(*bitmap, type)) == PixelsOf(*bitmap)) << type;
  }
}

TEST_F(WrittenTiffTest, HasTheseTagsAndNoOthers) {
  const std::set<std::uint16_t> tags = {
      TIFFTAG_IMAGEWIDTH,   TIFFTAG_IMAGELENGTH,     TIFFTAG_BITSPERSAMPLE, TIFFTAG_COMPRESSION,
      TIFFTAG_PHOTOMETRIC,  TIFFTAG_STRIPOFFSETS,    TIFFTAG_ORIENTATION,   TIFFTAG_SAMPLESPERPIXEL,
      TIFFTAG_ROWSPERSTRIP, TIFFTAG_STRIPBYTECOUNTS, TIFFTAG_XRESOLUTION,   TIFFTAG_YRESOLUTION,
      TIFFTAG_PLANARCONFIG};
  const BitmapPointer bitmap = RandomBitmap(801, 100, PixelFormat1bppIndexed);
  bitmap->SetResolution(300, 204.5F);
  const std::uint32_t compressions[] = {COMPRESSION_CCITTFAX3, COMPRESSION_CCITTFAX4,
                                        COMPRESSION_LZW, COMPRESSION_PACKBITS, COMPRESSION_NONE};
  for (std::size_t i = 0; i < 5; ++i) {
    const TiffFields fields = FieldsOf(Write(*bitmap, kTiffTypes[i]));
    std::set<std::uint16_t> written;
    for (const auto& [tag, field] : fields) written.insert(tag);
    EXPECT_EQ(written, tags) << kTiffTypes[i];
    EXPECT_EQ(Value(fields, TIFFTAG_IMAGEWIDTH), 801U);
    EXPECT_EQ(Value(fields, TIFFTAG_IMAGELENGTH), 100U);
    EXPECT_EQ(Value(fields, TIFFTAG_BITSPERSAMPLE), 1U);
    EXPECT_EQ(Value(fields, TIFFTAG_SAMPLESPERPIXEL), 1U);
    EXPECT_EQ(Value(fields, TIFFTAG_COMPRESSION), compressions[i]);
    EXPECT_EQ(Value(fields, TIFFTAG_PLANARCONFIG), 1U);
    EXPECT_EQ(Value(fields, TIFFTAG_ORIENTATION), 1U);
    EXPECT_EQ(Value(fields, TIFFTAG_ROWSPERSTRIP), 81U);  // of 101 bytes each
    EXPECT_EQ(fields.at(TIFFTAG_STRIPBYTECOUNTS).values.size(), 2U);
    const auto& x = fields.at(TIFFTAG_XRESOLUTION).values;
    const auto& y = fields.at(TIFFTAG_YRESOLUTION).values;
    EXPECT_EQ(x.at(0), 300 * x.at(1));
    EXPECT_EQ(y.at(0) * 10, 2045 * y.at(1));
  }
}

TEST_F(WrittenTiffTest, ShowsWhetherThePaletteBeginsWithBlack) {
  const std::vector<std::pair<Palette, std::uint32_t>> cases = {
      {kBlackFirst, PHOTOMETRIC_MINISBLACK},
      {{0xFF000000, 0xFF000000}, PHOTOMETRIC_MINISBLACK},
      {{0x00000000, 0xFFFFFFFF}, PHOTOMETRIC_MINISBLACK},  // alpha does not count
      {{0xFF000000}, PHOTOMETRIC_MINISBLACK},
      {kWhiteFirst, PHOTOMETRIC_MINISWHITE},
      {{0xFF000001, 0xFFFFFFFF}, PHOTOMETRIC_MINISWHITE},
      {{0xFFFF0000, 0xFF000000}, PHOTOMETRIC_MINISWHITE},
      {{0xFF7F7F7F, 0xFFFFFFFF}, PHOTOMETRIC_MINISWHITE}};
  for (const auto& [palette, photometric] : cases) {
    const BitmapPointer bitmap = RandomBitmap(24, 5, PixelFormat1bppIndexed);
    ASSERT_EQ(bitmap->SetPalette(PaletteBlock(0, palette).get()), Gdiplus::Ok);
    for (const PxtFileType type : kTiffTypes) {
      EXPECT_EQ(Value(FieldsOf(Write(*bitmap, type)), TIFFTAG_PHOTOMETRIC), photometric)
          << std::hex << palette[0];
    }
  }
}

TEST_F(WrittenTiffTest, FillsTheLastStripWithRowsOfTheOneBefore) {
  // 81 rows a strip: the second and the third strip hold 3 rows of the image.
  for (const UINT height : {84U, 165U}) {
    const BitmapPointer bitmap = RandomBitmap(800, height, PixelFormat1bppIndexed);
    Bytes expected = PixelsOf(*bitmap);
    const std::size_t missing = (243 - height) % 81 * 100;
    for (std::size_t i = 0; i < missing; ++i) expected.push_back(expected[expected.size() - 8100]);
    for (const PxtFileType type : kTiffTypes) {
      Bytes file = Write(*bitmap, type);
      // A file that tells of all rows that its strips hold.
      const std::size_t place = PlaceOfField(file, TIFFTAG_IMAGELENGTH);
      ASSERT_EQ(file.at(place), height);
      file[place] = static_cast<std::uint8_t>(expected.size() / 100);
      EXPECT_TRUE(DecodedRows(file) == expected) << height << ", type " << type;
    }
  }
}

TEST_F(WrittenTiffTest, WritesNoMoreRowsThanALowImageHas) {
  for (const UINT height : {1U, 3U, 81U}) {
    const Bytes file =
        Write(*RandomBitmap(800, height, PixelFormat1bppIndexed), PxtFileTypeTiffNone);
    EXPECT_EQ(FieldsOf(file).at(TIFFTAG_STRIPBYTECOUNTS).values,
              (std::vector<std::uint32_t>{100 * height}));
  }
}

TEST_F(WrittenTiffTest, KeepsIndexesAndRepeatsTheBytesOfTheirColours) {
  const std::pair<Gdiplus::PixelFormat, std::uint32_t> cases[] = {{PixelFormat4bppIndexed, 4},
                                                                  {PixelFormat8bppIndexed, 8}};
  for (const auto& [format, bits] : cases) {
    const std::uint32_t count = 1U << bits;
    Palette palette;
    std::vector<std::uint32_t> red, green, blue;
    for (std::uint32_t i = 0; i < count; ++i) {
      red.push_back(i * 257);
      green.push_back((255 - i) * 257);
      blue.push_back((i * 7 & 0xFF) * 257);
      palette.push_back(0xFF000000U | i << 16 | (255 - i) << 8 | (i * 7 & 0xFF));
    }
    std::vector<std::uint32_t> map = red;
    map.insert(map.end(), green.begin(), green.end());
    map.insert(map.end(), blue.begin(), blue.end());
    for (const auto& [width, height] : {std::pair{1U, 1U}, {7U, 3U}, {100U, 170U}}) {
      const BitmapPointer bitmap = RandomBitmap(width, height, format);
      ASSERT_EQ(bitmap->SetPalette(PaletteBlock(0, palette).get()), Gdiplus::Ok);
      for (const PxtFileType type : kDeepTypes) {
        const Bytes file = Write(*bitmap, type);
        const TiffFields fields = FieldsOf(file);
        EXPECT_EQ(Value(fields, TIFFTAG_PHOTOMETRIC), std::uint32_t{PHOTOMETRIC_PALETTE});
        EXPECT_EQ(Value(fields, TIFFTAG_BITSPERSAMPLE), bits);
        EXPECT_EQ(Value(fields, TIFFTAG_SAMPLESPERPIXEL), 1U);
        EXPECT_EQ(fields.at(TIFFTAG_COLORMAP).values, map);
        EXPECT_TRUE(DecodedRows(file) == PixelsOf(*bitmap)) << width << " x " << height;
      }
    }
  }
}

TEST_F(WrittenTiffTest, KeepsDeepPixelsAsTheyLieInMemory) {
  const std::pair<Gdiplus::PixelFormat, std::uint32_t> cases[] = {{PixelFormat24bppRGB, 3},
                                                                  {PixelFormat32bppRGB, 4},
                                                                  {PixelFormat32bppARGB, 4},
                                                                  {PixelFormat32bppPARGB, 4}};
  for (const auto& [format, samples] : cases) {
    for (const auto& [width, height] : {std::pair{1U, 1U}, {5U, 3U}, {33U, 170U}}) {
      const Bytes rows = RandomRows(width, height, format);
      const BitmapPointer bitmap = MakeBitmap(width, height, format, rows);
      for (const PxtFileType type : kDeepTypes) {
        const Bytes file = Write(*bitmap, type);
        const TiffFields fields = FieldsOf(file);
        EXPECT_EQ(Value(fields, TIFFTAG_PHOTOMETRIC), std::uint32_t{PHOTOMETRIC_RGB});
        EXPECT_EQ(Value(fields, TIFFTAG_SAMPLESPERPIXEL), samples);
        EXPECT_EQ(fields.at(TIFFTAG_BITSPERSAMPLE).values, std::vector<std::uint32_t>(samples, 8));
        EXPECT_EQ(fields.count(TIFFTAG_EXTRASAMPLES), 0U);
        EXPECT_EQ(fields.count(TIFFTAG_PREDICTOR), 0U);
        EXPECT_TRUE(DecodedRows(file) == rows) << format << ' ' << width << " x " << height;
      }
    }
  }
}

TEST_F(WrittenTiffTest, DoesNotComeOfDeepPixelsWithFaxCompression) {
  // libtiff refuses the first strip.
  for (const Gdiplus::PixelFormat format : {PixelFormat4bppIndexed, PixelFormat8bppIndexed,
                                            PixelFormat24bppRGB, PixelFormat32bppARGB}) {
    const BitmapPointer bitmap = RandomBitmap(16, 16, format);
    ExpectRefused(*bitmap, PxtFileTypeTiffGroup3);
    ExpectRefused(*bitmap, PxtFileTypeTiffGroup4);
  }
}

TEST_F(WrittenTiffTest, DoesNotComeOfFormatsWithoutASampleLayout) {
  for (const Gdiplus::PixelFormat format :
       {PixelFormat16bppRGB555, PixelFormat16bppRGB565, PixelFormat16bppARGB1555,
        PixelFormat48bppRGB, PixelFormat64bppARGB, PixelFormat64bppPARGB}) {
    Gdiplus::Bitmap bitmap(4, 4, format);
    ASSERT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
    for (const PxtFileType type : kTiffTypes) {
      EXPECT_EQ(WriteTiffFile(&bitmap, type, path_.wstring().c_str()), 0);
      RecordingStream stream;
      EXPECT_EQ(WriteTiffStream(&bitmap, type, &stream), 0);
    }
  }
}

TEST_F(WrittenTiffTest, HasTheTopRowOfBottomUpImagesFirst) {
  Bytes rows = RandomRows(64, 1200, PixelFormat1bppIndexed);
  Gdiplus::Bitmap bitmap(64, 1200, -8, PixelFormat1bppIndexed, rows.data() + 8 * 1199);
  ASSERT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
  Bytes expected;
  for (std::size_t y = 1200; y-- > 0;) {
    const auto row = rows.begin() + static_cast<std::ptrdiff_t>(8 * y);
    expected.insert(expected.end(), row, row + 8);
  }
  for (const PxtFileType type : kTiffTypes) {
    EXPECT_TRUE(DecodedRows(Write(bitmap, type)) == expected) << type;
  }
}

TEST_F(WrittenTiffTest, LeavesThePaddingOfRowsOut) {
  Bytes rows = RandomRows(32 * 8, 700, PixelFormat1bppIndexed);  // 17 pixels and much padding
  Gdiplus::Bitmap bitmap(17, 700, 32, PixelFormat1bppIndexed, rows.data());
  ASSERT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
  Bytes expected;
  for (std::size_t y = 0; y < 700; ++y) {
    expected.insert(expected.end(), {rows[32 * y], rows[32 * y + 1],
                                     static_cast<std::uint8_t>(rows[32 * y + 2] & 0x80)});
  }
  for (const PxtFileType type : kTiffTypes) {
    EXPECT_TRUE(DecodedRows(Write(bitmap, type)) == expected) << type;
  }
}

TEST_F(WrittenTiffTest, ReplacesALongerFile) {
  const BitmapPointer bitmap = RandomBitmap(32, 8, PixelFormat1bppIndexed);
  const Bytes expected = Write(*bitmap, PxtFileTypeTiffNone);
  WriteWholeFile(path_, Bytes(10000, 0x77));
  ASSERT_EQ(WriteTiffFile(bitmap.get(), PxtFileTypeTiffNone, path_.wstring().c_str()), 1);
  EXPECT_EQ(ReadWholeFile(path_), expected);
}

TEST_F(WrittenTiffTest, BeginsAtTheStartOfAStreamThatIsNotEmpty) {
  const BitmapPointer bitmap = RandomBitmap(32, 8, PixelFormat1bppIndexed);
  for (const std::uint64_t position : {0U, 100U, 1000U}) {
    RecordingStream stream(Bytes(1000, 0x77));
    stream.position = position;
    ASSERT_EQ(WriteTiffStream(bitmap.get(), PxtFileTypeTiffGroup4, &stream), 1);
    EXPECT_EQ(DecodedRows(stream.bytes), PixelsOf(*bitmap));
  }
}

TEST_F(WrittenTiffTest, FailsWhereAStripCannotBeWritten) {
  // Three strips without compression: an 8-byte header, the strips, then the directory, whose
  // failure is not seen.
  const BitmapPointer bitmap = RandomBitmap(800, 200, PixelFormat1bppIndexed);
  const std::size_t strips_end = 8 + 3 * 8100;
  RecordingStream whole;
  ASSERT_EQ(WriteTiffStream(bitmap.get(), PxtFileTypeTiffNone, &whole), 1);
  ASSERT_GT(whole.bytes.size(), strips_end);
  for (const std::size_t capacity :
       {std::size_t{0}, std::size_t{7}, std::size_t{8}, std::size_t{8107}, std::size_t{8108},
        strips_end - 1, strips_end, strips_end + 1, whole.bytes.size() - 1}) {
    RecordingStream stream;
    stream.capacity = capacity;
    EXPECT_EQ(WriteTiffStream(bitmap.get(), PxtFileTypeTiffNone, &stream),
              capacity >= strips_end ? 1 : 0)
        << capacity;
    EXPECT_EQ(stream.references, 1U);
    ExpectUnlocked(*bitmap);
  }
}

TEST_F(WrittenTiffTest, SurvivesEveryFailureOfAStream) {
  const BitmapPointer bitmap = RandomBitmap(800, 200, PixelFormat1bppIndexed);
  for (const PxtFileType type : {PxtFileTypeTiffGroup4, PxtFileTypeTiffNone}) {
    for (const StreamCall call :
         {StreamCall::kRead, StreamCall::kWrite, StreamCall::kSeek, StreamCall::kStat}) {
      bool has_failed = true;
      for (int failing = 1; has_failed; ++failing) {
        RecordingStream stream;
        int calls = 0;
        stream.fails = [&](const StreamRecord& record) {
          return record.call == call && ++calls == failing;
        };
        const int result = WriteTiffStream(bitmap.get(), type, &stream);
        has_failed = calls >= failing;
        EXPECT_TRUE(result == 0 || result == 1);
        EXPECT_TRUE(has_failed || result == 1);
        EXPECT_EQ(stream.references, 1U);
        ExpectUnlocked(*bitmap);
      }
    }
  }
}

TEST_F(WrittenTiffTest, SurvivesStreamsThatTakeOnlyAPartOfEachWrite) {
  const BitmapPointer bitmap = RandomBitmap(800, 200, PixelFormat1bppIndexed);
  RecordingStream stream;
  stream.most_at_once = 100;
  EXPECT_EQ(WriteTiffStream(bitmap.get(), PxtFileTypeTiffNone, &stream), 0);
  EXPECT_EQ(stream.references, 1U);
  ExpectUnlocked(*bitmap);
}

TEST_F(WrittenTiffTest, RecordsALockThatFails) {
  const BitmapPointer bitmap = RandomBitmap(8, 8, PixelFormat1bppIndexed);
  const HoldLock lock(*bitmap);
  RecordingStream stream;
  EXPECT_EQ(WriteTiffStream(bitmap.get(), PxtFileTypeTiffGroup4, &stream), 0);
  EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::WrongState);
  EXPECT_EQ(stream.references, 1U);
}

TEST_F(WrittenTiffTest, NeedsABitmapAStreamAndACompression) {
  const BitmapPointer bitmap = RandomBitmap(8, 8, PixelFormat1bppIndexed);
  EXPECT_EQ(WriteTiffStream(bitmap.get(), PxtFileTypeTiffGroup4, nullptr), 0);
  EXPECT_EQ(WriteTiffStream(nullptr, PxtFileTypeTiffGroup4, nullptr), 0);
  RecordingStream stream;
  EXPECT_EQ(WriteTiffStream(nullptr, PxtFileTypeTiffGroup4, &stream), 0);
  for (const int type : {-1, 0, 1, 2, 3, 4, 10, 11, 12, 0x7FFFFFFF}) {
    EXPECT_EQ(WriteTiffStream(bitmap.get(), static_cast<PxtFileType>(type), &stream), 0) << type;
  }
  EXPECT_EQ(stream.references, 1U);
  EXPECT_TRUE(stream.bytes.empty());
}

}  // namespace
}  // namespace pixtola::test
