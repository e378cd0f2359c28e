// Images from resources when out of memory, the decoded bitmap cannot be locked or the resource's
// bytes cannot be read. The resources are listed in tests/CMakeLists.txt.

#include <gtest/gtest.h>

#include "faults/fault_images.h"
#include "faults/fault_makers.h"
#include "support/fault_injection.h"

namespace pixtola::test {
namespace {

/// 24-bit pixels, and 8-bit ones with a palette.
constexpr const wchar_t* kImages[] = {L"colour", L"palette"};

int Load(const wchar_t* name, Gdiplus::Bitmap** bitmap) {
  return PxtLoadBitmapFromResource(name, L"image", nullptr, bitmap);
}

/// What an indexed image may come out as when its copy is disturbed: without the palette, or with
/// the resolution that the decoder gives and that did not go by way of BMP.
std::vector<Picture> PossibleCopies(const wchar_t* name) {
  BitmapPointer loaded;
  EXPECT_EQ(Load(name, Receive(loaded)), 1);
  if (loaded == nullptr || (loaded->GetPixelFormat() & PixelFormatIndexed) == 0) return {};
  const Picture picture = PictureOf(*loaded);
  return {WithoutPalette(picture), WithDpi(picture, 96, 96),
          WithDpi(WithoutPalette(picture), 96, 96)};
}

bool IsIndexed(const wchar_t* name) { return !PossibleCopies(name).empty(); }

TEST(PxtLoadBitmapFromResource, LoadsTheImageOrNothingWithoutMemory) {
  for (const wchar_t* name : kImages) {
    for (const Span span : kSpans) {
      SCOPED_TRACE(name);
      // There is nothing to be written to before the image has been decoded, which takes memory for
      // the bytes and for the bitmap.
      const Outcomes outcomes = MakeUnderEveryFault(
          {.fault = Fault::kAllocation,
           .on_failure =
               [](std::uint32_t nth) {
                 return nth <= 2 ? OnFailure::kIsLeft : OnFailure::kIsNullOrLeft;
               },
           .also_right = PossibleCopies(name),
           .span = span},
          [&](Gdiplus::Bitmap** bitmap) { return Load(name, bitmap); });
      EXPECT_GE(outcomes.failures, 4U);
    }
  }
}

TEST(PxtLoadBitmapFromResource, ClearsTheArgumentOnlyOnceTheImageIsLocked) {
  for (const wchar_t* name : kImages) {
    for (const Span span : kSpans) {
      SCOPED_TRACE(name);
      const Outcomes outcomes = MakeUnderEveryFault(
          {.fault = Fault::kLock, .on_failure = LeftByTheFirst(1), .span = span},
          [&](Gdiplus::Bitmap** bitmap) { return Load(name, bitmap); });
      EXPECT_EQ(outcomes.faults, IsIndexed(name) ? 1U : 3U);
      EXPECT_EQ(outcomes.failures, outcomes.faults);
    }
  }
}

TEST(PxtLoadBitmapFromResource, LeavesTheArgumentWhenTheBytesCannotBeRead) {
  if (kDecodersMishandleFailedReads) GTEST_SKIP() << "the platform does not notice";
  for (const wchar_t* name : kImages) {
    for (const Span span : kSpans) {
      SCOPED_TRACE(name);
      // An encoded copy may be read after that.
      const Outcomes outcomes = MakeUnderEveryFault(
          {.fault = Fault::kRead,
           .on_failure =
               [&](std::uint32_t nth) {
                 if (nth == 1) return OnFailure::kIsLeft;
                 return IsIndexed(name) ? OnFailure::kIsNullOrLeft : OnFailure::kIsLeft;
               },
           .span = span},
          [&](Gdiplus::Bitmap** bitmap) { return Load(name, bitmap); });
      EXPECT_GE(outcomes.failures, 1U);
    }
  }
}

TEST(PxtLoadBitmapFromResource, DoesWithoutAnEncodedCopyThatCannotBeWritten) {
  for (const wchar_t* name : kImages) {
    for (const Span span : kSpans) {
      SCOPED_TRACE(name);
      const Outcomes outcomes =
          MakeUnderEveryFault({.fault = Fault::kWrite,
                               .on_failure = Always(OnFailure::kIsLeft),
                               .also_right = PossibleCopies(name),
                               .span = span},
                              [&](Gdiplus::Bitmap** bitmap) { return Load(name, bitmap); });
      EXPECT_EQ(outcomes.faults > 0, IsIndexed(name));
      EXPECT_EQ(outcomes.failures, 0U);
    }
  }
}

// What is not there is not looked for in memory of its own.
TEST(PxtLoadBitmapFromResource, AllocatesNothingForAResourceThatIsNotThere) {
  FaultPlan plan(Fault::kAllocation, 1);
  Gdiplus::Bitmap* bitmap = UntouchedBitmap();
  EXPECT_EQ(plan.Run([&] { return Load(L"missing", &bitmap); }), 0);
  EXPECT_EQ(bitmap, UntouchedBitmap());
  EXPECT_EQ(plan.calls(), 0U);
}

}  // namespace
}  // namespace pixtola::test
