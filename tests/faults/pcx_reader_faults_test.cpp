// Reading PCX files when out of memory, the new bitmap cannot be locked or the file cannot be read.

#include <gtest/gtest.h>

#include <algorithm>

#include "faults/fault_images.h"
#include "faults/fault_makers.h"
#include "io/pcx_reader.h"
#include "io/pcx_writer.h"
#include "support/fault_injection.h"
#include "support/temporary_folder.h"

namespace pixtola::test {
namespace {

constexpr Gdiplus::PixelFormat kFormats[] = {PixelFormat1bppIndexed, PixelFormat8bppIndexed,
                                             PixelFormat24bppRGB};

class PcxReaderUnderFaults : public testing::Test {
 protected:
  /// A file of the bitmap, of 200 x 300 dots per inch.
  void WriteFile(Gdiplus::Bitmap& bitmap) {
    ASSERT_EQ(WritePcxFile(path_.wstring().c_str(), &bitmap), 1);
  }

  int Read(Gdiplus::Bitmap** bitmap) {
    BitmapPointer read = ReadPcxFile(wide_path_.c_str());
    if (read == nullptr) return 0;
    *bitmap = read.release();
    return 1;
  }

  Picture ReadUndisturbed() {
    BitmapPointer bitmap;
    EXPECT_EQ(Read(Receive(bitmap)), 1);
    return bitmap != nullptr ? PictureOf(*bitmap) : Picture{};
  }

  TemporaryFolder folder_;
  std::filesystem::path path_ = folder_ / "a name that takes memory of its own.pcx";
  std::wstring wide_path_ = path_.wstring();
};

TEST_F(PcxReaderUnderFaults, ReadsTheImageOrNothingWithoutMemory) {
  for (const Gdiplus::PixelFormat format : kFormats) {
    WriteFile(*RandomBitmap(48, 37, format));
    for (const Span span : kSpans) {
      SCOPED_TRACE(testing::Message() << "format " << format);
      const Outcomes outcomes =
          MakeUnderEveryFault({.fault = Fault::kAllocation,
                               .on_failure = Always(OnFailure::kIsLeft),
                               .also_right = {WithDpi(ReadUndisturbed(), 200, 300)},
                               .span = span},
                              [&](Gdiplus::Bitmap** bitmap) { return Read(bitmap); });
      // The name, the pixels, a line, the bitmap.
      EXPECT_GE(outcomes.failures, 4U);
    }
  }
}

TEST_F(PcxReaderUnderFaults, ReadsTheImageOrNothingWhenItCannotBeLocked) {
  for (const Gdiplus::PixelFormat format : kFormats) {
    WriteFile(*RandomBitmap(48, 37, format));
    const bool is_indexed = format != PixelFormat24bppRGB;
    for (const Span span : kSpans) {
      SCOPED_TRACE(testing::Message() << "format " << format);
      const Outcomes locks = MakeUnderEveryFault(
          {.fault = Fault::kLock, .on_failure = Always(OnFailure::kIsLeft), .span = span},
          [&](Gdiplus::Bitmap** bitmap) { return Read(bitmap); });
      EXPECT_EQ(locks.failures, is_indexed ? 0U : 2U);
      const Outcomes writes =
          MakeUnderEveryFault({.fault = Fault::kWrite,
                               .on_failure = Always(OnFailure::kIsLeft),
                               .also_right = {WithDpi(ReadUndisturbed(), 200, 300)},
                               .span = span},
                              [&](Gdiplus::Bitmap** bitmap) { return Read(bitmap); });
      EXPECT_EQ(writes.failures, 0U);
    }
  }
}

/// Pixels that the file holds one byte for each of: no two in a row are equal, none looks like a
/// count. So no count stands at the end of a piece that could be read, to repeat its old value.
BitmapPointer Speckles(UINT width, UINT height, Gdiplus::PixelFormat format) {
  Bytes rows = RandomBytes(PackedBytes(format, width) * height);
  const std::size_t pixel_bytes = BitsOf(format) / 8;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    // Odd and even values take turns.
    rows[i] = static_cast<std::uint8_t>((rows[i] & 0x7E) | (i / pixel_bytes % 2));
  }
  BitmapPointer bitmap = MakeBitmap(width, height, format, rows);
  bitmap->SetResolution(200, 300);
  return bitmap;
}

// A file that cannot be read is as good as one that ends there: rows that are missing repeat what
// the last one was, and that is no failure.
TEST_F(PcxReaderUnderFaults, RepeatsTheLastRowForThoseThatCannotBeRead) {
  for (const Gdiplus::PixelFormat format : {PixelFormat8bppIndexed, PixelFormat24bppRGB}) {
    SCOPED_TRACE(testing::Message() << "format " << format);
    // Large enough to be read in several pieces.
    const UINT width = 600;
    const UINT height = 400;
    WriteFile(*Speckles(width, height, format));
    const Picture whole = ReadUndisturbed();
    const std::size_t row_bytes = PackedBytes(format, width);
    const auto row = [&](const Picture& picture, UINT y) {
      return Bytes(picture.pixels.begin() + static_cast<std::ptrdiff_t>(y * row_bytes),
                   picture.pixels.begin() + static_cast<std::ptrdiff_t>((y + 1) * row_bytes));
    };
    std::vector<UINT> right_rows;
    const std::uint32_t faults = ForEveryFault(Fault::kRead, [&](FaultPlan& plan) {
      Gdiplus::Bitmap* read = UntouchedBitmap();
      const int result = plan.Run([&] { return Read(&read); });
      if (result == 0) {
        EXPECT_EQ(plan.HasFired() && (plan.calls() == 1 || format == PixelFormat8bppIndexed), true);
        EXPECT_EQ(read, UntouchedBitmap());
        return;
      }
      const BitmapPointer owned(read);
      const Picture picture = PictureOf(*read);
      EXPECT_EQ(read->GetLastStatus(), Gdiplus::Ok);
      ASSERT_EQ(picture.width, width);
      ASSERT_EQ(picture.height, height);
      ASSERT_EQ(picture.format, format);
      UINT y = 0;
      while (y < height && row(picture, y) == row(whole, y)) ++y;
      right_rows.push_back(y);
      if (y >= height) return;
      EXPECT_TRUE(plan.HasFired());
      for (UINT later = y + 1; later < height; ++later) {
        EXPECT_TRUE(row(picture, later) == row(picture, y)) << later;
      }
    });
    // Several of the faults fall into the rows, one after another.
    EXPECT_GE(faults, 4U);
    EXPECT_TRUE(std::is_sorted(right_rows.begin(), right_rows.end()));
    EXPECT_LT(right_rows.front(), height / 4);
    EXPECT_EQ(right_rows.back(), height);
  }
}

// The rest of the row at which the file cannot be read on keeps what the row before left there.
TEST_F(PcxReaderUnderFaults, FillsABrokenRowFromTheRowBefore) {
  const UINT width = 600;
  const UINT height = 400;
  WriteFile(*Speckles(width, height, PixelFormat8bppIndexed));
  const Picture whole = ReadUndisturbed();
  const auto pixel = [&](const Picture& picture, UINT x, UINT y) {
    return picture.pixels[std::size_t{y} * width + x];
  };
  ForEveryFault(Fault::kRead, [&](FaultPlan& plan) {
    BitmapPointer read;
    if (plan.Run([&] { return Read(Receive(read)); }) == 0) return;
    const Picture picture = PictureOf(*read);
    UINT y = 0;
    UINT x = 0;
    const auto is_right = [&] { return pixel(picture, x, y) == pixel(whole, x, y); };
    const auto has_gone_on = [&] {
      x = x + 1 < width ? x + 1 : 0;
      y += x == 0 ? 1 : 0;
      return y < height;
    };
    while (is_right() && has_gone_on()) {
    }
    if (y >= height) return;
    for (; x < width; ++x) {
      EXPECT_EQ(pixel(picture, x, y), y > 0 ? pixel(whole, x, y - 1) : 0) << x << ", " << y;
    }
  });
}

// Without its end a file has no palette, and indexed images are gray: 255 levels, then black.
TEST_F(PcxReaderUnderFaults, MakesGraysOfAPaletteThatCannotBeRead) {
  WriteFile(*Speckles(64, 50, PixelFormat8bppIndexed));
  const Picture whole = ReadUndisturbed();
  std::vector<Gdiplus::ARGB> grays;
  for (Gdiplus::ARGB level = 0; level < 255; ++level)
    grays.push_back(0xFF000000 | level * 0x010101);
  grays.push_back(0xFF000000);
  // The header is the first read, all the rest of this small file the second.
  FaultPlan plan(Fault::kRead, 2);
  BitmapPointer read;
  ASSERT_EQ(plan.Run([&] { return Read(Receive(read)); }), 1);
  ASSERT_TRUE(plan.HasFired());
  const Picture picture = PictureOf(*read);
  EXPECT_EQ(picture.palette, grays);
  EXPECT_EQ(picture.pixels, Bytes(std::size_t{64} * 50));
  EXPECT_EQ(picture.dpi_x, whole.dpi_x);
}

TEST_F(PcxReaderUnderFaults, ReadsNothingWithoutAHeader) {
  for (const Gdiplus::PixelFormat format : kFormats) {
    WriteFile(*RandomBitmap(48, 37, format));
    for (const Span span : kSpans) {
      FaultPlan plan(Fault::kRead, 1, span);
      Gdiplus::Bitmap* read = UntouchedBitmap();
      EXPECT_EQ(plan.Run([&] { return Read(&read); }), 0) << format;
      EXPECT_EQ(read, UntouchedBitmap());
    }
  }
}

}  // namespace
}  // namespace pixtola::test
