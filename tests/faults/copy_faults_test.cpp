// Bitmaps made of pixels in memory and copies of bitmaps, when out of memory, a bitmap cannot be
// locked or the encoded copy, through which indexed ones come, cannot be written or read. Also the
// palettes that they are given.

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "faults/fault_images.h"
#include "faults/fault_makers.h"
#include "support/fault_injection.h"
#include "support/platform_calls.h"
#include "support/test_formats.h"

namespace pixtola::test {
namespace {

bool IsIndexed(Gdiplus::PixelFormat format) { return (format & PixelFormatIndexed) != 0; }

/// Pixels in memory from which PxtInsertBytes makes a bitmap of 200 x 300 dots per inch.
struct Pixels {
  Gdiplus::PixelFormat format;
  std::uint32_t aligned;  ///< a row's bytes and padding
  Bytes bytes;
  PaletteBlock palette;

  explicit Pixels(Gdiplus::PixelFormat pixel_format)
      : format(pixel_format),
        aligned((static_cast<std::uint32_t>(PackedBytes(format, kOddWidth)) + 3) / 4 * 4),
        bytes(RandomBytes(std::size_t{aligned} * 37)),
        palette(0, std::vector<Gdiplus::ARGB>(std::size_t{1} << std::min(BitsOfIndex(), 8U),
                                              0xFF405060)) {}

  unsigned BitsOfIndex() const { return IsIndexed(format) ? BitsOf(format) : 1; }

  /// The rows as they are, to be widened, and upwards: the latter two are copied first.
  std::vector<std::uint32_t> strides() const { return {aligned, aligned - 1, 0 - aligned}; }

  int Insert(std::uint32_t stride, Gdiplus::Bitmap** result) const {
    const std::uint8_t* first = bytes.data();
    if (stride == 0 - aligned) first += std::size_t{aligned} * 36;
    return PxtInsertBytes(first, format, kOddWidth, 37, stride, 200, 300, result, palette.get());
  }

  /// What they show when they did not come by way of BMP.
  Picture CopiedDirectly(std::uint32_t stride) const {
    BitmapPointer made;
    EXPECT_EQ(Insert(stride, Receive(made)), 1);
    return made != nullptr ? WithDpi(PictureOf(*made), 200, 300) : Picture{};
  }
};

TEST(PxtInsertBytes, HandsOutTheRightBitmapOrNoneUnderFaults) {
  for (const Gdiplus::PixelFormat format : kFormatOfEachDepth) {
    const Pixels pixels(format);
    for (const std::uint32_t stride : pixels.strides()) {
      SCOPED_TRACE(testing::Message() << "format " << format << ", stride " << stride);
      const auto make = [&](Gdiplus::Bitmap** result) { return pixels.Insert(stride, result); };
      const std::vector<Picture> also_right = {pixels.CopiedDirectly(stride)};
      for (const Span span : kSpans) {
        const Outcomes allocations = MakeUnderEveryFault({.fault = Fault::kAllocation,
                                                          .on_failure = Always(OnFailure::kIsLeft),
                                                          .also_right = also_right,
                                                          .span = span},
                                                         make);
        EXPECT_GE(allocations.failures, 1U);
        // Bitmaps that come by way of BMP are not locked; of others both sides of the copy are.
        const Outcomes locks = MakeUnderEveryFault(
            {.fault = Fault::kLock, .on_failure = Always(OnFailure::kIsLeft), .span = span}, make);
        EXPECT_EQ(locks.faults, IsIndexed(format) ? 0U : 2U);
        EXPECT_EQ(locks.failures, locks.faults);
      }
    }
  }
}

TEST(PxtInsertBytes, CopiesTheRowsOfIndexedBitmapsWhenTheyCannotBeEncoded) {
  for (const Gdiplus::PixelFormat format : kIndexedFormats) {
    const Pixels pixels(format);
    for (const std::uint32_t stride : pixels.strides()) {
      SCOPED_TRACE(testing::Message() << "format " << format << ", stride " << stride);
      const auto make = [&](Gdiplus::Bitmap** result) { return pixels.Insert(stride, result); };
      const std::vector<Picture> copied = {pixels.CopiedDirectly(stride)};
      for (const Span span : kSpans) {
        const Outcomes writes = MakeUnderEveryFault({.fault = Fault::kWrite,
                                                     .on_failure = Always(OnFailure::kIsLeft),
                                                     .also_right = copied,
                                                     .span = span},
                                                    make);
        EXPECT_GE(writes.faults, 1U);
        EXPECT_EQ(writes.failures, 0U);
        EXPECT_TRUE(writes.harmless.empty());  // the resolution tells
      }
    }
  }
}

TEST(PxtInsertBytes, HandsOutTheRightBitmapOrNoneWhenTheCopyOfTheRowsFailsToo) {
  for (const Gdiplus::PixelFormat format : kIndexedFormats) {
    const Pixels pixels(format);
    for (const std::uint32_t stride : pixels.strides()) {
      SCOPED_TRACE(testing::Message() << "format " << format << ", stride " << stride);
      const auto make = [&](Gdiplus::Bitmap** result) { return pixels.Insert(stride, result); };
      const std::vector<Picture> copied = {pixels.CopiedDirectly(stride)};
      for (const Span span : kSpans) {
        const Outcomes locks = MakeUnderEveryFault({.fault = Fault::kLock,
                                                    .on_failure = Always(OnFailure::kIsLeft),
                                                    .also_right = copied,
                                                    .span = span,
                                                    .always_failing = Fault::kWrite},
                                                   make);
        EXPECT_EQ(locks.faults, 2U);
        EXPECT_EQ(locks.failures, 2U);
        const Outcomes allocations = MakeUnderEveryFault({.fault = Fault::kAllocation,
                                                          .on_failure = Always(OnFailure::kIsLeft),
                                                          .also_right = copied,
                                                          .span = span,
                                                          .always_failing = Fault::kWrite},
                                                         make);
        EXPECT_GE(allocations.failures, 3U);
        EXPECT_TRUE(allocations.harmless.empty());
      }
    }
  }
}

// An encoded copy that was written is the bitmap: there is no other try when it cannot be decoded.
TEST(PxtInsertBytes, HandsOutNothingWhenTheEncodedCopyCannotBeRead) {
  if (kDecodersMishandleFailedReads) GTEST_SKIP() << "the platform does not notice";
  for (const Gdiplus::PixelFormat format : kIndexedFormats) {
    const Pixels pixels(format);
    const Outcomes reads = MakeUnderEveryFault(
        {.fault = Fault::kRead, .on_failure = Always(OnFailure::kIsLeft)},
        [&](Gdiplus::Bitmap** result) { return pixels.Insert(pixels.aligned, result); });
    EXPECT_GE(reads.failures, 1U) << format;
  }
}

TEST(PxtInsertBytesRect, HandsOutTheRightBitmapOrNoneUnderFaults) {
  for (const Gdiplus::PixelFormat format : {PixelFormat8bppIndexed, PixelFormat24bppRGB}) {
    const std::uint32_t stride = PxtCalcStride(45, format);
    const Bytes pixels = RandomBytes(std::size_t{stride} * 37);
    for (const RECT rect : {RECT{0, 0, 44, 36}, RECT{8, 3, 30, 20}}) {
      const auto make = [&](Gdiplus::Bitmap** result) {
        return PxtInsertBytesRect(pixels.data(), format, 45, 37, stride, &rect, 200, 300, result);
      };
      BitmapPointer undisturbed;
      ASSERT_EQ(make(Receive(undisturbed)), 1);
      const Picture copied = WithDpi(PictureOf(*undisturbed), 200, 300);
      for (const Fault fault : {Fault::kAllocation, Fault::kLock, Fault::kWrite, Fault::kRead}) {
        for (const Span span : kSpans) {
          SCOPED_TRACE(testing::Message() << "format " << format << ", left " << rect.left
                                          << ", fault " << static_cast<int>(fault));
          const Outcomes outcomes = MakeUnderEveryFault({.fault = fault,
                                                         .on_failure = Always(OnFailure::kIsNull),
                                                         .also_right = {copied},
                                                         .span = span},
                                                        make);
          EXPECT_TRUE(fault != Fault::kAllocation || outcomes.failures >= 1);
        }
      }
    }
  }
}

/// The colours of bitmaps that nobody gives any.
std::vector<Gdiplus::ARGB> DefaultColors(Gdiplus::PixelFormat format) {
  if (format == PixelFormat1bppIndexed) return {0xFF000000, 0xFFFFFFFF};
  std::vector<Gdiplus::ARGB> grays;
  for (Gdiplus::ARGB i = 0; i < 256; ++i) grays.push_back(0xFF000000 + i * 0x010101);
  return grays;
}

// The platform's own palettes may be others.
TEST(PxtInsertBytes, GivesBitmapsTheirDefaultPaletteItself) {
  const Bytes bytes = {0b10100000, 1, 2, 3, 0b11000000, 5, 6, 7};
  for (const auto format : {PixelFormat1bppIndexed, PixelFormat8bppIndexed}) {
    const std::vector<Gdiplus::ARGB> colors = DefaultColors(format);
    // With an encoded copy, and without one, where two bitmaps need the palette.
    for (const bool is_encoded : {true, false}) {
      SCOPED_TRACE(testing::Message() << "format " << format << ", encoded: " << is_encoded);
      FaultPlan plan(Fault::kWrite, is_encoded ? std::numeric_limits<std::uint32_t>::max() : 1);
      PlatformCalls calls;
      Gdiplus::Bitmap* made = nullptr;
      const auto insert = [&] {
        return PxtInsertBytes(bytes.data(), format, 4, 2, 4, 96, 96, &made, nullptr);
      };
      EXPECT_EQ(calls.Run([&] { return plan.Run(insert); }), 1);
      ASSERT_NE(made, nullptr);
      const BitmapPointer owned(made);
      EXPECT_EQ(calls.palettes.size(), is_encoded ? 1U : 2U);
      for (const auto& palette : calls.palettes) EXPECT_EQ(palette, colors);
      EXPECT_EQ(PaletteOf(*made), colors);
    }
  }
}

TEST(PxtCopyBitmap, MakesBlackAndWhiteOfOneBitImagesWhosePaletteCannotBeHad) {
  const BitmapPointer bitmap = MakeBitmap(8, 2, PixelFormat1bppIndexed, {0b10100000, 0b00010111});
  bitmap->SetPalette(PaletteBlock(0, {0xFFFF0000, 0xFF00FF00}).get());
  bitmap->GetLastStatus();
  // Its size, not to be had, is that of none.
  FaultPlan plan(Fault::kPalette, 1);
  PlatformCalls calls;
  Gdiplus::Bitmap* made = nullptr;
  const auto copy = [&] { return PxtCopyBitmap(bitmap.get(), &made); };
  EXPECT_EQ(calls.Run([&] { return plan.Run(copy); }), 1);
  ASSERT_NE(made, nullptr);
  const BitmapPointer owned(made);
  const auto black_and_white = DefaultColors(PixelFormat1bppIndexed);
  EXPECT_EQ(calls.palettes, std::vector<std::vector<Gdiplus::ARGB>>{black_and_white});
  EXPECT_EQ(PaletteOf(*made), black_and_white);
  EXPECT_EQ(PixelsOf(*made), (Bytes{0b10100000, 0b00010111}));
  EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::OutOfMemory);
}

/// What may come of copying a bitmap of 200 x 300 dots per inch that is disturbed: its rows are
/// copied directly, or without its palette when out of memory for that.
std::vector<Picture> PossibleCopies(Gdiplus::Bitmap& bitmap) {
  const Picture picture = PictureOf(bitmap);
  if (!IsIndexed(picture.format)) return {};
  return {picture, WithoutPalette(picture), WithDpi(WithoutPalette(picture), 200, 300)};
}

TEST(PxtCopyBitmap, GoesOnWithoutAPaletteThatFindsNoMemory) {
  const BitmapPointer bitmap = MakeBitmap(8, 2, PixelFormat1bppIndexed, {0b10100000, 0b00010111});
  bitmap->SetPalette(PaletteBlock(0, {0xFFFF0000, 0xFF00FF00}).get());
  int without_palette = 0;
  ForEveryFault(Fault::kAllocation, [&](FaultPlan& plan) {
    BitmapPointer made;
    const int result = plan.Run([&] { return PxtCopyBitmap(bitmap.get(), Receive(made)); });
    EXPECT_EQ(result, made != nullptr ? 1 : 0);
    if (made == nullptr) return;
    EXPECT_EQ(PixelsOf(*made), (Bytes{0b10100000, 0b00010111}));
    if (PaletteOf(*made) == DefaultColors(PixelFormat1bppIndexed)) ++without_palette;
  });
  EXPECT_EQ(without_palette, 1);
}

TEST(PxtCopyBitmap, HandsOutTheRightBitmapOrNoneWithoutMemory) {
  for (const Gdiplus::PixelFormat format : kFormatOfEachDepth) {
    const BitmapPointer bitmap = RandomBitmap(kOddWidth, 37, format);
    ASSERT_NE(bitmap, nullptr);
    bitmap->GetLastStatus();
    for (const Span span : kSpans) {
      SCOPED_TRACE(testing::Message() << "format " << format);
      const Outcomes outcomes = MakeUnderEveryFault(
          {.fault = Fault::kAllocation,
           .on_failure = Always(OnFailure::kIsNull),
           .also_right = PossibleCopies(*bitmap),
           .span = span},
          [&](Gdiplus::Bitmap** copy) { return PxtCopyBitmap(bitmap.get(), copy); });
      EXPECT_GE(outcomes.failures, 1U);
      EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::Ok);
      EXPECT_TRUE(CanBeLocked(*bitmap));
    }
  }
}

TEST(PxtCopyBitmap, LeavesTheArgumentOnlyWhenTheSourceCannotBeLocked) {
  for (const Gdiplus::PixelFormat format : kFormatOfEachDepth) {
    const BitmapPointer bitmap = RandomBitmap(kOddWidth, 37, format);
    ASSERT_NE(bitmap, nullptr);
    bitmap->GetLastStatus();
    for (const Span span : kSpans) {
      SCOPED_TRACE(testing::Message() << "format " << format);
      const auto copy = [&](Gdiplus::Bitmap** result) {
        return PxtCopyBitmap(bitmap.get(), result);
      };
      const Outcomes outcomes = MakeUnderEveryFault(
          {.fault = Fault::kLock, .on_failure = LeftByTheFirst(1), .span = span}, copy);
      EXPECT_EQ(outcomes.faults, IsIndexed(format) ? 1U : 3U);
      EXPECT_EQ(outcomes.failures, outcomes.faults);
      // The source tells of its own lock, the copy's end with the copy.
      EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::OutOfMemory);
      EXPECT_TRUE(CanBeLocked(*bitmap));

      const Outcomes without_encoding = MakeUnderEveryFault({.fault = Fault::kLock,
                                                             .on_failure = LeftByTheFirst(1),
                                                             .also_right = PossibleCopies(*bitmap),
                                                             .span = span,
                                                             .always_failing = Fault::kWrite},
                                                            copy);
      EXPECT_EQ(without_encoding.faults, 3U);
      EXPECT_EQ(without_encoding.failures, 3U);
      bitmap->GetLastStatus();
    }
  }
}

TEST(PxtCopyBitmap, DoesWithoutAnEncodedCopyThatCannotBeWritten) {
  for (const Gdiplus::PixelFormat format : kFormatOfEachDepth) {
    const BitmapPointer bitmap = RandomBitmap(kOddWidth, 37, format);
    ASSERT_NE(bitmap, nullptr);
    bitmap->GetLastStatus();
    for (const Span span : kSpans) {
      SCOPED_TRACE(testing::Message() << "format " << format);
      const Outcomes outcomes = MakeUnderEveryFault(
          {.fault = Fault::kWrite,
           .on_failure = Always(OnFailure::kIsNull),
           .also_right = {PictureOf(*bitmap)},
           .span = span},
          [&](Gdiplus::Bitmap** copy) { return PxtCopyBitmap(bitmap.get(), copy); });
      EXPECT_EQ(outcomes.faults > 0, IsIndexed(format));
      EXPECT_EQ(outcomes.failures, 0U);
      EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::Ok);
      EXPECT_TRUE(CanBeLocked(*bitmap));
    }
  }
}

TEST(PxtCopyBitmap, HandsOutNothingWhenTheEncodedCopyCannotBeRead) {
  if (kDecodersMishandleFailedReads) GTEST_SKIP() << "the platform does not notice";
  for (const Gdiplus::PixelFormat format : kFormatOfEachDepth) {
    const BitmapPointer bitmap = RandomBitmap(kOddWidth, 37, format);
    ASSERT_NE(bitmap, nullptr);
    const Outcomes outcomes = MakeUnderEveryFault(
        {.fault = Fault::kRead, .on_failure = Always(OnFailure::kIsNull)},
        [&](Gdiplus::Bitmap** copy) { return PxtCopyBitmap(bitmap.get(), copy); });
    EXPECT_EQ(outcomes.failures > 0, IsIndexed(format)) << format;
    EXPECT_TRUE(CanBeLocked(*bitmap));
  }
}

}  // namespace
}  // namespace pixtola::test
