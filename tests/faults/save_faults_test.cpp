// Saving files when out of memory, a bitmap cannot be locked or a file cannot be written: all
// types. Also what the platform's encoder is told.

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>

#include "faults/encoder_parameters.h"
#include "faults/fault_images.h"
#include "faults/fault_makers.h"
#include "shared/tiff_files.h"
#include "support/fault_injection.h"
#include "support/platform_calls.h"
#include "support/temporary_folder.h"
#include "support/test_formats.h"
#include "support/tiff_file.h"

namespace pixtola::test {
namespace {

constexpr Fault kFaults[] = {Fault::kAllocation, Fault::kLock, Fault::kWrite};
constexpr PxtFileType kFaxTypes[] = {PxtFileTypeTiffGroup3, PxtFileTypeTiffGroup4,
                                     PxtFileTypeTiffRunLength};

class SavingUnderFaults : public testing::Test {
 protected:
  struct Outcome {
    int result = 0;
    bool is_left = false;  ///< there is a file
    Picture picture{};     ///< what the file shows; nothing when it cannot be opened
  };

  /// Saves the bitmap as a new file, each time of another name: libtiff for Windows leaves a file
  /// open when it has no memory for the name.
  template <typename Run>
  Outcome Save(Gdiplus::Bitmap& bitmap, PxtFileType type, const Run& run) {
    const std::filesystem::path path = folder_ / std::to_string(next_file_++);
    const std::wstring wide_path = path.wstring();
    Outcome outcome;
    outcome.result = run([&] { return PxtSaveBitmapToFile(&bitmap, type, wide_path.c_str()); });
    outcome.is_left = std::filesystem::exists(path);
    BitmapPointer opened;
    if (outcome.is_left && std::filesystem::file_size(path) != 0) {
      PxtOpenImageFile(wide_path.c_str(), Receive(opened));
    }
    if (opened != nullptr) outcome.picture = PictureOf(*opened);
    opened.reset();
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
    return outcome;
  }

  Outcome SaveUndisturbed(Gdiplus::Bitmap& bitmap, PxtFileType type) {
    Outcome outcome = Save(bitmap, type, [](const auto& save) { return save(); });
    EXPECT_EQ(outcome.result, 1);
    EXPECT_NE(outcome.picture, Picture{});
    return outcome;
  }

  /// Saves the bitmap under every fault and lets `check` look at each outcome. Returns how many
  /// calls failed.
  template <typename Check>
  int SaveUnderEveryFault(Fault fault, Span span, Gdiplus::Bitmap& bitmap, PxtFileType type,
                          const Check& check) {
    const Picture undisturbed = SaveUndisturbed(bitmap, type).picture;
    int failures = 0;
    std::uint32_t nth = 0;
    ForEveryFault(
        fault,
        [&](FaultPlan& plan) {
          ++nth;
          bitmap.GetLastStatus();
          const Outcome outcome =
              Save(bitmap, type, [&](const auto& save) { return plan.Run(save); });
          EXPECT_TRUE(outcome.result == 1 || (outcome.result == 0 && plan.HasFired()));
          EXPECT_TRUE(outcome.result == 0 || outcome.is_left);
          EXPECT_TRUE(plan.HasFired() || outcome.picture == undisturbed);
          EXPECT_TRUE(plan.HasFired() || bitmap.GetLastStatus() == Gdiplus::Ok);
          check(plan, nth, outcome, undisturbed);
          EXPECT_TRUE(CanBeLocked(bitmap));
          failures += outcome.result == 0 ? 1 : 0;
        },
        span);
    return failures;
  }

  TemporaryFolder folder_;
  int next_file_ = 0;
};

TEST_F(SavingUnderFaults, WritesAWholeFileOrNoneWithThePlatform) {
  for (const Gdiplus::PixelFormat format : kSavedFormats) {
    // Low: each row may be a write, and each fault writes a file.
    const BitmapPointer bitmap = RandomBitmap(48, 9, format);
    for (const PxtFileType type : kPlatformTypes) {
      if (!IsReadableGif(type, format)) continue;
      // The quality makes no difference to failures.
      const bool is_jpeg_again = type == PxtFileTypeJpegLow || type == PxtFileTypeJpegHigh;
      if (is_jpeg_again && format != PixelFormat24bppRGB) continue;
      for (const Fault fault : kFaults) {
        for (const Span span : kSpans) {
          // What is not written any more is mostly not tried either.
          if (fault == Fault::kWrite && span == Span::kToTheEnd) continue;
          SCOPED_TRACE(testing::Message() << "format " << format << ", type " << type << ", fault "
                                          << static_cast<int>(fault));
          const int failures = SaveUnderEveryFault(
              fault, span, *bitmap, type,
              [&](const FaultPlan&, std::uint32_t, const Outcome& outcome,
                  const Picture& undisturbed) {
                EXPECT_EQ(outcome.is_left, outcome.result == 1);
                EXPECT_TRUE(outcome.result == 0 || outcome.picture == undisturbed);
                // The platform's failure is kept, that of listing its encoders is nobody's.
                EXPECT_TRUE(fault != Fault::kWrite || outcome.result == 1 ||
                            bitmap->GetLastStatus() == Gdiplus::Win32Error);
              });
          EXPECT_TRUE(fault == Fault::kLock || failures > 0);
          EXPECT_TRUE(fault != Fault::kLock || failures == 0);
        }
      }
    }
  }
}

TEST_F(SavingUnderFaults, WritesADeepTiffFileOrNoneWithThePlatform) {
  for (const Gdiplus::PixelFormat format :
       {PixelFormat8bppIndexed, PixelFormat24bppRGB, PixelFormat32bppARGB}) {
    const BitmapPointer bitmap = RandomBitmap(48, 37, format);
    for (const PxtFileType type : {PxtFileTypeTiffLzw, PxtFileTypeTiffNone}) {
      for (const Fault fault : kFaults) {
        for (const Span span : kSpans) {
          SCOPED_TRACE(testing::Message() << "format " << format << ", type " << type << ", fault "
                                          << static_cast<int>(fault));
          const int failures = SaveUnderEveryFault(
              fault, span, *bitmap, type,
              [](const FaultPlan&, std::uint32_t, const Outcome& outcome,
                 const Picture& undisturbed) {
                EXPECT_EQ(outcome.is_left, outcome.result == 1);
                EXPECT_TRUE(outcome.result == 0 || outcome.picture == undisturbed);
              });
          EXPECT_EQ(failures > 0, fault != Fault::kLock);
        }
      }
    }
  }
}

// libtiff's failure is not the last word: the platform's encoder comes next.
TEST_F(SavingUnderFaults, LetsThePlatformWriteWhatLibtiffCannot) {
  const BitmapPointer bitmap = Stripes(800, 300, PixelFormat1bppIndexed);
  for (const PxtFileType type : kTiffTypes) {
    SCOPED_TRACE(testing::Message() << "type " << type);
    // Opening the file and the strips. What comes later is the directory, and nobody looks whether
    // that could be written.
    const std::filesystem::path path = folder_ / "undisturbed";
    ASSERT_EQ(PxtSaveBitmapToFile(bitmap.get(), type, path.wstring().c_str()), 1);
    const std::uint32_t strips = TIFFNumberOfStrips(OpenTiff(path, "r").get());
    EXPECT_GE(strips, 2U);
    FaultPlan opening(Fault::kWrite, std::numeric_limits<std::uint32_t>::max());
    const std::wstring wide_path = path.wstring();
    TIFF* tiff =
        opening.Run([&] { return pixtola::platform::OpenTiffFile(wide_path.c_str(), "w"); });
    ASSERT_NE(tiff, nullptr);
    TIFFClose(tiff);
    const std::uint32_t watched = opening.calls() + strips;

    const int failures = SaveUnderEveryFault(
        Fault::kWrite, Span::kOneCall, *bitmap, type,
        [&](const FaultPlan& plan, std::uint32_t nth, const Outcome& outcome,
            const Picture& undisturbed) {
          EXPECT_EQ(outcome.result, 1);
          if (plan.HasFired() && nth > watched) return;
          EXPECT_TRUE(AsTiffKeeps(outcome.picture) == AsTiffKeeps(undisturbed)) << nth;
          EXPECT_NEAR(outcome.picture.dpi_x, 200, kDpiTolerance);
          EXPECT_NEAR(outcome.picture.dpi_y, 300, kDpiTolerance);
          EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::Ok);
        });
    EXPECT_EQ(failures, 0);
  }
}

TEST_F(SavingUnderFaults, TellsOfFailureWhenNeitherCanWrite) {
  for (const Gdiplus::PixelFormat format : {PixelFormat1bppIndexed, PixelFormat24bppRGB}) {
    const BitmapPointer bitmap = Stripes(800, 60, format);
    for (const PxtFileType type : kFaxTypes) {
      SCOPED_TRACE(testing::Message() << "format " << format << ", type " << type);
      const int failures = SaveUnderEveryFault(
          Fault::kWrite, Span::kToTheEnd, *bitmap, type,
          [](const FaultPlan&, std::uint32_t, const Outcome& outcome, const Picture&) {
            // A partial file may be left, but it is none that can be opened.
            EXPECT_TRUE(outcome.result == 1 || outcome.picture == Picture{});
          });
      EXPECT_GE(failures, 2);
    }
  }
}

TEST_F(SavingUnderFaults, WritesFaxAndRunLengthsOrTellsOfFailureWithoutMemory) {
  for (const Gdiplus::PixelFormat format : kSavedFormats) {
    const BitmapPointer bitmap = RandomBitmap(48, 37, format);
    bitmap->SetPalette(PaletteBlock(0, {0xFF000000, 0xFFFFFFFF}).get());
    for (const PxtFileType type : kFaxTypes) {
      for (const Span span : kSpans) {
        SCOPED_TRACE(testing::Message() << "format " << format << ", type " << type);
        const int failures =
            SaveUnderEveryFault(Fault::kAllocation, span, *bitmap, type,
                                [](const FaultPlan&, std::uint32_t, const Outcome& outcome,
                                   const Picture& undisturbed) {
                                  EXPECT_TRUE(outcome.result == 0 || AsTiffKeeps(outcome.picture) ==
                                                                         AsTiffKeeps(undisturbed));
                                });
        EXPECT_GE(failures, 1);
      }
    }
  }
}

// The bitmap that comes of the conversion is nobody's, so only the source can tell.
TEST_F(SavingUnderFaults, TellsOfABitmapThatCannotBeConverted) {
  const BitmapPointer bitmap = RandomBitmap(48, 37, PixelFormat24bppRGB);
  for (const PxtFileType type : kFaxTypes) {
    FaultPlan plan(Fault::kLock, 1);
    bitmap->GetLastStatus();
    const Outcome outcome = Save(*bitmap, type, [&](const auto& save) { return plan.Run(save); });
    EXPECT_EQ(outcome.result, 0);
    EXPECT_FALSE(outcome.is_left);
    EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::OutOfMemory);
    EXPECT_TRUE(CanBeLocked(*bitmap));
  }
}

// The platform's encoder does not lock.
TEST_F(SavingUnderFaults, LetsThePlatformWriteWhatLibtiffCannotLock) {
  for (const Gdiplus::PixelFormat format : {PixelFormat1bppIndexed, PixelFormat24bppRGB}) {
    const BitmapPointer bitmap = Stripes(800, 60, format);
    for (const PxtFileType type : kFaxTypes) {
      SCOPED_TRACE(testing::Message() << "format " << format << ", type " << type);
      const bool is_converted = format == PixelFormat24bppRGB;
      const int failures = SaveUnderEveryFault(
          Fault::kLock, Span::kOneCall, *bitmap, type,
          [&](const FaultPlan& plan, std::uint32_t nth, const Outcome& outcome,
              const Picture& undisturbed) {
            if (is_converted && nth == 1) return;
            EXPECT_EQ(outcome.result, 1);
            EXPECT_TRUE(AsTiffKeeps(outcome.picture) == AsTiffKeeps(undisturbed));
            // It is the saved bitmap that keeps the status.
            EXPECT_EQ(bitmap->GetLastStatus(),
                      plan.HasFired() && !is_converted ? Gdiplus::OutOfMemory : Gdiplus::Ok);
          });
      EXPECT_EQ(failures, is_converted ? 1 : 0);
    }
  }
}

TEST_F(SavingUnderFaults, TellsThePlatformsEncoderItsOneParameter) {
  for (const Gdiplus::PixelFormat format : kSavedFormats) {
    const BitmapPointer bitmap = RandomBitmap(48, 37, format);
    for (const PxtFileType type : kEncodedTypes) {
      if (!IsReadableGif(type, format)) continue;
      SCOPED_TRACE(testing::Message() << "format " << format << ", type " << type);
      FaultPlan plan(Fault::kLock, LockOfLibtiff(type, format));
      PlatformCalls calls;
      const Outcome outcome = Save(*bitmap, type, [&](const auto& save) {
        return calls.Run([&] { return plan.Run(save); });
      });
      EXPECT_EQ(outcome.result, 1);
      // What is encoded to memory on the way is another matter.
      const auto to_file =
          std::find_if(calls.encodings.begin(), calls.encodings.end(),
                       [](const EncodingCall& call) { return !call.is_to_stream; });
      ASSERT_NE(to_file, calls.encodings.end());
      const auto expected = ParametersFor(type);
      EXPECT_EQ(to_file->has_parameters, !expected.empty());
      EXPECT_TRUE(to_file->parameters == expected);
      EXPECT_EQ(to_file + 1, calls.encodings.end());
    }
  }
}

// What a file of rows that were not written looks like is told beside the writer.
TEST_F(SavingUnderFaults, WritesAPcxFileOrNone) {
  for (const Gdiplus::PixelFormat format : kSavedFormats) {
    const BitmapPointer bitmap = RandomBitmap(48, 37, format);
    const bool is_color = format == PixelFormat24bppRGB || format == PixelFormat32bppARGB;
    for (const Fault fault : kFaults) {
      SCOPED_TRACE(testing::Message()
                   << "format " << format << ", fault " << static_cast<int>(fault));
      const int failures = SaveUnderEveryFault(
          fault, Span::kOneCall, *bitmap, PxtFileTypePcx,
          [&](const FaultPlan& plan, std::uint32_t, const Outcome& outcome,
              const Picture& undisturbed) {
            if (outcome.result == 0) {
              EXPECT_TRUE(outcome.picture == Picture{});
              return;
            }
            const bool may_lack_rows = plan.HasFired() && (fault == Fault::kLock || is_color);
            EXPECT_TRUE(may_lack_rows || outcome.picture == undisturbed);
            EXPECT_EQ(outcome.picture.width, undisturbed.width);
            EXPECT_EQ(outcome.picture.height, undisturbed.height);
          });
      EXPECT_GE(failures, 1);
    }
  }
}

TEST_F(SavingUnderFaults, TouchesNothingForCodesThatAreNone) {
  const BitmapPointer bitmap = RandomBitmap(48, 37, PixelFormat24bppRGB);
  for (const int type : {-1, 12, 1 << 30}) {
    FaultPlan plan(Fault::kAllocation, 1);
    const Outcome outcome = Save(*bitmap, static_cast<PxtFileType>(type),
                                 [&](const auto& save) { return plan.Run(save); });
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(plan.calls(), 0U);
    EXPECT_TRUE(folder_.is_empty());
  }
}

}  // namespace
}  // namespace pixtola::test
