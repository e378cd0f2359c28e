// Saving to streams, extracting from them and handles of bitmaps, when memory lacks, a bitmap
// cannot be locked or a stream cannot be read.

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>

#include "faults/fault_images.h"
#include "support/fault_injection.h"
#include "support/faulty_stream.h"
#include "support/memory_streams.h"

namespace {

using test_support::BitmapPointer;
using test_support::Bytes;
using test_support::CanBeLocked;
using test_support::Fault;
using test_support::FaultPlan;
using test_support::FaultyStream;
using test_support::ForEveryFault;
using test_support::Picture;
using test_support::PictureOf;
using test_support::PixelsOf;
using test_support::RandomBitmap;
using test_support::Receive;
using test_support::StreamPointer;
using test_support::UntouchedStream;

constexpr Gdiplus::PixelFormat kFormats[] = {PixelFormat1bppIndexed, PixelFormat8bppIndexed,
                                             PixelFormat24bppRGB, PixelFormat32bppARGB};

constexpr PxtFileType kPlatformTypes[] = {PxtFileTypeBmp, PxtFileTypeGif, PxtFileTypeJpeg,
                                          PxtFileTypePng};
constexpr PxtFileType kTiffTypes[] = {PxtFileTypeTiffGroup3, PxtFileTypeTiffGroup4,
                                      PxtFileTypeTiffLzw, PxtFileTypeTiffRunLength,
                                      PxtFileTypeTiffNone};

StreamPointer Saved(Gdiplus::Bitmap& bitmap, PxtFileType type) {
  StreamPointer stream;
  EXPECT_EQ(PxtSaveBitmapToStream(&bitmap, Receive(stream), type), 1);
  return stream;
}

Bytes ColorsIn(IStream& stream) {
  BitmapPointer bitmap;
  EXPECT_EQ(PxtExtractBitmap(&stream, Receive(bitmap)), 1);
  return bitmap != nullptr ? PixelsOf(*bitmap, PixelFormat32bppARGB) : Bytes();
}

/// Without memory for a palette a bilevel TIFF says that 0 is white.
Bytes Inverted(Bytes colors) {
  for (std::size_t i = 0; i < colors.size(); ++i) {
    if (i % 4 != 3) colors[i] = static_cast<std::uint8_t>(~colors[i]);
  }
  return colors;
}

using Saver = std::function<int(IStream**)>;

/// Calls `save` under every fault: the stream that it gives shows what an undisturbed one shows, or
/// its inversion where that is taken, or there is none. Returns how many calls failed.
int SaveUnderEveryFault(Fault fault, const Saver& save, bool may_be_inverted) {
  StreamPointer undisturbed;
  EXPECT_EQ(save(Receive(undisturbed)), 1);
  if (undisturbed == nullptr) return 0;
  const Bytes colors = ColorsIn(*undisturbed);
  const std::uint64_t size = test_support::SizeOf(*undisturbed);
  int failures = 0;
  ForEveryFault(fault, [&](FaultPlan& plan) {
    IStream* stream = UntouchedStream();
    const int result = plan.Run([&] { return save(&stream); });
    if (result == 1) {
      ASSERT_NE(stream, UntouchedStream());
      ASSERT_NE(stream, nullptr);
      const StreamPointer owned(stream);
      const Bytes saved = ColorsIn(*stream);
      EXPECT_TRUE(saved == colors || (may_be_inverted && saved == Inverted(colors)));
      EXPECT_TRUE(plan.HasFired() || test_support::SizeOf(*stream) == size);
    } else {
      EXPECT_EQ(result, 0);
      EXPECT_EQ(stream, UntouchedStream());
      EXPECT_TRUE(plan.HasFired());
      ++failures;
    }
  });
  return failures;
}

TEST(PxtSaveBitmapToStream, GivesAWholeImageOrNoneUnderFaults) {
  for (const Gdiplus::PixelFormat format : kFormats) {
    const BitmapPointer bitmap = RandomBitmap(48, 37, format);
    for (const PxtFileType type : kPlatformTypes) {
      SCOPED_TRACE(testing::Message() << "format " << format << " as " << type);
      const Saver save = [&](IStream** stream) {
        return PxtSaveBitmapToStream(bitmap.get(), stream, type);
      };
      EXPECT_GE(SaveUnderEveryFault(Fault::kAllocation, save, false), 1);
      EXPECT_EQ(SaveUnderEveryFault(Fault::kLock, save, false), 0);
      EXPECT_TRUE(CanBeLocked(*bitmap));
    }
  }
}

TEST(PxtSaveBitmapToStream, GivesAWholeTiffOrNoneUnderFaults) {
  for (const Gdiplus::PixelFormat format : kFormats) {
    const BitmapPointer bitmap = RandomBitmap(48, 37, format);
    if (format == PixelFormat1bppIndexed) {
      bitmap->SetPalette(test_support::PaletteBlock(0, {0xFF000000, 0xFFFFFFFF}).get());
    }
    for (const PxtFileType type : kTiffTypes) {
      SCOPED_TRACE(testing::Message() << "format " << format << " as " << type);
      const Saver save = [&](IStream** stream) {
        return PxtSaveBitmapToStream(bitmap.get(), stream, type);
      };
      EXPECT_GE(SaveUnderEveryFault(Fault::kAllocation, save, true), 1);
      SaveUnderEveryFault(Fault::kLock, save, false);
      EXPECT_TRUE(CanBeLocked(*bitmap));
    }
  }
}

TEST(PxtExtractBitmap, GivesAWholeImageOrNoneUnderFaults) {
  for (const Gdiplus::PixelFormat format : kFormats) {
    const BitmapPointer bitmap = RandomBitmap(48, 37, format);
    for (const PxtFileType type : {PxtFileTypeBmp, PxtFileTypeGif, PxtFileTypeJpeg, PxtFileTypePng,
                                   PxtFileTypeTiffLzw, PxtFileTypeTiffGroup4}) {
      const bool is_tiff = type == PxtFileTypeTiffLzw || type == PxtFileTypeTiffGroup4;
      // libtiff multiplies colours by their alpha, the platform does not.
      if (type == PxtFileTypeTiffLzw && format == PixelFormat32bppARGB) continue;
      SCOPED_TRACE(testing::Message() << "format " << format << " as " << type);
      const StreamPointer stream = Saved(*bitmap, type);
      ASSERT_NE(stream, nullptr);
      BitmapPointer undisturbed;
      ASSERT_EQ(PxtExtractBitmap(stream.get(), Receive(undisturbed)), 1);
      const Picture picture = PictureOf(*undisturbed);
      const Bytes colors = PixelsOf(*undisturbed, PixelFormat32bppARGB);
      for (const Fault fault : {Fault::kAllocation, Fault::kLock}) {
        int failures = 0;
        ForEveryFault(fault, [&](FaultPlan& plan) {
          Gdiplus::Bitmap* extracted = bitmap.get();
          const int result = plan.Run([&] { return PxtExtractBitmap(stream.get(), &extracted); });
          ASSERT_NE(extracted, bitmap.get());
          const BitmapPointer owned(extracted);
          EXPECT_EQ(result, extracted != nullptr ? 1 : 0);
          if (extracted == nullptr) {
            EXPECT_TRUE(plan.HasFired());
            ++failures;
            return;
          }
          EXPECT_EQ(extracted->GetWidth(), picture.width);
          EXPECT_EQ(extracted->GetHeight(), picture.height);
          // TIFF that libtiff has no memory for is the platform's, which may choose another format;
          // a palette that there is no memory for counts as none.
          EXPECT_TRUE(PixelsOf(*extracted, PixelFormat32bppARGB) == colors ||
                      PixelsOf(*extracted) == picture.pixels);
          EXPECT_TRUE(plan.HasFired() || PictureOf(*extracted) == picture);
        });
        // TIFF has a second try with the platform.
        EXPECT_TRUE(failures > 0 || is_tiff);
      }
      EXPECT_EQ(test_support::ReferencesTo(*stream), 1U);
    }
  }
}

// What decoders make of an image that they cannot read to its end is their business.
TEST(PxtExtractBitmap, LetsGoOfStreamsThatCannotBeRead) {
  for (const PxtFileType type : {PxtFileTypeBmp, PxtFileTypeGif, PxtFileTypeJpeg, PxtFileTypePng,
                                 PxtFileTypeTiffLzw, PxtFileTypeTiffGroup4}) {
    SCOPED_TRACE(testing::Message() << "type " << type);
    const StreamPointer inner = Saved(*RandomBitmap(48, 37, PixelFormat24bppRGB), type);
    ASSERT_NE(inner, nullptr);
    const StreamPointer stream(FaultyStream::Create(*inner));
    const std::uint32_t faults = ForEveryFault(Fault::kRead, [&](FaultPlan& plan) {
      Gdiplus::Bitmap* extracted = nullptr;
      const int result = plan.Run([&] { return PxtExtractBitmap(stream.get(), &extracted); });
      const BitmapPointer owned(extracted);
      EXPECT_EQ(result, extracted != nullptr ? 1 : 0);
      EXPECT_TRUE(extracted != nullptr || plan.HasFired());
      EXPECT_EQ(test_support::ReferencesTo(*stream), 1U);
    });
    EXPECT_GE(faults, 1U);
  }
}

TEST(PxtStreamToStream, GivesAWholeImageOrNoneUnderFaults) {
  const StreamPointer source = Saved(*RandomBitmap(48, 37, PixelFormat24bppRGB), PxtFileTypePng);
  ASSERT_NE(source, nullptr);
  for (const PxtConversionMethod method : {MethodGray8, MethodBilevelDiffusion}) {
    for (const PxtFileType type : {PxtFileTypeBmp, PxtFileTypePng}) {
      for (const Fault fault : {Fault::kAllocation, Fault::kLock}) {
        SCOPED_TRACE(testing::Message() << "method " << method << " as " << type);
        const Saver save = [&](IStream** stream) {
          return PxtStreamToStream(method, source.get(), type, stream);
        };
        EXPECT_GE(SaveUnderEveryFault(fault, save, false), 1);
      }
    }
  }
  EXPECT_EQ(test_support::ReferencesTo(*source), 1U);
}

TEST(PxtBitmapToHBITMAP, GivesAWholeSectionOrNoneUnderFaults) {
  for (const Gdiplus::PixelFormat format : kFormats) {
    const BitmapPointer bitmap = RandomBitmap(48, 37, format);
    SCOPED_TRACE(testing::Message() << "format " << format);
    const auto bytes_of = [](HBITMAP handle) {
      BITMAP section{};
      GetObjectW(handle, sizeof section, &section);
      const auto* first = static_cast<const std::uint8_t*>(section.bmBits);
      return Bytes(first, first + std::size_t{48} * 4 * 37);
    };
    HBITMAP undisturbed = nullptr;
    ASSERT_EQ(PxtBitmapToHBITMAP(bitmap.get(), &undisturbed), 1);
    const Bytes pixels = bytes_of(undisturbed);
    EXPECT_TRUE(DeleteObject(undisturbed));
    for (const Fault fault : {Fault::kAllocation, Fault::kLock}) {
      bitmap->GetLastStatus();
      const std::uint32_t faults = ForEveryFault(fault, [&](FaultPlan& plan) {
        static std::uintptr_t place = 0;
        HBITMAP handle = reinterpret_cast<HBITMAP>(&place);
        const int result = plan.Run([&] { return PxtBitmapToHBITMAP(bitmap.get(), &handle); });
        if (result == 1) {
          EXPECT_TRUE(bytes_of(handle) == pixels);
          EXPECT_TRUE(DeleteObject(handle));
        } else {
          EXPECT_EQ(handle, nullptr);
          EXPECT_TRUE(plan.HasFired());
          EXPECT_EQ(bitmap->GetLastStatus() == Gdiplus::OutOfMemory, fault == Fault::kLock);
        }
        EXPECT_TRUE(CanBeLocked(*bitmap));
      });
      EXPECT_GE(faults, 1U);
    }
  }
}

}  // namespace
