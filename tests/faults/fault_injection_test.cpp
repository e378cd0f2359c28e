// The faults themselves: that each kind fires where it should, is counted, and leaves no trace.

#include "support/fault_injection.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <thread>

#include "base/memory.h"
#include "support/faulty_stream.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"
#include "support/tiff_file.h"

namespace pixtola::test {
namespace {

/// Keeps compilers from leaving out an allocation that nobody uses.
void* volatile kept;

TEST(FaultPlan, FailsTheNthAllocationOnly) {
  FaultPlan plan(Fault::kAllocation, 2);
  std::array<pixtola::Block<int>, 3> blocks;
  plan.Run([&] {
    for (auto& block : blocks) block = pixtola::Allocate<int>(4);
  });
  EXPECT_NE(blocks[0], nullptr);
  EXPECT_EQ(blocks[1], nullptr);
  EXPECT_NE(blocks[2], nullptr);
  EXPECT_TRUE(plan.HasFired());
  EXPECT_EQ(plan.calls(), 3U);
}

TEST(FaultPlan, CountsOnlyInsideOfRun) {
  FaultPlan plan(Fault::kAllocation, 1);
  const std::size_t before = LiveBlocks();
  kept = std::malloc(1);
  EXPECT_NE(kept, nullptr);
  EXPECT_FALSE(plan.HasFired());
  EXPECT_EQ(LiveBlocks(), before);
  std::free(kept);
}

TEST(FaultPlan, LeavesOtherThreadsAlone) {
  FaultPlan plan(Fault::kAllocation, 1);
  // The thread is started outside: starting it allocates on this one.
  std::atomic<bool> may_begin{false};
  std::atomic<bool> has_ended{false};
  bool was_allocated = false;
  std::thread other([&] {
    while (!may_begin) std::this_thread::yield();
    void* const block = std::malloc(1);
    was_allocated = block != nullptr;
    std::free(block);
    has_ended = true;
  });
  plan.Run([&] {
    may_begin = true;
    while (!has_ended) std::this_thread::yield();
  });
  other.join();
  EXPECT_TRUE(was_allocated);
  EXPECT_EQ(plan.calls(), 0U);
}

TEST(FaultPlan, ReachesEveryFunctionThatAllocates) {
  struct alignas(64) Aligned {
    std::array<char, 64> bytes;
  };
  const auto first_fails = [](auto allocate) {
    FaultPlan plan(Fault::kAllocation, 1);
    kept = plan.Run([&]() -> void* { return allocate(); });
    return kept == nullptr && plan.HasFired();
  };
  EXPECT_TRUE(first_fails([] { return std::malloc(1); }));
  EXPECT_TRUE(first_fails([] { return std::calloc(1, 1); }));
  EXPECT_TRUE(first_fails([] { return new (std::nothrow) int; }));
  EXPECT_TRUE(first_fails([] { return new (std::nothrow) int[2]; }));
  EXPECT_TRUE(first_fails([] { return new (std::nothrow) Aligned; }));
  EXPECT_TRUE(first_fails([] { return new (std::nothrow) Aligned[2]; }));
  EXPECT_TRUE(first_fails([] { return Gdiplus::DllExports::GdipAlloc(1); }));
}

TEST(FaultPlan, MakesNewThrow) {
  struct alignas(64) Aligned {
    std::array<char, 64> bytes;
  };
  const auto first_throws = [](auto allocate) {
    FaultPlan plan(Fault::kAllocation, 1);
    EXPECT_THROW(plan.Run([&] { kept = allocate(); }), std::bad_alloc);
    return plan.HasFired();
  };
  EXPECT_TRUE(first_throws([] { return new int; }));
  EXPECT_TRUE(first_throws([] { return new int[2]; }));
  EXPECT_TRUE(first_throws([] { return new Aligned; }));
  EXPECT_TRUE(first_throws([] { return new Aligned[2]; }));
  EXPECT_TRUE(first_throws([] { return new std::string(1000, 'x'); }));
}

TEST(FaultPlan, LeavesTheOldBlockWhenItCannotGrow) {
  kept = std::calloc(1, 1);
  FaultPlan plan(Fault::kAllocation, 1);
  void* const grown = plan.Run([] { return std::realloc(kept, 1000); });
  EXPECT_EQ(grown, nullptr);
  EXPECT_EQ(*static_cast<char*>(kept), 0);
  std::free(kept);
}

TEST(FaultPlan, FailsALockWithoutLocking) {
  const auto bitmap = MakeBitmap(8, 1, PixelFormat1bppIndexed, {1});
  Gdiplus::BitmapData data{};
  const auto lock = [&] {
    return bitmap->LockBits(nullptr, Gdiplus::ImageLockModeRead, PixelFormat1bppIndexed, &data);
  };
  FaultPlan plan(Fault::kLock, 1);
  EXPECT_EQ(plan.Run(lock), Gdiplus::OutOfMemory);
  EXPECT_EQ(data.Scan0, nullptr);
  EXPECT_EQ(bitmap->GetLastStatus(), Gdiplus::OutOfMemory);
  EXPECT_EQ(plan.Run(lock), Gdiplus::Ok);
  EXPECT_EQ(bitmap->UnlockBits(&data), Gdiplus::Ok);
}

TEST(FaultPlan, FailsReadsAndWritesOfFiles) {
  const TemporaryFolder folder;
  const std::string path = (folder / "file").string();
  std::FILE* file = std::fopen(path.c_str(), "w+b");
  ASSERT_NE(file, nullptr);
  FaultPlan write(Fault::kWrite, 2);
  EXPECT_EQ(write.Run([&] { return std::fwrite("abc", 1, 3, file); }), 3U);
  EXPECT_EQ(write.Run([&] { return std::fwrite("def", 1, 3, file); }), 0U);
  EXPECT_TRUE(write.HasFired());
  std::rewind(file);
  std::array<char, 8> bytes{};
  FaultPlan read(Fault::kRead, 1);
  EXPECT_EQ(read.Run([&] { return std::fread(bytes.data(), 1, 8, file); }), 0U);
  EXPECT_EQ(read.Run([&] { return std::fread(bytes.data(), 1, 8, file); }), 3U);
  std::fclose(file);
}

TEST(FaultPlan, FailsReadsAndWritesOfLibtiff) {
  const TemporaryFolder folder;
  const auto write = [&] { WriteTiff(folder / "file", {{.rows = {1}}}); };
  write();
  FaultPlan fails_to_read(Fault::kRead, 1);
  TIFF* tiff = nullptr;
  const std::string path = (folder / "file").string();
  fails_to_read.Run([&] { tiff = TIFFOpen(path.c_str(), "rm"); });
  EXPECT_EQ(tiff, nullptr);
  EXPECT_TRUE(fails_to_read.HasFired());
  FaultPlan fails_to_write(Fault::kWrite, 1);
  fails_to_write.Run([&] { tiff = TIFFOpen(path.c_str(), "w"); });
  EXPECT_EQ(tiff, nullptr);
  EXPECT_TRUE(fails_to_write.HasFired());
}

TEST(FaultPlan, FailsWritesOfMemoryStreamsThatAreMadeUnderIt) {
  FaultPlan plan(Fault::kWrite, 2);
  const std::size_t before = LiveBlocks();
  IStream* stream = nullptr;
  plan.Run([&] { CreateStreamOnHGlobal(nullptr, TRUE, &stream); });
  ASSERT_NE(stream, nullptr);
  EXPECT_GT(LiveBlocks(), before);
  EXPECT_EQ(plan.Run([&] { return stream->Write("a", 1, nullptr); }), S_OK);
  EXPECT_EQ(plan.Run([&] { return stream->Write("b", 1, nullptr); }), FaultyStream::kWriteFault);
  stream->Release();
  EXPECT_EQ(LiveBlocks(), before);
}

TEST(FaultPlan, LastsAsLongAsItIsToldTo) {
  const auto allocate = [] {
    std::string outcome;
    for (int i = 0; i < 4; ++i) {
      kept = std::malloc(1);
      outcome += kept == nullptr ? 'x' : '.';
      std::free(kept);
    }
    return outcome;
  };
  FaultPlan once(Fault::kAllocation, 2);
  EXPECT_EQ(once.Run(allocate), ".x..");
  FaultPlan to_the_end(Fault::kAllocation, 2, Span::kToTheEnd);
  EXPECT_EQ(to_the_end.Run(allocate), ".xxx");
  EXPECT_EQ(to_the_end.calls(), 4U);
}

TEST(FaultPlan, FailsEveryCallOfAnotherKind) {
  FaultPlan plan(Fault::kLock, 1);
  plan.FailEvery(Fault::kAllocation);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(plan.Run([] { return std::malloc(1); }), nullptr);
  EXPECT_EQ(plan.calls(), 0U);
  EXPECT_FALSE(plan.HasFired());
}

TEST(LiveBlocks, KnowBitmaps) {
  const std::size_t before = LiveBlocks();
  FaultPlan plan(Fault::kAllocation, 100);
  Gdiplus::GpBitmap* bitmap = nullptr;
  plan.Run([&] {
    return Gdiplus::DllExports::GdipCreateBitmapFromScan0(4, 4, 0, PixelFormat24bppRGB, nullptr,
                                                          &bitmap);
  });
  EXPECT_GT(LiveBlocks(), before);
  Gdiplus::DllExports::GdipDisposeImage(bitmap);
  EXPECT_EQ(LiveBlocks(), before);
}

TEST(LiveBlocks, NoticeALeak) {
  const std::size_t before = LiveBlocks();
  FaultPlan plan(Fault::kAllocation, 100);
  void* grown = nullptr;
  std::string* leak = nullptr;
  plan.Run([&] {
    leak = new std::string(1000, 'x');
    grown = std::realloc(std::malloc(1), 1000);
    kept = std::malloc(1);
    std::free(kept);
  });
  EXPECT_EQ(LiveBlocks(), before + 3);
  delete leak;
  EXPECT_EQ(LiveBlocks(), before + 1);
  std::free(grown);
  EXPECT_EQ(LiveBlocks(), before);
}

TEST(LiveBlocks, KnowNothingOfBlocksFromBefore) {
  void* const block = std::malloc(1);
  const std::size_t before = LiveBlocks();
  FaultPlan plan(Fault::kLock, 1);
  plan.Run([&] { std::free(block); });
  EXPECT_EQ(LiveBlocks(), before);
}

TEST(ForEveryFault, FailsEachAllocationInTurn) {
  std::string failed;
  const std::uint32_t faults = ForEveryFault(Fault::kAllocation, [&](FaultPlan& plan) {
    std::array<pixtola::Block<int>, 3> blocks;
    plan.Run([&] {
      for (auto& block : blocks) block = pixtola::Allocate<int>(4);
    });
    for (const auto& block : blocks) failed += block == nullptr ? 'x' : '.';
    failed += ' ';
  });
  EXPECT_EQ(faults, 3U);
  EXPECT_EQ(failed, "x.. .x. ..x ... ");
}

/// What a test reports whose function does not free a block after the second fault.
void LeakAfterTheSecondFault(void*& leak) {
  ForEveryFault(Fault::kAllocation, [&](FaultPlan& plan) {
    plan.Run([&] {
      void* const first = std::malloc(1);
      kept = std::malloc(2);
      if (kept != nullptr || first == nullptr) std::free(first);
      if (kept == nullptr) leak = first;
      std::free(kept);
    });
  });
}

TEST(ForEveryFault, ReportsALeak) {
  static void* leak = nullptr;
  testing::TestPartResultArray results;
  {
    const testing::ScopedFakeTestPartResultReporter reporter(
        testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
    LeakAfterTheSecondFault(leak);
  }
  EXPECT_NE(leak, nullptr);
  std::free(leak);
  ASSERT_EQ(results.size(), 1);
  EXPECT_NE(std::string(results.GetTestPartResult(0).message()).find("not freed"),
            std::string::npos);
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"  // as in faulty_stream.h

/// Counts what reaches it; every call succeeds.
class CountingStream final : public IStream {
 public:
  HRESULT QueryInterface(REFIID, void** object) override {
    AddRef();
    *object = this;
    return 0;
  }
  ULONG AddRef() override { return ++references; }
  ULONG Release() override { return --references; }
  HRESULT Read(void*, ULONG size, ULONG* read) override {
    ++reads;
    *read = size;
    return 0;
  }
  HRESULT Write(const void*, ULONG size, ULONG* written) override {
    ++writes;
    *written = size;
    return 0;
  }
  HRESULT Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER*) override { return 0; }
  HRESULT SetSize(ULARGE_INTEGER) override { return 0; }
  HRESULT CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override { return 0; }
  HRESULT Commit(DWORD) override { return 0; }
  HRESULT Revert() override { return 0; }
  HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return 0; }
  HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return 0; }
  HRESULT Stat(STATSTG*, DWORD) override { return 0; }
  HRESULT Clone(IStream** stream) override {
    AddRef();
    *stream = this;
    return 0;
  }
  virtual ~CountingStream() = default;

  ULONG references = 1;
  int reads = 0;
  int writes = 0;
};

#pragma GCC diagnostic pop

TEST(FaultyStream, FailsTheNthReadOnly) {
  CountingStream inner;
  IStream* const stream = FaultyStream::Create(inner);
  ULONG read = 99;
  FaultPlan plan(Fault::kRead, 2);
  EXPECT_EQ(plan.Run([&] { return stream->Read(nullptr, 5, &read); }), 0);
  EXPECT_EQ(read, 5U);
  EXPECT_EQ(plan.Run([&] { return stream->Read(nullptr, 5, &read); }), FaultyStream::kReadFault);
  EXPECT_EQ(read, 0U);
  EXPECT_EQ(plan.Run([&] { return stream->Read(nullptr, 6, &read); }), 0);
  EXPECT_EQ(inner.reads, 2);
  stream->Release();
}

TEST(FaultyStream, FailsTheNthWriteOnly) {
  CountingStream inner;
  IStream* const stream = FaultyStream::Create(inner);
  ULONG written = 99;
  FaultPlan plan(Fault::kWrite, 1);
  EXPECT_EQ(plan.Run([&] { return stream->Write("x", 1, &written); }), FaultyStream::kWriteFault);
  EXPECT_EQ(written, 0U);
  EXPECT_EQ(plan.Run([&] { return stream->Write("x", 1, &written); }), 0);
  EXPECT_EQ(written, 1U);
  EXPECT_EQ(inner.writes, 1);
  stream->Release();
}

TEST(FaultyStream, StaysInFrontOfTheInnerStream) {
  CountingStream inner;
  IStream* const stream = FaultyStream::Create(inner);
  void* queried = nullptr;
  EXPECT_EQ(stream->QueryInterface(IID{}, &queried), 0);
  EXPECT_EQ(queried, stream);
  EXPECT_EQ(stream->Release(), 1U);
  IStream* clone = nullptr;
  EXPECT_EQ(stream->Clone(&clone), 0);
  ULONG read = 0;
  FaultPlan plan(Fault::kRead, 1);
  EXPECT_EQ(plan.Run([&] { return clone->Read(nullptr, 1, &read); }), FaultyStream::kReadFault);
  EXPECT_EQ(clone->Release(), 0U);
  EXPECT_EQ(stream->Release(), 0U);
  EXPECT_EQ(inner.references, 1U);
}

}  // namespace
}  // namespace pixtola::test
