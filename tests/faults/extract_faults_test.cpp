// Bitmaps from streams when out of memory, a bitmap cannot be locked, or the stream or an encoded
// copy cannot be read or written.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

#include "faults/fault_images.h"
#include "faults/fault_makers.h"
#include "faults/fault_streams.h"
#include "support/fault_injection.h"
#include "support/platform_calls.h"

namespace pixtola::test {
namespace {

bool IsIndexed(const Picture& picture) { return (picture.format & PixelFormatIndexed) != 0; }

/// An image in memory and a stream in front of it that can fail. Nobody keeps the stream.
class Source {
 public:
  Source(PxtFileType type, Gdiplus::PixelFormat format) {
    const BitmapPointer bitmap = RandomBitmap(48, 37, format);
    IStream* encoded = nullptr;
    EXPECT_EQ(PxtSaveBitmapToStream(bitmap.get(), &encoded, type), 1);
    encoded_.reset(encoded);
    stream_ = InFrontOf(*encoded_).release();
  }
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;
  ~Source() { EXPECT_EQ(stream_->Release(), 0U); }

  IStream* stream() const { return stream_; }

  /// From the stream's end, which does not matter.
  int Extract(Gdiplus::Bitmap** bitmap) const {
    encoded_->Seek(LARGE_INTEGER{}, STREAM_SEEK_END, nullptr);
    return PxtExtractBitmap(stream_, bitmap);
  }

  Picture Extracted() const {
    BitmapPointer bitmap;
    EXPECT_EQ(Extract(Receive(bitmap)), 1);
    return bitmap != nullptr ? PictureOf(*bitmap) : Picture{};
  }

  /// What the platform alone makes of the stream.
  Picture Decoded() const {
    Gdiplus::Bitmap bitmap(encoded_.get());
    return PictureOf(bitmap);
  }

  /// What an image may come out as when it is disturbed: its rows copied directly, with the
  /// decoder's resolution. Its palette is never lost.
  std::vector<Picture> Possible() const {
    const Picture extracted = Extracted();
    if (!IsIndexed(extracted)) return {};
    const Picture decoded = Decoded();
    return {WithDpi(extracted, decoded.dpi_x, decoded.dpi_y), WithDpi(extracted, 200, 300)};
  }

 private:
  StreamPointer encoded_;
  IStream* stream_ = nullptr;
};

struct Container {
  PxtFileType type;
  Gdiplus::PixelFormat format;
};

constexpr Container kContainers[] = {
    {PxtFileTypeBmp, PixelFormat1bppIndexed},        {PxtFileTypeBmp, PixelFormat24bppRGB},
    {PxtFileTypeGif, PixelFormat8bppIndexed},        {PxtFileTypeJpeg, PixelFormat24bppRGB},
    {PxtFileTypePng, PixelFormat8bppIndexed},        {PxtFileTypePng, PixelFormat32bppARGB},
    {PxtFileTypeTiffGroup4, PixelFormat1bppIndexed}, {PxtFileTypeTiffNone, PixelFormat24bppRGB}};

bool IsTiff(const Container& container) {
  return container.type == PxtFileTypeTiffGroup4 || container.type == PxtFileTypeTiffNone;
}

TEST(PxtExtractBitmapUnderFaults, HandsOutTheImageOrNothingWithoutMemory) {
  for (const Container& container : kContainers) {
    SCOPED_TRACE(testing::Message() << "type " << container.type << " of " << container.format);
    const Source source(container.type, container.format);
    std::vector<Picture> possible = source.Possible();
    // The platform has a second try when libtiff's pixels find no memory.
    if (IsTiff(container)) {
      const Picture decoded = source.Decoded();
      BitmapPointer copied;
      Gdiplus::Bitmap bitmap(source.stream());
      ASSERT_EQ(PxtCopyBitmap(&bitmap, Receive(copied)), 1);
      possible.push_back(PictureOf(*copied));
      possible.push_back(decoded);
    }
    for (const Span span : kSpans) {
      const Outcomes outcomes =
          MakeUnderEveryFault({.fault = Fault::kAllocation,
                               .on_failure = Always(OnFailure::kIsNull),
                               .also_right = possible,
                               .span = span},
                              [&](Gdiplus::Bitmap** bitmap) { return source.Extract(bitmap); });
      EXPECT_TRUE(outcomes.failures >= 2 || (IsTiff(container) && span == Span::kOneCall));
    }
  }
}

TEST(PxtExtractBitmapUnderFaults, HandsOutTheImageOrNothingWhenItCannotBeLocked) {
  for (const Container& container : kContainers) {
    if (IsTiff(container)) continue;
    SCOPED_TRACE(testing::Message() << "type " << container.type << " of " << container.format);
    const Source source(container.type, container.format);
    const bool is_indexed = IsIndexed(source.Extracted());
    for (const Span span : kSpans) {
      const Outcomes locks = MakeUnderEveryFault(
          {.fault = Fault::kLock, .on_failure = Always(OnFailure::kIsNull), .span = span},
          [&](Gdiplus::Bitmap** bitmap) { return source.Extract(bitmap); });
      EXPECT_EQ(locks.failures, is_indexed ? 1U : 3U);
      const Outcomes writes =
          MakeUnderEveryFault({.fault = Fault::kWrite,
                               .on_failure = Always(OnFailure::kIsNull),
                               .also_right = source.Possible(),
                               .span = span},
                              [&](Gdiplus::Bitmap** bitmap) { return source.Extract(bitmap); });
      EXPECT_EQ(writes.faults > 0, is_indexed);
      EXPECT_EQ(writes.failures, 0U);
    }
  }
}

// The bitmap from libtiff that cannot be made is one that the platform may still make.
TEST(PxtExtractBitmapUnderFaults, LetsThePlatformDecodeWhatLibtiffsReaderCannotMake) {
  const Source source(PxtFileTypeTiffNone, PixelFormat24bppRGB);
  const Picture picture = source.Extracted();
  for (std::uint32_t nth = 1; nth <= 2; ++nth) {
    FaultPlan plan(Fault::kLock, nth);
    BitmapPointer extracted;
    ASSERT_EQ(plan.Run([&] { return source.Extract(Receive(extracted)); }), 1);
    EXPECT_TRUE(plan.HasFired());
    EXPECT_EQ(extracted->GetWidth(), picture.width);
    EXPECT_EQ(PixelsOf(*extracted, PixelFormat24bppRGB), [&] {
      BitmapPointer undisturbed;
      source.Extract(Receive(undisturbed));
      return PixelsOf(*undisturbed, PixelFormat24bppRGB);
    }());
  }
}

TEST(PxtExtractBitmapUnderFaults, HandsOutTheImageOrNothingWhenTheStreamCannotBeRead) {
  if (kDecodersMishandleFailedReads) GTEST_SKIP() << "the platform does not notice";
  for (const Container& container : kContainers) {
    if (IsTiff(container)) continue;
    SCOPED_TRACE(testing::Message() << "type " << container.type << " of " << container.format);
    const Source source(container.type, container.format);
    for (const Span span : kSpans) {
      const Outcomes outcomes = MakeUnderEveryFault(
          {.fault = Fault::kRead, .on_failure = Always(OnFailure::kIsNull), .span = span},
          [&](Gdiplus::Bitmap** bitmap) { return source.Extract(bitmap); });
      EXPECT_GE(outcomes.failures, 1U);
    }
  }
}

TEST(PxtExtractBitmapUnderFaults, LetsThePlatformDecodeWhatLibtiffCannotRead) {
  const Source source(PxtFileTypeTiffGroup4, PixelFormat1bppIndexed);
  BitmapPointer undisturbed;
  ASSERT_EQ(source.Extract(Receive(undisturbed)), 1);
  const Bytes colors = PixelsOf(*undisturbed, PixelFormat32bppARGB);
  std::uint32_t nth = 0;
  const std::uint32_t faults = ForEveryFault(Fault::kRead, [&](FaultPlan& plan) {
    Gdiplus::Bitmap* extracted = UntouchedBitmap();
    const int result = plan.Run([&] { return source.Extract(&extracted); });
    ASSERT_NE(extracted, UntouchedBitmap());
    const BitmapPointer owned(extracted);
    EXPECT_EQ(result, extracted != nullptr ? 1 : 0);
    // libtiff's reads come first: the header, the directory.
    ++nth;
    EXPECT_TRUE(result == 1 || (plan.HasFired() && nth > 2));
    EXPECT_TRUE(result == 0 || PixelsOf(*extracted, PixelFormat32bppARGB) == colors);
  });
  EXPECT_GE(faults, 3U);
}

TEST(PxtExtractBitmap, LeavesTheLockOfTheDecodedBitmapToItsEnd) {
  for (const Container& container : kContainers) {
    if (IsTiff(container)) continue;
    SCOPED_TRACE(testing::Message() << "type " << container.type << " of " << container.format);
    const Source source(container.type, container.format);
    BitmapPointer extracted;
    PlatformCalls calls;
    EXPECT_EQ(calls.Run([&] { return source.Extract(Receive(extracted)); }), 1);
    // Nobody unlocks the decoded bitmap, which is gone.
    EXPECT_EQ(calls.locks, calls.unlocks + 1);
  }
}

// Kept on purpose: of deep pages libtiff makes what it can. What is missing is black.
TEST(PxtExtractBitmapUnderFaults, HandsOutWhatCanBeReadOfDeepTiff) {
  for (const PxtFileType type : {PxtFileTypeTiffLzw, PxtFileTypeTiffNone}) {
    const Source source(type, PixelFormat24bppRGB);
    BitmapPointer undisturbed;
    ASSERT_EQ(source.Extract(Receive(undisturbed)), 1);
    const Bytes colors = PixelsOf(*undisturbed, PixelFormat24bppRGB);
    const std::uint32_t faults = ForEveryFault(Fault::kRead, [&](FaultPlan& plan) {
      BitmapPointer extracted;
      const int result = plan.Run([&] { return source.Extract(Receive(extracted)); });
      EXPECT_EQ(result, extracted != nullptr ? 1 : 0);
      EXPECT_TRUE(result == 1 || plan.HasFired());
      if (extracted == nullptr) return;
      const Bytes shown = PixelsOf(*extracted, PixelFormat24bppRGB);
      ASSERT_EQ(shown.size(), colors.size());
      for (std::size_t i = 0; i < shown.size(); ++i) {
        ASSERT_TRUE(shown[i] == colors[i] || (plan.HasFired() && shown[i] == 0)) << i;
      }
    });
    EXPECT_GE(faults, 3U);
  }
}

TEST(PxtExtractBitmapUnderFaults, HandsOutNothingWhenNothingWorks) {
  for (const Container& container : kContainers) {
    SCOPED_TRACE(testing::Message() << "type " << container.type << " of " << container.format);
    const Source source(container.type, container.format);
    FaultPlan plan(Fault::kRead, 1, Span::kToTheEnd);
    Gdiplus::Bitmap* bitmap = UntouchedBitmap();
    EXPECT_EQ(plan.Run([&] { return source.Extract(&bitmap); }), 0);
    EXPECT_EQ(bitmap, nullptr);
  }
}

}  // namespace
}  // namespace pixtola::test
