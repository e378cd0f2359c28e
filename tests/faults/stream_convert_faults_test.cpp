// Images from streams into files and other streams when out of memory, a bitmap cannot be locked,
// or a stream or file cannot be read or written.

#include <gtest/gtest.h>

#include <string>

#include "faults/fault_images.h"
#include "faults/fault_makers.h"
#include "faults/fault_streams.h"
#include "support/fault_injection.h"
#include "support/temporary_folder.h"
#include "support/test_formats.h"

namespace pixtola::test {
namespace {

constexpr Fault kFaults[] = {Fault::kAllocation, Fault::kLock, Fault::kRead, Fault::kWrite};
constexpr PxtFileType kTypes[] = {PxtFileTypeBmp, PxtFileTypePng, PxtFileTypeTiffNone,
                                  PxtFileTypePcx};

constexpr Gdiplus::PixelFormat kFormats[] = {PixelFormat8bppIndexed, PixelFormat24bppRGB};

Picture WithoutDpi(const Picture& picture) { return WithDpi(picture, 0, 0); }

Picture PictureOfNullable(Gdiplus::Bitmap* bitmap) {
  return bitmap != nullptr ? WithoutDpi(PictureOf(*bitmap)) : Picture{};
}

Picture PictureIn(IStream& stream) {
  BitmapPointer bitmap;
  PxtExtractBitmap(&stream, Receive(bitmap));
  return PictureOfNullable(bitmap.get());
}

/// Calls `check` with a stream, of which nobody may keep a reference, for every kind of fault.
template <typename Check>
void ForEverySource(const Check& check) {
  for (const Gdiplus::PixelFormat format : kFormats) {
    const BitmapPointer bitmap =
        MakeBitmap(48, 9, format, RandomBytes(PackedBytes(format, 48) * std::size_t{9}));
    if (format == PixelFormat8bppIndexed) {
      // Colours that no image has without its palette.
      std::vector<Gdiplus::ARGB> colors;
      for (Gdiplus::ARGB i = 0; i < 256; ++i) colors.push_back(0xFF000000 | i * 0x030507);
      bitmap->SetPalette(PaletteBlock(0, colors).get());
    }
    IStream* encoded = nullptr;
    ASSERT_EQ(PxtSaveBitmapToStream(bitmap.get(), &encoded, PxtFileTypePng), 1);
    const StreamPointer owned(encoded);
    for (const Fault fault : kFaults) {
      if (fault == Fault::kRead && kDecodersMishandleFailedReads) continue;
      for (const Span span : kSpans) {
        SCOPED_TRACE(testing::Message()
                     << "format " << format << ", fault " << static_cast<int>(fault));
        IStream* const source = InFrontOf(*encoded).release();
        check(*source, fault, span);
        EXPECT_EQ(source->Release(), 0U);
      }
    }
  }
}

TEST(PxtSaveStreamToFileUnderFaults, WritesAWholeFileOrNone) {
  const TemporaryFolder folder;
  int next_file = 0;
  ForEverySource([&](IStream& source, Fault fault, Span span) {
    // What is not written any more is mostly not tried either, and each fault writes a file.
    if (fault == Fault::kWrite && span == Span::kToTheEnd) return;
    for (const PxtFileType type : kTypes) {
      // What becomes of rows of PCX files that are not written is told beside their writer.
      if (type == PxtFileTypePcx && fault != Fault::kRead) continue;
      SCOPED_TRACE(testing::Message() << "type " << type);
      struct Outcome {
        int result = 0;
        bool is_left = false;
        Picture picture{};
      };
      const auto save = [&](FaultPlan& plan) {
        const std::filesystem::path path = folder / std::to_string(next_file++);
        const std::wstring wide_path = path.wstring();
        Outcome outcome;
        outcome.result =
            plan.Run([&] { return PxtSaveStreamToFile(&source, type, wide_path.c_str()); });
        outcome.is_left = std::filesystem::exists(path);
        BitmapPointer opened;
        if (outcome.is_left) PxtOpenImageFile(wide_path.c_str(), Receive(opened));
        outcome.picture = PictureOfNullable(opened.get());
        return outcome;
      };
      FaultPlan never(fault, 100000);
      const Outcome undisturbed = save(never);
      ASSERT_EQ(undisturbed.result, 1);
      ASSERT_NE(undisturbed.picture, Picture{});
      int failures = 0;
      ForEveryFault(
          fault,
          [&](FaultPlan& plan) {
            const Outcome outcome = save(plan);
            EXPECT_TRUE(outcome.result == 1 || plan.HasFired());
            EXPECT_EQ(outcome.is_left, outcome.result == 1);
            EXPECT_TRUE(outcome.result == 0 || outcome.picture == undisturbed.picture);
            failures += outcome.result == 0 ? 1 : 0;
          },
          span);
      EXPECT_GE(failures, 1);
    }
  });
}

/// Makes a stream of the source under every fault. Returns how many calls failed.
template <typename Make>
int MakeUnderEveryFault(Fault fault, Span span, const Make& make) {
  IStream* whole = nullptr;
  EXPECT_EQ(make(&whole), 1);
  if (whole == nullptr) return 0;
  const StreamPointer undisturbed(whole);
  const Picture picture = PictureIn(*undisturbed);
  EXPECT_NE(picture, Picture{});
  int failures = 0;
  ForEveryFault(
      fault,
      [&](FaultPlan& plan) {
        IStream* made = UntouchedStream();
        const int result = plan.Run([&] { return make(&made); });
        if (result == 0) {
          EXPECT_TRUE(plan.HasFired());
          EXPECT_EQ(made, UntouchedStream());
          ++failures;
          return;
        }
        EXPECT_EQ(result, 1);
        ASSERT_NE(made, UntouchedStream());
        ASSERT_NE(made, nullptr);
        const StreamPointer owned(made);
        EXPECT_TRUE(PictureIn(*made) == picture);
        EXPECT_TRUE(plan.HasFired() || BytesOf(*made) == BytesOf(*undisturbed));
      },
      span);
  return failures;
}

TEST(PxtSaveStreamToStreamUnderFaults, HandsOutAWholeImageOrNothing) {
  ForEverySource([](IStream& source, Fault fault, Span span) {
    for (const PxtFileType type :
         {PxtFileTypeBmp, PxtFileTypePng, PxtFileTypeJpeg, PxtFileTypeTiffNone}) {
      const bool is_bad_at_writing = type == PxtFileTypeJpeg || type == PxtFileTypeTiffNone;
      if (fault == Fault::kWrite && is_bad_at_writing && kEncodersMishandleFailedWrites) {
        continue;
      }
      SCOPED_TRACE(testing::Message() << "type " << type);
      EXPECT_GE(MakeUnderEveryFault(
                    fault, span,
                    [&](IStream** made) { return PxtSaveStreamToStream(&source, made, type); }),
                1);
    }
  });
}

TEST(PxtStreamToStreamUnderFaults, HandsOutAWholeImageOrNothing) {
  ForEverySource([](IStream& source, Fault fault, Span span) {
    for (const PxtConversionMethod method : kMethods) {
      for (const PxtFileType type : {PxtFileTypeBmp, PxtFileTypePng}) {
        SCOPED_TRACE(testing::Message() << "method " << method << ", type " << type);
        EXPECT_GE(MakeUnderEveryFault(fault, span,
                                      [&](IStream** made) {
                                        return PxtStreamToStream(method, &source, type, made);
                                      }),
                  1);
      }
    }
  });
}

TEST(PxtStreamToStreamUnderFaults, HandsOutNothingForPcx) {
  ForEverySource([](IStream& source, Fault fault, Span span) {
    IStream* made = UntouchedStream();
    const auto convert = [&] {
      return PxtStreamToStream(MethodGray8, &source, PxtFileTypePcx, &made);
    };
    EXPECT_EQ(convert(), 0);
    ForEveryFault(
        fault,
        [&](FaultPlan& plan) {
          made = UntouchedStream();
          EXPECT_EQ(plan.Run(convert), 0);
          EXPECT_EQ(made, UntouchedStream());
        },
        span);
  });
}

}  // namespace
}  // namespace pixtola::test
