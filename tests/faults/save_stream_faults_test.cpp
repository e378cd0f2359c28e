// Saving to new memory streams when out of memory, a bitmap cannot be locked or the stream cannot
// be written: all types. Also what the platform is asked for: the stream's block, and the encoder's
// parameter.

#include <gtest/gtest.h>

#include "faults/encoder_parameters.h"
#include "faults/fault_images.h"
#include "faults/fault_makers.h"
#include "faults/fault_streams.h"
#include "io/tiff_writer.h"
#include "support/fault_injection.h"
#include "support/platform_calls.h"
#include "support/temporary_folder.h"
#include "support/test_formats.h"
#include "support/tiff_file.h"

namespace pixtola::test {
namespace {

constexpr Fault kFaults[] = {Fault::kAllocation, Fault::kLock, Fault::kWrite};
constexpr PxtFileType kEncoderTypes[] = {
    PxtFileTypeBmp,     PxtFileTypeGif,      PxtFileTypeJpeg,    PxtFileTypePng,
    PxtFileTypeTiffLzw, PxtFileTypeTiffNone, PxtFileTypeJpegLow, PxtFileTypeJpegHigh};

bool IsTiff(PxtFileType type) {
  return type >= PxtFileTypeTiffGroup3 && type <= PxtFileTypeTiffNone;
}

/// Whether the platform's encoder tells of bytes that the stream does not take.
bool NoticesFailedWrites(PxtFileType type) {
  const bool is_jpeg =
      type == PxtFileTypeJpeg || type == PxtFileTypeJpegLow || type == PxtFileTypeJpegHigh;
  return !kEncodersMishandleFailedWrites || (!is_jpeg && !IsTiff(type));
}

/// What the image in a stream shows; nothing when it cannot be decoded.
Picture PictureIn(IStream& stream) {
  BitmapPointer bitmap;
  PxtExtractBitmap(&stream, Receive(bitmap));
  return bitmap != nullptr ? PictureOf(*bitmap) : Picture{};
}

/// Saves the bitmap and hands the stream out; the calls of the platform are written down.
int SaveAndWriteDown(Gdiplus::Bitmap& bitmap, PxtFileType type, FaultPlan& plan,
                     PlatformCalls& calls, StreamPointer& saved) {
  IStream* stream = nullptr;
  const int result = calls.Run(
      [&] { return plan.Run([&] { return PxtSaveBitmapToStream(&bitmap, &stream, type); }); });
  saved.reset(stream);
  return result;
}

int SaveAndWriteDown(Gdiplus::Bitmap& bitmap, PxtFileType type, PlatformCalls& calls,
                     StreamPointer& saved) {
  FaultPlan undisturbed(Fault::kLock, kNoLock);
  return SaveAndWriteDown(bitmap, type, undisturbed, calls, saved);
}

/// Saves the bitmap under every fault and lets `check` look at each stream. A stream that is not
/// handed out is not left behind. Returns how many calls failed.
template <typename Check>
int SaveUnderEveryFault(Fault fault, Span span, Gdiplus::Bitmap& bitmap, PxtFileType type,
                        const Check& check) {
  IStream* whole = nullptr;
  EXPECT_EQ(PxtSaveBitmapToStream(&bitmap, &whole, type), 1);
  if (whole == nullptr) return 0;
  const StreamPointer undisturbed(whole);
  // Not all bytes are the encoder's: where it skips one, some platforms leave what was there.
  const std::uint64_t size = SizeOf(*undisturbed);
  EXPECT_NE(size, 0U);
  int failures = 0;
  std::uint32_t nth = 0;
  ForEveryFault(
      fault,
      [&](FaultPlan& plan) {
        ++nth;
        bitmap.GetLastStatus();
        IStream* saved = UntouchedStream();
        const int result = plan.Run([&] { return PxtSaveBitmapToStream(&bitmap, &saved, type); });
        EXPECT_TRUE(CanBeLocked(bitmap));
        if (result == 0) {
          EXPECT_TRUE(plan.HasFired());
          EXPECT_EQ(saved, UntouchedStream());
          ++failures;
          return;
        }
        EXPECT_EQ(result, 1);
        ASSERT_NE(saved, UntouchedStream());
        ASSERT_NE(saved, nullptr);
        const StreamPointer owned(saved);
        EXPECT_TRUE(plan.HasFired() || SizeOf(*saved) == size);
        EXPECT_TRUE(plan.HasFired() || bitmap.GetLastStatus() == Gdiplus::Ok);
        check(plan, nth, *saved, *undisturbed);
        // One reference was handed out.
        EXPECT_EQ(saved->AddRef(), 2U);
        EXPECT_EQ(saved->Release(), 1U);
      },
      span);
  return failures;
}

TEST(PxtSaveBitmapToStreamUnderFaults, HandsOutAWholeImageOrNothing) {
  for (const Gdiplus::PixelFormat format : kSavedFormats) {
    const BitmapPointer bitmap = RandomBitmap(48, 37, format);
    for (const PxtFileType type : kEncoderTypes) {
      if (!IsReadableGif(type, format)) continue;
      // Of these libtiff has the first try.
      if (IsTiff(type) && format == PixelFormat1bppIndexed) continue;
      for (const Fault fault : kFaults) {
        if (fault == Fault::kWrite && !NoticesFailedWrites(type)) continue;
        for (const Span span : kSpans) {
          SCOPED_TRACE(testing::Message() << "format " << format << ", type " << type << ", fault "
                                          << static_cast<int>(fault));
          const int failures = SaveUnderEveryFault(
              fault, span, *bitmap, type,
              [](const FaultPlan&, std::uint32_t, IStream& saved, IStream& undisturbed) {
                EXPECT_TRUE(BytesOf(saved) == BytesOf(undisturbed));
              });
          EXPECT_EQ(failures > 0, fault != Fault::kLock);
        }
      }
    }
  }
}

TEST(PxtSaveBitmapToStreamUnderFaults, KeepsThePlatformsFailure) {
  const BitmapPointer bitmap = RandomBitmap(48, 37, PixelFormat24bppRGB);
  for (const PxtFileType type : kEncoderTypes) {
    if (!IsReadableGif(type, PixelFormat24bppRGB) || !NoticesFailedWrites(type)) continue;
    FaultPlan plan(Fault::kWrite, 1);
    bitmap->GetLastStatus();
    IStream* saved = UntouchedStream();
    EXPECT_EQ(plan.Run([&] { return PxtSaveBitmapToStream(bitmap.get(), &saved, type); }), 0);
    EXPECT_NE(bitmap->GetLastStatus(), Gdiplus::Ok) << type;
  }
}

// libtiff's failure is not the last word: the platform's encoder comes next, and what it writes is
// the image that is handed out.
TEST(PxtSaveBitmapToStreamUnderFaults, LetsThePlatformWriteWhatLibtiffCannot) {
  const BitmapPointer bitmap = Stripes(800, 300, PixelFormat1bppIndexed);
  for (const PxtFileType type : kTiffTypes) {
    SCOPED_TRACE(testing::Message() << "type " << type);
    const TemporaryFolder folder;
    ASSERT_EQ(PxtSaveBitmapToFile(bitmap.get(), type, (folder / "file").wstring().c_str()), 1);
    const std::uint32_t strips = TIFFNumberOfStrips(OpenTiff(folder / "file", "r").get());
    EXPECT_GE(strips, 2U);
    const int failures = SaveUnderEveryFault(
        Fault::kWrite, Span::kOneCall, *bitmap, type,
        [&](const FaultPlan& plan, std::uint32_t nth, IStream& saved, IStream& undisturbed) {
          // The header and the strips. Nobody looks whether the directory could be written.
          if (plan.HasFired() && nth > 1 + strips) return;
          EXPECT_TRUE(AsTiffKeeps(PictureIn(saved)) == AsTiffKeeps(PictureIn(undisturbed))) << nth;
        });
    EXPECT_EQ(failures, 0);
  }
}

TEST(PxtSaveBitmapToStreamUnderFaults, TellsOfFailureWhenNeitherCanWrite) {
  if (!NoticesFailedWrites(PxtFileTypeTiffGroup4)) GTEST_SKIP() << "the platform does not";
  for (const Gdiplus::PixelFormat format : {PixelFormat1bppIndexed, PixelFormat24bppRGB}) {
    const BitmapPointer bitmap = Stripes(800, 60, format);
    for (const PxtFileType type : kTiffTypes) {
      if (format == PixelFormat24bppRGB &&
          (type == PxtFileTypeTiffLzw || type == PxtFileTypeTiffNone)) {
        continue;
      }
      SCOPED_TRACE(testing::Message() << "format " << format << ", type " << type);
      const int failures =
          SaveUnderEveryFault(Fault::kWrite, Span::kToTheEnd, *bitmap, type,
                              [](const FaultPlan&, std::uint32_t, IStream&, IStream&) {});
      EXPECT_GE(failures, 2);
    }
  }
}

/// How many faults leave libtiff's writer with a page that it takes for written, though the stream
/// could not grow for the directory.
int CountUnnoticedFaults(Gdiplus::Bitmap& bitmap, PxtFileType type, Span span) {
  BitmapPointer converted;
  if (bitmap.GetPixelFormat() != PixelFormat1bppIndexed) {
    const PxtConversionMethod method =
        type == PxtFileTypeTiffRunLength ? MethodBilevelOtsu : MethodBilevelDiffusion;
    EXPECT_EQ(PxtBitmapToBitmap(method, bitmap, Receive(converted)), 1);
  }
  Gdiplus::Bitmap& written = converted != nullptr ? *converted : bitmap;
  int unnoticed = 0;
  ForEveryFault(
      Fault::kAllocation,
      [&](FaultPlan& plan) {
        const StreamPointer stream = EmptyStream();
        const int result =
            plan.Run([&] { return pixtola::WriteTiffStream(&written, type, stream.get()); });
        unnoticed += result == 1 && PictureIn(*stream) == Picture{} ? 1 : 0;
      },
      span);
  return unnoticed;
}

TEST(PxtSaveBitmapToStreamUnderFaults, WritesFaxAndRunLengthsOrTellsOfFailureWithoutMemory) {
  for (const Gdiplus::PixelFormat format : kSavedFormats) {
    const BitmapPointer bitmap = RandomBitmap(48, 37, format);
    bitmap->SetPalette(PaletteBlock(0, {0xFF000000, 0xFFFFFFFF}).get());
    for (const PxtFileType type :
         {PxtFileTypeTiffGroup3, PxtFileTypeTiffGroup4, PxtFileTypeTiffRunLength}) {
      for (const Span span : kSpans) {
        SCOPED_TRACE(testing::Message() << "format " << format << ", type " << type);
        int unreadable = 0;
        const int failures = SaveUnderEveryFault(
            Fault::kAllocation, span, *bitmap, type,
            [&](const FaultPlan&, std::uint32_t nth, IStream& saved, IStream& undisturbed) {
              const Picture shown = AsTiffKeeps(PictureIn(saved));
              const bool is_unreadable = shown == Picture{};
              EXPECT_TRUE(is_unreadable || shown == AsTiffKeeps(PictureIn(undisturbed))) << nth;
              unreadable += is_unreadable ? 1 : 0;
            });
        EXPECT_GE(failures, 3);
        EXPECT_LE(unreadable, CountUnnoticedFaults(*bitmap, type, span));
      }
    }
  }
}

TEST(PxtSaveBitmapToStreamUnderFaults, LetsThePlatformWriteWhatLibtiffCannotLock) {
  for (const Gdiplus::PixelFormat format : {PixelFormat1bppIndexed, PixelFormat24bppRGB}) {
    const BitmapPointer bitmap = Stripes(800, 60, format);
    const bool is_converted = format == PixelFormat24bppRGB;
    for (const PxtFileType type :
         {PxtFileTypeTiffGroup3, PxtFileTypeTiffGroup4, PxtFileTypeTiffRunLength}) {
      SCOPED_TRACE(testing::Message() << "format " << format << ", type " << type);
      const int failures = SaveUnderEveryFault(
          Fault::kLock, Span::kOneCall, *bitmap, type,
          [&](const FaultPlan& plan, std::uint32_t nth, IStream& saved, IStream& undisturbed) {
            EXPECT_TRUE(AsTiffKeeps(PictureIn(saved)) == AsTiffKeeps(PictureIn(undisturbed)))
                << nth;
            EXPECT_EQ(bitmap->GetLastStatus(),
                      plan.HasFired() && !is_converted ? Gdiplus::OutOfMemory : Gdiplus::Ok);
          });
      EXPECT_EQ(failures, is_converted ? 1 : 0);
    }
  }
}

TEST(PxtSaveBitmapToStream, TellsThePlatformsEncoderItsOneParameter) {
  for (const Gdiplus::PixelFormat format : kSavedFormats) {
    const BitmapPointer bitmap = RandomBitmap(48, 37, format);
    for (const PxtFileType type : kEncodedTypes) {
      if (!IsReadableGif(type, format)) continue;
      SCOPED_TRACE(testing::Message() << "format " << format << ", type " << type);
      const std::uint32_t lock = LockOfLibtiff(type, format);
      FaultPlan plan(Fault::kLock, lock);
      PlatformCalls calls;
      StreamPointer saved;
      EXPECT_EQ(SaveAndWriteDown(*bitmap, type, plan, calls, saved), 1);
      // A conversion makes a bitmap of its own, which is encoded before.
      const std::size_t encodings = lock == 2 ? 2 : 1;
      ASSERT_EQ(calls.encodings.size(), encodings);
      const EncodingCall& encoding = calls.encodings.back();
      const auto expected = ParametersFor(type);
      EXPECT_TRUE(encoding.is_to_stream);
      EXPECT_EQ(encoding.has_parameters, !expected.empty());
      EXPECT_TRUE(encoding.parameters == expected);
    }
  }
}

constexpr UINT kMovableAndDiscardable = 0x102;

TEST(PxtSaveBitmapToStream, AsksForOneBlockOfTheWholeSizeBeforeItEncodes) {
  struct Case {
    Gdiplus::PixelFormat format;
    UINT width;
    UINT height;
    std::uint64_t size;  ///< of the rows and 44 bytes more, and of palettes, but 4096 at least
  };
  const Case cases[] = {{PixelFormat8bppIndexed, 100, 100, 1032 + 44 + 100 * 100},
                        {PixelFormat8bppIndexed, 10, 10, 4096},
                        {PixelFormat8bppIndexed, 30, 94, 4096},  // 32 bytes a row: 4084 in all
                        {PixelFormat8bppIndexed, 30, 95, 1032 + 44 + 95 * 32},
                        {PixelFormat1bppIndexed, 1001, 100, 16 + 44 + 100 * 128},
                        {PixelFormat24bppRGB, 101, 50, 44 + 50 * 304},
                        {PixelFormat32bppARGB, 101, 50, 44 + 50 * 404}};
  for (const auto& [format, width, height, size] : cases) {
    const BitmapPointer bitmap = RandomBitmap(width, height, format);
    ASSERT_NE(bitmap, nullptr);
    // Some platforms count an empty palette where there is none.
    const bool is_indexed = (format & PixelFormatIndexed) != 0;
    const auto no_palette = static_cast<std::uint64_t>(is_indexed ? 0 : bitmap->GetPaletteSize());
    for (const PxtFileType type : kEncoderTypes) {
      if (!IsReadableGif(type, format) || IsTiff(type)) continue;
      SCOPED_TRACE(testing::Message()
                   << "format " << format << ", " << width << " x " << height << ", type " << type);
      PlatformCalls calls;
      StreamPointer saved;
      EXPECT_EQ(SaveAndWriteDown(*bitmap, type, calls, saved), 1);
      const BlockCall whole = {kMovableAndDiscardable, static_cast<SIZE_T>(size + no_palette)};
      EXPECT_TRUE(calls.blocks == std::vector<BlockCall>{whole});
      ASSERT_EQ(calls.encodings.size(), 1U);
      EXPECT_EQ(calls.encodings.front().blocks_before, 1U);
    }
  }
}

TEST(PxtSaveBitmapToStream, AsksForAnEmptyBlockForTiff) {
  for (const Gdiplus::PixelFormat format : kSavedFormats) {
    const BitmapPointer bitmap = RandomBitmap(300, 200, format);
    for (const PxtFileType type : kTiffTypes) {
      SCOPED_TRACE(testing::Message() << "format " << format << ", type " << type);
      PlatformCalls calls;
      StreamPointer saved;
      EXPECT_EQ(SaveAndWriteDown(*bitmap, type, calls, saved), 1);
      ASSERT_FALSE(calls.blocks.empty());
      EXPECT_TRUE(calls.blocks.front() == (BlockCall{kMovableAndDiscardable, 0}));
      // Only the bitmap that a conversion makes asks for another one.
      const bool is_converted = LockOfLibtiff(type, format) == 2;
      EXPECT_EQ(calls.blocks.size(), is_converted ? 2U : 1U);
      for (const EncodingCall& encoding : calls.encodings) EXPECT_GE(encoding.blocks_before, 1U);
    }
  }
}

TEST(PxtSaveBitmapToStreamUnderFaults, HandsOutNothingForPcx) {
  const BitmapPointer bitmap = RandomBitmap(48, 37, PixelFormat24bppRGB);
  ForEveryFault(Fault::kAllocation, [&](FaultPlan& plan) {
    IStream* saved = UntouchedStream();
    EXPECT_EQ(plan.Run([&] { return PxtSaveBitmapToStream(bitmap.get(), &saved, PxtFileTypePcx); }),
              0);
    EXPECT_EQ(saved, UntouchedStream());
  });
}

}  // namespace
}  // namespace pixtola::test
