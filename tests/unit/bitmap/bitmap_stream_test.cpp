// The stream that images are encoded into: the room that it starts with, what it passes on, how far
// it knows that it was written, and the final cut.

#include "bitmap/bitmap_stream.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "support/memory_streams.h"
#include "support/scripted_stream.h"
#include "support/test_bitmap.h"

namespace pixtola::test {
namespace {

// The inner stream is private, but an explicit template instantiation may name private members: its
// friend function hands the pointer to member out.
template <typename Tag, typename Tag::Type kMember>
struct Disclosure {
  friend constexpr typename Tag::Type Disclose(Tag) { return kMember; }
};
struct InnerStreamTag {
  using Type = IStream* CBitmapStream::*;
  friend constexpr Type Disclose(InnerStreamTag);
};
template struct Disclosure<InnerStreamTag, &CBitmapStream::inner_>;

IStream*& InnerOf(CBitmapStream& stream) { return stream.*Disclose(InnerStreamTag()); }

/// Puts another stream in the place of the one that `stream` made.
void PutInside(CBitmapStream& stream, IStream& inner) {
  if (InnerOf(stream) != nullptr) InnerOf(stream)->Release();
  InnerOf(stream) = &inner;
}

/// A stream with a scripted one inside.
class ScriptedBitmapStream : public testing::Test {
 protected:
  ScriptedBitmapStream() { PutInside(stream_, inner_); }
  ~ScriptedBitmapStream() override { InnerOf(stream_) = nullptr; }

  ScriptedStream inner_;
  CBitmapStream stream_{0};
};

/// Anything that no operation returns by itself.
HRESULT OddResult(unsigned i) { return static_cast<HRESULT>(0x80040200U + i); }

/// One operation, called through a stream, and how the inner stream sees it.
struct Operation {
  std::string name;
  std::function<HRESULT(IStream&)> call;
  std::string seen;
};

/// What operations are given to write to: their addresses count, not their values.
struct Places {
  IID iid{};
  void* object = nullptr;
  std::uint8_t buffer[8]{};
  ULONG count = 0;
  ULARGE_INTEGER first{};
  ULARGE_INTEGER second{};
  STATSTG stat{};
  IStream* clone = nullptr;
};

/// All operations that have a result, each with arguments that no other one has.
std::vector<Operation> Operations(Places& places, IStream& other) {
  const auto seen = [](const char* name, const auto&... arguments) {
    return ScriptedStream::Call(name, arguments...);
  };
  Places& p = places;
  constexpr std::uint64_t kLarge = 0x123456789AU;
  return {
      {"QueryInterface", [&p](IStream& s) { return s.QueryInterface(p.iid, &p.object); },
       seen("QueryInterface", &p.iid, &p.object)},
      {"Read", [&p](IStream& s) { return s.Read(p.buffer, 7, &p.count); },
       seen("Read", static_cast<void*>(p.buffer), 7, &p.count)},
      {"Write", [&p](IStream& s) { return s.Write(p.buffer + 1, 6, &p.count); },
       seen("Write", static_cast<void*>(p.buffer + 1), 6, &p.count)},
      {"SetSize", [](IStream& s) { return s.SetSize(Size(kLarge + 1)); },
       seen("SetSize", kLarge + 1)},
      {"CopyTo",
       [&p, &other](IStream& s) { return s.CopyTo(&other, Size(kLarge + 2), &p.first, &p.second); },
       seen("CopyTo", &other, kLarge + 2, &p.first, &p.second)},
      {"Commit", [](IStream& s) { return s.Commit(9); }, seen("Commit", 9)},
      {"Revert", [](IStream& s) { return s.Revert(); }, seen("Revert")},
      {"LockRegion",
       [](IStream& s) { return s.LockRegion(Size(kLarge + 3), Size(kLarge + 4), 10); },
       seen("LockRegion", kLarge + 3, kLarge + 4, 10)},
      {"UnlockRegion",
       [](IStream& s) { return s.UnlockRegion(Size(kLarge + 5), Size(kLarge + 6), 11); },
       seen("UnlockRegion", kLarge + 5, kLarge + 6, 11)},
      {"Stat", [&p](IStream& s) { return s.Stat(&p.stat, 12); }, seen("Stat", &p.stat, 12)},
      {"Clone", [&p](IStream& s) { return s.Clone(&p.clone); }, seen("Clone", &p.clone)},
  };
}

TEST_F(ScriptedBitmapStream, HandsEveryOperationOnWithItsArgumentsAndResult) {
  Places places;
  ScriptedStream other;
  unsigned i = 0;
  for (const Operation& operation : Operations(places, other)) {
    inner_.calls.clear();
    inner_.result = OddResult(++i);
    EXPECT_EQ(operation.call(stream_), OddResult(i)) << operation.name;
    EXPECT_EQ(inner_.calls, (std::vector<std::string>{operation.seen})) << operation.name;
  }
}

TEST_F(ScriptedBitmapStream, HandsSuccessOnAsItIs) {
  Places places;
  ScriptedStream other;
  for (const HRESULT result : {HRESULT{S_OK}, HRESULT{S_FALSE}}) {
    for (const Operation& operation : Operations(places, other)) {
      inner_.result = result;
      EXPECT_EQ(operation.call(stream_), result) << operation.name;
    }
  }
}

TEST_F(ScriptedBitmapStream, HandsSeeksOn) {
  inner_.position = 77;
  for (const DWORD origin : {0U, 1U, 2U, 3U}) {
    inner_.calls.clear();
    inner_.seek_result = OddResult(origin);
    ULARGE_INTEGER position{};
    EXPECT_EQ(stream_.Seek(Offset(-5'000'000'000), origin, &position), OddResult(origin));
    EXPECT_EQ(position.QuadPart, 77U);
    EXPECT_EQ(inner_.calls,
              (std::vector<std::string>{ScriptedStream::Call("Seek", -5'000'000'000, origin)}));
  }
  inner_.seek_result = S_OK;
  EXPECT_EQ(stream_.Seek(Offset(1), STREAM_SEEK_SET, nullptr), S_OK);
}

TEST_F(ScriptedBitmapStream, CountsReferencesOfTheInnerStream) {
  EXPECT_EQ(stream_.AddRef(), 2U);
  EXPECT_EQ(stream_.AddRef(), 3U);
  EXPECT_EQ(inner_.references, 3U);
  EXPECT_EQ(stream_.Release(), 2U);
  EXPECT_EQ(stream_.Release(), 1U);
  EXPECT_EQ(inner_.references, 1U);
  EXPECT_TRUE(stream_.has_inner());
}

TEST_F(ScriptedBitmapStream, ForgetsTheInnerStreamWithItsLastReference) {
  EXPECT_EQ(stream_.Release(), 0U);
  EXPECT_EQ(inner_.references, 0U);
  EXPECT_FALSE(stream_.has_inner());
  EXPECT_EQ(stream_.Revert(), E_UNEXPECTED);
  EXPECT_EQ(stream_.AddRef(), 0U);
  EXPECT_EQ(stream_.Release(), 0U);
  EXPECT_EQ(stream_.Finish(), nullptr);
  EXPECT_EQ(inner_.references, 0U);
  EXPECT_TRUE(inner_.calls.empty());
}

TEST_F(ScriptedBitmapStream, AsksForThePositionAfterAWrite) {
  inner_.position = 3;
  std::uint8_t bytes[3]{};
  ULONG written = 0;
  EXPECT_EQ(stream_.Write(bytes, 3, &written), S_OK);
  EXPECT_EQ(inner_.calls,
            (std::vector<std::string>{
                ScriptedStream::Call("Write", static_cast<void*>(bytes), 3, &written),
                ScriptedStream::Call("Seek", 0, static_cast<DWORD>(STREAM_SEEK_CUR))}));
  EXPECT_EQ(stream_.written_size(), 3U);
}

TEST_F(ScriptedBitmapStream, RemembersTheFurthestPositionOnly) {
  EXPECT_EQ(stream_.written_size(), 0U);
  std::uint64_t furthest = 0;
  struct Place {
    std::uint64_t end;
    ULONG size;
  };
  for (const auto& [end, size] :
       {Place{5, 5}, Place{3, 1}, Place{5, 2}, Place{6, 1}, Place{0, 0},
        Place{4'000'000'000, 3'999'999'994}, Place{8'000'000'000, 4'000'000'000}}) {
    inner_.position = end;
    EXPECT_EQ(stream_.Write("", size, nullptr), S_OK);
    furthest = std::max(furthest, end);
    EXPECT_EQ(stream_.written_size(), furthest);
  }
}

TEST_F(ScriptedBitmapStream, LearnsNothingFromAFailedWrite) {
  inner_.position = 12;
  inner_.result = OddResult(1);
  EXPECT_EQ(stream_.Write("", 1, nullptr), OddResult(1));
  EXPECT_EQ(stream_.written_size(), 0U);
  EXPECT_EQ(inner_.calls.size(), 1U);
}

TEST_F(ScriptedBitmapStream, KeepsAWritesResultWhenThePositionCannotBeTold) {
  inner_.position = 5;
  EXPECT_EQ(stream_.Write("", 5, nullptr), S_OK);
  inner_.position = 12;
  inner_.seek_result = OddResult(1);
  EXPECT_EQ(stream_.Write("", 7, nullptr), S_OK);
  EXPECT_EQ(stream_.written_size(), 5U);
  inner_.seek_result = S_OK;
  EXPECT_EQ(stream_.Write("", 7, nullptr), S_OK);
  EXPECT_EQ(stream_.written_size(), 12U);
}

TEST_F(ScriptedBitmapStream, LearnsNothingFromOtherOperations) {
  Places places;
  ScriptedStream other;
  inner_.position = 12;
  for (const Operation& operation : Operations(places, other)) {
    if (operation.name == "Write") continue;
    operation.call(stream_);
    EXPECT_EQ(stream_.written_size(), 0U) << operation.name;
  }
  ULARGE_INTEGER position{};
  stream_.Seek(Offset(12), STREAM_SEEK_SET, &position);
  EXPECT_EQ(stream_.written_size(), 0U);
}

TEST_F(ScriptedBitmapStream, IsCutToWhatWasWrittenAtTheEnd) {
  inner_.position = 4'000'000'000;
  stream_.Write("", 4'000'000'000, nullptr);
  inner_.position = 5'000'000'000;
  stream_.Write("", 1'000'000'000, nullptr);
  inner_.position = 2;
  stream_.Write("", 1, nullptr);
  inner_.calls.clear();
  EXPECT_EQ(stream_.Finish().release(), &inner_);
  EXPECT_EQ(inner_.calls,
            (std::vector<std::string>{ScriptedStream::Call("SetSize", 5'000'000'000)}));
  EXPECT_EQ(inner_.references, 1U);
}

TEST(CBitmapStream, HandsItsOneReferenceOver) {
  ScriptedStream inner;
  {
    CBitmapStream stream(0);
    PutInside(stream, inner);
    EXPECT_EQ(stream.Finish().release(), &inner);
    EXPECT_EQ(inner.references, 1U);
  }
  EXPECT_EQ(inner.references, 1U);
}

TEST(CBitmapStream, ReleasesAnInnerStreamThatNobodyTook) {
  ScriptedStream inner;
  {
    CBitmapStream stream(0);
    PutInside(stream, inner);
  }
  EXPECT_EQ(inner.references, 0U);
}

TEST(CBitmapStream, ReleasesAnInnerStreamThatCannotBeCut) {
  ScriptedStream inner;
  inner.result = OddResult(1);
  {
    CBitmapStream stream(0);
    PutInside(stream, inner);
    EXPECT_EQ(stream.Finish(), nullptr);
  }
  EXPECT_EQ(inner.references, 0U);
}

/// The inner stream as everybody can get it, with a reference of its own.
StreamPointer QueriedInner(CBitmapStream& stream) {
  void* object = nullptr;
  EXPECT_EQ(stream.QueryInterface(IID_IStream, &object), S_OK);
  return StreamPointer(static_cast<IStream*>(object));
}

TEST(CBitmapStream, GivesTheInterfacesOfTheInnerStream) {
  CBitmapStream stream(100);
  const StreamPointer inner = QueriedInner(stream);
  ASSERT_NE(inner, nullptr);
  EXPECT_EQ(inner.get(), InnerOf(stream));
  EXPECT_NE(inner.get(), static_cast<IStream*>(&stream));
  EXPECT_EQ(ReferencesTo(*inner), 2U);
  constexpr IID kOther = {
      0x0D1C2B3A, 0x4958, 0x4776, {0x95, 0xA4, 0xB3, 0xC2, 0xD1, 0xE0, 0xF1, 0x02}};
  void* object = nullptr;
  EXPECT_EQ(stream.QueryInterface(kOther, &object), E_NOINTERFACE);
}

TEST(CBitmapStream, HasABlockOfItsSizeFromTheStart) {
  for (const std::uint64_t size : {0U, 1U, 4096U, 11'076U, 1'000'000U}) {
    CBitmapStream stream(size);
    ASSERT_TRUE(stream.has_inner()) << size;
    EXPECT_EQ(stream.written_size(), 0U);
    const StreamPointer inner = QueriedInner(stream);
    EXPECT_EQ(PositionOf(*inner), 0U);
    HGLOBAL block = nullptr;
    ASSERT_EQ(GetHGlobalFromStream(inner.get(), &block), S_OK);
    // The system may round the size up a little.
    EXPECT_GE(GlobalSize(block), size);
    EXPECT_LE(GlobalSize(block), size + 64);
    EXPECT_EQ(SizeOf(*inner), GlobalSize(block));
  }
}

TEST(CBitmapStream, HasNoInnerStreamWithoutMemory) {
  for (const std::uint64_t size :
       {std::uint64_t{1} << 62, std::numeric_limits<std::uint64_t>::max() / 2}) {
    CBitmapStream stream(size);
    EXPECT_FALSE(stream.has_inner());
    EXPECT_EQ(stream.Finish(), nullptr);
  }
}

TEST(CBitmapStream, WithoutAnInnerStreamDoesNothing) {
  CBitmapStream stream(std::uint64_t{1} << 62);
  ASSERT_FALSE(stream.has_inner());
  Places places;
  ScriptedStream other;
  for (const Operation& operation : Operations(places, other)) {
    EXPECT_EQ(operation.call(stream), E_UNEXPECTED) << operation.name;
  }
  EXPECT_EQ(static_cast<std::uint32_t>(stream.Revert()), 0x8000FFFFU);
  EXPECT_EQ(stream.Seek(Offset(0), STREAM_SEEK_SET, nullptr), E_UNEXPECTED);
  EXPECT_EQ(stream.AddRef(), 0U);
  EXPECT_EQ(stream.Release(), 0U);
  EXPECT_EQ(stream.written_size(), 0U);
  EXPECT_TRUE(other.calls.empty());
}

TEST(CBitmapStream, KnowsHowFarItWasWrittenInMemory) {
  CBitmapStream stream(4096);
  Write(stream, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
  EXPECT_EQ(stream.written_size(), 10U);
  SeekTo(stream, 2);
  Write(stream, {33, 44, 55});
  EXPECT_EQ(stream.written_size(), 10U);
  SeekTo(stream, 8);
  Write(stream, {99, 100, 101});
  EXPECT_EQ(stream.written_size(), 11U);
  SeekTo(stream, 4000);
  EXPECT_EQ(stream.written_size(), 11U);
  const StreamPointer inner(stream.Finish().release());
  ASSERT_NE(inner, nullptr);
  EXPECT_EQ(SizeOf(*inner), 11U);
  EXPECT_EQ(BytesOf(*inner), (Bytes{1, 2, 33, 44, 55, 6, 7, 8, 99, 100, 101}));
}

TEST_F(ScriptedBitmapStream, WritesZerosOverWhatAWriterSkipped) {
  inner_.position = 10;
  stream_.Write("", 10, nullptr);
  inner_.calls.clear();
  inner_.position = 315;
  EXPECT_EQ(stream_.Write("", 5, nullptr), S_OK);
  // Nobody sees where the zeros come from: the sizes, 300 bytes in all, and the places count.
  ASSERT_GE(inner_.calls.size(), 5U);
  EXPECT_EQ(inner_.calls[2], ScriptedStream::Call("Seek", 10, static_cast<DWORD>(STREAM_SEEK_SET)));
  EXPECT_EQ(inner_.calls.back(),
            ScriptedStream::Call("Seek", 315, static_cast<DWORD>(STREAM_SEEK_SET)));
  unsigned zeros = 0;
  for (std::size_t i = 3; i + 1 < inner_.calls.size(); ++i) {
    std::istringstream call(inner_.calls[i]);
    std::string name;
    std::string buffer;
    unsigned size = 0;
    call >> name >> buffer >> size;
    EXPECT_EQ(name, "Write");
    zeros += size;
  }
  EXPECT_EQ(zeros, 300U);
  EXPECT_EQ(stream_.written_size(), 315U);
}

TEST(CBitmapStream, HoldsZerosWhereAWriterSkippedBytes) {
  for (const ULONG gap : {1U, 2U, 255U, 256U, 257U, 1000U, 5000U}) {
    CBitmapStream stream(4096);
    // The memory as it may be: not cleared. What is written past the wrapper, it does not know of.
    Write(*InnerOf(stream), Bytes(4096, 0xA5));
    SeekTo(stream, 0);
    Write(stream, {1, 2, 3});
    SeekTo(stream, 3 + gap);
    Write(stream, {4, 5});
    EXPECT_EQ(PositionOf(stream), 5U + gap);
    EXPECT_EQ(stream.written_size(), 5U + gap);
    // Bytes that were written are no gap, wherever the writer goes.
    SeekTo(stream, 1);
    Write(stream, {22});
    Bytes expected{1, 22, 3};
    expected.resize(3 + gap, 0);
    expected.insert(expected.end(), {4, 5});
    const StreamPointer inner(stream.Finish().release());
    ASSERT_NE(inner, nullptr);
    EXPECT_EQ(BytesOf(*inner), expected) << gap;
  }
}

TEST(CBitmapStream, GrowsBeyondItsFirstSize) {
  CBitmapStream stream(16);
  Bytes expected;
  for (unsigned i = 0; i < 100; ++i) {
    const Bytes piece(37, static_cast<std::uint8_t>(i));
    Write(stream, piece);
    expected.insert(expected.end(), piece.begin(), piece.end());
  }
  EXPECT_EQ(stream.written_size(), 3700U);
  const StreamPointer inner(stream.Finish().release());
  ASSERT_NE(inner, nullptr);
  EXPECT_EQ(BytesOf(*inner), expected);
}

TEST(CBitmapStream, IsEmptyAtTheEndWhenNothingWasWritten) {
  CBitmapStream stream(4096);
  const StreamPointer inner(stream.Finish().release());
  ASSERT_NE(inner, nullptr);
  EXPECT_EQ(SizeOf(*inner), 0U);
}

TEST(CBitmapStream, LivesOnInWhatItHandsOver) {
  StreamPointer inner;
  {
    CBitmapStream stream(100);
    Write(stream, {1, 2, 3});
    inner.reset(stream.Finish().release());
  }
  ASSERT_NE(inner, nullptr);
  EXPECT_EQ(ReferencesTo(*inner), 1U);
  EXPECT_EQ(BytesOf(*inner), (Bytes{1, 2, 3}));
}

}  // namespace
}  // namespace pixtola::test
