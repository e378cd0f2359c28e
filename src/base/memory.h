// Work memory: blocks from the standard allocator, freed by their owner; nothing here throws.
//
// Sizes are 64-bit so that callers can multiply 32-bit dimensions without losing bits.
#ifndef PIXTOLA_BASE_MEMORY_H_
#define PIXTOLA_BASE_MEMORY_H_

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>

namespace pixtola {

struct FreeMemory {
  void operator()(void* memory) const { std::free(memory); }
};

/// An owned block of `T`s without constructors; null when it could not be allocated.
template <typename T>
using Block = std::unique_ptr<T[], FreeMemory>;

inline constexpr std::uint64_t kLargestBlock = std::numeric_limits<std::ptrdiff_t>::max();

/// `count` uninitialised elements.
template <typename T>
Block<T> Allocate(std::uint64_t count) {
  if (count > kLargestBlock / sizeof(T)) return nullptr;
  // A block of no bytes is still a block: null always means failure.
  return Block<T>(static_cast<T*>(std::malloc(count == 0 ? 1 : count * sizeof(T))));
}

/// `count` elements of zero. Pages of a large block that are only read cost no memory.
template <typename T>
Block<T> AllocateZeroed(std::uint64_t count) {
  if (count > kLargestBlock / sizeof(T)) return nullptr;
  return Block<T>(static_cast<T*>(std::calloc(count == 0 ? 1 : count, sizeof(T))));
}

}  // namespace pixtola

#endif  // PIXTOLA_BASE_MEMORY_H_
