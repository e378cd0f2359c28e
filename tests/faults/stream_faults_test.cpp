// The stand-in's decoders and encoders over streams that fail, and when out of memory.

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "faults/fault_images.h"
#include "faults/fault_streams.h"
#include "support/fault_injection.h"

namespace pixtola::test {
namespace {

namespace Flat = Gdiplus::DllExports;

/// The block that a stream lies in.
Bytes BlockOf(IStream& stream) {
  HGLOBAL memory = nullptr;
  GetHGlobalFromStream(&stream, &memory);
  const auto* bytes = static_cast<const std::uint8_t*>(GlobalLock(memory));
  Bytes copy(bytes, bytes + GlobalSize(memory));
  GlobalUnlock(memory);
  return copy;
}

std::vector<Gdiplus::ImageCodecInfo> Encoders() {
  UINT count = 0;
  UINT size = 0;
  Gdiplus::GetImageEncodersSize(&count, &size);
  std::vector<Gdiplus::ImageCodecInfo> encoders(count);
  Gdiplus::GetImageEncoders(count, size, encoders.data());
  return encoders;
}

/// Calls `check` with each encoder and a bitmap of each format.
template <typename Check>
void ForEveryEncoder(const Check& check) {
  ASSERT_FALSE(Encoders().empty());
  for (const Gdiplus::ImageCodecInfo& encoder : Encoders()) {
    for (const Gdiplus::PixelFormat format : kSavedFormats) {
      SCOPED_TRACE(testing::Message() << std::hex << encoder.Clsid.Data1 << " of " << format);
      check(encoder.Clsid, RandomBitmap(45, 37, format));
    }
  }
}

TEST(EncodersOverFailingStreams, GiveAStatus) {
  ForEveryEncoder([](const CLSID& encoder, const BitmapPointer& bitmap) {
    const StreamPointer whole = EmptyStream();
    ASSERT_EQ(bitmap->Save(whole.get(), &encoder), Gdiplus::Ok);
    const std::uint32_t faults = ForEveryFault(Fault::kWrite, [&](FaultPlan& plan) {
      const StreamPointer inner = EmptyStream();
      const StreamPointer stream = InFrontOf(*inner);
      const Gdiplus::Status status = plan.Run([&] { return bitmap->Save(stream.get(), &encoder); });
      EXPECT_EQ(status, plan.HasFired() ? Gdiplus::Win32Error : Gdiplus::Ok);
      if (!plan.HasFired()) {
        EXPECT_EQ(BlockOf(*inner), BlockOf(*whole));
      }
    });
    EXPECT_GE(faults, 1U);
  });
}

TEST(EncodersOverStreams, GiveAStatusWithoutMemory) {
  ForEveryEncoder([](const CLSID& encoder, const BitmapPointer& bitmap) {
    const StreamPointer whole = EmptyStream();
    ASSERT_EQ(bitmap->Save(whole.get(), &encoder), Gdiplus::Ok);
    ForEveryFault(Fault::kAllocation, [&](FaultPlan& plan) {
      const StreamPointer stream = EmptyStream();
      const Gdiplus::Status status = plan.Run([&] { return bitmap->Save(stream.get(), &encoder); });
      // A stream that cannot have room to grow makes do with the room that is needed.
      EXPECT_TRUE(plan.HasFired() || status == Gdiplus::Ok);
      if (status == Gdiplus::Ok) {
        EXPECT_EQ(BlockOf(*stream), BlockOf(*whole));
      }
    });
  });
}

TEST(DecodersOverFailingStreams, GiveAStatusAndNoBitmap) {
  ForEveryEncoder([](const CLSID& encoder, const BitmapPointer& bitmap) {
    const StreamPointer encoded = EmptyStream();
    ASSERT_EQ(bitmap->Save(encoded.get(), &encoder), Gdiplus::Ok);
    Gdiplus::Bitmap undisturbed(encoded.get());
    ASSERT_EQ(undisturbed.GetLastStatus(), Gdiplus::Ok);
    for (const Fault fault : {Fault::kRead, Fault::kAllocation}) {
      const std::uint32_t faults = ForEveryFault(fault, [&](FaultPlan& plan) {
        const StreamPointer stream = InFrontOf(*encoded);
        Gdiplus::GpBitmap* decoded = nullptr;
        const Gdiplus::GpStatus status =
            plan.Run([&] { return Flat::GdipCreateBitmapFromStream(stream.get(), &decoded); });
        EXPECT_EQ(status != Gdiplus::Ok, plan.HasFired());
        EXPECT_EQ(decoded == nullptr, plan.HasFired());
        Flat::GdipDisposeImage(decoded);
      });
      EXPECT_GE(faults, 1U);
    }
    const StreamPointer stream = InFrontOf(*encoded);
    Gdiplus::Bitmap decoded(stream.get());
    EXPECT_TRUE(PictureOf(decoded) == PictureOf(undisturbed));
  });
}

}  // namespace
}  // namespace pixtola::test
