// Opening and saving files when memory lacks, a bitmap cannot be locked or a file cannot be read or
// written.

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "faults/fault_images.h"
#include "support/fault_injection.h"
#include "support/temporary_folder.h"
#include "support/tiff_file.h"

namespace {

using test_support::BitmapPointer;
using test_support::Bytes;
using test_support::CanBeLocked;
using test_support::Fault;
using test_support::FaultPlan;
using test_support::ForEveryFault;
using test_support::Picture;
using test_support::PictureOf;
using test_support::PixelsOf;
using test_support::RandomBitmap;
using test_support::TemporaryFolder;

constexpr Fault kOpeningFaults[] = {Fault::kAllocation, Fault::kLock, Fault::kRead};
constexpr Fault kSavingFaults[] = {Fault::kAllocation, Fault::kLock, Fault::kWrite};

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
  BitmapPointer bitmap =
      test_support::MakeBitmap(picture.width, picture.height, picture.format, picture.pixels);
  if (!picture.palette.empty()) {
    bitmap->SetPalette(test_support::PaletteBlock(0, picture.palette).get());
  }
  return ColorsOf(*bitmap);
}

BitmapPointer Open(const std::filesystem::path& path) {
  BitmapPointer bitmap;
  PxtOpenImageFile(path.wstring().c_str(), test_support::Receive(bitmap));
  return bitmap;
}

class PxtOpenImageFileUnderFaults : public testing::Test {
 protected:
  /// Opens the file under every fault: the bitmap shows what it shows undisturbed, or there is
  /// none. Returns how many calls failed.
  int OpenUnderEveryFault(Fault fault) {
    const std::wstring path = path_.wstring();
    const BitmapPointer undisturbed = Open(path_);
    EXPECT_NE(undisturbed, nullptr);
    if (undisturbed == nullptr) return 0;
    const Picture picture = PictureOf(*undisturbed);
    const Colors colors = ColorsOf(*undisturbed);
    // A palette that there is no memory for counts as none.
    const Colors without_palette = (picture.format & PixelFormatIndexed) != 0
                                       ? ColorsOf(test_support::WithoutPalette(picture))
                                       : colors;
    int failures = 0;
    ForEveryFault(fault, [&](FaultPlan& plan) {
      Gdiplus::Bitmap* opened = undisturbed.get();
      const int result = plan.Run([&] { return PxtOpenImageFile(path.c_str(), &opened); });
      ASSERT_NE(opened, undisturbed.get());
      const BitmapPointer owned(opened);
      if (result == 1) {
        ASSERT_NE(opened, nullptr);
        const Colors opened_colors = ColorsOf(*opened);
        EXPECT_TRUE(opened_colors == colors || opened_colors == without_palette);
        EXPECT_EQ(opened->GetHorizontalResolution(), picture.dpi_x);
        if (!plan.HasFired()) {
          EXPECT_TRUE(PictureOf(*opened) == picture);
        }
      } else {
        EXPECT_EQ(result, 0);
        EXPECT_EQ(opened, nullptr);
        EXPECT_TRUE(plan.HasFired());
        ++failures;
      }
    });
    return failures;
  }

  TemporaryFolder folder_;
  std::filesystem::path path_ = folder_ / "file";
};

TEST_F(PxtOpenImageFileUnderFaults, OpensWhatThePlatformDecodesOrNothing) {
  for (const Gdiplus::PixelFormat format :
       {PixelFormat1bppIndexed, PixelFormat8bppIndexed, PixelFormat24bppRGB}) {
    const BitmapPointer bitmap = RandomBitmap(45, 37, format);
    for (const PxtFileType type : {PxtFileTypeBmp, PxtFileTypePng}) {
      SCOPED_TRACE(testing::Message() << "format " << format << ", type " << type);
      ASSERT_EQ(PxtSaveBitmapToFile(bitmap.get(), type, path_.wstring().c_str()), 1);
      EXPECT_GE(OpenUnderEveryFault(Fault::kAllocation), 1);
      // The bitmap that the platform has decoded is handed out when it cannot be copied.
      EXPECT_EQ(OpenUnderEveryFault(Fault::kLock), 0);
      OpenUnderEveryFault(Fault::kRead);
    }
  }
}

TEST_F(PxtOpenImageFileUnderFaults, OpensTiffFilesOrNothing) {
  constexpr std::array<std::uint16_t, 2> kDepths = {1, 8};
  for (const std::uint16_t depth : kDepths) {
    test_support::WriteTiff(path_, {{.width = 40,
                                     .height = 30,
                                     .bits_per_sample = depth,
                                     .rows = test_support::RandomBytes(5U * depth * 30),
                                     .more_tags = [](TIFF* tiff) {
                                       TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 200.0);
                                       TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 200.0);
                                     }}});
    for (const Fault fault : kOpeningFaults) {
      SCOPED_TRACE(testing::Message() << depth << " bits");
      OpenUnderEveryFault(fault);
    }
  }
  test_support::WriteTiff(path_, {{.width = 40,
                                   .height = 30,
                                   .bits_per_sample = 8,
                                   .samples_per_pixel = 3,
                                   .photometric = PHOTOMETRIC_RGB,
                                   .rows = test_support::RandomBytes(40U * 3 * 30),
                                   .more_tags = [](TIFF* tiff) {
                                     TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 200.0);
                                     TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 200.0);
                                   }}});
  for (const Fault fault : kOpeningFaults) OpenUnderEveryFault(fault);
}

class PxtSaveBitmapToFileUnderFaults : public testing::Test {
 protected:
  /// Saves the bitmap as a new file under every fault. `check_file` looks at what a call that
  /// succeeded has written; `leaves_nothing` when a call that failed must leave no file.
  template <typename CheckFile>
  int SaveUnderEveryFault(Fault fault, Gdiplus::Bitmap& bitmap, PxtFileType type,
                          bool leaves_nothing, const CheckFile& check_file) {
    const std::wstring path = path_.wstring();
    EXPECT_EQ(PxtSaveBitmapToFile(&bitmap, type, path.c_str()), 1);
    int failures = 0;
    ForEveryFault(fault, [&](FaultPlan& plan) {
      std::filesystem::remove(path_);
      const int result = plan.Run([&] { return PxtSaveBitmapToFile(&bitmap, type, path.c_str()); });
      EXPECT_TRUE(CanBeLocked(bitmap));
      if (result == 1) {
        const BitmapPointer opened = Open(path_);
        ASSERT_NE(opened, nullptr);
        check_file(*opened, plan.HasFired());
      } else {
        EXPECT_EQ(result, 0);
        EXPECT_TRUE(plan.HasFired());
        EXPECT_TRUE(!leaves_nothing || folder_.is_empty());
        ++failures;
      }
    });
    return failures;
  }

  TemporaryFolder folder_;
  std::filesystem::path path_ = folder_ / "saved";
};

TEST_F(PxtSaveBitmapToFileUnderFaults, WritesAWholeFileOrNoneWithThePlatform) {
  for (const Gdiplus::PixelFormat format :
       {PixelFormat8bppIndexed, PixelFormat24bppRGB, PixelFormat32bppARGB}) {
    const BitmapPointer bitmap = RandomBitmap(45, 37, format);
    // 32-bit BMP files have no alpha.
    const Bytes pixels = PixelsOf(*bitmap, PixelFormat24bppRGB);
    for (const PxtFileType type :
         {PxtFileTypeBmp, PxtFileTypePng, PxtFileTypeTiffLzw, PxtFileTypeTiffNone}) {
      if (format == PixelFormat32bppARGB && type != PxtFileTypeBmp) continue;
      for (const Fault fault : kSavingFaults) {
        SCOPED_TRACE(testing::Message() << "format " << format << ", type " << type);
        const int failures = SaveUnderEveryFault(
            fault, *bitmap, type, true, [&](Gdiplus::Bitmap& opened, bool has_fired) {
              EXPECT_EQ(PixelsOf(opened, PixelFormat24bppRGB), pixels);
              EXPECT_FALSE(has_fired);
            });
        EXPECT_TRUE(fault != Fault::kAllocation || failures > 0);
      }
    }
  }
}

TEST_F(PxtSaveBitmapToFileUnderFaults, WritesFaxAndRunLengthsOrTellsOfFailure) {
  const BitmapPointer bitmap = RandomBitmap(45, 37, PixelFormat24bppRGB);
  for (const PxtFileType type :
       {PxtFileTypeTiffGroup3, PxtFileTypeTiffGroup4, PxtFileTypeTiffRunLength}) {
    BitmapPointer converted;
    ASSERT_EQ(PxtBitmapToBitmap(
                  type == PxtFileTypeTiffRunLength ? MethodBilevelOtsu : MethodBilevelDiffusion,
                  *bitmap, test_support::Receive(converted)),
              1);
    const Bytes pixels = PixelsOf(*converted);
    // A palette that there is no memory for counts as none, and the file then says that 0 is white.
    Bytes inverted = pixels;
    for (std::size_t i = 0; i < inverted.size(); ++i) {
      inverted[i] = static_cast<std::uint8_t>(~inverted[i] & (i % 6 == 5 ? 0xF8 : 0xFF));
    }
    for (const Fault fault : kSavingFaults) {
      SCOPED_TRACE(testing::Message() << "type " << type);
      const int failures = SaveUnderEveryFault(
          fault, *bitmap, type, false, [&](Gdiplus::Bitmap& opened, bool has_fired) {
            const Bytes read = PixelsOf(opened, PixelFormat1bppIndexed);
            EXPECT_TRUE(read == pixels ||
                        (has_fired && fault == Fault::kAllocation && read == inverted));
          });
      EXPECT_TRUE(fault == Fault::kWrite || failures > 0);
    }
  }
}

}  // namespace
