// What happens, and in which order, when the shared library leaves the process: first it empties
// its list of extensions, then its objects are destroyed.
//
// The library's memory and its lock pass through this program: new, delete and the deletion of a
// critical section come here first.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <optional>

#include "Pixtola.h"
#include "support/loaded_library.h"

namespace {

std::atomic<std::size_t> blocks_in_use{0};

/// How many blocks there were when the first critical section ended since this was last empty.
std::optional<std::size_t> blocks_at_end_of_lock;

void* Allocate(std::size_t size) {
  void* const block = std::malloc(size == 0 ? 1 : size);
  if (block != nullptr) ++blocks_in_use;
  return block;
}

// Not inlined: GCC 12 would see std::free of what `new` gave, and warn.
[[gnu::noinline]] void Free(void* block) {
  if (block != nullptr) --blocks_in_use;
  std::free(block);
}

}  // namespace

// These take the place of the C++ library's and of the platform's for shared libraries as well.
#pragma GCC visibility push(default)

void* operator new(std::size_t size) {
  void* const block = Allocate(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* block) noexcept { Free(block); }
void operator delete(void* block, std::size_t) noexcept { Free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { Free(block); }

extern "C" void WINAPI DeleteCriticalSection(CRITICAL_SECTION* section) {
  if (!blocks_at_end_of_lock.has_value()) blocks_at_end_of_lock = blocks_in_use.load();
  static const auto real =
      reinterpret_cast<decltype(&DeleteCriticalSection)>(dlsym(RTLD_NEXT, "DeleteCriticalSection"));
  real(section);
}

#pragma GCC visibility pop

namespace {

using pixtola::test::LoadedLibrary;

// The list is an object and frees what it holds when it ends, but that is after the lock, which was
// made later.
TEST(Detach, EmptiesTheListOfExtensionsBeforeObjectsEnd) {
  std::size_t before = 0;
  {
    const LoadedLibrary library(PIXTOLA_LIBRARY);
    ASSERT_TRUE(library.is_loaded());
    const auto is_supported =
        library.Find<decltype(&PxtIsSupportedBitmapType)>("PxtIsSupportedBitmapType");
    ASSERT_NE(is_supported, nullptr);
    before = blocks_in_use;
    EXPECT_EQ(is_supported(L"page.tif"), 1);
    EXPECT_GT(blocks_in_use, before);
    blocks_at_end_of_lock.reset();
  }
  ASSERT_TRUE(blocks_at_end_of_lock.has_value());
  EXPECT_EQ(*blocks_at_end_of_lock, before);
}

}  // namespace
