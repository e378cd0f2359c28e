// Reading TIFF pages from files and streams when out of memory, the new bitmap cannot be locked or
// the bytes cannot be read. libtiff's own memory is left alone.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "faults/fault_images.h"
#include "faults/fault_makers.h"
#include "faults/fault_streams.h"
#include "io/tiff_lock.h"
#include "io/tiff_reader.h"
#include "support/fault_injection.h"
#include "support/temporary_folder.h"
#include "support/tiff_file.h"

namespace pixtola::test {
namespace {

constexpr std::uint32_t kWidth = 48;
constexpr std::uint32_t kHeight = 37;

void SetResolution(TIFF* tiff) {
  TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 200.0);
  TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 300.0);
}

TiffPage PageOf(std::uint16_t bits, std::uint16_t samples, std::uint16_t photometric) {
  return {.width = kWidth,
          .height = kHeight,
          .bits_per_sample = bits,
          .samples_per_pixel = samples,
          .photometric = photometric,
          .rows = RandomBytes(std::size_t{kWidth} * bits * samples / 8 * kHeight),
          .more_tags = SetResolution};
}

TiffPage PaletteOf4Bits() {
  TiffPage page = PageOf(4, 1, PHOTOMETRIC_PALETTE);
  page.more_tags = [](TIFF* tiff) {
    SetResolution(tiff);
    std::uint16_t map[16];
    for (std::uint16_t i = 0; i < 16; ++i) map[i] = static_cast<std::uint16_t>(i * 257);
    TIFFSetField(tiff, TIFFTAG_COLORMAP, map, map, map);
  };
  return page;
}

struct NamedPage {
  const char* name;
  TiffPage page;
};

const std::vector<NamedPage>& Pages() {
  static const std::vector<NamedPage> pages = {{"1 bit", PageOf(1, 1, PHOTOMETRIC_MINISWHITE)},
                                               {"4 bits", PaletteOf4Bits()},
                                               {"8 bits", PageOf(8, 1, PHOTOMETRIC_MINISBLACK)},
                                               {"24 bits", PageOf(8, 3, PHOTOMETRIC_RGB)}};
  return pages;
}

bool IsIndexed(const Picture& picture) { return (picture.format & PixelFormatIndexed) != 0; }

/// From a file or from a stream that can fail.
class TiffReaderUnderFaults : public testing::TestWithParam<bool> {
 protected:
  bool IsStream() const { return GetParam(); }

  void Prepare(const std::vector<TiffPage>& pages) {
    WriteTiff(path_, pages);
    bytes_ = StreamOf(ReadWholeFile(path_));
  }

  int Read(Gdiplus::Bitmap** bitmap) {
    if (IsStream()) bytes_->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr);
    BitmapPointer read = IsStream() ? ReadTiffStream(stream_) : ReadTiffFile(wide_path_.c_str(), 0);
    if (read == nullptr) return 0;
    *bitmap = read.release();
    return 1;
  }

  /// Calls `function` while there is a stream, of which nobody keeps a reference afterwards.
  template <typename Function>
  auto WithStream(const Function& function) {
    stream_ = InFrontOf(*bytes_).release();
    const auto result = function();
    EXPECT_EQ(stream_->Release(), 0U);
    stream_ = nullptr;
    return result;
  }

  Picture ReadUndisturbed() {
    return WithStream([&] {
      BitmapPointer bitmap;
      EXPECT_EQ(Read(Receive(bitmap)), 1);
      return bitmap != nullptr ? PictureOf(*bitmap) : Picture{};
    });
  }

  Outcomes ReadUnderEveryFault(Fault fault, Span span, std::vector<Picture> also_right) {
    return WithStream([&] {
      return MakeUnderEveryFault({.fault = fault,
                                  .on_failure = Always(OnFailure::kIsLeft),
                                  .also_right = std::move(also_right),
                                  .span = span},
                                 [&](Gdiplus::Bitmap** bitmap) { return Read(bitmap); });
    });
  }

  TemporaryFolder folder_;
  std::filesystem::path path_ = folder_ / "a name that takes memory of its own";
  std::wstring wide_path_ = path_.wstring();
  StreamPointer bytes_;
  IStream* stream_ = nullptr;
};

INSTANTIATE_TEST_SUITE_P(FilesAndStreams, TiffReaderUnderFaults, testing::Bool(),
                         [](const testing::TestParamInfo<bool>& test) {
                           return std::string(test.param ? "Stream" : "File");
                         });

TEST_P(TiffReaderUnderFaults, ReadsThePageOrNothingWithoutMemory) {
  for (const auto& [name, page] : Pages()) {
    SCOPED_TRACE(name);
    Prepare({page});
    const Picture picture = ReadUndisturbed();
    for (const Span span : kSpans) {
      // Indexed pages are copied directly when they cannot be encoded.
      const Outcomes outcomes =
          ReadUnderEveryFault(Fault::kAllocation, span, {WithDpi(picture, 200, 300)});
      // The pixels and the bitmap.
      EXPECT_GE(outcomes.failures, 2U);
    }
  }
}

TEST_P(TiffReaderUnderFaults, ReadsThePageOrNothingWhenTheBitmapCannotBeMade) {
  for (const auto& [name, page] : Pages()) {
    SCOPED_TRACE(name);
    Prepare({page});
    const Picture picture = ReadUndisturbed();
    for (const Span span : kSpans) {
      const Outcomes locks = ReadUnderEveryFault(Fault::kLock, span, {});
      EXPECT_EQ(locks.failures, IsIndexed(picture) ? 0U : 2U);
      const Outcomes writes =
          ReadUnderEveryFault(Fault::kWrite, span, {WithDpi(picture, 200, 300)});
      EXPECT_EQ(writes.faults > 0, IsIndexed(picture));
      EXPECT_EQ(writes.failures, 0U);
    }
  }
}

// A row that cannot be read fails the page. A tag that cannot be read may be as good as absent:
// then there is no resolution.
TEST_P(TiffReaderUnderFaults, ReadsAnIndexedPageOrNothingWhenBytesCannotBeRead) {
  for (const auto& [name, page] : Pages()) {
    SCOPED_TRACE(name);
    Prepare({page});
    const Picture picture = ReadUndisturbed();
    if (!IsIndexed(picture)) continue;
    const auto with_dpi = [&](float dpi_x, float dpi_y) {
      const BitmapPointer plain = MakeBitmap(kWidth, kHeight, picture.format, picture.pixels);
      plain->SetPalette(PaletteBlock(0, picture.palette).get());
      plain->SetResolution(dpi_x, dpi_y);
      // By way of BMP like the page.
      BitmapPointer made;
      EXPECT_EQ(PxtCopyBitmap(plain.get(), Receive(made)), 1);
      return made != nullptr ? PictureOf(*made) : Picture{};
    };
    for (const Span span : kSpans) {
      const Outcomes outcomes = ReadUnderEveryFault(
          Fault::kRead, span, {with_dpi(0, 300), with_dpi(200, 0), with_dpi(0, 0)});
      // The header, the directory, the rows.
      EXPECT_GE(outcomes.failures, 3U);
    }
  }
}

// Kept on purpose: of deep pages libtiff makes what it can. What is missing is nothing.
TEST_P(TiffReaderUnderFaults, LeavesOutStripsOfDeepPagesThatCannotBeRead) {
  TiffPage page = PageOf(8, 3, PHOTOMETRIC_RGB);
  Prepare({page});
  const Picture picture = ReadUndisturbed();
  ASSERT_EQ(picture.format, PixelFormat32bppARGB);
  for (const Span span : kSpans) {
    WithStream([&] {
      return ForEveryFault(
          Fault::kRead,
          [&](FaultPlan& plan) {
            Gdiplus::Bitmap* read = UntouchedBitmap();
            const int result = plan.Run([&] { return Read(&read); });
            EXPECT_TRUE(result == 1 || plan.HasFired());
            if (result == 0) {
              EXPECT_EQ(read, UntouchedBitmap());
              return;
            }
            const BitmapPointer owned(read);
            const Picture shown = PictureOf(*read);
            EXPECT_EQ(shown.width, kWidth);
            EXPECT_EQ(shown.height, kHeight);
            EXPECT_EQ(shown.format, picture.format);
            EXPECT_TRUE(plan.HasFired() || shown == picture);
            ASSERT_EQ(shown.pixels.size(), picture.pixels.size());
            for (std::size_t i = 0; i < shown.pixels.size(); i += 4) {
              const bool is_right =
                  std::equal(shown.pixels.begin() + static_cast<std::ptrdiff_t>(i),
                             shown.pixels.begin() + static_cast<std::ptrdiff_t>(i + 4),
                             picture.pixels.begin() + static_cast<std::ptrdiff_t>(i));
              const bool is_black =
                  shown.pixels[i] == 0 && shown.pixels[i + 1] == 0 && shown.pixels[i + 2] == 0;
              ASSERT_TRUE(is_right || (plan.HasFired() && is_black)) << "pixel " << i / 4;
            }
          },
          span);
    });
  }
}

TEST_P(TiffReaderUnderFaults, LeavesLibtiffFreeForOthers) {
  Prepare({PageOf(1, 1, PHOTOMETRIC_MINISBLACK)});
  ReadUndisturbed();
  for (const Fault fault : {Fault::kAllocation, Fault::kRead}) {
    WithStream([&] {
      return ForEveryFault(fault, [&](FaultPlan& plan) {
        BitmapPointer bitmap;
        plan.Run([&] { return Read(Receive(bitmap)); });
        EXPECT_TRUE(TiffLock.try_lock());
        TiffLock.unlock();
      });
    });
  }
}

// A directory that cannot be read is one that is not there.
TEST(TiffPagesUnderFaults, ReadsTheSecondPageOrNothing) {
  const TemporaryFolder folder;
  const TiffPage page = PageOf(8, 3, PHOTOMETRIC_RGB);
  WriteTiff(folder / "file", {PageOf(1, 1, PHOTOMETRIC_MINISBLACK), page});
  const std::wstring path = (folder / "file").wstring();
  BitmapPointer undisturbed = ReadTiffFile(path.c_str(), 1);
  ASSERT_NE(undisturbed, nullptr);
  std::uint32_t failures = 0;
  ForEveryFault(Fault::kRead, [&](FaultPlan& plan) {
    const BitmapPointer owned = plan.Run([&] { return ReadTiffFile(path.c_str(), 1); });
    if (owned == nullptr) {
      ++failures;
      EXPECT_TRUE(plan.HasFired());
      return;
    }
    // The first page has another format.
    EXPECT_EQ(owned->GetPixelFormat(), PixelFormat32bppARGB);
    EXPECT_TRUE(plan.HasFired() || PictureOf(*owned) == PictureOf(*undisturbed));
  });
  EXPECT_GE(failures, 3U);
}

}  // namespace
}  // namespace pixtola::test
