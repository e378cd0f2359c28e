// The stand-in's decoders and encoders when out of memory or the file cannot be read or written.

#include <gtest/gtest.h>

#include <string>

#include "faults/fault_images.h"
#include "portable/codec_files.h"
#include "support/fault_injection.h"
#include "support/temporary_folder.h"

namespace pixtola::portable {
namespace {

namespace Flat = Gdiplus::DllExports;
using test::BitmapPointer;
using test::Fault;
using test::FaultPlan;
using test::ForEveryFault;
using test::PictureOf;
using test::TemporaryFolder;

constexpr Gdiplus::PixelFormat kFormats[] = {PixelFormat1bppIndexed, PixelFormat4bppIndexed,
                                             PixelFormat8bppIndexed, PixelFormat16bppRGB555,
                                             PixelFormat24bppRGB,    PixelFormat32bppARGB};

class CodecsUnderFaults : public testing::Test {
 protected:
  /// Decodes a file under every fault: a fault means a status, and no bitmap.
  void DecodeUnderEveryFault(const Bytes& file) {
    test::WriteWholeFile(path_, file);
    const std::wstring path = path_.wstring();
    const Gdiplus::Bitmap undisturbed(path.c_str());
    ASSERT_EQ(undisturbed.GetLastStatus(), Gdiplus::Ok);
    for (const Fault fault : {Fault::kAllocation, Fault::kRead}) {
      const std::uint32_t faults = ForEveryFault(fault, [&](FaultPlan& plan) {
        Gdiplus::GpBitmap* bitmap = nullptr;
        const Gdiplus::GpStatus status =
            plan.Run([&] { return Flat::GdipCreateBitmapFromFile(path.c_str(), &bitmap); });
        EXPECT_EQ(status != Gdiplus::Ok, plan.HasFired());
        EXPECT_EQ(bitmap == nullptr, plan.HasFired());
        Flat::GdipDisposeImage(bitmap);
      });
      // Reading: once for the bytes, since the size is known.
      EXPECT_GE(faults, fault == Fault::kAllocation ? 3U : 1U);
    }
  }

  /// Encodes a bitmap as a new file under every fault: a fault means a status, and no file.
  void EncodeUnderEveryFault(Gdiplus::Bitmap& bitmap, const Codec& codec) {
    const std::wstring path = path_.wstring();
    ASSERT_EQ(bitmap.Save(path.c_str(), &codec.info.Clsid), Gdiplus::Ok);
    const Bytes undisturbed = test::ReadWholeFile(path_);
    for (const Fault fault : {Fault::kAllocation, Fault::kWrite}) {
      const std::uint32_t faults = ForEveryFault(fault, [&](FaultPlan& plan) {
        std::filesystem::remove(path_);
        const Gdiplus::Status status =
            plan.Run([&] { return bitmap.Save(path.c_str(), &codec.info.Clsid); });
        EXPECT_EQ(status != Gdiplus::Ok, plan.HasFired());
        if (plan.HasFired()) {
          EXPECT_TRUE(folder_.is_empty());
        } else {
          EXPECT_EQ(test::ReadWholeFile(path_), undisturbed);
        }
      });
      EXPECT_GE(faults, 2U);
    }
  }

  /// Encodes over a file that is there: a fault leaves it as it was, or empty.
  void ReplaceUnderEveryFault(Gdiplus::Bitmap& bitmap, const Codec& codec) {
    const std::wstring path = path_.wstring();
    const Bytes before = {1, 2, 3};
    for (const Fault fault : {Fault::kAllocation, Fault::kWrite}) {
      ForEveryFault(fault, [&](FaultPlan& plan) {
        test::WriteWholeFile(path_, before);
        plan.Run([&] { return bitmap.Save(path.c_str(), &codec.info.Clsid); });
        const Bytes after = test::ReadWholeFile(path_);
        EXPECT_EQ(after == before || after.empty(), plan.HasFired());
      });
    }
  }

  TemporaryFolder folder_;
  // So long that the path does not fit into a string object itself.
  std::filesystem::path path_ = folder_ / "a name that takes memory of its own";
};

TEST_F(CodecsUnderFaults, DecodeOrGiveAStatus) {
  for (const Codec& codec : Codecs()) {
    for (const Gdiplus::PixelFormat format : kFormats) {
      SCOPED_TRACE(testing::Message() << "format " << format);
      DecodeUnderEveryFault(Encode(codec.encode, *Noise(45, 37, format)));
    }
  }
}

TEST_F(CodecsUnderFaults, DecodeRunLengthsOrGiveAStatus) {
  DecodeUnderEveryFault(MakeBmp(Rle(8, {4, 1, 0, 0, 4, 2, 0, 1})));
}

TEST_F(CodecsUnderFaults, DecodeEveryKindOfJpegOrGiveAStatus) {
  DecodeUnderEveryFault(MakeJpeg({1, JCS_GRAYSCALE, JCS_GRAYSCALE, {100}}));
  DecodeUnderEveryFault(MakeJpeg({3, JCS_RGB, JCS_YCbCr, {200, 100, 50}}));
  DecodeUnderEveryFault(MakeJpeg({4, JCS_CMYK, JCS_CMYK, {0, 255, 255, 255}}));
}

TEST_F(CodecsUnderFaults, EncodeAWholeFileOrNone) {
  for (const Codec& codec : Codecs()) {
    for (const Gdiplus::PixelFormat format : kFormats) {
      SCOPED_TRACE(testing::Message() << "format " << format);
      const BitmapPointer bitmap = test::RandomBitmap(45, 37, format);
      EncodeUnderEveryFault(*bitmap, codec);
    }
  }
}

TEST_F(CodecsUnderFaults, LeaveNothingHalfWrittenInAFileThatIsReplaced) {
  const BitmapPointer bitmap = test::RandomBitmap(45, 37, PixelFormat24bppRGB);
  for (const Codec& codec : Codecs()) {
    ReplaceUnderEveryFault(*bitmap, codec);
  }
}

}  // namespace
}  // namespace pixtola::portable
