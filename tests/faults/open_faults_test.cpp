// Opening files and their pages when out of memory, a bitmap cannot be locked, or a file or an
// encoded copy cannot be read or written.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

#include "faults/fault_images.h"
#include "faults/fault_makers.h"
#include "faults/fault_streams.h"
#include "support/fault_injection.h"
#include "support/temporary_folder.h"
#include "support/tiff_file.h"

namespace pixtola::test {
namespace {

constexpr Fault kFaults[] = {Fault::kAllocation, Fault::kLock, Fault::kRead, Fault::kWrite};

/// Whole bytes in each format: see kUserBufferLocksLosePartialBytes.
constexpr UINT kWidth = 48;
constexpr UINT kHeight = 37;

/// What a picture shows, whatever its format.
struct Colors {
  UINT width = 0;
  UINT height = 0;
  Bytes argb;

  friend bool operator==(const Colors&, const Colors&) = default;
};

Colors ColorsOf(Gdiplus::Bitmap& bitmap) {
  return {bitmap.GetWidth(), bitmap.GetHeight(), PixelsOf(bitmap, PixelFormat32bppARGB)};
}

Colors ColorsOf(const Picture& picture) {
  BitmapPointer bitmap = MakeBitmap(picture.width, picture.height, picture.format, picture.pixels);
  if (!picture.palette.empty()) {
    bitmap->SetPalette(PaletteBlock(0, picture.palette).get());
  }
  return ColorsOf(*bitmap);
}

class OpeningUnderFaults : public testing::Test {
 protected:
  using Open = std::function<int(const wchar_t*, Gdiplus::Bitmap**)>;

  static int OpenFirst(const wchar_t* path, Gdiplus::Bitmap** bitmap) {
    return PxtOpenImageFile(path, bitmap);
  }

  /// For the next file: libtiff for Windows leaves one open when out of memory for the name.
  void UseNewName() {
    path_ = folder_ / ("a name that takes memory of its own " + std::to_string(next_file_++));
    wide_path_ = path_.wstring();
  }

  void SaveAs(PxtFileType type, Gdiplus::PixelFormat format) {
    UseNewName();
    const BitmapPointer bitmap = RandomBitmap(kWidth, kHeight, format);
    ASSERT_EQ(PxtSaveBitmapToFile(bitmap.get(), type, wide_path_.c_str()), 1);
  }

  void WriteTiff(std::uint16_t bits, std::uint16_t samples, std::uint16_t photometric) {
    UseNewName();
    test::WriteTiff(path_,
                    {{.width = kWidth,
                      .height = kHeight,
                      .bits_per_sample = bits,
                      .samples_per_pixel = samples,
                      .photometric = photometric,
                      .rows = RandomBytes(std::size_t{kWidth} * bits * samples / 8 * kHeight),
                      .more_tags = [](TIFF* tiff) {
                        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 200.0);
                        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 300.0);
                      }}});
  }

  /// Opens the file under every fault: the bitmap shows what it shows undisturbed, or what `accept`
  /// takes, or there is none. Returns how many calls failed.
  int OpenUnderEveryFault(
      Fault fault, Span span, const Open& open = OpenFirst,
      const std::function<bool(Gdiplus::Bitmap&)>& accept = [](Gdiplus::Bitmap&) {
        return false;
      }) {
    BitmapPointer undisturbed;
    EXPECT_EQ(open(wide_path_.c_str(), Receive(undisturbed)), 1);
    if (undisturbed == nullptr) return 0;
    const Picture picture = PictureOf(*undisturbed);
    const Colors colors = ColorsOf(*undisturbed);
    // Out of memory for the palette, there is none.
    const Colors without_palette =
        (picture.format & PixelFormatIndexed) != 0 ? ColorsOf(WithoutPalette(picture)) : colors;
    int failures = 0;
    ForEveryFault(
        fault,
        [&](FaultPlan& plan) {
          Gdiplus::Bitmap* opened = UntouchedBitmap();
          const int result = plan.Run([&] { return open(wide_path_.c_str(), &opened); });
          ASSERT_NE(opened, UntouchedBitmap());
          EXPECT_EQ(result, opened != nullptr ? 1 : 0);
          const BitmapPointer owned(opened);
          if (opened == nullptr) {
            EXPECT_TRUE(plan.HasFired());
            ++failures;
            return;
          }
          const Colors shown = ColorsOf(*opened);
          EXPECT_TRUE(shown == colors ||
                      (plan.HasFired() && (shown == without_palette || accept(*opened))));
          if (!plan.HasFired()) {
            EXPECT_TRUE(PictureOf(*opened) == picture);
          }
          // The file's, or the one of files that do not tell, or rounded on the way through BMP.
          const float dpi = opened->GetHorizontalResolution();
          EXPECT_TRUE(IsSameResolution(dpi, 200) ||
                      (fault == Fault::kRead && IsSameResolution(dpi, 96)))
              << dpi;
        },
        span);
    return failures;
  }

  TemporaryFolder folder_;
  std::filesystem::path path_ = folder_ / "a name that takes memory of its own";
  std::wstring wide_path_ = path_.wstring();
  int next_file_ = 0;
};

TEST_F(OpeningUnderFaults, OpensWhatThePlatformDecodesOrNothing) {
  for (const Gdiplus::PixelFormat format :
       {PixelFormat1bppIndexed, PixelFormat8bppIndexed, PixelFormat24bppRGB}) {
    for (const PxtFileType type : {PxtFileTypeBmp, PxtFileTypePng}) {
      SaveAs(type, format);
      for (const Span span : kSpans) {
        SCOPED_TRACE(testing::Message() << "format " << format << ", type " << type);
        EXPECT_GE(OpenUnderEveryFault(Fault::kAllocation, span), 1);
        // The bitmap that the platform has decoded is handed out when it cannot be copied.
        EXPECT_EQ(OpenUnderEveryFault(Fault::kLock, span), 0);
        EXPECT_EQ(OpenUnderEveryFault(Fault::kWrite, span), 0);
        OpenUnderEveryFault(Fault::kRead, span);
      }
    }
  }
}

TEST_F(OpeningUnderFaults, HandsOutThePlatformsBitmapWhenItCannotBeCopied) {
  SaveAs(PxtFileTypePng, PixelFormat24bppRGB);
  Gdiplus::Bitmap decoded(wide_path_.c_str());
  const Picture picture = PictureOf(decoded);
  for (std::uint32_t nth = 1; nth <= 3; ++nth) {
    FaultPlan plan(Fault::kLock, nth, Span::kToTheEnd);
    BitmapPointer opened;
    ASSERT_EQ(plan.Run([&] { return PxtOpenImageFile(wide_path_.c_str(), Receive(opened)); }), 1);
    EXPECT_TRUE(plan.HasFired());
    EXPECT_TRUE(PictureOf(*opened) == picture);
    // It tells of the lock that made the copy fail when that was its own.
    EXPECT_EQ(opened->GetLastStatus(), nth == 1 ? Gdiplus::OutOfMemory : Gdiplus::Ok);
  }
}

TEST_F(OpeningUnderFaults, OpensTiffFilesOrNothing) {
  struct Example {
    std::uint16_t bits;
    std::uint16_t samples;
    std::uint16_t photometric;
  };
  for (const Example& example :
       {Example{1, 1, PHOTOMETRIC_MINISBLACK}, Example{8, 1, PHOTOMETRIC_MINISBLACK},
        Example{8, 3, PHOTOMETRIC_RGB}}) {
    WriteTiff(example.bits, example.samples, example.photometric);
    for (const Fault fault : kFaults) {
      for (const Span span : kSpans) {
        SCOPED_TRACE(testing::Message() << example.bits << " bits, " << example.samples
                                        << " samples, fault " << static_cast<int>(fault));
        // Deep pages have nothing where they cannot be read.
        OpenUnderEveryFault(fault, span, OpenFirst, [&](Gdiplus::Bitmap&) {
          return fault == Fault::kRead && example.samples == 3;
        });
      }
    }
  }
}

TEST_F(OpeningUnderFaults, OpensPcxFilesOrNothing) {
  for (const Gdiplus::PixelFormat format :
       {PixelFormat1bppIndexed, PixelFormat8bppIndexed, PixelFormat24bppRGB}) {
    SaveAs(PxtFileTypePcx, format);
    for (const Fault fault : kFaults) {
      for (const Span span : kSpans) {
        SCOPED_TRACE(testing::Message() << "format " << format);
        // A PCX file that cannot be read is a picture, if its header can.
        OpenUnderEveryFault(fault, span, OpenFirst, [&](Gdiplus::Bitmap& opened) {
          return fault == Fault::kRead && opened.GetWidth() == kWidth &&
                 opened.GetHeight() == kHeight;
        });
      }
    }
  }
}

TEST_F(OpeningUnderFaults, OpensAnyPageLikeTheFile) {
  const auto open_first = [](const wchar_t* path, Gdiplus::Bitmap** bitmap) {
    return PxtOpenImageFilePage(path, 0, bitmap);
  };
  const auto open_without_number = [](const wchar_t* path, Gdiplus::Bitmap** bitmap) {
    return PxtOpenImageFilePage(path, -1, bitmap);
  };
  for (const Gdiplus::PixelFormat format : {PixelFormat8bppIndexed, PixelFormat24bppRGB}) {
    SaveAs(PxtFileTypePng, format);
    for (const Open& open : {Open(open_first), Open(open_without_number)}) {
      for (const Span span : kSpans) {
        EXPECT_GE(OpenUnderEveryFault(Fault::kAllocation, span, open), 1);
        EXPECT_EQ(OpenUnderEveryFault(Fault::kLock, span, open), 0);
        EXPECT_EQ(OpenUnderEveryFault(Fault::kWrite, span, open), 0);
        OpenUnderEveryFault(Fault::kRead, span, open);
      }
    }
  }
}

TEST_F(OpeningUnderFaults, OpensTheSecondPageOfATiffFileOrNothing) {
  const TiffPage first{.rows = {0x5A}};
  const TiffPage second{.width = kWidth,
                        .height = kHeight,
                        .rows = RandomBytes(kWidth / 8 * kHeight),
                        .more_tags = [](TIFF* tiff) {
                          TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 200.0);
                          TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 300.0);
                        }};
  test::WriteTiff(path_, {first, second});
  const auto open = [](const wchar_t* path, Gdiplus::Bitmap** bitmap) {
    return PxtOpenImageFilePage(path, 1, bitmap);
  };
  for (const Fault fault : kFaults) {
    for (const Span span : kSpans) {
      SCOPED_TRACE(static_cast<int>(fault));
      const int failures = OpenUnderEveryFault(fault, span, open);
      EXPECT_TRUE(fault == Fault::kLock || fault == Fault::kWrite || failures >= 1);
    }
  }
}

/// A GIF of several frames: the same picture as many times as asked for, each with another
/// background, written byte by byte.
Bytes AnimatedGif(unsigned frames) {
  // 2 x 1 pixels, four colours, of which the frames show one after another.
  Bytes gif = {'G', 'I', 'F', '8', '9', 'a', 2, 0, 1, 0, 0xF1, 0, 0};
  for (unsigned color = 0; color < 4; ++color) {
    gif.insert(gif.end(), 3, static_cast<std::uint8_t>(color * 80));
  }
  for (unsigned i = 0; i < frames; ++i) {
    const Bytes image = {0x2C, 0, 0, 0, 0, 2, 0, 1, 0, 0};
    gif.insert(gif.end(), image.begin(), image.end());
    // Codes of three bits, the lowest first: clear (4), the colour twice, end (5).
    const unsigned codes = 4 | i << 3 | i << 6 | 5U << 9;
    const Bytes data = {2, 2, static_cast<std::uint8_t>(codes & 0xFF),
                        static_cast<std::uint8_t>(codes >> 8), 0};
    gif.insert(gif.end(), data.begin(), data.end());
  }
  gif.push_back(0x3B);
  return gif;
}

// Kept on purpose: a page is selected in the copy, which has but one. Only of a bitmap that could
// not be copied further frames can be had.
TEST_F(OpeningUnderFaults, OpensALaterFrameOnlyWhenTheBitmapCannotBeCopied) {
  WriteWholeFile(path_, AnimatedGif(3));
  Gdiplus::Bitmap decoded(wide_path_.c_str());
  ASSERT_EQ(decoded.GetLastStatus(), Gdiplus::Ok);
  ASSERT_EQ(decoded.GetFrameCount(&Gdiplus::FrameDimensionTime), 3U);
  ASSERT_EQ(decoded.SelectActiveFrame(&Gdiplus::FrameDimensionTime, 1), Gdiplus::Ok);
  const Colors second = ColorsOf(decoded);
  EXPECT_EQ(second.argb[0], 80);

  const bool is_indexed = (decoded.GetPixelFormat() & PixelFormatIndexed) != 0;
  for (const Span span : kSpans) {
    const std::uint32_t locks = ForEveryFault(
        Fault::kLock,
        [&](FaultPlan& plan) {
          Gdiplus::Bitmap* opened = UntouchedBitmap();
          const int result =
              plan.Run([&] { return PxtOpenImageFilePage(wide_path_.c_str(), 1, &opened); });
          ASSERT_NE(opened, UntouchedBitmap());
          const BitmapPointer owned(opened);
          EXPECT_EQ(result, plan.HasFired() ? 1 : 0);
          EXPECT_EQ(opened != nullptr, result == 1);
          EXPECT_TRUE(opened == nullptr || ColorsOf(*opened) == second);
        },
        span);
    EXPECT_EQ(locks, is_indexed ? 1U : 3U);
    ForEveryFault(
        Fault::kAllocation,
        [&](FaultPlan& plan) {
          Gdiplus::Bitmap* opened = UntouchedBitmap();
          const int result =
              plan.Run([&] { return PxtOpenImageFilePage(wide_path_.c_str(), 1, &opened); });
          ASSERT_NE(opened, UntouchedBitmap());
          const BitmapPointer owned(opened);
          EXPECT_EQ(result, opened != nullptr ? 1 : 0);
          EXPECT_TRUE(result == 0 || plan.HasFired());
          EXPECT_TRUE(opened == nullptr || ColorsOf(*opened) == second);
        },
        span);
  }
}

}  // namespace
}  // namespace pixtola::test
