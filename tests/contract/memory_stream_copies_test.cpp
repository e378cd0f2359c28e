// What the platform promises about streams in global memory: copies, clones
// and what surrounds them. Written against the API alone: the same tests run on Windows' streams
// and on the stand-in.

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "contract/memory_stream_texts.h"
#include "platform.h"
#include "support/platform_expectations.h"

namespace pixtola::test {
namespace {

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
  if (kUnlockingRegionsSucceeds) return;
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
  if (kMemoryStreamsCrashOnNullPlaces) GTEST_SKIP() << "Wine crashes";
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
  if (kMemoryStreamsCrashOnNullPlaces) GTEST_SKIP() << "Wine crashes";
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
}  // namespace pixtola::test
