// What the platform promises about blocks of global memory. Written against the API alone: the same
// tests run on Windows and on the stand-in.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "platform.h"

namespace pixtola::test {
namespace {

/// More than any system has, but no number that overflows when something is added.
constexpr SIZE_T kTooMuch = ~SIZE_T{0} / 2;

constexpr UINT kDiscardable = 0x100 | GMEM_MOVEABLE;
constexpr UINT kZeroed = GMEM_MOVEABLE | GMEM_ZEROINIT;

/// Numbers the bytes of an unlocked block from `start` on.
void Number(HGLOBAL block, std::size_t start, std::size_t end) {
  auto* const bytes = static_cast<std::uint8_t*>(GlobalLock(block));
  ASSERT_NE(bytes, nullptr);
  for (std::size_t i = start; i < end; ++i) bytes[i] = static_cast<std::uint8_t>(i * 7);
  GlobalUnlock(block);
}

/// Whether the first `end` bytes of an unlocked block are still numbered.
bool IsNumbered(HGLOBAL block, std::size_t end) {
  const auto* const bytes = static_cast<const std::uint8_t*>(GlobalLock(block));
  if (bytes == nullptr) return false;
  bool numbered = true;
  for (std::size_t i = 0; i < end; ++i) numbered &= bytes[i] == static_cast<std::uint8_t>(i * 7);
  GlobalUnlock(block);
  return numbered;
}

bool IsZero(HGLOBAL block, std::size_t start, std::size_t end) {
  const auto* const bytes = static_cast<const std::uint8_t*>(GlobalLock(block));
  if (bytes == nullptr) return false;
  bool zero = true;
  for (std::size_t i = start; i < end; ++i) zero &= bytes[i] == 0;
  GlobalUnlock(block);
  return zero;
}

TEST(GlobalMemory, HasAtLeastTheSizeAskedFor) {
  for (const UINT flags : {UINT{GMEM_FIXED}, UINT{GMEM_MOVEABLE}, kDiscardable}) {
    for (const SIZE_T size : {1U, 7U, 64U, 4097U, 1'000'000U}) {
      const HGLOBAL block = GlobalAlloc(flags, size);
      ASSERT_NE(block, nullptr) << flags << ' ' << size;
      EXPECT_GE(GlobalSize(block), size) << flags << ' ' << size;
      Number(block, 0, size);
      EXPECT_TRUE(IsNumbered(block, size)) << flags << ' ' << size;
      EXPECT_EQ(GlobalFree(block), nullptr) << flags << ' ' << size;
    }
  }
}

TEST(GlobalMemory, IsZeroedOnDemand) {
  // What a block of the size held before must not show.
  for (int i = 0; i < 3; ++i) {
    for (const UINT flags : {UINT{GMEM_FIXED}, UINT{GMEM_MOVEABLE}, kDiscardable}) {
      const HGLOBAL block = GlobalAlloc(flags | GMEM_ZEROINIT, 1000);
      ASSERT_NE(block, nullptr);
      EXPECT_TRUE(IsZero(block, 0, 1000)) << flags;
      Number(block, 0, 1000);
      GlobalFree(block);
    }
  }
}

TEST(GlobalMemory, ThatIsFixedIsItsOwnAddress) {
  const HGLOBAL block = GlobalAlloc(GMEM_FIXED, 16);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(GlobalLock(block), static_cast<void*>(block));
  GlobalUnlock(block);
  GlobalFree(block);
}

TEST(GlobalLock, GivesTheSameAddressWhileLocked) {
  const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 16);
  void* const address = GlobalLock(block);
  ASSERT_NE(address, nullptr);
  EXPECT_EQ(GlobalLock(block), address);
  GlobalUnlock(block);
  EXPECT_EQ(GlobalLock(block), address);
  GlobalUnlock(block);
  GlobalUnlock(block);
  GlobalFree(block);
}

TEST(GlobalUnlock, TellsWhetherTheBlockIsStillLocked) {
  const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 16);
  for (int i = 0; i < 3; ++i) GlobalLock(block);
  EXPECT_TRUE(GlobalUnlock(block));
  EXPECT_TRUE(GlobalUnlock(block));
  EXPECT_FALSE(GlobalUnlock(block));
  EXPECT_FALSE(GlobalUnlock(block));  // not locked at all
  GlobalLock(block);
  EXPECT_FALSE(GlobalUnlock(block));
  GlobalFree(block);
}

TEST(GlobalReAlloc, KeepsTheContentsOfAGrowingBlock) {
  HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 100);
  Number(block, 0, 100);
  block = GlobalReAlloc(block, 100'000, GMEM_MOVEABLE);
  ASSERT_NE(block, nullptr);
  EXPECT_GE(GlobalSize(block), 100'000U);
  EXPECT_TRUE(IsNumbered(block, 100));
  Number(block, 100, 100'000);
  EXPECT_TRUE(IsNumbered(block, 100'000));
  GlobalFree(block);
}

TEST(GlobalReAlloc, ZeroesTheGrowthOnDemand) {
  for (const SIZE_T size : {101U, 128U, 5000U, 300'000U}) {
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 100);
    Number(block, 0, 100);
    // The growth begins where the block really ends.
    const std::size_t end = GlobalSize(block);
    block = GlobalReAlloc(block, size, GMEM_MOVEABLE | GMEM_ZEROINIT);
    ASSERT_NE(block, nullptr);
    EXPECT_TRUE(IsNumbered(block, 100)) << size;
    EXPECT_TRUE(IsZero(block, end, size)) << size;
    GlobalFree(block);
  }
}

TEST(GlobalReAlloc, KeepsTheStartOfAShrinkingBlock) {
  HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 100'000);
  Number(block, 0, 100'000);
  block = GlobalReAlloc(block, 50, GMEM_MOVEABLE);
  ASSERT_NE(block, nullptr);
  EXPECT_GE(GlobalSize(block), 50U);
  EXPECT_LT(GlobalSize(block), 100'000U);
  EXPECT_TRUE(IsNumbered(block, 50));
  GlobalFree(block);
}

TEST(GlobalReAlloc, MayMoveFixedMemoryWhenAllowedTo) {
  HGLOBAL block = GlobalAlloc(GMEM_FIXED, 100);
  Number(block, 0, 100);
  block = GlobalReAlloc(block, 100'000, GMEM_MOVEABLE);
  ASSERT_NE(block, nullptr);
  EXPECT_GE(GlobalSize(block), 100'000U);
  EXPECT_TRUE(IsNumbered(block, 100));
  GlobalFree(block);
}

TEST(GlobalMemoryOfNoBytes, IsABlockThatCanGrow) {
  HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 0);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(GlobalSize(block), 0U);
  EXPECT_EQ(GlobalLock(block), nullptr);  // there is nothing to point to
  block = GlobalReAlloc(block, 10, GMEM_MOVEABLE);
  ASSERT_NE(block, nullptr);
  EXPECT_GE(GlobalSize(block), 10U);
  Number(block, 0, 10);
  EXPECT_TRUE(IsNumbered(block, 10));
  EXPECT_EQ(GlobalFree(block), nullptr);
}

TEST(GlobalMemoryOfNoBytes, MayBeFixed) {
  const HGLOBAL block = GlobalAlloc(GMEM_FIXED, 0);
  EXPECT_NE(block, nullptr);
  EXPECT_EQ(GlobalFree(block), nullptr);
}

TEST(GlobalMemoryThatCannotBeHad, IsNull) {
  for (const UINT flags : {UINT{GMEM_FIXED}, UINT{GMEM_MOVEABLE}, kZeroed}) {
    EXPECT_EQ(GlobalAlloc(flags, kTooMuch), nullptr) << flags;
  }
}

TEST(GlobalMemoryThatCannotBeHad, LeavesTheOldBlock) {
  const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 100);
  Number(block, 0, 100);
  EXPECT_EQ(GlobalReAlloc(block, kTooMuch, GMEM_MOVEABLE), nullptr);
  EXPECT_GE(GlobalSize(block), 100U);
  EXPECT_TRUE(IsNumbered(block, 100));
  EXPECT_EQ(GlobalFree(block), nullptr);
}

TEST(NoGlobalMemory, HasNeitherSizeNorAddress) {
  EXPECT_EQ(GlobalSize(nullptr), 0U);
  EXPECT_EQ(GlobalLock(nullptr), nullptr);
  EXPECT_EQ(GlobalReAlloc(nullptr, 10, GMEM_MOVEABLE), nullptr);
  EXPECT_EQ(GlobalFree(nullptr), nullptr);
}

}  // namespace
}  // namespace pixtola::test
