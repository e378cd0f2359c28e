// Writing PCX files when out of memory, the bitmap cannot be locked or the file cannot be written,
// or the bitmap's resolution is not valid.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <limits>

#include "faults/fault_images.h"
#include "faults/fault_makers.h"
#include "io/pcx_writer.h"
#include "support/fault_injection.h"
#include "support/platform_calls.h"
#include "support/temporary_folder.h"

namespace pixtola::test {
namespace {

constexpr std::uint32_t kHeight = 37;
constexpr std::size_t kHeaderSize = 128;

/// Whether `part` is `whole` without one piece of it.
bool IsWithoutOnePiece(const Bytes& part, const Bytes& whole) {
  if (part.size() >= whole.size()) return false;
  const auto cut = std::mismatch(part.begin(), part.end(), whole.begin()).first - part.begin();
  return std::equal(part.begin() + cut, part.end(),
                    whole.end() - (static_cast<std::ptrdiff_t>(part.size()) - cut), whole.end());
}

bool IsBeginningOf(const Bytes& part, const Bytes& whole) {
  return part.size() <= whole.size() && std::equal(part.begin(), part.end(), whole.begin());
}

class PcxWriterUnderFaults : public testing::Test {
 protected:
  struct Outcome {
    int result;
    bool is_file;
    Bytes file;
  };

  /// Writes a file that is not there yet.
  Outcome Write(Gdiplus::Bitmap& bitmap, FaultPlan& plan) {
    std::filesystem::remove(path_);
    Outcome outcome{};
    outcome.result = plan.Run([&] { return WritePcxFile(wide_path_.c_str(), &bitmap); });
    outcome.is_file = std::filesystem::exists(path_);
    if (outcome.is_file) outcome.file = ReadWholeFile(path_);
    EXPECT_TRUE(outcome.result == 1 || plan.HasFired());
    EXPECT_TRUE(CanBeLocked(bitmap));
    return outcome;
  }

  Bytes WriteUndisturbed(Gdiplus::Bitmap& bitmap) {
    EXPECT_EQ(WritePcxFile(wide_path_.c_str(), &bitmap), 1);
    return ReadWholeFile(path_);
  }

  /// How many calls there are that fail to open the file.
  std::uint32_t CallsOfOpening(Fault fault) {
    std::filesystem::remove(path_);
    FaultPlan plan(fault, std::numeric_limits<std::uint32_t>::max());
    std::FILE* const file =
        plan.Run([&] { return _wfsopen(wide_path_.c_str(), L"wb", _SH_DENYRW); });
    EXPECT_NE(file, nullptr);
    if (file != nullptr) std::fclose(file);
    return plan.calls();
  }

  TemporaryFolder folder_;
  std::filesystem::path path_ = folder_ / "file.pcx";
  std::wstring wide_path_ = path_.wstring();
};

// What the platform's own calls leave behind has a test of its own below.
TEST_F(PcxWriterUnderFaults, WritesAWholeIndexedFileOrNone) {
  for (const auto format : {PixelFormat1bppIndexed, PixelFormat8bppIndexed}) {
    const BitmapPointer bitmap = RandomBitmap(48, kHeight, format);
    const Bytes whole = WriteUndisturbed(*bitmap);
    for (const Fault fault : {Fault::kWrite, Fault::kAllocation}) {
      SCOPED_TRACE(testing::Message() << "format " << format);
      const std::uint32_t calls_of_opening = CallsOfOpening(fault);
      bitmap->GetLastStatus();
      std::uint32_t empty_files = 0;
      std::uint32_t failures = 0;
      const std::uint32_t faults = ForEveryFault(fault, [&](FaultPlan& plan) {
        const Outcome outcome = Write(*bitmap, plan);
        EXPECT_TRUE(outcome.result == 0 || outcome.file == whole);
        EXPECT_TRUE(outcome.result == 1 || outcome.file.empty());
        empty_files += outcome.result == 0 && outcome.is_file ? 1 : 0;
        failures += outcome.result == 0 ? 1 : 0;
      });
      EXPECT_EQ(failures, faults);
      EXPECT_LE(empty_files, calls_of_opening);
      // The header, the rows, the palette.
      EXPECT_TRUE(fault != Fault::kWrite || failures >= calls_of_opening + kHeight + 2);
      EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::Ok);
    }
  }
}

TEST_F(PcxWriterUnderFaults, LeavesNoFileThatCouldNotBeOpened) {
  const BitmapPointer bitmap = RandomBitmap(48, kHeight, PixelFormat8bppIndexed);
  for (const Fault fault : {Fault::kWrite, Fault::kAllocation}) {
    const std::uint32_t calls = CallsOfOpening(fault);
    for (std::uint32_t nth = 1; nth <= calls; ++nth) {
      FaultPlan plan(fault, nth);
      EXPECT_EQ(Write(*bitmap, plan).result, 0);
      EXPECT_TRUE(folder_.is_empty()) << "fault " << nth << " of kind " << static_cast<int>(fault);
    }
  }
}

TEST_F(PcxWriterUnderFaults, DeletesAPartialFileAlsoWhenNothingWorksAnyMore) {
  const BitmapPointer bitmap = RandomBitmap(48, kHeight, PixelFormat8bppIndexed);
  for (const Fault fault : {Fault::kWrite, Fault::kAllocation}) {
    const std::uint32_t calls_before_the_header = CallsOfOpening(fault);
    std::uint32_t nth = 0;
    ForEveryFault(
        fault,
        [&](FaultPlan& plan) {
          const Outcome outcome = Write(*bitmap, plan);
          EXPECT_EQ(outcome.result, plan.HasFired() ? 0 : 1);
          EXPECT_TRUE(++nth <= calls_before_the_header || outcome.is_file == (outcome.result == 1));
        },
        Span::kToTheEnd);
  }
}

// Kept on purpose: nobody looks whether rows of colour images were written.
TEST_F(PcxWriterUnderFaults, OverlooksRowsOfColourImagesThatCannotBeWritten) {
  const BitmapPointer bitmap = RandomBitmap(48, kHeight, PixelFormat24bppRGB);
  const Bytes whole = WriteUndisturbed(*bitmap);
  const std::uint32_t before_the_rows = CallsOfOpening(Fault::kWrite) + 1;
  for (const Span span : kSpans) {
    std::uint32_t nth = 0;
    const std::uint32_t faults = ForEveryFault(
        Fault::kWrite,
        [&](FaultPlan& plan) {
          ++nth;
          SCOPED_TRACE(nth);
          const Outcome outcome = Write(*bitmap, plan);
          EXPECT_EQ(outcome.result, plan.HasFired() && nth <= before_the_rows ? 0 : 1);
          EXPECT_TRUE(outcome.result == 1 || outcome.file.empty());
          if (outcome.result == 0) return;
          const bool lacks_a_row = plan.HasFired() && nth <= before_the_rows + kHeight;
          EXPECT_EQ(outcome.file != whole, lacks_a_row);
          if (!lacks_a_row) return;
          EXPECT_GE(outcome.file.size(), kHeaderSize);
          EXPECT_TRUE(span == Span::kOneCall ? IsWithoutOnePiece(outcome.file, whole)
                                             : IsBeginningOf(outcome.file, whole));
        },
        span);
    EXPECT_GE(faults, before_the_rows + kHeight);
  }
}

TEST_F(PcxWriterUnderFaults, WritesAWholeColourFileOrNoneWithoutMemory) {
  for (const auto format : {PixelFormat4bppIndexed, PixelFormat24bppRGB, PixelFormat32bppARGB}) {
    const BitmapPointer bitmap = RandomBitmap(48, kHeight, format);
    const Bytes whole = WriteUndisturbed(*bitmap);
    SCOPED_TRACE(testing::Message() << "format " << format);
    std::uint32_t failures = 0;
    ForEveryFault(Fault::kAllocation, [&](FaultPlan& plan) {
      const Outcome outcome = Write(*bitmap, plan);
      // Converted rows that there is no memory for are left out like those of a bitmap that cannot
      // be locked.
      const bool is_converted = format != PixelFormat24bppRGB;
      const Bytes header(whole.begin(), whole.begin() + kHeaderSize);
      EXPECT_TRUE(outcome.result == 0 || outcome.file == whole ||
                  (is_converted && plan.HasFired() && outcome.file == header));
      EXPECT_TRUE(outcome.result == 1 || outcome.file.empty());
      failures += outcome.result == 0 ? 1 : 0;
    });
    EXPECT_GE(failures, 2U);
  }
}

TEST_F(PcxWriterUnderFaults, WritesNothingOfABitmapThatCannotBeLocked) {
  for (const auto format : {PixelFormat1bppIndexed, PixelFormat8bppIndexed, PixelFormat24bppRGB}) {
    for (const Span span : kSpans) {
      SCOPED_TRACE(testing::Message() << "format " << format);
      const BitmapPointer bitmap = RandomBitmap(48, kHeight, format);
      bitmap->GetLastStatus();
      FaultPlan plan(Fault::kLock, 1, span);
      EXPECT_EQ(Write(*bitmap, plan).result, 0);
      EXPECT_EQ(plan.calls(), 1U);
      EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::OutOfMemory);
      EXPECT_TRUE(folder_.is_empty());
    }
  }
}

// Kept on purpose: the second lock, for the rows, may fail, and the file goes on without them.
TEST_F(PcxWriterUnderFaults, LeavesOutRowsThatCannotBeLocked) {
  struct Case {
    Gdiplus::PixelFormat format;
    std::ptrdiff_t palette_size;
  };
  for (const Case& example :
       {Case{PixelFormat1bppIndexed, 1 + 2 * 3}, Case{PixelFormat8bppIndexed, 1 + 256 * 3},
        Case{PixelFormat24bppRGB, 0}}) {
    SCOPED_TRACE(testing::Message() << "format " << example.format);
    const BitmapPointer bitmap = RandomBitmap(48, kHeight, example.format);
    const Bytes whole = WriteUndisturbed(*bitmap);
    bitmap->GetLastStatus();
    const std::uint32_t faults = ForEveryFault(Fault::kLock, [&](FaultPlan& plan) {
      const Outcome outcome = Write(*bitmap, plan);
      EXPECT_EQ(bitmap->GetLastStatus(), plan.HasFired() ? Gdiplus::OutOfMemory : Gdiplus::Ok);
      if (plan.calls() < 2 || !plan.HasFired()) return;
      Bytes expected(whole.begin(), whole.begin() + kHeaderSize);
      expected.insert(expected.end(), whole.end() - example.palette_size, whole.end());
      EXPECT_EQ(outcome.result, 1);
      EXPECT_EQ(outcome.file, expected);
    });
    EXPECT_EQ(faults, 2U);
  }
}

TEST_F(PcxWriterUnderFaults, DeletesAFileWhosePaletteFindsNoMemory) {
  for (const auto format : {PixelFormat1bppIndexed, PixelFormat8bppIndexed}) {
    const BitmapPointer bitmap = RandomBitmap(48, kHeight, format);
    // A file that was there goes, too: it had been opened for writing.
    WriteUndisturbed(*bitmap);
    FaultPlan never(Fault::kAllocation, std::numeric_limits<std::uint32_t>::max());
    never.Run([&] { return WritePcxFile(wide_path_.c_str(), bitmap.get()); });
    // The last thing that there must be memory for.
    FaultPlan plan(Fault::kAllocation, never.calls());
    EXPECT_EQ(plan.Run([&] { return WritePcxFile(wide_path_.c_str(), bitmap.get()); }), 0);
    EXPECT_TRUE(folder_.is_empty());
  }
}

TEST_F(PcxWriterUnderFaults, WritesBlackForAPaletteThatThePlatformDoesNotGive) {
  for (const auto format : {PixelFormat1bppIndexed, PixelFormat8bppIndexed}) {
    const BitmapPointer bitmap = RandomBitmap(48, kHeight, format);
    Bytes expected = WriteUndisturbed(*bitmap);
    const std::size_t colors = format == PixelFormat1bppIndexed ? 2 : 256;
    ASSERT_GT(expected.size(), 3 * colors);
    std::fill(expected.end() - static_cast<std::ptrdiff_t>(3 * colors), expected.end(), 0);
    // Its size, then its entries.
    for (const std::uint32_t nth : {1U, 2U}) {
      bitmap->GetLastStatus();
      FaultPlan plan(Fault::kPalette, nth);
      const Outcome outcome = Write(*bitmap, plan);
      EXPECT_TRUE(plan.HasFired());
      EXPECT_EQ(outcome.result, 1);
      EXPECT_EQ(outcome.file, expected) << nth;
      EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::OutOfMemory);
    }
  }
}

TEST_F(PcxWriterUnderFaults, WritesNoResolutionOfWhatIsNoPositiveNumber) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  constexpr float kNoNumber = std::numeric_limits<float>::quiet_NaN();
  const BitmapPointer bitmap = RandomBitmap(48, kHeight, PixelFormat24bppRGB);
  for (const float dpi : {kNoNumber, -kNoNumber, 0.0F, -0.5F, -1.0F, -300.0F, -65536.0F, -1e6F,
                          -kInfinity, kInfinity}) {
    const auto resolution = [&](float horizontal_dpi, float vertical_dpi) {
      const ToldResolution told(horizontal_dpi, vertical_dpi);
      const Bytes file = WriteUndisturbed(*bitmap);
      EXPECT_GE(file.size(), kHeaderSize);
      return Bytes(file.begin() + 12, file.begin() + 16);
    };
    const std::uint8_t byte = dpi == kInfinity ? 255 : 0;  // which is larger than all
    EXPECT_EQ(resolution(dpi, 258), (Bytes{byte, byte, 2, 1})) << dpi;
    EXPECT_EQ(resolution(258, dpi), (Bytes{2, 1, byte, byte})) << dpi;
  }
}

}  // namespace
}  // namespace pixtola::test
