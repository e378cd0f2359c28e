// From streams to files and to other streams: the same as doing the steps one by one.

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

#include "support/memory_streams.h"
#include "support/platform_expectations.h"
#include "support/sample_images.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"
#include "support/test_formats.h"
#include "support/tiff_file.h"

namespace pixtola::test {
namespace {

constexpr int kUnknownTypes[] = {12, 13, -1, std::numeric_limits<int>::max(),
                                 std::numeric_limits<int>::min()};

PxtFileType Type(int code) { return static_cast<PxtFileType>(code); }

struct Input {
  const char* name;
  PxtFileType type;
  Gdiplus::PixelFormat source;
};
constexpr Input kInputs[] = {{"colour PNG", PxtFileTypePng, PixelFormat24bppRGB},
                             {"indexed BMP", PxtFileTypeBmp, PixelFormat8bppIndexed},
                             {"group 4 TIFF", PxtFileTypeTiffGroup4, PixelFormat1bppIndexed},
                             {"colour TIFF", PxtFileTypeTiffLzw, PixelFormat24bppRGB}};

StreamPointer Encoded(const Input& input) {
  const BitmapPointer bitmap = SampleBitmap(input.source, 40, 21);
  StreamPointer stream;
  EXPECT_EQ(PxtSaveBitmapToStream(bitmap.get(), Receive(stream), input.type), 1);
  return stream;
}

BitmapPointer Extract(IStream& stream) {
  BitmapPointer bitmap;
  EXPECT_EQ(PxtExtractBitmap(&stream, Receive(bitmap)), 1);
  return bitmap;
}

/// Whether the platform under test is known to write nothing of use.
bool IsKnownToFail(int type, Gdiplus::Bitmap& bitmap) {
  return kGifEncoderKnows8BitsOnly && type == PxtFileTypeGif &&
         bitmap.GetPixelFormat() != PixelFormat8bppIndexed;
}

class StreamConversion : public testing::Test {
 protected:
  int ToFile(IStream* stream, int type) {
    return PxtSaveStreamToFile(stream, Type(type), path_.wstring().c_str());
  }
  /// The bytes of the file that a bitmap is saved to.
  Bytes FileOf(Gdiplus::Bitmap& bitmap, int type) {
    const auto path = folder_ / "expected";
    EXPECT_EQ(PxtSaveBitmapToFile(&bitmap, Type(type), path.wstring().c_str()), 1);
    const Bytes bytes = ReadWholeFile(path);
    std::filesystem::remove(path);
    return bytes;
  }

  TemporaryFolder folder_;
  std::filesystem::path path_ = folder_ / "saved";
};

class PxtSaveStreamToFileTest : public StreamConversion {};

TEST_F(PxtSaveStreamToFileTest, SavesWhatTheStreamHolds) {
  for (const Input& input : kInputs) {
    const StreamPointer stream = Encoded(input);
    ASSERT_NE(stream, nullptr);
    const BitmapPointer bitmap = Extract(*stream);
    ASSERT_NE(bitmap, nullptr);
    for (int type = 0; type < 12; ++type) {
      if (IsKnownToFail(type, *bitmap)) continue;
      SCOPED_TRACE(testing::Message() << input.name << " as " << type);
      SeekTo(*stream, static_cast<std::uint64_t>(type) * 10);
      std::filesystem::remove(path_);
      ASSERT_EQ(ToFile(stream.get(), type), 1);
      EXPECT_TRUE(ReadWholeFile(path_) == FileOf(*bitmap, type));
    }
  }
}

TEST_F(PxtSaveStreamToFileTest, WritesPcx) {
  const BitmapPointer bitmap = SampleBitmap(PixelFormat24bppRGB, 40, 21);
  const StreamPointer stream = Encoded(kInputs[0]);
  ASSERT_EQ(ToFile(stream.get(), PxtFileTypePcx), 1);
  const Bytes file = ReadWholeFile(path_);
  ASSERT_GT(file.size(), 128U);
  EXPECT_EQ(Bytes(file.begin(), file.begin() + 4), (Bytes{10, 5, 1, 8}));
  BitmapPointer opened;
  ASSERT_EQ(PxtOpenImageFile(path_.wstring().c_str(), Receive(opened)), 1);
  EXPECT_EQ(PixelsOf(*opened, PixelFormat24bppRGB), PixelsOf(*bitmap));
}

TEST_F(PxtSaveStreamToFileTest, TouchesNothingForCodesThatAreNone) {
  const StreamPointer stream = Encoded(kInputs[0]);
  for (const int type : kUnknownTypes) EXPECT_EQ(ToFile(stream.get(), type), 0) << type;
  EXPECT_TRUE(folder_.is_empty());
}

TEST_F(PxtSaveStreamToFileTest, TouchesNothingForStreamsWithoutAnImage) {
  WriteWholeFile(path_, {1, 2, 3});
  for (const Bytes& content : {Bytes{}, Bytes{'h', 'e', 'l', 'l', 'o'}, Bytes(1000, 0)}) {
    for (int type = 0; type < 12; ++type) {
      EXPECT_EQ(ToFile(StreamOf(content).get(), type), 0);
    }
  }
  EXPECT_EQ(ReadWholeFile(path_), (Bytes{1, 2, 3}));
}

TEST_F(PxtSaveStreamToFileTest, FailsForFoldersThatAreNotThere) {
  const StreamPointer stream = Encoded(kInputs[0]);
  for (int type = 0; type < 12; ++type) {
    EXPECT_EQ(PxtSaveStreamToFile(stream.get(), Type(type),
                                  (folder_ / "missing" / "saved").wstring().c_str()),
              0)
        << type;
  }
}

TEST_F(PxtSaveStreamToFileTest, LeavesTheStreamToItsOwner) {
  const StreamPointer stream = Encoded(kInputs[0]);
  const Bytes before = BytesOf(*stream);
  ASSERT_EQ(ToFile(stream.get(), PxtFileTypeTiffGroup3), 1);
  EXPECT_EQ(ReferencesTo(*stream), 1U);
  EXPECT_TRUE(BytesOf(*stream) == before);
}

TEST_F(PxtSaveStreamToFileTest, RefusesNullArguments) {
  EXPECT_EQ(ToFile(nullptr, PxtFileTypePng), 0);
  EXPECT_EQ(PxtSaveStreamToFile(Encoded(kInputs[0]).get(), PxtFileTypePng, nullptr), 0);
  EXPECT_TRUE(folder_.is_empty());
}

class PxtSaveStreamToStreamTest : public StreamConversion {};

TEST_F(PxtSaveStreamToStreamTest, SavesWhatTheStreamHolds) {
  for (const Input& input : kInputs) {
    const StreamPointer stream = Encoded(input);
    ASSERT_NE(stream, nullptr);
    const BitmapPointer bitmap = Extract(*stream);
    ASSERT_NE(bitmap, nullptr);
    for (int type = 0; type < 12; ++type) {
      if (type == PxtFileTypePcx || IsKnownToFail(type, *bitmap)) continue;
      SCOPED_TRACE(testing::Message() << input.name << " as " << type);
      SeekTo(*stream, static_cast<std::uint64_t>(type) * 10);
      StreamPointer result;
      ASSERT_EQ(PxtSaveStreamToStream(stream.get(), Receive(result), Type(type)), 1);
      ASSERT_NE(result, nullptr);
      EXPECT_NE(result.get(), stream.get());
      EXPECT_TRUE(BytesOf(*result) == FileOf(*bitmap, type));
      EXPECT_EQ(ReferencesTo(*result), 1U);
      EXPECT_EQ(ReferencesTo(*stream), 1U);
    }
  }
}

void ExpectNotSaved(IStream* stream, int type) {
  IStream* result = UntouchedStream();
  EXPECT_EQ(PxtSaveStreamToStream(stream, &result, Type(type)), 0) << type;
  EXPECT_EQ(result, UntouchedStream()) << type;
}

TEST_F(PxtSaveStreamToStreamTest, LeavesTheArgumentOnFailure) {
  const StreamPointer stream = Encoded(kInputs[0]);
  ExpectNotSaved(stream.get(), PxtFileTypePcx);
  for (const int type : kUnknownTypes) ExpectNotSaved(stream.get(), type);
  for (const Bytes& content : {Bytes{}, Bytes{'h', 'e', 'l', 'l', 'o'}, Bytes(1000, 0)}) {
    ExpectNotSaved(StreamOf(content).get(), PxtFileTypePng);
  }
  ExpectNotSaved(nullptr, PxtFileTypePng);
  EXPECT_EQ(PxtSaveStreamToStream(stream.get(), nullptr, PxtFileTypePng), 0);
  EXPECT_EQ(ReferencesTo(*stream), 1U);
}

TEST_F(PxtSaveStreamToStreamTest, CanReplaceTheStreamThatItReads) {
  StreamPointer owned = Encoded(kInputs[0]);
  const Bytes pixels = PixelsOf(*Extract(*owned), PixelFormat24bppRGB);
  IStream* stream = owned.get();
  ASSERT_EQ(PxtSaveStreamToStream(stream, &stream, PxtFileTypeBmp), 1);
  const StreamPointer result(stream);
  EXPECT_NE(result.get(), owned.get());
  owned.reset();
  EXPECT_EQ(PixelsOf(*Extract(*result), PixelFormat24bppRGB), pixels);
}

class PxtStreamToStreamTest : public StreamConversion {};

TEST_F(PxtStreamToStreamTest, SavesWhatTheConversionMakesOfTheStream) {
  for (const Input& input : kInputs) {
    const StreamPointer stream = Encoded(input);
    ASSERT_NE(stream, nullptr);
    const BitmapPointer bitmap = Extract(*stream);
    ASSERT_NE(bitmap, nullptr);
    for (const PxtConversionMethod method : kMethods) {
      BitmapPointer converted;
      ASSERT_EQ(PxtBitmapToBitmap(method, *bitmap, Receive(converted)), 1);
      for (int type = 0; type < 12; ++type) {
        if (type == PxtFileTypePcx || IsKnownToFail(type, *converted)) continue;
        SCOPED_TRACE(testing::Message() << input.name << ", method " << method << " as " << type);
        SeekTo(*stream, static_cast<std::uint64_t>(type) * 10);
        StreamPointer result;
        ASSERT_EQ(PxtStreamToStream(method, stream.get(), Type(type), Receive(result)), 1);
        ASSERT_NE(result, nullptr);
        EXPECT_TRUE(BytesOf(*result) == FileOf(*converted, type));
        EXPECT_EQ(ReferencesTo(*result), 1U);
        EXPECT_EQ(ReferencesTo(*stream), 1U);
      }
    }
  }
}

TEST_F(PxtStreamToStreamTest, GivesImagesOfTheMethodsFormatWithTheirResolution) {
  const StreamPointer stream = Encoded(kInputs[0]);
  const BitmapPointer source = SampleBitmap(kInputs[0].source, 40, 21);
  for (const PxtConversionMethod method : kMethods) {
    StreamPointer result;
    ASSERT_EQ(PxtStreamToStream(method, stream.get(), PxtFileTypePng, Receive(result)), 1);
    const BitmapPointer bitmap = Extract(*result);
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(bitmap->GetPixelFormat(),
              method == MethodGray8 ? PixelFormat8bppIndexed : PixelFormat1bppIndexed);
    EXPECT_EQ(bitmap->GetWidth(), 40U);
    EXPECT_EQ(bitmap->GetHeight(), 21U);
    EXPECT_NEAR(bitmap->GetHorizontalResolution(), kSampleDpiX, kDpiTolerance);
    EXPECT_NEAR(bitmap->GetVerticalResolution(), kSampleDpiY, kDpiTolerance);
    BitmapPointer converted;
    ASSERT_EQ(PxtBitmapToBitmap(method, *source, Receive(converted)), 1);
    EXPECT_EQ(PixelsOf(*bitmap), PixelsOf(*converted));
    EXPECT_EQ(PaletteOf(*bitmap), PaletteOf(*converted));
  }
}

void ExpectNotConverted(std::uint32_t method, IStream* stream, int type) {
  IStream* result = UntouchedStream();
  EXPECT_EQ(
      PxtStreamToStream(static_cast<PxtConversionMethod>(method), stream, Type(type), &result), 0)
      << method << " as " << type;
  EXPECT_EQ(result, UntouchedStream()) << method << " as " << type;
}

TEST_F(PxtStreamToStreamTest, LeavesTheArgumentOnFailure) {
  const StreamPointer stream = Encoded(kInputs[0]);
  for (const std::uint32_t method : {4U, 5U, 255U, 0x80000000U, 0xFFFFFFFFU}) {
    for (int type = 0; type < 12; ++type) ExpectNotConverted(method, stream.get(), type);
  }
  for (const PxtConversionMethod method : kMethods) {
    ExpectNotConverted(method, stream.get(), PxtFileTypePcx);
    for (const int type : kUnknownTypes) ExpectNotConverted(method, stream.get(), type);
    for (const Bytes& content : {Bytes{}, Bytes{'h', 'e', 'l', 'l', 'o'}, Bytes(1000, 0)}) {
      ExpectNotConverted(method, StreamOf(content).get(), PxtFileTypePng);
    }
    ExpectNotConverted(method, nullptr, PxtFileTypePng);
    EXPECT_EQ(PxtStreamToStream(method, stream.get(), PxtFileTypePng, nullptr), 0);
  }
  EXPECT_EQ(ReferencesTo(*stream), 1U);
}

}  // namespace
}  // namespace pixtola::test
