// The stand-in's streams, blocks of memory and handles when out of memory.

#include <gtest/gtest.h>

#include <cstring>

#include "Pixtola.h"
#include "support/fault_injection.h"
#include "support/memory_streams.h"

namespace pixtola::test {
namespace {

TEST(GlobalMemoryWithoutMemory, IsNotAllocated) {
  for (const UINT flags : {GMEM_FIXED, GMEM_MOVEABLE, GHND}) {
    const std::uint32_t faults = ForEveryFault(Fault::kAllocation, [&](FaultPlan& plan) {
      const HGLOBAL memory = plan.Run([&] { return GlobalAlloc(flags, 100); });
      EXPECT_EQ(memory == nullptr, plan.HasFired());
      EXPECT_EQ(GlobalFree(memory), nullptr);
    });
    EXPECT_GE(faults, 1U);
  }
}

TEST(GlobalMemoryWithoutMemory, StaysAsItWasWhenItCannotGrow) {
  for (const UINT flags : {GMEM_FIXED, GMEM_MOVEABLE}) {
    bool failed = false;
    ForEveryFault(Fault::kAllocation, [&](FaultPlan& plan) {
      HGLOBAL memory = GlobalAlloc(flags, 8);
      std::memcpy(GlobalLock(memory), "eight by", 8);
      GlobalUnlock(memory);
      const HGLOBAL grown = plan.Run([&] { return GlobalReAlloc(memory, 100000, GMEM_MOVEABLE); });
      failed = failed || grown == nullptr;
      if (grown != nullptr) memory = grown;
      EXPECT_EQ(GlobalSize(memory), grown != nullptr ? 100000U : 8U);
      EXPECT_EQ(std::memcmp(GlobalLock(memory), "eight by", 8), 0);
      GlobalUnlock(memory);
      GlobalFree(memory);
    });
    EXPECT_TRUE(failed);
  }
}

TEST(StreamsWithoutMemory, AreNotMade) {
  const std::uint32_t faults = ForEveryFault(Fault::kAllocation, [](FaultPlan& plan) {
    IStream* stream = nullptr;
    const HRESULT result = plan.Run([&] { return CreateStreamOnHGlobal(nullptr, TRUE, &stream); });
    EXPECT_EQ(result, plan.HasFired() ? E_OUTOFMEMORY : S_OK);
    EXPECT_EQ(stream == nullptr, plan.HasFired());
    if (stream != nullptr) stream->Release();
  });
  EXPECT_GE(faults, 3U);
}

TEST(StreamsWithoutMemory, LeaveTheCallersBlockToTheCaller) {
  const std::uint32_t faults = ForEveryFault(Fault::kAllocation, [](FaultPlan& plan) {
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, 16);
    IStream* stream = nullptr;
    plan.Run([&] { return CreateStreamOnHGlobal(memory, TRUE, &stream); });
    if (stream != nullptr) {
      stream->Release();
    } else {
      EXPECT_EQ(GlobalSize(memory), 16U);
      GlobalFree(memory);
    }
  });
  EXPECT_GE(faults, 2U);
}

TEST(StreamsWithoutMemory, KeepWhatTheyHold) {
  bool failed = false;
  ForEveryFault(Fault::kAllocation, [&](FaultPlan& plan) {
    IStream* stream = nullptr;
    ASSERT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, &stream), S_OK);
    ULONG written = 0;
    ASSERT_EQ(stream->Write("abc", 3, &written), S_OK);
    const std::string more(1000, 'x');
    const HRESULT result = plan.Run([&] { return stream->Write(more.data(), 1000, &written); });
    failed = failed || result == E_OUTOFMEMORY;
    EXPECT_EQ(written, result == S_OK ? 1000U : 0U);
    STATSTG stat{};
    EXPECT_EQ(stream->Stat(&stat, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(stat.cbSize.QuadPart, result == S_OK ? 1003U : 3U);
    stream->Release();
  });
  EXPECT_TRUE(failed);
}

TEST(StreamsWithoutMemory, AreNotCloned) {
  const std::uint32_t faults = ForEveryFault(Fault::kAllocation, [](FaultPlan& plan) {
    IStream* stream = nullptr;
    ASSERT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, &stream), S_OK);
    stream->SetSize(Size(10));
    IStream* clone = nullptr;
    const HRESULT result = plan.Run([&] { return stream->Clone(&clone); });
    EXPECT_EQ(result, plan.HasFired() ? E_OUTOFMEMORY : S_OK);
    EXPECT_EQ(clone == nullptr, plan.HasFired());
    stream->Release();
    if (clone != nullptr) clone->Release();
  });
  EXPECT_GE(faults, 1U);
}

/// The tables of handles keep room once they have it.
const bool tables_have_room = [] {
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
  info.bmiHeader.biWidth = 1;
  info.bmiHeader.biHeight = 1;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 24;
  const HBITMAP bitmap = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, nullptr, nullptr, 0);
  return DeleteObject(bitmap) && DeleteDC(CreateCompatibleDC(nullptr));
}();

TEST(DibSectionsWithoutMemory, AreNotMade) {
  ASSERT_TRUE(tables_have_room);
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
  info.bmiHeader.biWidth = 30;
  info.bmiHeader.biHeight = -20;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  const std::uint32_t faults = ForEveryFault(Fault::kAllocation, [&](FaultPlan& plan) {
    void* bits = nullptr;
    const HBITMAP bitmap = plan.Run(
        [&] { return CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0); });
    EXPECT_EQ(bitmap == nullptr, plan.HasFired());
    EXPECT_EQ(bits == nullptr, plan.HasFired());
    EXPECT_EQ(DeleteObject(bitmap), plan.HasFired() ? FALSE : TRUE);
  });
  EXPECT_GE(faults, 3U);
}

TEST(DibSectionsWithoutMemory, AreNotCopiedToBitmaps) {
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
  info.bmiHeader.biWidth = 30;
  info.bmiHeader.biHeight = 20;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 24;
  const HBITMAP section = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, nullptr, nullptr, 0);
  ASSERT_NE(section, nullptr);
  const std::uint32_t faults = ForEveryFault(Fault::kAllocation, [&](FaultPlan& plan) {
    Gdiplus::GpBitmap* bitmap = nullptr;
    const Gdiplus::GpStatus status = plan.Run([&] {
      return Gdiplus::DllExports::GdipCreateBitmapFromHBITMAP(section, nullptr, &bitmap);
    });
    EXPECT_EQ(status, plan.HasFired() ? Gdiplus::OutOfMemory : Gdiplus::Ok);
    EXPECT_EQ(bitmap == nullptr, plan.HasFired());
    Gdiplus::DllExports::GdipDisposeImage(bitmap);
  });
  EXPECT_GE(faults, 2U);
  DeleteObject(section);
}

TEST(DeviceContextsWithoutMemory, AreNotMade) {
  ASSERT_TRUE(tables_have_room);
  const std::uint32_t faults = ForEveryFault(Fault::kAllocation, [](FaultPlan& plan) {
    const HDC device = plan.Run([] { return CreateCompatibleDC(nullptr); });
    EXPECT_EQ(device == nullptr, plan.HasFired());
    EXPECT_EQ(DeleteDC(device), plan.HasFired() ? FALSE : TRUE);
  });
  EXPECT_GE(faults, 2U);
}

}  // namespace
}  // namespace pixtola::test
