// Bitmaps from streams: every container, wherever the stream's position is and whatever happens to
// it afterwards.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "support/memory_streams.h"
#include "support/platform_expectations.h"
#include "support/recording_stream.h"
#include "support/sample_images.h"
#include "support/scripted_stream.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"
#include "support/test_images.h"
#include "support/tiff_file.h"

namespace pixtola::test {
namespace {

/// One of each container; TIFF as libtiff writes it and as the platform does.
struct Container {
  const char* name;
  PxtFileType type;
  Gdiplus::PixelFormat source;
};
constexpr Container kContainers[] = {
    {"BMP", PxtFileTypeBmp, PixelFormat24bppRGB},
    {"indexed BMP", PxtFileTypeBmp, PixelFormat8bppIndexed},
    {"GIF", PxtFileTypeGif, PixelFormat8bppIndexed},
    {"JPEG", PxtFileTypeJpeg, PixelFormat24bppRGB},
    {"PNG", PxtFileTypePng, PixelFormat32bppARGB},
    {"bilevel PNG", PxtFileTypePng, PixelFormat1bppIndexed},
    {"group 3 TIFF", PxtFileTypeTiffGroup3, PixelFormat1bppIndexed},
    {"group 4 TIFF", PxtFileTypeTiffGroup4, PixelFormat1bppIndexed},
    {"PackBits TIFF", PxtFileTypeTiffRunLength, PixelFormat1bppIndexed},
    {"colour LZW TIFF", PxtFileTypeTiffLzw, PixelFormat24bppRGB},
    {"indexed TIFF", PxtFileTypeTiffNone, PixelFormat4bppIndexed}};

/// Whether the platform under test is known to write no colours that the TIFF reader finds.
bool IsKnownToLoseColours(const Container& container) {
  return kTiffPalettesLackLowBytes && container.type == PxtFileTypeTiffNone;
}

StreamPointer Encoded(const Container& container) {
  const BitmapPointer bitmap = SampleBitmap(container.source, 29, 17);
  StreamPointer stream;
  EXPECT_EQ(PxtSaveBitmapToStream(bitmap.get(), Receive(stream), container.type), 1);
  return stream;
}

BitmapPointer Extract(IStream& stream) {
  BitmapPointer bitmap;
  const int result = PxtExtractBitmap(&stream, Receive(bitmap));
  EXPECT_EQ(result, bitmap != nullptr ? 1 : 0);
  return bitmap;
}

/// Everything that users of a bitmap see of it.
void ExpectSameImage(Gdiplus::Bitmap& bitmap, Gdiplus::Bitmap& expected) {
  EXPECT_EQ(bitmap.GetPixelFormat(), expected.GetPixelFormat());
  EXPECT_EQ(bitmap.GetWidth(), expected.GetWidth());
  EXPECT_EQ(bitmap.GetHeight(), expected.GetHeight());
  EXPECT_TRUE(PixelsOf(bitmap) == PixelsOf(expected));
  EXPECT_EQ(PaletteOf(bitmap), PaletteOf(expected));
  EXPECT_EQ(bitmap.GetHorizontalResolution(), expected.GetHorizontalResolution());
  EXPECT_EQ(bitmap.GetVerticalResolution(), expected.GetVerticalResolution());
}

TEST(PxtExtractBitmap, ReadsEveryContainerWithoutLosses) {
  for (const Container& container : kContainers) {
    SCOPED_TRACE(container.name);
    if (container.type == PxtFileTypeJpeg || IsKnownToLoseColours(container)) continue;
    const BitmapPointer source = SampleBitmap(container.source, 29, 17);
    const StreamPointer stream = Encoded(container);
    ASSERT_NE(stream, nullptr);
    const BitmapPointer bitmap = Extract(*stream);
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::Ok);
    EXPECT_EQ(PixelsOf(*bitmap, PixelFormat32bppARGB), PixelsOf(*source, PixelFormat32bppARGB));
    const bool has_resolution = container.type != PxtFileTypeGif;
    EXPECT_NEAR(bitmap->GetHorizontalResolution(), has_resolution ? kSampleDpiX : 96,
                kDpiTolerance);
    EXPECT_NEAR(bitmap->GetVerticalResolution(), has_resolution ? kSampleDpiY : 96, kDpiTolerance);
  }
}

TEST(PxtExtractBitmap, StartsAtTheStreamsStartWhereverItStands) {
  for (const Container& container : kContainers) {
    SCOPED_TRACE(container.name);
    const StreamPointer stream = Encoded(container);
    ASSERT_NE(stream, nullptr);
    SeekTo(*stream, 0);
    const BitmapPointer expected = Extract(*stream);
    ASSERT_NE(expected, nullptr);
    const std::uint64_t size = SizeOf(*stream);
    for (const std::uint64_t position :
         {std::uint64_t{1}, std::uint64_t{8}, size / 2, size - 1, size, size + 1000}) {
      SeekTo(*stream, position);
      const BitmapPointer bitmap = Extract(*stream);
      ASSERT_NE(bitmap, nullptr) << position;
      ExpectSameImage(*bitmap, *expected);
    }
  }
}

TEST(PxtExtractBitmap, IgnoresWhatFollowsTheImage) {
  for (const Container& container : kContainers) {
    SCOPED_TRACE(container.name);
    const StreamPointer stream = Encoded(container);
    ASSERT_NE(stream, nullptr);
    const BitmapPointer expected = Extract(*stream);
    ASSERT_NE(expected, nullptr);
    for (const std::uint8_t filler : {std::uint8_t{0}, std::uint8_t{0xAA}, std::uint8_t{0xFF}}) {
      Bytes longer = BytesOf(*stream);
      longer.resize(longer.size() + 1001, filler);
      const BitmapPointer bitmap = Extract(*StreamOf(longer));
      ASSERT_NE(bitmap, nullptr);
      ExpectSameImage(*bitmap, *expected);
    }
  }
}

TEST(PxtExtractBitmap, LeavesTheStreamAndItsReferencesAsTheyWere) {
  for (const Container& container : kContainers) {
    SCOPED_TRACE(container.name);
    const StreamPointer stream = Encoded(container);
    ASSERT_NE(stream, nullptr);
    const Bytes before = BytesOf(*stream);
    const BitmapPointer bitmap = Extract(*stream);
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(ReferencesTo(*stream), 1U);
    EXPECT_TRUE(BytesOf(*stream) == before);
  }
}

TEST(PxtExtractBitmap, MakesBitmapsThatDoNotNeedTheStream) {
  for (const Container& container : kContainers) {
    SCOPED_TRACE(container.name);
    StreamPointer stream = Encoded(container);
    ASSERT_NE(stream, nullptr);
    const BitmapPointer expected = Extract(*stream);
    const Bytes pixels = PixelsOf(*expected);
    const BitmapPointer bitmap = Extract(*stream);
    ASSERT_NE(bitmap, nullptr);
    // Overwritten, emptied, gone: before the pixels are looked at for the first time.
    SeekTo(*stream, 0);
    Write(*stream, Bytes(static_cast<std::size_t>(SizeOf(*stream)), 0x5A));
    SetSize(*stream, 0);
    stream.reset();
    EXPECT_TRUE(PixelsOf(*bitmap) == pixels);
    ExpectSameImage(*bitmap, *expected);
  }
}

TEST(PxtExtractBitmap, GivesANewUnlockedBitmapEachTime) {
  const StreamPointer stream = Encoded(kContainers[0]);
  const BitmapPointer first = Extract(*stream);
  const BitmapPointer second = Extract(*stream);
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  Gdiplus::BitmapData locked{};
  ASSERT_EQ(first->LockBits(nullptr, Gdiplus::ImageLockModeWrite, PixelFormat24bppRGB, &locked),
            Gdiplus::Ok);
  static_cast<std::uint8_t*>(locked.Scan0)[0] ^= 0xFF;
  EXPECT_EQ(first->UnlockBits(&locked), Gdiplus::Ok);
  EXPECT_NE(PixelsOf(*first)[0], PixelsOf(*second)[0]);
}

TEST(PxtExtractBitmap, TakesTheFirstOfSeveralPages) {
  const TemporaryFolder folder;
  std::vector<TiffPage> pages(3);
  pages[0].rows = {0x11};
  pages[1].rows = {0x22};
  pages[2].rows = {0x33};
  WriteTiff(folder / "pages.tif", pages);
  const StreamPointer stream = StreamOf(ReadWholeFile(folder / "pages.tif"));
  const BitmapPointer bitmap = Extract(*stream);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap), Bytes{0x11});
}

/// All test images of a folder and those below it.
std::vector<std::filesystem::path> AllTestImages() {
  std::vector<std::filesystem::path> images;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(TestImages())) {
    if (entry.is_regular_file() && entry.path().extension() != ".md") images.push_back(entry);
  }
  std::sort(images.begin(), images.end());
  EXPECT_GT(images.size(), 30U);
  return images;
}

TEST(PxtExtractBitmap, FindsInAStreamWhatIsFoundInTheFile) {
  for (const auto& path : AllTestImages()) {
    SCOPED_TRACE(path);
    BitmapPointer opened;
    PxtOpenImageFile(path.wstring().c_str(), Receive(opened));
    const StreamPointer stream = StreamOf(ReadWholeFile(path));
    const BitmapPointer extracted = Extract(*stream);
    ASSERT_EQ(extracted != nullptr, opened != nullptr);
    if (opened != nullptr) ExpectSameImage(*extracted, *opened);
  }
}

TEST(PxtExtractBitmap, FindsWhatThePlatformDecodes) {
  for (const auto& path : AllTestImages()) {
    const bool is_tiff = path.extension() == ".tif" || path.extension() == ".tiff";
    if (is_tiff) continue;  // libtiff reads those
    SCOPED_TRACE(path);
    Gdiplus::Bitmap decoded(path.wstring().c_str());
    if (decoded.GetLastStatus() != Gdiplus::Ok) continue;
    const BitmapPointer extracted = Extract(*StreamOf(ReadWholeFile(path)));
    ASSERT_NE(extracted, nullptr);
    EXPECT_EQ(extracted->GetPixelFormat(), decoded.GetPixelFormat());
    EXPECT_TRUE(PixelsOf(*extracted) == PixelsOf(decoded));
    if ((decoded.GetPixelFormat() & PixelFormatIndexed) != 0) {
      auto palette = PaletteOf(decoded);
      for (Gdiplus::ARGB& entry : palette) entry |= 0xFF000000U;  // no transparency in BMP
      EXPECT_EQ(PaletteOf(*extracted), palette);
    }
    EXPECT_NEAR(extracted->GetHorizontalResolution(), decoded.GetHorizontalResolution(),
                kDpiTolerance);
    EXPECT_NEAR(extracted->GetVerticalResolution(), decoded.GetVerticalResolution(), kDpiTolerance);
  }
}

TEST(PxtExtractBitmap, LeavesTiffThatItsOwnReaderRefusesToThePlatform) {
  // Gray of 4 bits.
  const auto path = TestImages() / "pillow" / "hopper_gray_4bpp.tif";
  Gdiplus::Bitmap decoded(path.wstring().c_str());
  ASSERT_EQ(decoded.GetLastStatus(), Gdiplus::Ok);
  const StreamPointer stream = StreamOf(ReadWholeFile(path));
  SeekTo(*stream, 100);
  const BitmapPointer extracted = Extract(*stream);
  ASSERT_NE(extracted, nullptr);
  EXPECT_EQ(extracted->GetPixelFormat(), decoded.GetPixelFormat());
  EXPECT_TRUE(PixelsOf(*extracted) == PixelsOf(decoded));
}

/// What is in the place of the bitmap before a call: never used as one.
Gdiplus::Bitmap* StaleBitmap() {
  static std::uintptr_t place = 0;
  return reinterpret_cast<Gdiplus::Bitmap*>(&place);
}

void ExpectNull(IStream& stream) {
  Gdiplus::Bitmap* bitmap = StaleBitmap();
  EXPECT_EQ(PxtExtractBitmap(&stream, &bitmap), 0);
  EXPECT_EQ(bitmap, nullptr);
}

TEST(PxtExtractBitmap, GivesNullForWhatIsNoImage) {
  for (const Bytes& content : {Bytes{}, Bytes{'B'}, Bytes{'I', 'I', 42, 0},
                               Bytes{'h', 'e', 'l', 'l', 'o'}, Bytes(1000, 0), Bytes(1000, 0xFF)}) {
    const StreamPointer stream = StreamOf(content);
    ExpectNull(*stream);
    EXPECT_EQ(ReferencesTo(*stream), 1U);
  }
}

TEST(PxtExtractBitmap, GivesNullForTheFirstBytesOfAnImage) {
  for (const Container& container : kContainers) {
    SCOPED_TRACE(container.name);
    Bytes content = BytesOf(*Encoded(container));
    content.resize(12);
    ExpectNull(*StreamOf(content));
  }
}

TEST(PxtExtractBitmap, KnowsNoPcx) {
  const TemporaryFolder folder;
  const auto path = folder / "image.pcx";
  const BitmapPointer bitmap = SampleBitmap(PixelFormat24bppRGB, 29, 17);
  ASSERT_EQ(PxtSaveBitmapToFile(bitmap.get(), PxtFileTypePcx, path.wstring().c_str()), 1);
  ExpectNull(*StreamOf(ReadWholeFile(path)));
}

TEST(PxtExtractBitmap, GivesNullForAStreamThatFails) {
  ScriptedStream stream;
  stream.result = static_cast<HRESULT>(0x8003001EU);  // STG_E_READFAULT
  for (const HRESULT seek_result : {HRESULT{S_OK}, static_cast<HRESULT>(0x80030019U)}) {
    stream.seek_result = seek_result;
    stream.calls.clear();
    ExpectNull(stream);
    EXPECT_EQ(stream.references, 1U);
    ASSERT_FALSE(stream.calls.empty());
    EXPECT_EQ(stream.calls.front(),
              ScriptedStream::Call("Seek", 0, static_cast<DWORD>(STREAM_SEEK_SET)));
  }
}

constexpr StreamRecord kSeekToStart{StreamCall::kSeek, 0, STREAM_SEEK_SET};

/// How many of the calls there were when libtiff was done: it has a reference of its own.
std::size_t CallsUntilLibtiffIsDone(const std::vector<StreamRecord>& records) {
  int references = 0;
  for (std::size_t i = 0; i < records.size(); ++i) {
    if (records[i].call == StreamCall::kAddRef) ++references;
    if (records[i].call == StreamCall::kRelease && --references == 0) return i + 1;
  }
  ADD_FAILURE() << "libtiff was not asked";
  return records.size();
}

TEST(PxtExtractBitmap, SeeksToTheStartBeforeEachReader) {
  RecordingStream stream(BytesOf(*Encoded(kContainers[0])));
  stream.position = 5;
  Extract(stream);
  const std::vector<StreamRecord> records = stream.TakeRecords();
  ASSERT_GE(records.size(), 2U);
  EXPECT_EQ(records[0], kSeekToStart);
  EXPECT_EQ(records[1].call, StreamCall::kAddRef);
  const std::size_t done = CallsUntilLibtiffIsDone(records);
  ASSERT_GT(records.size(), done);
  EXPECT_EQ(records[done], kSeekToStart);
}

TEST(PxtExtractBitmap, AsksNobodyAfterLibtiffHasReadTheImage) {
  RecordingStream stream(BytesOf(*Encoded({"", PxtFileTypeTiffGroup4, PixelFormat1bppIndexed})));
  stream.position = 5;
  EXPECT_NE(Extract(stream), nullptr);
  const std::vector<StreamRecord> records = stream.TakeRecords();
  EXPECT_EQ(records.at(0), kSeekToStart);
  EXPECT_EQ(CallsUntilLibtiffIsDone(records), records.size());
}

TEST(PxtExtractBitmap, GivesUpWhenTheStreamCannotGoToItsStart) {
  for (const Container& container : kContainers) {
    SCOPED_TRACE(container.name);
    RecordingStream stream(BytesOf(*Encoded(container)));
    int seeks = 0;
    stream.fails = [&](const StreamRecord& record) {
      return record.call == StreamCall::kSeek && ++seeks == 1;
    };
    ExpectNull(stream);
    EXPECT_EQ(stream.TakeRecords(), std::vector<StreamRecord>{kSeekToStart});
  }
}

TEST(PxtExtractBitmap, GivesUpWhenTheStreamCannotGoBackForThePlatform) {
  for (const Container& container : {kContainers[0], kContainers[4]}) {
    SCOPED_TRACE(container.name);
    RecordingStream stream(BytesOf(*Encoded(container)));
    bool was_libtiff_asked = false;
    stream.fails = [&](const StreamRecord& record) {
      if (record.call == StreamCall::kAddRef) was_libtiff_asked = true;
      return record.call == StreamCall::kSeek && was_libtiff_asked && stream.references == 1;
    };
    ExpectNull(stream);
    const std::vector<StreamRecord> records = stream.TakeRecords();
    ASSERT_EQ(records.size(), CallsUntilLibtiffIsDone(records) + 1);
    EXPECT_EQ(records.back(), kSeekToStart);
    EXPECT_EQ(stream.references, 1U);
  }
}

TEST(PxtExtractBitmap, RefusesNullArguments) {
  Gdiplus::Bitmap* bitmap = StaleBitmap();
  EXPECT_EQ(PxtExtractBitmap(nullptr, &bitmap), 0);
  EXPECT_EQ(bitmap, StaleBitmap());
  EXPECT_EQ(PxtExtractBitmap(Encoded(kContainers[0]).get(), nullptr), 0);
}

}  // namespace
}  // namespace pixtola::test
