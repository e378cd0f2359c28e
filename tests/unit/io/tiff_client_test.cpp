// The procedures through which libtiff reads and writes a stream, called as libtiff calls them.
#include "io/tiff_client.h"

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

#include "io/tiff_lock.h"
#include "support/recording_stream.h"
#include "support/test_bitmap.h"
#include "support/tiff_bytes.h"

namespace pixtola::test {
namespace {

using Records = std::vector<StreamRecord>;

Bytes AnyTiff() {
  TiffPage page;
  page.rows = {0x5A};
  return TiffBytes({page});
}

/// What a procedure does that makes one call.
Records Referenced(const StreamRecord& record) {
  return {{StreamCall::kAddRef}, record, {StreamCall::kRelease}};
}

/// A stream that is open for reading; the procedures know no difference.
class TiffClientTest : public testing::Test {
 protected:
  TiffClientTest() {
    SilenceTiff();
    tiff_.reset(OpenTiffStream(stream_, "r").release());
  }
  void SetUp() override {
    ASSERT_NE(tiff_, nullptr);
    handle_ = TIFFClientdata(tiff_.get());
    stream_.TakeRecords();
  }
  void TearDown() override { EXPECT_EQ(stream_.references, 1U); }

  tmsize_t Read(void* buffer, tmsize_t size) {
    return TIFFGetReadProc(tiff_.get())(handle_, buffer, size);
  }
  tmsize_t Write(const void* buffer, tmsize_t size) {
    return TIFFGetWriteProc(tiff_.get())(handle_, const_cast<void*>(buffer), size);
  }
  toff_t Seek(toff_t offset, int origin) {
    return TIFFGetSeekProc(tiff_.get())(handle_, offset, origin);
  }
  toff_t Size() { return TIFFGetSizeProc(tiff_.get())(handle_); }

  std::scoped_lock<CriticalSection> lock_{TiffLock};
  RecordingStream stream_{AnyTiff()};
  TiffPointer tiff_;
  thandle_t handle_ = nullptr;
};

TEST_F(TiffClientTest, NamesTheStreamAndHandsItOverItself) {
  EXPECT_STREQ(TIFFFileName(tiff_.get()), "TIFFStream");
  EXPECT_EQ(handle_, static_cast<thandle_t>(static_cast<IStream*>(&stream_)));
}

TEST_F(TiffClientTest, ReadsWhatTheStreamGives) {
  stream_.bytes = {1, 2, 3, 4, 5};
  stream_.position = 1;
  std::uint8_t buffer[4] = {};
  EXPECT_EQ(Read(buffer, 3), 3);
  EXPECT_EQ(Bytes(buffer, buffer + 4), (Bytes{2, 3, 4, 0}));
  EXPECT_EQ(stream_.TakeRecords(), Referenced({StreamCall::kRead, 3}));
  EXPECT_EQ(Read(buffer, 4), 1);
  EXPECT_EQ(buffer[0], 5);
  EXPECT_EQ(Read(buffer, 4), 0);
}

TEST_F(TiffClientTest, TellsHowMuchWasReadEvenWhenReadingFails) {
  stream_.position = 0;
  stream_.fails = [](const StreamRecord& record) { return record.call == StreamCall::kRead; };
  std::uint8_t buffer[8] = {};
  EXPECT_EQ(Read(buffer, 8), 0);
  stream_.count_of_failures = 3;
  EXPECT_EQ(Read(buffer, 8), 3);
}

TEST_F(TiffClientTest, WritesWhatTheStreamTakes) {
  stream_.bytes = {1, 2, 3, 4, 5};
  stream_.position = 4;
  const std::uint8_t buffer[] = {6, 7, 8};
  EXPECT_EQ(Write(buffer, 3), 3);
  EXPECT_EQ(stream_.bytes, (Bytes{1, 2, 3, 4, 6, 7, 8}));
  EXPECT_EQ(stream_.TakeRecords(), Referenced({StreamCall::kWrite, 3}));
  stream_.most_at_once = 2;
  EXPECT_EQ(Write(buffer, 3), 2);
}

TEST_F(TiffClientTest, TellsHowMuchWasWrittenEvenWhenWritingFails) {
  stream_.fails = [](const StreamRecord& record) { return record.call == StreamCall::kWrite; };
  const std::uint8_t buffer[8] = {};
  EXPECT_EQ(Write(buffer, 8), 0);
  stream_.count_of_failures = 5;
  EXPECT_EQ(Write(buffer, 8), 5);
}

TEST_F(TiffClientTest, MovesNothingWithoutABufferOrASize) {
  std::uint8_t byte = 0xA5;
  EXPECT_EQ(Read(nullptr, 10), 0);
  EXPECT_EQ(Read(&byte, 0), 0);
  EXPECT_EQ(Read(nullptr, 0), 0);
  EXPECT_EQ(Write(nullptr, 10), 0);
  EXPECT_EQ(Write(&byte, 0), 0);
  EXPECT_EQ(byte, 0xA5);
  for (const StreamRecord& record : stream_.TakeRecords()) {
    EXPECT_TRUE(record.call == StreamCall::kAddRef || record.call == StreamCall::kRelease);
  }
}

TEST_F(TiffClientTest, SeeksFromTheOriginThatItIsGiven) {
  stream_.bytes.resize(100);
  EXPECT_EQ(Seek(40, 0), 40U);
  EXPECT_EQ(stream_.TakeRecords(),
            Referenced({StreamCall::kSeek, 40, static_cast<DWORD>(STREAM_SEEK_SET)}));
  EXPECT_EQ(Seek(7, 1), 47U);
  EXPECT_EQ(stream_.TakeRecords(),
            Referenced({StreamCall::kSeek, 7, static_cast<DWORD>(STREAM_SEEK_CUR)}));
  EXPECT_EQ(Seek(0, 2), 100U);
  EXPECT_EQ(stream_.TakeRecords(),
            Referenced({StreamCall::kSeek, 0, static_cast<DWORD>(STREAM_SEEK_END)}));
}

TEST_F(TiffClientTest, SeeksFromTheStartForOriginsThatAreNone) {
  for (const int origin : {3, 4, 255, -1, -2147483647}) {
    stream_.position = 50;
    EXPECT_EQ(Seek(9, origin), 9U) << origin;
    EXPECT_EQ(stream_.TakeRecords(),
              Referenced({StreamCall::kSeek, 9, static_cast<DWORD>(STREAM_SEEK_SET)}));
  }
}

TEST_F(TiffClientTest, TakesOffsetsAsUnsignedNumbersOf32Bits) {
  EXPECT_EQ(Seek(static_cast<toff_t>(-1), 0), 0xFFFFFFFFU);
  EXPECT_EQ(stream_.position, 0xFFFFFFFFU);
  EXPECT_EQ(Seek(static_cast<toff_t>(-2147483647) - 1, 0), 0x80000000U);
  EXPECT_EQ(stream_.position, 0x80000000U);
  EXPECT_EQ(Seek(0x500000007U, 0), 7U);
  EXPECT_EQ(stream_.position, 7U);
  stream_.position = 10;
  EXPECT_EQ(Seek(static_cast<toff_t>(-4), 1), 6U);  // of a position beyond 32 bits
  EXPECT_EQ(stream_.position, 0x100000006U);
}

TEST_F(TiffClientTest, TellsTheLow32BitsOfPositionsAndSizes) {
  stream_.position = 0x123456789U;
  EXPECT_EQ(Seek(0, 1), 0x23456789U);
  stream_.claimed_size = 0xABC00000005U;
  EXPECT_EQ(Size(), 5U);
  stream_.claimed_size = 0xFFFFFFFFU;
  EXPECT_EQ(Size(), 0xFFFFFFFFU);
}

TEST_F(TiffClientTest, AsksForTheSizeWithoutAName) {
  EXPECT_EQ(Size(), stream_.bytes.size());
  EXPECT_EQ(stream_.TakeRecords(), Referenced({StreamCall::kStat, STATFLAG_NONAME}));
}

TEST_F(TiffClientTest, DropsItsReferenceWhenTheCallFails) {
  stream_.fails = [](const StreamRecord&) { return true; };
  Size();
  EXPECT_EQ(stream_.TakeRecords(), Referenced({StreamCall::kStat, STATFLAG_NONAME}));
  Seek(1, 0);
  EXPECT_EQ(stream_.TakeRecords(),
            Referenced({StreamCall::kSeek, 1, static_cast<DWORD>(STREAM_SEEK_SET)}));
  std::uint8_t byte = 0;
  Read(&byte, 1);
  EXPECT_EQ(stream_.TakeRecords(), Referenced({StreamCall::kRead, 1}));
  Write(&byte, 1);
  EXPECT_EQ(stream_.TakeRecords(), Referenced({StreamCall::kWrite, 1}));
}

TEST_F(TiffClientTest, NeitherClosesNorMapsTheStream) {
  EXPECT_EQ(TIFFGetCloseProc(tiff_.get())(handle_), 0);
  void* base = &base;
  toff_t size = 77;
  EXPECT_EQ(TIFFGetMapFileProc(tiff_.get())(handle_, &base, &size), 0);
  TIFFGetUnmapFileProc(tiff_.get())(handle_, &base, 1);
  for (const StreamRecord& record : stream_.TakeRecords()) {
    EXPECT_TRUE(record.call == StreamCall::kAddRef || record.call == StreamCall::kRelease);
  }
}

TEST_F(TiffClientTest, HoldsNoReferenceBetweenCalls) { EXPECT_EQ(stream_.references, 1U); }

TEST_F(TiffClientTest, OpensNothingThatIsNoTiff) {
  RecordingStream empty;
  EXPECT_EQ(OpenTiffStream(empty, "r"), nullptr);
  RecordingStream text({'h', 'e', 'l', 'l', 'o', ' ', 'w', 'o', 'r', 'l', 'd'});
  EXPECT_EQ(OpenTiffStream(text, "r"), nullptr);
  EXPECT_EQ(empty.references, 1U);
  EXPECT_EQ(text.references, 1U);
}

TEST_F(TiffClientTest, BeginsAFileWithItsHeader) {
  RecordingStream stream;
  const TiffFile tiff = OpenTiffStream(stream, "w");
  ASSERT_NE(tiff, nullptr);
  ASSERT_GE(stream.bytes.size(), 8U);
  EXPECT_EQ(Bytes(stream.bytes.begin(), stream.bytes.begin() + 4), (Bytes{'I', 'I', 42, 0}));
}

}  // namespace
}  // namespace pixtola::test
