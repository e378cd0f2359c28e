// What surrounds every use of libtiff: the lock, the silence, the reference to the stream. Also
// what becomes of a call whose stream fails.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdarg>
#include <functional>
#include <future>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "io/tiff_lock.h"
#include "io/tiff_reader.h"
#include "io/tiff_writer.h"
#include "support/recording_stream.h"
#include "support/reference_tiff.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"
#include "support/tiff_bytes.h"

namespace pixtola::test {
namespace {

Bytes BilevelTiff() {
  TiffPage page;
  page.width = 64;
  page.height = 100;
  page.rows.assign(800, 0x5A);
  page.more_tags = [](TIFF* tiff) {
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_PACKBITS);
  };
  return TiffBytes({page});
}

Bytes ColorTiff() {
  TiffPage page;
  page.width = 20;
  page.height = 10;
  page.bits_per_sample = 8;
  page.samples_per_pixel = 3;
  page.photometric = PHOTOMETRIC_RGB;
  page.rows.assign(600, 0x5A);
  return TiffBytes({page});
}

/// Whether this thread keeps others from using libtiff.
bool OthersAreLockedOut() {
  bool is_free = false;
  std::thread([&is_free] {
    is_free = TiffLock.try_lock();
    if (is_free) TiffLock.unlock();
  }).join();
  return !is_free;
}

class TiffCallsTest : public testing::Test {
 protected:
  std::wstring Path(const char* name) const { return (folder_ / name).wstring(); }

  /// Every way to use libtiff, successful and not.
  std::vector<std::function<void()>> AllCalls() {
    return {[this] { ReadTiffFile(Path("right.tif").c_str(), 0); },
            [this] { ReadTiffFile(Path("damaged.tif").c_str(), 0); },
            [this] { ReadTiffFile(Path("missing.tif").c_str(), 0); },
            [] { ReadTiffFile(nullptr, 0); },
            [this] {
              RecordingStream stream(right_);
              ReadTiffStream(&stream);
            },
            [this] {
              RecordingStream stream(damaged_);
              ReadTiffStream(&stream);
            },
            [] { ReadTiffStream(nullptr); },
            [this] { WriteTiffFile(bitmap_.get(), PxtFileTypeTiffLzw, Path("new.tif").c_str()); },
            [this] {
              WriteTiffFile(bitmap_.get(), PxtFileTypeTiffLzw, Path("missing/new.tif").c_str());
            },
            [this] { WriteTiffFile(bitmap_.get(), PxtFileTypePng, Path("new.png").c_str()); },
            [this] { WriteTiffFile(nullptr, PxtFileTypeTiffLzw, Path("new.tif").c_str()); },
            [this] {
              RecordingStream stream;
              WriteTiffStream(bitmap_.get(), PxtFileTypeTiffGroup3, &stream);
            },
            [this] {
              RecordingStream stream;
              stream.capacity = 100;
              WriteTiffStream(bitmap_.get(), PxtFileTypeTiffGroup3, &stream);
            },
            [this] { WriteTiffStream(bitmap_.get(), PxtFileTypeTiffGroup3, nullptr); }};
  }

  TemporaryFolder folder_;
  Bytes right_ = BilevelTiff();
  Bytes damaged_ = [this] {
    // The strip is said to begin beyond the end.
    Bytes bytes = right_;
    bytes.at(PlaceOfField(bytes, TIFFTAG_STRIPOFFSETS) + 1) = 0x7F;
    WriteWholeFile(folder_ / "right.tif", right_);
    WriteWholeFile(folder_ / "damaged.tif", bytes);
    return bytes;
  }();
  BitmapPointer bitmap_ = MakeBitmap(800, 200, PixelFormat1bppIndexed, Bytes(20000, 0x3C));
};

// The lock.

TEST_F(TiffCallsTest, LockOthersOutWhileAStreamIsUsed) {
  RecordingStream stream(right_);
  int calls = 0;
  int locked = 0;
  stream.fails = [&](const StreamRecord&) {
    ++calls;
    locked += OthersAreLockedOut() ? 1 : 0;
    return false;
  };
  BitmapPointer bitmap = ReadTiffStream(&stream);
  EXPECT_NE(bitmap, nullptr);
  // The entry point's own reference is taken and dropped inside of the lock, too.
  EXPECT_GT(calls, 2);
  EXPECT_EQ(locked, calls);
  EXPECT_FALSE(OthersAreLockedOut());

  calls = locked = 0;
  EXPECT_EQ(WriteTiffStream(bitmap_.get(), PxtFileTypeTiffGroup4, &stream), 1);
  EXPECT_GT(calls, 2);
  EXPECT_EQ(locked, calls);
  EXPECT_FALSE(OthersAreLockedOut());
}

TEST_F(TiffCallsTest, WaitForTheLock) {
  for (const auto& call :
       {std::function<void()>([this] { ReadTiffFile(Path("right.tif").c_str(), 0); }),
        std::function<void()>([this] {
          WriteTiffFile(bitmap_.get(), PxtFileTypeTiffLzw, Path("new.tif").c_str());
        })}) {
    std::unique_lock<CriticalSection> lock(TiffLock);
    const std::future<void> done = std::async(std::launch::async, call);
    EXPECT_EQ(done.wait_for(std::chrono::milliseconds(30)), std::future_status::timeout);
    lock.unlock();
    EXPECT_EQ(done.wait_for(std::chrono::seconds(60)), std::future_status::ready);
  }
}

TEST_F(TiffCallsTest, LeaveTheLockFree) {
  for (const auto& call : AllCalls()) {
    call();
    EXPECT_FALSE(OthersAreLockedOut());
  }
}

TEST_F(TiffCallsTest, MayComeFromAStreamThatIsBeingUsed) {
  // A stream that writes and reads another TIFF whenever it is read.
  RecordingStream outer(right_);
  int inner_reads = 0;
  outer.fails = [&](const StreamRecord& record) {
    if (record.call != StreamCall::kRead) return false;
    RecordingStream inner;
    BitmapPointer read;
    EXPECT_EQ(WriteTiffStream(bitmap_.get(), PxtFileTypeTiffGroup4, &inner), 1);
    inner.position = 0;
    read = ReadTiffStream(&inner);
    EXPECT_NE(read, nullptr);
    EXPECT_TRUE(OthersAreLockedOut());
    ++inner_reads;
    return false;
  };
  BitmapPointer bitmap = ReadTiffStream(&outer);
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(PixelsOf(*bitmap), Bytes(800, 0x5A));
  EXPECT_GT(inner_reads, 0);
  EXPECT_FALSE(OthersAreLockedOut());
}

// The silence.

std::atomic<int> messages{0};

void CountMessage(const char*, const char*, va_list) { ++messages; }
void CountMessageOf(thandle_t, const char*, const char*, va_list) { ++messages; }

void CountAllMessages() {
  TIFFSetErrorHandler(CountMessage);
  TIFFSetErrorHandlerExt(CountMessageOf);
  TIFFSetWarningHandler(CountMessage);
  TIFFSetWarningHandlerExt(CountMessageOf);
  messages = 0;
}

TEST_F(TiffCallsTest, ReplaceHandlersWithOnesThatDoNothing) {
  // libtiff has something to say about the damaged file, to the handlers of others.
  CountAllMessages();
  {
    TiffMemory memory(damaged_);
    const TiffPointer tiff = memory.Open("r");
    std::uint8_t row[8];
    if (tiff != nullptr) TIFFReadScanline(tiff.get(), row, 0, 0);
  }
  ASSERT_GT(messages, 0);

  const auto read_file = [this] {
    return ReadTiffFile(Path("damaged.tif").c_str(), 0) != nullptr ? 1 : 0;
  };
  const auto read_nothing = [this] {
    return ReadTiffFile(Path("missing.tif").c_str(), 0) != nullptr ? 1 : 0;
  };
  const auto read_stream = [this] {
    RecordingStream stream(damaged_);
    return ReadTiffStream(&stream) != nullptr ? 1 : 0;
  };
  const auto write_file = [this] {
    return WriteTiffFile(bitmap_.get(), PxtFileTypeTiffLzw, Path("missing/new.tif").c_str());
  };
  const auto write_stream = [this] {
    RecordingStream stream;
    stream.capacity = 100;
    return WriteTiffStream(bitmap_.get(), PxtFileTypeTiffLzw, &stream);
  };
  for (const auto& call : std::vector<std::function<int()>>{read_file, read_nothing, read_stream,
                                                            write_file, write_stream}) {
    CountAllMessages();
    EXPECT_EQ(call(), 0);
    testing::internal::CaptureStderr();
    TIFFError("test", "an error");
    TIFFErrorExt(nullptr, "test", "an error");
    TIFFWarning("test", "a warning");
    TIFFWarningExt(nullptr, "test", "a warning");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(messages, 0);
    // There are handlers, not just none.
    EXPECT_NE(TIFFSetErrorHandler(nullptr), nullptr);
    EXPECT_NE(TIFFSetErrorHandlerExt(nullptr), nullptr);
    EXPECT_NE(TIFFSetWarningHandler(nullptr), nullptr);
    EXPECT_NE(TIFFSetWarningHandlerExt(nullptr), nullptr);
  }
}

TEST_F(TiffCallsTest, PrintNothing) {
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  for (const auto& call : AllCalls()) call();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// The stream.

TEST_F(TiffCallsTest, HoldAReferenceToTheStreamFromTheFirstToTheLast) {
  for (const bool is_reading : {true, false}) {
    RecordingStream stream(is_reading ? right_ : Bytes());
    ULONG fewest = 100;
    stream.fails = [&](const StreamRecord& record) {
      const bool is_use = record.call != StreamCall::kAddRef && record.call != StreamCall::kRelease;
      if (is_use) fewest = std::min(fewest, stream.references);
      return false;
    };
    if (is_reading) {
      EXPECT_NE(ReadTiffStream(&stream), nullptr);
    } else {
      EXPECT_EQ(WriteTiffStream(bitmap_.get(), PxtFileTypeTiffGroup4, &stream), 1);
    }
    EXPECT_EQ(fewest, 3U);  // the test's, the call's and the procedure's
    EXPECT_EQ(stream.references, 1U);
    const std::vector<StreamRecord> records = stream.TakeRecords();
    ASSERT_GE(records.size(), 2U);
    EXPECT_EQ(records.front(), StreamRecord{StreamCall::kAddRef});
    EXPECT_EQ(records.back(), StreamRecord{StreamCall::kRelease});
  }
}

TEST_F(TiffCallsTest, SurviveEveryFailureOfAStreamThatIsRead) {
  for (const Bytes& file : {right_, ColorTiff()}) {
    for (const StreamCall call : {StreamCall::kRead, StreamCall::kSeek, StreamCall::kStat}) {
      for (const bool fails_for_good : {false, true}) {
        bool has_failed = true;
        for (int failing = 1; has_failed; ++failing) {
          RecordingStream stream(file);
          int calls = 0;
          stream.fails = [&](const StreamRecord& record) {
            if (record.call != call) return false;
            ++calls;
            return fails_for_good ? calls >= failing : calls == failing;
          };
          BitmapPointer bitmap = ReadTiffStream(&stream);
          has_failed = calls >= failing;
          EXPECT_TRUE(has_failed || bitmap != nullptr);
          EXPECT_EQ(stream.references, 1U);
        }
      }
    }
  }
}

TEST_F(TiffCallsTest, FailWhenTheStreamCannotBeReadAtAll) {
  RecordingStream stream(right_);
  stream.fails = [](const StreamRecord& record) { return record.call == StreamCall::kRead; };
  BitmapPointer bitmap;
  EXPECT_EQ(ReadTiffStream(&stream), nullptr);
}

TEST_F(TiffCallsTest, NeverGiveAnotherImageWhenReadsFallShort) {
  const std::optional<TiffPicture> expected = ReferenceTiffPage(right_);
  ASSERT_TRUE(expected.has_value());
  for (const unsigned most : {0U, 1U, 7U, 100U, 1000U}) {
    RecordingStream stream(right_);
    stream.most_at_once = most;
    const BitmapPointer bitmap = ReadTiffStream(&stream);
    if (bitmap != nullptr) {
      EXPECT_EQ(DifferenceFrom(expected, bitmap.get()), "") << most;
    }
    EXPECT_EQ(stream.references, 1U);
  }
}

TEST_F(TiffCallsTest, SurviveStreamsThatClaimAnotherSize) {
  for (const std::uint64_t size :
       {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{right_.size() - 1},
        std::uint64_t{right_.size() + 1}, std::uint64_t{0xFFFFFFFFU}, std::uint64_t{0x100000000U},
        std::uint64_t{0x7FFFFFFFFFFFFFFFU}}) {
    for (const Bytes& file : {right_, ColorTiff()}) {
      RecordingStream stream(file);
      stream.claimed_size = size;
      BitmapPointer bitmap = ReadTiffStream(&stream);
      EXPECT_EQ(stream.references, 1U);
    }
  }
}

}  // namespace
}  // namespace pixtola::test
