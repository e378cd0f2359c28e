// Saving into streams, which gives the same as saving into files.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "support/memory_streams.h"
#include "support/platform_expectations.h"
#include "support/sample_images.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"
#include "support/tiff_file.h"

namespace pixtola::test {
namespace {

/// All but PCX.
constexpr PxtFileType kStreamTypes[] = {
    PxtFileTypeBmp,        PxtFileTypeGif,        PxtFileTypeJpeg,    PxtFileTypePng,
    PxtFileTypeTiffGroup3, PxtFileTypeTiffGroup4, PxtFileTypeTiffLzw, PxtFileTypeTiffRunLength,
    PxtFileTypeTiffNone,   PxtFileTypeJpegLow,    PxtFileTypeJpegHigh};

/// Codes that are none.
constexpr int kUnknownTypes[] = {
    12, 13, 255, 256, -1, -12, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()};

constexpr Gdiplus::PixelFormat kFormats[] = {
    PixelFormat1bppIndexed, PixelFormat4bppIndexed, PixelFormat8bppIndexed,
    PixelFormat16bppRGB555, PixelFormat16bppRGB565, PixelFormat24bppRGB,
    PixelFormat32bppRGB,    PixelFormat32bppARGB,   PixelFormat32bppPARGB};

/// Whether the platform under test is known to write nothing of use.
bool IsKnownToFail(PxtFileType type, Gdiplus::PixelFormat format) {
  return kGifEncoderKnows8BitsOnly && type == PxtFileTypeGif && format != PixelFormat8bppIndexed;
}

StreamPointer Save(Gdiplus::Bitmap& bitmap, PxtFileType type) {
  StreamPointer stream;
  const int result = PxtSaveBitmapToStream(&bitmap, Receive(stream), type);
  EXPECT_EQ(result, stream != nullptr ? 1 : 0);
  return stream;
}

class PxtSaveBitmapToStreamTest : public testing::Test {
 protected:
  int SaveFile(Gdiplus::Bitmap& bitmap, PxtFileType type) {
    return PxtSaveBitmapToFile(&bitmap, type, path_.wstring().c_str());
  }
  /// A tag of the TIFF in a stream, as libtiff finds it in a file of the same bytes.
  unsigned TagOf(IStream& stream, std::uint32_t tag) {
    std::filesystem::remove(path_);
    WriteWholeFile(path_, BytesOf(stream));
    return ShortTag(path_, tag, kTagIsAbsent);
  }
  /// Expects a call to fail and to leave its argument alone.
  void ExpectNoStream(Gdiplus::Bitmap& bitmap, int type) {
    IStream* stream = UntouchedStream();
    EXPECT_EQ(PxtSaveBitmapToStream(&bitmap, &stream, static_cast<PxtFileType>(type)), 0) << type;
    EXPECT_EQ(stream, UntouchedStream()) << type;
  }

  TemporaryFolder folder_;
  std::filesystem::path path_ = folder_ / "saved";
};

TEST_F(PxtSaveBitmapToStreamTest, WritesTheBytesThatAFileGets) {
  for (const auto format : kFormats) {
    const BitmapPointer bitmap = SampleBitmap(format, 40, 21);
    ASSERT_NE(bitmap, nullptr);
    for (const PxtFileType type : kStreamTypes) {
      if (IsKnownToFail(type, format)) continue;
      SCOPED_TRACE(testing::Message() << std::hex << format << " as " << type);
      std::filesystem::remove(path_);
      ASSERT_EQ(SaveFile(*bitmap, type), 1);
      const Bytes file = ReadWholeFile(path_);
      const StreamPointer stream = Save(*bitmap, type);
      ASSERT_NE(stream, nullptr);
      EXPECT_EQ(SizeOf(*stream), file.size());
      EXPECT_TRUE(BytesOf(*stream) == file);
      EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::Ok);
    }
  }
}

/// Leaves blocks of memory that was in use where the next ones are likely to come from.
void UseMemory() {
  std::vector<HGLOBAL> blocks;
  for (SIZE_T size = 16; size <= 16384; size += size / 2) {
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, size);
    ASSERT_NE(block, nullptr);
    std::memset(GlobalLock(block), 0xA5, size);
    GlobalUnlock(block);
    blocks.push_back(block);
  }
  for (const HGLOBAL block : blocks) GlobalFree(block);
}

// libtiff puts directories at even places: when the pixels end at an odd one it skips a byte.
TEST_F(PxtSaveBitmapToStreamTest, WritesTheBytesOfTheFileForEveryLengthOfTiff) {
  std::uint64_t skipped_bytes = 0;
  for (UINT height = 1; height <= 48; ++height) {
    const BitmapPointer bitmap = SampleBitmap(PixelFormat1bppIndexed, 40 + height % 3 * 8, height);
    for (const PxtFileType type : {PxtFileTypeTiffGroup3, PxtFileTypeTiffGroup4, PxtFileTypeTiffLzw,
                                   PxtFileTypeTiffRunLength, PxtFileTypeTiffNone}) {
      std::filesystem::remove(path_);
      ASSERT_EQ(SaveFile(*bitmap, type), 1);
      const Bytes file = ReadWholeFile(path_);
      UseMemory();
      const StreamPointer stream = Save(*bitmap, type);
      ASSERT_NE(stream, nullptr);
      EXPECT_TRUE(BytesOf(*stream) == file) << height << " rows as " << type;
      skipped_bytes += TIFFGetStrileByteCount(OpenTiff(path_, "r").get(), 0) % 2;
    }
  }
  EXPECT_GE(skipped_bytes, 20U);
}

TEST_F(PxtSaveBitmapToStreamTest, GivesAMemoryStreamWithOneReference) {
  const BitmapPointer bitmap = SampleBitmap(PixelFormat8bppIndexed, 40, 21);
  for (const PxtFileType type : kStreamTypes) {
    const StreamPointer stream = Save(*bitmap, type);
    ASSERT_NE(stream, nullptr) << type;
    EXPECT_EQ(ReferencesTo(*stream), 1U) << type;
    HGLOBAL block = nullptr;
    ASSERT_EQ(GetHGlobalFromStream(stream.get(), &block), S_OK) << type;
    EXPECT_GE(GlobalSize(block), SizeOf(*stream)) << type;
  }
}

TEST_F(PxtSaveBitmapToStreamTest, CutsTheStreamToWhatWasWritten) {
  // One pixel takes less than the 4,096 bytes that a stream starts with, noise as PNG more than the
  // estimate, a flat image as PNG much less.
  const BitmapPointer dot = SampleBitmap(PixelFormat24bppRGB, 1, 1);
  const StreamPointer bmp = Save(*dot, PxtFileTypeBmp);
  ASSERT_NE(bmp, nullptr);
  EXPECT_EQ(SizeOf(*bmp), 54U + 4U);
  const Bytes png = BytesOf(*Save(*dot, PxtFileTypePng));
  ASSERT_GT(png.size(), 8U);
  EXPECT_LT(png.size(), 4096U);
  EXPECT_EQ(Bytes(png.end() - 8, png.end() - 4), (Bytes{'I', 'E', 'N', 'D'}));
  const Bytes flat = BytesOf(
      *Save(*MakeBitmap(200, 200, PixelFormat24bppRGB, Bytes(200 * 200 * 3, 9)), PxtFileTypePng));
  EXPECT_LT(flat.size(), 4096U);
  EXPECT_EQ(Bytes(flat.end() - 8, flat.end() - 4), (Bytes{'I', 'E', 'N', 'D'}));
  const Bytes noise = BytesOf(*Save(*SampleBitmap(PixelFormat24bppRGB, 200, 200), PxtFileTypePng));
  EXPECT_GT(noise.size(), 200U * 200 * 3);
  EXPECT_EQ(Bytes(noise.end() - 8, noise.end() - 4), (Bytes{'I', 'E', 'N', 'D'}));
}

TEST_F(PxtSaveBitmapToStreamTest, OutlivesTheBitmap) {
  BitmapPointer bitmap = SampleBitmap(PixelFormat24bppRGB, 5, 4);
  const Bytes pixels = PixelsOf(*bitmap);
  const StreamPointer stream = Save(*bitmap, PxtFileTypePng);
  ASSERT_NE(stream, nullptr);
  bitmap.reset();
  BitmapPointer extracted;
  ASSERT_EQ(PxtExtractBitmap(stream.get(), Receive(extracted)), 1);
  EXPECT_EQ(PixelsOf(*extracted), pixels);
}

TEST_F(PxtSaveBitmapToStreamTest, LeavesTheBitmapAsItIs) {
  for (const auto format : kFormats) {
    const BitmapPointer bitmap = SampleBitmap(format, 16, 4);
    const Bytes pixels = PixelsOf(*bitmap);
    for (const PxtFileType type : kStreamTypes) {
      if (IsKnownToFail(type, format)) continue;
      Save(*bitmap, type);
      ASSERT_EQ(PixelsOf(*bitmap), pixels) << type;
      EXPECT_EQ(bitmap->GetPixelFormat(), format);
      EXPECT_FLOAT_EQ(bitmap->GetHorizontalResolution(), kSampleDpiX);
    }
  }
}

TEST_F(PxtSaveBitmapToStreamTest, MakesFaxAndRunLengthImagesBilevel) {
  const BitmapPointer bitmap = SampleBitmap(PixelFormat24bppRGB, 40, 21);
  struct Example {
    PxtFileType type;
    PxtConversionMethod method;
    unsigned compression;
  };
  for (const auto& [type, method, compression] :
       {Example{PxtFileTypeTiffGroup3, MethodBilevelDiffusion, COMPRESSION_CCITTFAX3},
        Example{PxtFileTypeTiffGroup4, MethodBilevelDiffusion, COMPRESSION_CCITTFAX4},
        Example{PxtFileTypeTiffRunLength, MethodBilevelOtsu, COMPRESSION_PACKBITS}}) {
    const StreamPointer stream = Save(*bitmap, type);
    ASSERT_NE(stream, nullptr) << type;
    EXPECT_EQ(TagOf(*stream, TIFFTAG_COMPRESSION), compression);
    EXPECT_EQ(TagOf(*stream, TIFFTAG_BITSPERSAMPLE), 1U);
    // libtiff wrote it: the platform's encoder would have told a resolution unit.
    EXPECT_EQ(TagOf(*stream, TIFFTAG_RESOLUTIONUNIT), kTagIsAbsent);
    BitmapPointer converted;
    ASSERT_EQ(PxtBitmapToBitmap(method, *bitmap, Receive(converted)), 1);
    BitmapPointer extracted;
    ASSERT_EQ(PxtExtractBitmap(stream.get(), Receive(extracted)), 1);
    EXPECT_EQ(extracted->GetPixelFormat(), PixelFormat1bppIndexed);
    EXPECT_EQ(PixelsOf(*extracted), PixelsOf(*converted));
  }
}

TEST_F(PxtSaveBitmapToStreamTest, WritesBilevelTiffWithLibtiffAndDeeperOnesWithThePlatform) {
  const BitmapPointer bilevel = SampleBitmap(PixelFormat1bppIndexed, 40, 21);
  const unsigned compressions[] = {COMPRESSION_CCITTFAX3, COMPRESSION_CCITTFAX4, COMPRESSION_LZW,
                                   COMPRESSION_PACKBITS, COMPRESSION_NONE};
  for (const int type : {5, 6, 7, 8, 9}) {
    const StreamPointer stream = Save(*bilevel, static_cast<PxtFileType>(type));
    ASSERT_NE(stream, nullptr) << type;
    EXPECT_EQ(TagOf(*stream, TIFFTAG_COMPRESSION), compressions[type - 5]) << type;
    EXPECT_EQ(TagOf(*stream, TIFFTAG_RESOLUTIONUNIT), kTagIsAbsent) << type;
  }
  for (const auto format : {PixelFormat8bppIndexed, PixelFormat24bppRGB, PixelFormat32bppARGB}) {
    const BitmapPointer deep = SampleBitmap(format, 40, 21);
    for (const PxtFileType type : {PxtFileTypeTiffLzw, PxtFileTypeTiffNone}) {
      const StreamPointer stream = Save(*deep, type);
      ASSERT_NE(stream, nullptr) << type;
      EXPECT_EQ(TagOf(*stream, TIFFTAG_RESOLUTIONUNIT), unsigned{RESUNIT_INCH}) << type;
      EXPECT_EQ(TagOf(*stream, TIFFTAG_BITSPERSAMPLE), 8U) << type;
      if (kTiffEncoderIgnoresCompression) continue;
      EXPECT_EQ(TagOf(*stream, TIFFTAG_COMPRESSION), type == PxtFileTypeTiffLzw
                                                         ? unsigned{COMPRESSION_LZW}
                                                         : unsigned{COMPRESSION_NONE});
    }
  }
}

/// The first entry of the first quantisation table of a JPEG stream.
unsigned FirstQuantum(const Bytes& jpeg) {
  const std::uint8_t marker[] = {0xFF, 0xDB};
  const auto table = std::search(jpeg.begin(), jpeg.end(), marker, marker + 2);
  return jpeg.end() - table > 5 ? table[5] : 0U;
}

TEST_F(PxtSaveBitmapToStreamTest, WritesJpegInThreeQualities) {
  if (kJpegEncoderIgnoresQuality) GTEST_SKIP() << "the quality is not used";
  const BitmapPointer bitmap = SampleBitmap(PixelFormat24bppRGB, 64, 64);
  const Bytes middle = BytesOf(*Save(*bitmap, PxtFileTypeJpeg));
  const Bytes low = BytesOf(*Save(*bitmap, PxtFileTypeJpegLow));
  const Bytes high = BytesOf(*Save(*bitmap, PxtFileTypeJpegHigh));
  EXPECT_LT(low.size(), middle.size());
  EXPECT_LT(middle.size(), high.size());
  // The standard's 16, scaled by 200 - 2 q per cent from quality 50 on and 5000 / q below, rounded:
  // 30 per cent of quality 85, 142 of 35, 6 of 97.
  EXPECT_EQ(FirstQuantum(middle), 5U);
  EXPECT_EQ(FirstQuantum(low), 23U);
  EXPECT_EQ(FirstQuantum(high), 1U);
}

TEST_F(PxtSaveBitmapToStreamTest, KnowsNoPcx) {
  for (const auto format : kFormats) ExpectNoStream(*SampleBitmap(format, 16, 4), PxtFileTypePcx);
}

TEST_F(PxtSaveBitmapToStreamTest, RefusesCodesThatAreNone) {
  const BitmapPointer deep = SampleBitmap(PixelFormat24bppRGB, 16, 4);
  const BitmapPointer bilevel = SampleBitmap(PixelFormat1bppIndexed, 16, 4);
  for (const int type : kUnknownTypes) {
    ExpectNoStream(*deep, type);
    ExpectNoStream(*bilevel, type);
  }
}

TEST_F(PxtSaveBitmapToStreamTest, FailsWithTheLocksStatusWhenTheConversionCannotRead) {
  const BitmapPointer bitmap = SampleBitmap(PixelFormat24bppRGB, 16, 4);
  for (const int type : {5, 6, 8}) {
    const HoldLock lock(*bitmap);
    ExpectNoStream(*bitmap, type);
    EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::WrongState) << type;
  }
  EXPECT_NE(Save(*bitmap, PxtFileTypeTiffGroup4), nullptr);
}

TEST_F(PxtSaveBitmapToStreamTest, RecordsAFailedLockOfABilevelBitmap) {
  // Whether the platform's encoder then can do with a locked bitmap is its business. If it can, the
  // stream holds its image and nothing of what was tried before.
  const BitmapPointer bitmap = SampleBitmap(PixelFormat1bppIndexed, 16, 4);
  for (const int type : {5, 6, 7, 8, 9}) {
    const HoldLock lock(*bitmap);
    StreamPointer stream;
    const int result =
        PxtSaveBitmapToStream(bitmap.get(), Receive(stream), static_cast<PxtFileType>(type));
    EXPECT_EQ(result, stream != nullptr ? 1 : 0);
    EXPECT_NE(bitmap->GetLastStatus(), Gdiplus::Ok) << type;
    if (stream == nullptr) continue;
    BitmapPointer extracted;
    ASSERT_EQ(PxtExtractBitmap(stream.get(), Receive(extracted)), 1) << type;
    EXPECT_EQ(extracted->GetWidth(), 16U);
    EXPECT_EQ(extracted->GetHeight(), 4U);
  }
}

TEST_F(PxtSaveBitmapToStreamTest, RecordsThePlatformsFailure) {
  if (kGrayOf16BitsIsNotRefused) GTEST_SKIP() << "Wine encodes it or says otherwise";
  Bytes row(8);
  Gdiplus::Bitmap bitmap(4, 1, 8, PixelFormat16bppGrayScale, row.data());
  ASSERT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
  for (const PxtFileType type : kStreamTypes) {
    ExpectNoStream(bitmap, type);
    EXPECT_NE(bitmap.GetLastStatus(), Gdiplus::Ok) << type;
  }
}

TEST_F(PxtSaveBitmapToStreamTest, FailsForBitmapsThatHoldNoImage) {
  Gdiplus::Bitmap none(0, 0, PixelFormat24bppRGB);
  for (int type = 0; type < 12; ++type) ExpectNoStream(none, type);
}

TEST_F(PxtSaveBitmapToStreamTest, RefusesNullArguments) {
  const BitmapPointer bitmap = SampleBitmap(PixelFormat24bppRGB, 16, 4);
  IStream* stream = UntouchedStream();
  EXPECT_EQ(PxtSaveBitmapToStream(nullptr, &stream, PxtFileTypePng), 0);
  EXPECT_EQ(stream, UntouchedStream());
  EXPECT_EQ(PxtSaveBitmapToStream(bitmap.get(), nullptr, PxtFileTypePng), 0);
}

TEST_F(PxtSaveBitmapToStreamTest, TouchesNoFileForCodesThatAreNone) {
  const BitmapPointer bitmap = SampleBitmap(PixelFormat1bppIndexed, 16, 4);
  for (const int type : kUnknownTypes) {
    EXPECT_EQ(SaveFile(*bitmap, static_cast<PxtFileType>(type)), 0) << type;
    EXPECT_TRUE(folder_.is_empty()) << type;
  }
  WriteWholeFile(path_, {1, 2, 3});
  for (const int type : kUnknownTypes) {
    EXPECT_EQ(SaveFile(*bitmap, static_cast<PxtFileType>(type)), 0) << type;
    EXPECT_EQ(ReadWholeFile(path_), (Bytes{1, 2, 3})) << type;
  }
}

TEST_F(PxtSaveBitmapToStreamTest, ReplacesLongerFiles) {
  const BitmapPointer bitmap = SampleBitmap(PixelFormat8bppIndexed, 16, 4);
  for (int type = 0; type < 12; ++type) {
    std::filesystem::remove(path_);
    ASSERT_EQ(SaveFile(*bitmap, static_cast<PxtFileType>(type)), 1) << type;
    const Bytes fresh = ReadWholeFile(path_);
    WriteWholeFile(path_, Bytes(fresh.size() + 100'000, 0x55));
    ASSERT_EQ(SaveFile(*bitmap, static_cast<PxtFileType>(type)), 1) << type;
    EXPECT_TRUE(ReadWholeFile(path_) == fresh) << type;
  }
}

}  // namespace
}  // namespace pixtola::test
