// Writing TIFF files and streams when out of memory, the bitmap cannot be locked or the file cannot
// be written. libtiff's own memory is left alone.

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "faults/fault_images.h"
#include "faults/fault_makers.h"
#include "faults/fault_streams.h"
#include "io/tiff_client.h"
#include "io/tiff_lock.h"
#include "io/tiff_reader.h"
#include "io/tiff_writer.h"
#include "support/fault_injection.h"
#include "support/temporary_folder.h"
#include "support/test_formats.h"
#include "support/tiff_file.h"

namespace pixtola::test {
namespace {

constexpr Gdiplus::PixelFormat kFormats[] = {PixelFormat1bppIndexed, PixelFormat8bppIndexed,
                                             PixelFormat24bppRGB};
constexpr std::uint32_t kNever = std::numeric_limits<std::uint32_t>::max();

/// Whether fax compression can be asked for.
bool IsWritable(PxtFileType type, Gdiplus::PixelFormat format) {
  const bool is_fax = type == PxtFileTypeTiffGroup3 || type == PxtFileTypeTiffGroup4;
  return format == PixelFormat1bppIndexed || !is_fax;
}

/// Calls `check` with every bitmap and type that go together. The bitmaps are several strips high,
/// each of which is written with one call.
template <typename Check>
void ForEveryType(const Check& check) {
  for (const Gdiplus::PixelFormat format : kFormats) {
    const BitmapPointer bitmap = Stripes(800, format == PixelFormat1bppIndexed ? 300 : 25, format);
    ASSERT_NE(bitmap, nullptr);
    for (const PxtFileType type : kTiffTypes) {
      if (!IsWritable(type, format)) continue;
      SCOPED_TRACE(testing::Message() << "format " << format << ", type " << type);
      bitmap->GetLastStatus();
      check(*bitmap, type);
      EXPECT_TRUE(CanBeLocked(*bitmap));
    }
  }
}

class TiffWriterUnderFaults : public testing::Test {
 protected:
  int Write(Gdiplus::Bitmap& bitmap, PxtFileType type) {
    return WriteTiffFile(&bitmap, type, wide_path_.c_str());
  }

  void UseNewName() {
    path_ = folder_ / ("a name that takes memory of its own " + std::to_string(next_file_++));
    wide_path_ = path_.wstring();
  }

  bool IsFile() { return std::filesystem::exists(path_); }

  std::uint32_t WriteCallsOfOpening() {
    FaultPlan plan(Fault::kWrite, kNever);
    TIFF* const tiff = plan.Run([&] { return platform::OpenTiffFile(wide_path_.c_str(), "w"); });
    EXPECT_NE(tiff, nullptr);
    if (tiff != nullptr) TIFFClose(tiff);
    return plan.calls();
  }

  std::uint32_t CountStrips() {
    const auto tiff = OpenTiff(path_, "r");
    return tiff != nullptr ? TIFFNumberOfStrips(tiff.get()) : 0;
  }

  TemporaryFolder folder_;
  std::filesystem::path path_ = folder_ / "a name that takes memory of its own";
  std::wstring wide_path_ = path_.wstring();
  int next_file_ = 0;
};

TEST_F(TiffWriterUnderFaults, FailsOnlyBeforeAllStripsAreWritten) {
  ForEveryType([&](Gdiplus::Bitmap& bitmap, PxtFileType type) {
    ASSERT_EQ(Write(bitmap, type), 1);
    const Bytes whole = ReadWholeFile(path_);
    const std::uint32_t strips = CountStrips();
    EXPECT_GE(strips, 2U);
    const std::uint32_t opening = WriteCallsOfOpening();
    for (const Span span : kSpans) {
      std::uint32_t nth = 0;
      const std::uint32_t faults = ForEveryFault(
          Fault::kWrite,
          [&](FaultPlan& plan) {
            ++nth;
            std::filesystem::remove(path_);
            const int result = plan.Run([&] { return Write(bitmap, type); });
            // Nobody looks whether the directory behind the strips could be written.
            EXPECT_EQ(result, plan.HasFired() && nth <= opening + strips ? 0 : 1) << nth;
            // What was written stays.
            EXPECT_TRUE(IsFile());
            EXPECT_TRUE(plan.HasFired() || ReadWholeFile(path_) == whole);
          },
          span);
      EXPECT_GT(faults, opening + strips);
    }
    EXPECT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
  });
}

TEST_F(TiffWriterUnderFaults, WritesAPageOrTellsOfFailureWithoutMemory) {
  ForEveryType([&](Gdiplus::Bitmap& bitmap, PxtFileType type) {
    ASSERT_EQ(Write(bitmap, type), 1);
    const Bytes whole = ReadWholeFile(path_);
    for (const Span span : kSpans) {
      std::uint32_t failures = 0;
      ForEveryFault(
          Fault::kAllocation,
          [&](FaultPlan& plan) {
            // libtiff for Windows leaves a file open when out of memory for the name.
            UseNewName();
            const int result = plan.Run([&] { return Write(bitmap, type); });
            failures += result == 0 ? 1 : 0;
            EXPECT_TRUE(result == 1 || plan.HasFired());
            if (result == 0 || ReadWholeFile(path_) == whole) return;
            // Only a directory for which it is out of memory goes unnoticed.
            EXPECT_TRUE(plan.HasFired());
            EXPECT_EQ(ReadTiffFile(wide_path_.c_str(), 0), nullptr);
          },
          span);
      // The strip, if nothing else.
      EXPECT_GE(failures, 1U);
    }
    EXPECT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
  });
}

// White as colour 1 is black without the palette.
TEST_F(TiffWriterUnderFaults, WritesNoPageWhosePaletteFindsNoMemory) {
  ForEveryType([&](Gdiplus::Bitmap& bitmap, PxtFileType type) {
    if (bitmap.GetPixelFormat() == PixelFormat24bppRGB) return;
    // What is allocated first, outside of libtiff: the file's name, and then the palette.
    FaultPlan opening(Fault::kAllocation, kNever);
    TIFF* const tiff = opening.Run([&] { return platform::OpenTiffFile(wide_path_.c_str(), "w"); });
    ASSERT_NE(tiff, nullptr);
    TIFFClose(tiff);
    FaultPlan plan(Fault::kAllocation, opening.calls() + 1);
    EXPECT_EQ(plan.Run([&] { return Write(bitmap, type); }), 0);
    EXPECT_TRUE(plan.HasFired());
  });
}

TEST_F(TiffWriterUnderFaults, WritesNoPageOfABitmapThatCannotBeLocked) {
  ForEveryType([&](Gdiplus::Bitmap& bitmap, PxtFileType type) {
    const std::uint32_t faults = ForEveryFault(Fault::kLock, [&](FaultPlan& plan) {
      const int result = plan.Run([&] { return Write(bitmap, type); });
      EXPECT_EQ(result, plan.HasFired() ? 0 : 1);
      EXPECT_EQ(bitmap.GetLastStatus(), plan.HasFired() ? Gdiplus::OutOfMemory : Gdiplus::Ok);
    });
    EXPECT_EQ(faults, 1U);
  });
}

TEST_F(TiffWriterUnderFaults, LeavesLibtiffFreeForOthers) {
  const BitmapPointer bitmap = Stripes(800, 300, PixelFormat1bppIndexed);
  ForEveryFault(Fault::kWrite, [&](FaultPlan& plan) {
    plan.Run([&] { return Write(*bitmap, PxtFileTypeTiffGroup4); });
    EXPECT_TRUE(TiffLock.try_lock());
    TiffLock.unlock();
  });
}

class TiffStreamWriterUnderFaults : public testing::Test {
 protected:
  /// Writes through a stream that can fail. Nobody holds a reference to it afterwards.
  struct Written {
    int result;
    Bytes bytes;
  };
  static Written Write(Gdiplus::Bitmap& bitmap, PxtFileType type, FaultPlan& plan) {
    const StreamPointer inner = EmptyStream();
    IStream* const stream = InFrontOf(*inner).release();
    Written written{};
    written.result = plan.Run([&] { return WriteTiffStream(&bitmap, type, stream); });
    written.bytes = BytesOf(*inner);
    EXPECT_EQ(stream->Release(), 0U);
    EXPECT_EQ(inner->AddRef(), 2U);
    inner->Release();
    return written;
  }

  static std::uint32_t CountStrips(Gdiplus::Bitmap& bitmap, PxtFileType type) {
    const StreamPointer stream = EmptyStream();
    EXPECT_EQ(WriteTiffStream(&bitmap, type, stream.get()), 1);
    EXPECT_EQ(stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr), S_OK);
    const TiffFile tiff(OpenTiffStream(*stream, "r"));
    return tiff != nullptr ? TIFFNumberOfStrips(tiff.get()) : 0;
  }
};

TEST_F(TiffStreamWriterUnderFaults, FailsOnlyBeforeAllStripsAreWritten) {
  ForEveryType([&](Gdiplus::Bitmap& bitmap, PxtFileType type) {
    FaultPlan never(Fault::kWrite, kNever);
    const Bytes whole = Write(bitmap, type, never).bytes;
    const std::uint32_t header_and_strips = 1 + CountStrips(bitmap, type);
    for (const Span span : kSpans) {
      std::uint32_t nth = 0;
      const std::uint32_t faults = ForEveryFault(
          Fault::kWrite,
          [&](FaultPlan& plan) {
            ++nth;
            const Written written = Write(bitmap, type, plan);
            EXPECT_EQ(written.result, plan.HasFired() && nth <= header_and_strips ? 0 : 1) << nth;
            EXPECT_TRUE(plan.HasFired() || written.bytes == whole);
          },
          span);
      EXPECT_GT(faults, header_and_strips);
    }
    EXPECT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
  });
}

TEST_F(TiffStreamWriterUnderFaults, WritesNoPageOfABitmapThatCannotBeLocked) {
  ForEveryType([&](Gdiplus::Bitmap& bitmap, PxtFileType type) {
    const std::uint32_t faults = ForEveryFault(Fault::kLock, [&](FaultPlan& plan) {
      const int result = Write(bitmap, type, plan).result;
      EXPECT_EQ(result, plan.HasFired() ? 0 : 1);
      EXPECT_EQ(bitmap.GetLastStatus(), plan.HasFired() ? Gdiplus::OutOfMemory : Gdiplus::Ok);
    });
    EXPECT_EQ(faults, 1U);
  });
}

TEST_F(TiffStreamWriterUnderFaults, WritesAPageOrTellsOfFailureWithoutMemory) {
  ForEveryType([&](Gdiplus::Bitmap& bitmap, PxtFileType type) {
    for (const Span span : kSpans) {
      std::uint32_t failures = 0;
      ForEveryFault(
          Fault::kAllocation,
          [&](FaultPlan& plan) {
            const int result = Write(bitmap, type, plan).result;
            EXPECT_TRUE(result == 1 || plan.HasFired());
            failures += result == 0 ? 1 : 0;
          },
          span);
      EXPECT_GE(failures, 1U);
    }
    EXPECT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
  });
}

}  // namespace
}  // namespace pixtola::test
