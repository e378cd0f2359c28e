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

/// Whole bytes in each format: see expectations::kUserBufferLocksLosePartialBytes.
constexpr UINT kWidth = 48;

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
        EXPECT_TRUE(
            test_support::IsSameResolution(opened->GetHorizontalResolution(), picture.dpi_x));
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
    const BitmapPointer bitmap = RandomBitmap(kWidth, 37, format);
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
  struct Outcome {
    int result;
    Picture picture;  ///< what the file shows when it was saved
    bool is_left;     ///< there is a file
  };

  /// Saves the bitmap as a new file under every fault and lets `check` look at each outcome and at
  /// an undisturbed one. Returns how many calls failed.
  template <typename Check>
  int SaveUnderEveryFault(Fault fault, Gdiplus::Bitmap& bitmap, PxtFileType type,
                          const Check& check) {
    const Outcome undisturbed = Save(bitmap, type, [](const auto& save) { return save(); });
    EXPECT_EQ(undisturbed.result, 1);
    int failures = 0;
    ForEveryFault(fault, [&](FaultPlan& plan) {
      const Outcome outcome = Save(bitmap, type, [&](const auto& save) { return plan.Run(save); });
      EXPECT_TRUE(outcome.result == 1 || (outcome.result == 0 && plan.HasFired()));
      EXPECT_TRUE(plan.HasFired() || outcome.picture == undisturbed.picture);
      EXPECT_TRUE(CanBeLocked(bitmap));
      check(outcome, undisturbed.picture);
      failures += outcome.result == 0 ? 1 : 0;
    });
    return failures;
  }

 private:
  /// Each time in a file of another name: libtiff for Windows leaves a file open when it has no
  /// memory for the name.
  template <typename Run>
  Outcome Save(Gdiplus::Bitmap& bitmap, PxtFileType type, const Run& run) {
    const std::filesystem::path path = folder_ / std::to_string(next_file_++);
    const std::wstring wide_path = path.wstring();
    Outcome outcome{};
    outcome.result = run([&] { return PxtSaveBitmapToFile(&bitmap, type, wide_path.c_str()); });
    outcome.is_left = std::filesystem::exists(path);
    if (outcome.result == 1) {
      const BitmapPointer opened = Open(path);
      EXPECT_NE(opened, nullptr);
      if (opened != nullptr) outcome.picture = PictureOf(*opened);
    }
    return outcome;
  }

  TemporaryFolder folder_;
  int next_file_ = 0;
};

TEST_F(PxtSaveBitmapToFileUnderFaults, WritesAWholeFileOrNoneWithThePlatform) {
  for (const Gdiplus::PixelFormat format :
       {PixelFormat8bppIndexed, PixelFormat24bppRGB, PixelFormat32bppARGB}) {
    const BitmapPointer bitmap = RandomBitmap(kWidth, 37, format);
    for (const PxtFileType type :
         {PxtFileTypeBmp, PxtFileTypePng, PxtFileTypeTiffLzw, PxtFileTypeTiffNone}) {
      for (const Fault fault : kSavingFaults) {
        SCOPED_TRACE(testing::Message() << "format " << format << ", type " << type);
        const int failures = SaveUnderEveryFault(
            fault, *bitmap, type, [](const Outcome& outcome, const Picture& undisturbed) {
              EXPECT_EQ(outcome.is_left, outcome.result == 1);
              EXPECT_TRUE(outcome.result == 0 || outcome.picture == undisturbed);
            });
        EXPECT_TRUE(fault != Fault::kAllocation || failures > 0);
      }
    }
  }
}

TEST_F(PxtSaveBitmapToFileUnderFaults, WritesFaxAndRunLengthsOrTellsOfFailure) {
  const BitmapPointer bitmap = RandomBitmap(kWidth, 37, PixelFormat24bppRGB);
  for (const PxtFileType type :
       {PxtFileTypeTiffGroup3, PxtFileTypeTiffGroup4, PxtFileTypeTiffRunLength}) {
    for (const Fault fault : kSavingFaults) {
      SCOPED_TRACE(testing::Message() << "type " << type);
      const int failures = SaveUnderEveryFault(
          fault, *bitmap, type, [](const Outcome& outcome, const Picture& undisturbed) {
            // A palette that there is no memory for counts as none, and the file then says that 0
            // is white.
            Bytes inverted = undisturbed.pixels;
            for (std::uint8_t& byte : inverted) byte = static_cast<std::uint8_t>(~byte);
            EXPECT_TRUE(outcome.result == 0 || outcome.picture.pixels == undisturbed.pixels ||
                        outcome.picture.pixels == inverted);
          });
      EXPECT_TRUE(fault == Fault::kWrite || failures > 0);
    }
  }
}

}  // namespace
