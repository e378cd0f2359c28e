// PCX files that cannot be written, and bitmaps that cannot be locked while they are.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <new>
#include <string>

#include "faults/fault_images.h"
#include "io/pcx_reader.h"
#include "io/pcx_writer.h"
#include "support/fault_injection.h"
#include "support/temporary_folder.h"

namespace pixtola {
namespace {

using test_support::BitmapPointer;
using test_support::Bytes;
using test_support::CanBeLocked;
using test_support::Fault;
using test_support::FaultPlan;
using test_support::ForEveryFault;
using test_support::Picture;
using test_support::PictureOf;
using test_support::RandomBitmap;
using test_support::ReadWholeFile;

constexpr Gdiplus::PixelFormat kWrittenFormats[] = {PixelFormat1bppIndexed, PixelFormat8bppIndexed,
                                                    PixelFormat24bppRGB};

class WritePcxFileUnderFaults : public testing::Test {
 protected:
  int Write(Gdiplus::Bitmap& bitmap, FaultPlan& plan) {
    std::filesystem::remove(path_);
    return plan.Run([&] { return WritePcxFile(wide_path_.c_str(), &bitmap); });
  }

  /// How many calls opening a new file makes that can fail: each of them may leave it there, empty,
  /// which is not the writer's doing.
  std::uint32_t CallsOfOpening(Fault fault) {
    std::filesystem::remove(path_);
    FaultPlan plan(fault, std::numeric_limits<std::uint32_t>::max());
    std::FILE* const file =
        plan.Run([&] { return _wfsopen(wide_path_.c_str(), L"wb", _SH_DENYRW); });
    EXPECT_NE(file, nullptr);
    if (file != nullptr) std::fclose(file);
    return plan.calls();
  }

  /// After a failure.
  bool IsEmptyFileLeft() {
    const bool is_left = std::filesystem::exists(path_);
    EXPECT_TRUE(!is_left || std::filesystem::file_size(path_) == 0);
    return is_left;
  }

  Bytes WrittenUndisturbed(Gdiplus::Bitmap& bitmap) {
    EXPECT_EQ(WritePcxFile(wide_path_.c_str(), &bitmap), 1);
    return ReadWholeFile(path_);
  }

  test_support::TemporaryFolder folder_;
  std::filesystem::path path_ = folder_ / "file.pcx";
  std::wstring wide_path_ = path_.wstring();
};

TEST_F(WritePcxFileUnderFaults, WritesAWholeIndexedFileOrNone) {
  for (const auto format : {PixelFormat1bppIndexed, PixelFormat8bppIndexed}) {
    const BitmapPointer bitmap = RandomBitmap(48, 37, format);
    const Bytes undisturbed = WrittenUndisturbed(*bitmap);
    for (const Fault fault : {Fault::kWrite, Fault::kAllocation}) {
      SCOPED_TRACE(testing::Message()
                   << "format " << format << ", fault " << static_cast<int>(fault));
      const std::uint32_t calls_of_opening = CallsOfOpening(fault);
      std::uint32_t failures = 0;
      std::uint32_t empty_files = 0;
      ForEveryFault(fault, [&](FaultPlan& plan) {
        const int result = Write(*bitmap, plan);
        if (result == 0) {
          EXPECT_TRUE(plan.HasFired());
          ++failures;
          if (IsEmptyFileLeft()) ++empty_files;
        } else if (ReadWholeFile(path_) != undisturbed) {
          // A palette that there is no memory for counts as none.
          EXPECT_EQ(fault, Fault::kAllocation);
          EXPECT_EQ(ReadWholeFile(path_).size(), undisturbed.size());
        }
        EXPECT_TRUE(CanBeLocked(*bitmap));
      });
      EXPECT_GT(failures, calls_of_opening);
      EXPECT_LE(empty_files, calls_of_opening);
    }
  }
}

TEST_F(WritePcxFileUnderFaults, WritesATrueColourFileOrNone) {
  const BitmapPointer bitmap = RandomBitmap(48, 37, PixelFormat24bppRGB);
  const Bytes undisturbed = WrittenUndisturbed(*bitmap);
  for (const Fault fault : {Fault::kWrite, Fault::kAllocation}) {
    SCOPED_TRACE(testing::Message() << "fault " << static_cast<int>(fault));
    const std::uint32_t calls_of_opening = CallsOfOpening(fault);
    std::uint32_t empty_files = 0;
    const std::uint32_t faults = ForEveryFault(fault, [&](FaultPlan& plan) {
      const int result = Write(*bitmap, plan);
      if (result == 0) {
        EXPECT_TRUE(plan.HasFired());
        if (IsEmptyFileLeft()) ++empty_files;
      } else {
        // Rows that are not written are not missed.
        EXPECT_TRUE((fault == Fault::kWrite && plan.HasFired()) ||
                    ReadWholeFile(path_) == undisturbed);
      }
      EXPECT_TRUE(CanBeLocked(*bitmap));
    });
    EXPECT_GT(faults, calls_of_opening);
    EXPECT_LE(empty_files, calls_of_opening);
  }
}

TEST_F(WritePcxFileUnderFaults, WritesNoFileOfABitmapThatCannotBeLocked) {
  for (const auto format : kWrittenFormats) {
    const BitmapPointer bitmap = RandomBitmap(48, 5, format);
    FaultPlan plan(Fault::kLock, 1);
    EXPECT_EQ(Write(*bitmap, plan), 0) << format;
    EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::OutOfMemory) << format;
    EXPECT_TRUE(folder_.is_empty()) << format;
  }
}

TEST_F(WritePcxFileUnderFaults, WritesAFileWithoutRowsWhenTheSecondLockFails) {
  for (const auto format : kWrittenFormats) {
    SCOPED_TRACE(testing::Message() << "format " << format);
    const BitmapPointer bitmap = RandomBitmap(48, 5, format);
    const Bytes whole = WrittenUndisturbed(*bitmap);
    FaultPlan plan(Fault::kLock, 2);
    EXPECT_EQ(Write(*bitmap, plan), 1);
    EXPECT_EQ(plan.calls(), 2U);
    EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::OutOfMemory);
    const std::size_t tail_size = format == PixelFormat1bppIndexed   ? 7
                                  : format == PixelFormat8bppIndexed ? 769
                                                                     : 0;
    ASSERT_GT(whole.size(), 128 + tail_size);
    Bytes expected(whole.begin(), whole.begin() + 128);
    expected.insert(expected.end(), whole.end() - static_cast<std::ptrdiff_t>(tail_size),
                    whole.end());
    EXPECT_EQ(ReadWholeFile(path_), expected);
    EXPECT_TRUE(CanBeLocked(*bitmap));
  }
}

/// What the language's own library allocates for a thread's first exception, it keeps.
void ThrowOnce() {
  try {
    throw std::bad_alloc();
  } catch (const std::bad_alloc&) {
    return;
  }
}

TEST(ReadPcxFileUnderFaults, ReadsAPictureOfTheRightSizeOrNone) {
  ThrowOnce();
  const test_support::TemporaryFolder folder;
  const std::wstring path = (folder / "file.pcx").wstring();
  for (const auto format : kWrittenFormats) {
    const BitmapPointer bitmap = RandomBitmap(48, 37, format);
    ASSERT_EQ(WritePcxFile(path.c_str(), bitmap.get()), 1);
    BitmapPointer undisturbed;
    ASSERT_EQ(ReadPcxFile(path.c_str(), test_support::Receive(undisturbed)), 1);
    const Picture picture = PictureOf(*undisturbed);
    for (const Fault fault : {Fault::kRead, Fault::kAllocation, Fault::kLock}) {
      SCOPED_TRACE(testing::Message()
                   << "format " << format << ", fault " << static_cast<int>(fault));
      ForEveryFault(fault, [&](FaultPlan& plan) {
        Gdiplus::Bitmap* read = undisturbed.get();
        const int result = plan.Run([&] { return ReadPcxFile(path.c_str(), &read); });
        if (result == 0) {
          EXPECT_TRUE(plan.HasFired());
          EXPECT_EQ(read, undisturbed.get());
          return;
        }
        ASSERT_EQ(result, 1);
        ASSERT_NE(read, undisturbed.get());
        const BitmapPointer owned(read);
        const Picture shown = PictureOf(*owned);
        EXPECT_EQ(shown.width, picture.width);
        EXPECT_EQ(shown.height, picture.height);
        EXPECT_EQ(shown.format, picture.format);
        // What is not read is as if the file ended there.
        EXPECT_TRUE(fault == Fault::kRead || shown.pixels == picture.pixels);
        EXPECT_TRUE(plan.HasFired() || shown == picture);
      });
    }
  }
}

}  // namespace
}  // namespace pixtola
