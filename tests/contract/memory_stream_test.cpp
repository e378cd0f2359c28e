// What the platform promises about streams in global memory. Written against the API alone: the
// same tests run on Windows' streams and on the stand-in.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "platform.h"
#include "support/platform_expectations.h"

namespace {

struct ReleaseStream {
  void operator()(IStream* stream) const { stream->Release(); }
};
using StreamPointer = std::unique_ptr<IStream, ReleaseStream>;

LARGE_INTEGER Offset(std::int64_t value) {
  LARGE_INTEGER offset{};
  offset.QuadPart = value;
  return offset;
}

ULARGE_INTEGER Size(std::uint64_t value) {
  ULARGE_INTEGER size{};
  size.QuadPart = value;
  return size;
}

/// An empty stream over a block of its own.
StreamPointer EmptyStream() {
  IStream* stream = nullptr;
  EXPECT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, &stream), S_OK);
  return StreamPointer(stream);
}

void WriteText(IStream& stream, const std::string& text) {
  ULONG written = 0;
  EXPECT_EQ(stream.Write(text.data(), static_cast<ULONG>(text.size()), &written), S_OK);
  EXPECT_EQ(written, text.size());
}

void SeekTo(IStream& stream, std::int64_t position) {
  EXPECT_EQ(stream.Seek(Offset(position), STREAM_SEEK_SET, nullptr), S_OK);
}

/// A stream of this text, its position at the start.
StreamPointer StreamOf(const std::string& text) {
  StreamPointer stream = EmptyStream();
  WriteText(*stream, text);
  SeekTo(*stream, 0);
  return stream;
}

std::uint64_t PositionOf(IStream& stream) {
  ULARGE_INTEGER position = Size(~std::uint64_t{0});
  EXPECT_EQ(stream.Seek(Offset(0), STREAM_SEEK_CUR, &position), S_OK);
  return position.QuadPart;
}

std::uint64_t SizeOf(IStream& stream) {
  STATSTG stat{};
  EXPECT_EQ(stream.Stat(&stat, STATFLAG_NONAME), S_OK);
  return stat.cbSize.QuadPart;
}

/// Up to `size` bytes from the position on. Reads that end early give S_OK or S_FALSE.
std::string ReadText(IStream& stream, ULONG size) {
  std::string text(size, '?');
  ULONG read = ~ULONG{0};
  const HRESULT result = stream.Read(text.data(), size, &read);
  EXPECT_TRUE(result == S_OK || (result == S_FALSE && read < size)) << result;
  EXPECT_LE(read, size);
  text.resize(std::min(read, size));
  return text;
}

/// The whole stream; the position is then at its end.
std::string TextOf(IStream& stream) {
  SeekTo(stream, 0);
  return ReadText(stream, static_cast<ULONG>(SizeOf(stream)));
}

/// The bytes at the start of a block that is not locked.
std::string TextOf(HGLOBAL block, std::size_t size) {
  const void* const bytes = GlobalLock(block);
  if (bytes == nullptr) return "(no block)";
  const std::string text(static_cast<const char*>(bytes), size);
  GlobalUnlock(block);
  return text;
}

HGLOBAL BlockOf(const std::string& text) {
  const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, text.size());
  std::memcpy(GlobalLock(block), text.data(), text.size());
  GlobalUnlock(block);
  return block;
}

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
  if (expectations::kMemoryStreamsReadPastTheirEnd) GTEST_SKIP() << "Wine reads on";
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

/// `size` bytes without a short period.
std::string Pattern(std::size_t size) {
  std::string bytes(size, '\0');
  std::uint32_t state = 1;
  for (char& byte : bytes) {
    state = state * 1664525 + 1013904223;
    byte = static_cast<char>(state >> 24);
  }
  return bytes;
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

TEST(MemoryStreamCopyTo, CopiesFromPositionToPosition) {
  const StreamPointer source = StreamOf("abcdefgh");
  const StreamPointer target = StreamOf("01234567");
  SeekTo(*source, 2);
  SeekTo(*target, 5);
  ULARGE_INTEGER read{};
  ULARGE_INTEGER written{};
  EXPECT_EQ(source->CopyTo(target.get(), Size(4), &read, &written), S_OK);
  EXPECT_EQ(read.QuadPart, 4U);
  EXPECT_EQ(written.QuadPart, 4U);
  EXPECT_EQ(PositionOf(*source), 6U);
  EXPECT_EQ(PositionOf(*target), 9U);
  EXPECT_EQ(TextOf(*target), "01234cdef");
  EXPECT_EQ(TextOf(*source), "abcdefgh");
}

TEST(MemoryStreamCopyTo, EndsWithTheSource) {
  const StreamPointer source = StreamOf("abcdefgh");
  const StreamPointer target = EmptyStream();
  SeekTo(*source, 5);
  ULARGE_INTEGER read{};
  ULARGE_INTEGER written{};
  EXPECT_EQ(source->CopyTo(target.get(), Size(1000), &read, &written), S_OK);
  EXPECT_EQ(read.QuadPart, 3U);
  EXPECT_EQ(written.QuadPart, 3U);
  EXPECT_EQ(PositionOf(*source), 8U);
  EXPECT_EQ(TextOf(*target), "fgh");
  EXPECT_EQ(source->CopyTo(target.get(), Size(1), &read, &written), S_OK);
  EXPECT_EQ(read.QuadPart, 0U);
  EXPECT_EQ(written.QuadPart, 0U);
}

TEST(MemoryStreamCopyTo, EndsWhereTheSourceEndedAtFirst) {
  const StreamPointer source = StreamOf("abcdefgh");
  IStream* clone = nullptr;
  ASSERT_EQ(source->Clone(&clone), S_OK);
  const StreamPointer target(clone);
  SeekTo(*target, 8);  // all that is copied lengthens the source, too
  ULARGE_INTEGER read{};
  ULARGE_INTEGER written{};
  EXPECT_EQ(source->CopyTo(target.get(), Size(1000), &read, &written), S_OK);
  EXPECT_EQ(read.QuadPart, 8U);
  EXPECT_EQ(written.QuadPart, 8U);
  EXPECT_EQ(TextOf(*source), "abcdefghabcdefgh");
}

TEST(MemoryStreamCopyTo, NeedsNoCounts) {
  const StreamPointer source = StreamOf("abcdefgh");
  const StreamPointer target = EmptyStream();
  EXPECT_EQ(source->CopyTo(target.get(), Size(8), nullptr, nullptr), S_OK);
  EXPECT_EQ(TextOf(*target), "abcdefgh");
}

TEST(MemoryStreamCopyTo, CopiesALotAtOnce) {
  const std::string bytes = Pattern(1'000'003);
  const StreamPointer source = StreamOf(bytes);
  const StreamPointer target = EmptyStream();
  EXPECT_EQ(source->CopyTo(target.get(), Size(bytes.size()), nullptr, nullptr), S_OK);
  EXPECT_TRUE(TextOf(*target) == bytes);
}

TEST(MemoryStreamTransactions, AreNone) {
  const StreamPointer stream = StreamOf("abc");
  WriteText(*stream, "X");
  EXPECT_EQ(stream->Commit(STGC_DEFAULT), S_OK);
  EXPECT_EQ(stream->Revert(), S_OK);
  EXPECT_EQ(TextOf(*stream), "Xbc");
}

TEST(MemoryStreamRegions, CannotBeLocked) {
  const StreamPointer stream = StreamOf("abc");
  EXPECT_EQ(stream->LockRegion(Size(0), Size(1), LOCK_EXCLUSIVE), STG_E_INVALIDFUNCTION);
  if (expectations::kUnlockingRegionsSucceeds) return;
  EXPECT_EQ(stream->UnlockRegion(Size(0), Size(1), LOCK_EXCLUSIVE), STG_E_INVALIDFUNCTION);
}

TEST(MemoryStreamStat, TellsTypeAndSize) {
  const StreamPointer stream = StreamOf("abc");
  STATSTG stat;
  std::memset(&stat, 0xAB, sizeof stat);
  ASSERT_EQ(stream->Stat(&stat, STATFLAG_NONAME), S_OK);
  EXPECT_EQ(stat.type, static_cast<DWORD>(STGTY_STREAM));
  EXPECT_EQ(stat.cbSize.QuadPart, 3U);
  EXPECT_EQ(stat.pwcsName, nullptr);
}

TEST(MemoryStreamStat, AsksForAPlaceForTheAnswer) {
  if (expectations::kMemoryStreamsCrashOnNullPlaces) GTEST_SKIP() << "Wine crashes";
  const StreamPointer stream = StreamOf("abc");
  EXPECT_EQ(stream->Stat(nullptr, STATFLAG_NONAME), STG_E_INVALIDPOINTER);
}

TEST(MemoryStreamClone, StartsAtTheSamePosition) {
  const StreamPointer stream = StreamOf("abcdefgh");
  SeekTo(*stream, 3);
  IStream* cloned = nullptr;
  ASSERT_EQ(stream->Clone(&cloned), S_OK);
  const StreamPointer clone(cloned);
  EXPECT_EQ(PositionOf(*clone), 3U);
  EXPECT_EQ(SizeOf(*clone), 8U);
}

TEST(MemoryStreamClone, SharesTheBytesButNotThePosition) {
  const StreamPointer stream = StreamOf("abcdefgh");
  IStream* cloned = nullptr;
  ASSERT_EQ(stream->Clone(&cloned), S_OK);
  const StreamPointer clone(cloned);
  SeekTo(*clone, 6);
  EXPECT_EQ(PositionOf(*stream), 0U);
  WriteText(*clone, "XY");
  EXPECT_EQ(TextOf(*stream), "abcdefXY");
  SeekTo(*stream, 0);
  WriteText(*stream, "12");
  EXPECT_EQ(TextOf(*clone), "12cdefXY");
}

TEST(MemoryStreamClone, SeesTheStreamGrow) {
  const StreamPointer stream = StreamOf("abc");
  IStream* cloned = nullptr;
  ASSERT_EQ(stream->Clone(&cloned), S_OK);
  const StreamPointer clone(cloned);
  const std::string more(100'000, 'm');
  SeekTo(*stream, 3);
  WriteText(*stream, more);
  EXPECT_EQ(SizeOf(*clone), 100'003U);
  EXPECT_TRUE(TextOf(*clone) == "abc" + more);
}

TEST(MemoryStreamClone, OutlivesTheStream) {
  StreamPointer stream = StreamOf("abc");
  IStream* cloned = nullptr;
  ASSERT_EQ(stream->Clone(&cloned), S_OK);
  const StreamPointer clone(cloned);
  stream.reset();
  EXPECT_EQ(TextOf(*clone), "abc");
}

TEST(MemoryStreamClone, AsksForAPlaceForTheClone) {
  if (expectations::kMemoryStreamsCrashOnNullPlaces) GTEST_SKIP() << "Wine crashes";
  const StreamPointer stream = EmptyStream();
  EXPECT_EQ(stream->Clone(nullptr), STG_E_INVALIDPOINTER);
}

// Interfaces of COM have no virtual destructors.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// A stream that is not one in global memory, and does nothing. It passes on to `inner`, if there
/// is one, what it is asked for its interfaces.
class ForeignStream final : public IStream {
 public:
  explicit ForeignStream(IStream* inner = nullptr) : inner_(inner) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    if (inner_ != nullptr) return inner_->QueryInterface(iid, object);
    *object = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE Read(void*, ULONG, ULONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Write(const void*, ULONG, ULONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*,
                                   ULARGE_INTEGER*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Revert() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Clone(IStream**) override { return E_NOTIMPL; }

 private:
  IStream* inner_;
};

#pragma GCC diagnostic pop

TEST(BlockOfAStream, IsOnlyInStreamsInGlobalMemory) {
  ForeignStream stream;
  HGLOBAL block = nullptr;
  EXPECT_EQ(GetHGlobalFromStream(&stream, &block), E_INVALIDARG);
  EXPECT_EQ(GetHGlobalFromStream(nullptr, &block), E_INVALIDARG);
}

TEST(BlockOfAStream, IsNotThatOfAStreamBehind) {
  const StreamPointer memory = StreamOf("abc");
  ForeignStream front(memory.get());
  HGLOBAL block = nullptr;
  EXPECT_EQ(GetHGlobalFromStream(&front, &block), E_INVALIDARG);
  EXPECT_EQ(block, nullptr);
}

}  // namespace
