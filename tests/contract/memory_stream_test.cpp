// What the platform promises about streams in global memory. Written against the API alone: the
// same tests run on Windows' streams and on the stand-in.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>

#include "contract/memory_stream_texts.h"
#include "platform.h"
#include "support/platform_expectations.h"

namespace pixtola::test {
namespace {

TEST(MemoryStream, WithoutBlockIsEmpty) {
  const StreamPointer stream = EmptyStream();
  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(SizeOf(*stream), 0U);
  EXPECT_EQ(PositionOf(*stream), 0U);
  EXPECT_EQ(ReadText(*stream, 4), "");
}

TEST(MemoryStream, AsksForAPlaceForTheStream) {
  EXPECT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, nullptr), E_INVALIDARG);
}

TEST(MemoryStream, OverABlockHoldsItsBytes) {
  const HGLOBAL block = BlockOf("0123456789abcdef");
  IStream* created = nullptr;
  ASSERT_EQ(CreateStreamOnHGlobal(block, TRUE, &created), S_OK);
  const StreamPointer stream(created);
  EXPECT_EQ(SizeOf(*stream), GlobalSize(block));
  EXPECT_EQ(PositionOf(*stream), 0U);
  EXPECT_EQ(ReadText(*stream, 16), "0123456789abcdef");
}

TEST(MemoryStream, OverABlockWritesIntoIt) {
  const HGLOBAL block = BlockOf("0123456789abcdef");
  IStream* created = nullptr;
  ASSERT_EQ(CreateStreamOnHGlobal(block, FALSE, &created), S_OK);
  StreamPointer stream(created);
  SeekTo(*stream, 4);
  WriteText(*stream, "WXYZ");
  stream.reset();
  EXPECT_EQ(TextOf(block, 16), "0123WXYZ89abcdef");
  EXPECT_EQ(GlobalFree(block), nullptr);
}

TEST(MemoryStream, LeavesABlockThatItMustNotDelete) {
  IStream* created = nullptr;
  ASSERT_EQ(CreateStreamOnHGlobal(nullptr, FALSE, &created), S_OK);
  StreamPointer stream(created);
  const std::string text(1000, 'x');
  WriteText(*stream, text + "end");
  HGLOBAL block = nullptr;
  ASSERT_EQ(GetHGlobalFromStream(stream.get(), &block), S_OK);
  stream.reset();
  EXPECT_GE(GlobalSize(block), 1003U);
  EXPECT_EQ(TextOf(block, 1003), text + "end");
  EXPECT_EQ(GlobalFree(block), nullptr);
}

TEST(MemoryStream, GivesTheBlockThatItWasMadeOver) {
  const HGLOBAL block = BlockOf("abcd");
  IStream* created = nullptr;
  ASSERT_EQ(CreateStreamOnHGlobal(block, TRUE, &created), S_OK);
  const StreamPointer stream(created);
  HGLOBAL given = nullptr;
  EXPECT_EQ(GetHGlobalFromStream(stream.get(), &given), S_OK);
  EXPECT_EQ(given, block);
}

TEST(MemoryStream, GivesABlockAtLeastAsLongAsItself) {
  const StreamPointer stream = StreamOf("some bytes");
  HGLOBAL block = nullptr;
  ASSERT_EQ(GetHGlobalFromStream(stream.get(), &block), S_OK);
  EXPECT_GE(GlobalSize(block), 10U);
  EXPECT_EQ(TextOf(block, 10), "some bytes");
}

TEST(MemoryStreamInterfaces, AreThoseOfAStream) {
  const StreamPointer stream = StreamOf("abc");
  for (const IID* const iid : {&IID_IUnknown, &IID_ISequentialStream, &IID_IStream}) {
    void* object = nullptr;
    ASSERT_EQ(stream->QueryInterface(*iid, &object), S_OK);
    ASSERT_NE(object, nullptr);
    static_cast<IUnknown*>(object)->Release();
  }
  void* object = nullptr;
  ASSERT_EQ(stream->QueryInterface(IID_ISequentialStream, &object), S_OK);
  char letter = 0;
  EXPECT_EQ(static_cast<ISequentialStream*>(object)->Read(&letter, 1, nullptr), S_OK);
  EXPECT_EQ(letter, 'a');
  static_cast<IUnknown*>(object)->Release();
  EXPECT_EQ(PositionOf(*stream), 1U);
}

TEST(MemoryStreamInterfaces, DoNotIncludeOthers) {
  constexpr IID kOther = {
      0x0D1C2B3A, 0x4958, 0x4776, {0x95, 0xA4, 0xB3, 0xC2, 0xD1, 0xE0, 0xF1, 0x02}};
  const StreamPointer stream = EmptyStream();
  void* object = stream.get();
  EXPECT_EQ(stream->QueryInterface(kOther, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
}

TEST(MemoryStreamInterfaces, CountTheirReferences) {
  const StreamPointer stream = EmptyStream();
  EXPECT_EQ(stream->AddRef(), 2U);
  void* object = nullptr;
  ASSERT_EQ(stream->QueryInterface(IID_IStream, &object), S_OK);
  EXPECT_EQ(static_cast<IStream*>(object)->Release(), 2U);
  EXPECT_EQ(stream->Release(), 1U);
}

TEST(MemoryStreamRead, AdvancesAndReportsWhatItRead) {
  const StreamPointer stream = StreamOf("abcdefgh");
  EXPECT_EQ(ReadText(*stream, 3), "abc");
  EXPECT_EQ(ReadText(*stream, 3), "def");
  EXPECT_EQ(PositionOf(*stream), 6U);
}

TEST(MemoryStreamRead, EndsWithTheStream) {
  const StreamPointer stream = StreamOf("abcdefgh");
  SeekTo(*stream, 6);
  EXPECT_EQ(ReadText(*stream, 10), "gh");
  EXPECT_EQ(PositionOf(*stream), 8U);
  EXPECT_EQ(ReadText(*stream, 1), "");
  EXPECT_EQ(PositionOf(*stream), 8U);
}

TEST(MemoryStreamRead, FindsNothingPastTheEnd) {
  if (kMemoryStreamsReadPastTheirEnd) GTEST_SKIP() << "Wine reads on";
  const StreamPointer stream = StreamOf("abcd");
  SeekTo(*stream, 100);
  EXPECT_EQ(ReadText(*stream, 4), "");
  EXPECT_EQ(PositionOf(*stream), 100U);
}

TEST(MemoryStreamRead, LeavesTheRestOfTheBuffer) {
  const StreamPointer stream = StreamOf("ab");
  char buffer[5] = "....";
  ULONG read = 0;
  stream->Read(buffer, 4, &read);
  EXPECT_EQ(read, 2U);
  EXPECT_STREQ(buffer, "ab..");
}

TEST(MemoryStreamRead, NeedsNoCount) {
  const StreamPointer stream = StreamOf("ab");
  char letter = 0;
  EXPECT_EQ(stream->Read(&letter, 1, nullptr), S_OK);
  EXPECT_EQ(letter, 'a');
}

TEST(MemoryStreamWrite, GrowsTheStream) {
  const StreamPointer stream = EmptyStream();
  WriteText(*stream, "abc");
  WriteText(*stream, "defg");
  EXPECT_EQ(SizeOf(*stream), 7U);
  EXPECT_EQ(PositionOf(*stream), 7U);
  EXPECT_EQ(TextOf(*stream), "abcdefg");
}

TEST(MemoryStreamWrite, ReplacesWhatStandsThere) {
  const StreamPointer stream = StreamOf("abcdef");
  SeekTo(*stream, 2);
  WriteText(*stream, "XY");
  EXPECT_EQ(TextOf(*stream), "abXYef");
  SeekTo(*stream, 4);
  WriteText(*stream, "1234");
  EXPECT_EQ(TextOf(*stream), "abXY1234");
}

TEST(MemoryStreamWrite, OfNothingChangesNothing) {
  const StreamPointer stream = StreamOf("abc");
  SeekTo(*stream, 1);
  WriteText(*stream, "");
  EXPECT_EQ(PositionOf(*stream), 1U);
  EXPECT_EQ(TextOf(*stream), "abc");
}

TEST(MemoryStreamWrite, NeedsNoCount) {
  const StreamPointer stream = EmptyStream();
  EXPECT_EQ(stream->Write("ab", 2, nullptr), S_OK);
  EXPECT_EQ(TextOf(*stream), "ab");
}

TEST(MemoryStreamWrite, PastTheEndLeavesAGap) {
  const StreamPointer stream = StreamOf("abc");
  SeekTo(*stream, 1000);
  EXPECT_EQ(SizeOf(*stream), 3U);  // the position alone does not grow the stream
  WriteText(*stream, "end");
  EXPECT_EQ(SizeOf(*stream), 1003U);
  const std::string text = TextOf(*stream);
  EXPECT_EQ(text.substr(0, 3), "abc");
  EXPECT_EQ(text.substr(1000), "end");
}

TEST(MemoryStreamWrite, TakesManySmallPieces) {
  for (const auto& [size, step] : {std::pair<std::size_t, std::size_t>{20'000, 1},
                                   {100'000, 7},
                                   {1'000'000, 997},
                                   {10'000'000, 65'537}}) {
    const std::string bytes = Pattern(size);
    const StreamPointer stream = EmptyStream();
    for (std::size_t start = 0; start < size; start += step) {
      WriteText(*stream, bytes.substr(start, step));
    }
    EXPECT_EQ(SizeOf(*stream), size);
    EXPECT_TRUE(TextOf(*stream) == bytes) << size << " by " << step;
    SeekTo(*stream, 0);
    std::string read;
    for (std::string piece = ReadText(*stream, 977); !piece.empty();
         piece = ReadText(*stream, 977)) {
      read += piece;
    }
    EXPECT_TRUE(read == bytes) << size << " by " << step;
  }
}

TEST(MemoryStreamSeek, CountsFromThreeOrigins) {
  const StreamPointer stream = StreamOf("abcdefgh");
  ULARGE_INTEGER position{};
  EXPECT_EQ(stream->Seek(Offset(3), STREAM_SEEK_SET, &position), S_OK);
  EXPECT_EQ(position.QuadPart, 3U);
  EXPECT_EQ(ReadText(*stream, 1), "d");
  EXPECT_EQ(stream->Seek(Offset(2), STREAM_SEEK_CUR, &position), S_OK);
  EXPECT_EQ(position.QuadPart, 6U);
  EXPECT_EQ(stream->Seek(Offset(-5), STREAM_SEEK_CUR, &position), S_OK);
  EXPECT_EQ(position.QuadPart, 1U);
  EXPECT_EQ(ReadText(*stream, 1), "b");
  EXPECT_EQ(stream->Seek(Offset(-2), STREAM_SEEK_END, &position), S_OK);
  EXPECT_EQ(position.QuadPart, 6U);
  EXPECT_EQ(ReadText(*stream, 1), "g");
  EXPECT_EQ(stream->Seek(Offset(5), STREAM_SEEK_END, &position), S_OK);
  EXPECT_EQ(position.QuadPart, 13U);
  EXPECT_EQ(SizeOf(*stream), 8U);
}

TEST(MemoryStreamSeek, NeedsNoPlaceForThePosition) {
  const StreamPointer stream = StreamOf("abcdefgh");
  EXPECT_EQ(stream->Seek(Offset(-3), STREAM_SEEK_END, nullptr), S_OK);
  EXPECT_EQ(stream->Seek(Offset(1), STREAM_SEEK_CUR, nullptr), S_OK);
  EXPECT_EQ(ReadText(*stream, 1), "g");
}

TEST(MemoryStreamSeek, RefusesPlacesBeforeTheStart) {
  const StreamPointer stream = StreamOf("abcdefgh");
  SeekTo(*stream, 5);
  EXPECT_EQ(stream->Seek(Offset(-6), STREAM_SEEK_CUR, nullptr), STG_E_SEEKERROR);
  EXPECT_EQ(PositionOf(*stream), 5U);
  EXPECT_EQ(stream->Seek(Offset(-9), STREAM_SEEK_END, nullptr), STG_E_SEEKERROR);
  EXPECT_EQ(PositionOf(*stream), 5U);
}

TEST(MemoryStreamSeek, RefusesOtherOrigins) {
  const StreamPointer stream = StreamOf("abcdefgh");
  SeekTo(*stream, 5);
  for (const DWORD origin : {3U, 4U, 0xFFFFFFFFU}) {
    EXPECT_TRUE(FAILED(stream->Seek(Offset(1), origin, nullptr))) << origin;
    EXPECT_EQ(PositionOf(*stream), 5U);
  }
}

TEST(MemoryStreamSetSize, CutsTheStream) {
  const StreamPointer stream = StreamOf("abcdefgh");
  SeekTo(*stream, 6);
  EXPECT_EQ(stream->SetSize(Size(3)), S_OK);
  EXPECT_EQ(SizeOf(*stream), 3U);
  EXPECT_EQ(PositionOf(*stream), 6U);
  EXPECT_EQ(TextOf(*stream), "abc");
  EXPECT_EQ(ReadText(*stream, 1), "");
}

TEST(MemoryStreamSetSize, ExtendsTheStream) {
  const StreamPointer stream = StreamOf("abcdefgh");
  SeekTo(*stream, 2);
  EXPECT_EQ(stream->SetSize(Size(5000)), S_OK);
  EXPECT_EQ(SizeOf(*stream), 5000U);
  EXPECT_EQ(PositionOf(*stream), 2U);
  EXPECT_EQ(ReadText(*stream, 6), "cdefgh");
  EXPECT_EQ(ReadText(*stream, 10'000).size(), 4992U);
}

TEST(MemoryStreamSetSize, CanEmptyTheStream) {
  const StreamPointer stream = StreamOf("abcdefgh");
  EXPECT_EQ(stream->SetSize(Size(0)), S_OK);
  EXPECT_EQ(SizeOf(*stream), 0U);
  EXPECT_EQ(TextOf(*stream), "");
  SeekTo(*stream, 0);
  WriteText(*stream, "new");
  EXPECT_EQ(TextOf(*stream), "new");
}

}  // namespace
}  // namespace pixtola::test
