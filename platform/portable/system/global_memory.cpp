// Global memory: blocks whose handles are addresses (fixed) or not (movable).
//
// A fixed block follows its record, a movable one stands alone and its handle is the record's
// address with a mark, so that each kind is known by its handle.

#include "system/global_memory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "base/handles.h"

namespace pixtola::portable {

namespace {

struct alignas(std::max_align_t) Block {
  BYTE* bytes = nullptr;
  std::size_t size = 0;
  std::size_t capacity = 0;  ///< at least size
  unsigned lock_count = 0;
};

constexpr std::uintptr_t kMovableMark = 2;  // no record's address has this bit
constexpr std::size_t kLargestSize = std::numeric_limits<std::ptrdiff_t>::max() - sizeof(Block);

std::uintptr_t Address(HGLOBAL memory) { return reinterpret_cast<std::uintptr_t>(memory); }

/// The record of a handle that is not null.
Block& BlockOf(HGLOBAL memory) {
  auto* address = static_cast<BYTE*>(memory);
  return *reinterpret_cast<Block*>(IsMovable(memory) ? address - kMovableMark
                                                     : address - sizeof(Block));
}

HGLOBAL AllocateFixed(std::size_t size) {
  auto* memory = static_cast<BYTE*>(std::malloc(sizeof(Block) + size));
  if (memory == nullptr) return nullptr;
  ::new (memory) Block{memory + sizeof(Block), size, size};
  return memory + sizeof(Block);
}

HGLOBAL AllocateMovable(std::size_t size) {
  HeapBytes bytes(size > 0 ? static_cast<BYTE*>(std::malloc(size)) : nullptr);
  if (size > 0 && bytes == nullptr) return nullptr;
  void* record = std::malloc(sizeof(Block));
  if (record == nullptr) return nullptr;
  ::new (record) Block{bytes.release(), size, size};
  return static_cast<BYTE*>(record) + kMovableMark;
}

/// The capacity for a block that grows to `size`: half as much again as it had, so that growing in
/// small steps copies every byte only a few times.
std::size_t GrownCapacity(const Block& block, std::size_t size) {
  return std::min(kLargestSize, std::max(size, block.capacity + block.capacity / 2));
}

/// Gives a movable block another address with room for exactly `capacity` bytes.
bool Move(Block& block, std::size_t capacity) {
  if (capacity == 0) {
    std::free(block.bytes);
    block.bytes = nullptr;
  } else {
    auto* moved = static_cast<BYTE*>(std::realloc(block.bytes, capacity));
    if (moved == nullptr) return false;
    block.bytes = moved;
  }
  block.capacity = capacity;
  return true;
}

/// Moves a fixed block that no longer fits where it is: its new handle is its new address.
HGLOBAL MoveFixed(HGLOBAL memory, std::size_t size) {
  const HGLOBAL moved = AllocateFixed(size);
  if (moved == nullptr) return nullptr;
  std::memcpy(moved, memory, BlockOf(memory).size);
  std::free(&BlockOf(memory));
  return moved;
}

/// Makes room for `size` bytes; null when that fails.
HGLOBAL Resize(HGLOBAL memory, std::size_t size, bool may_move) {
  Block& block = BlockOf(memory);
  const bool fits = size <= block.capacity;
  if (!IsMovable(memory)) {
    if (!fits) return may_move ? MoveFixed(memory, size) : nullptr;
  } else if (!fits) {
    if (block.lock_count > 0 && !may_move) return nullptr;
    const std::size_t capacity = GrownCapacity(block, size);
    // There may be memory for what is asked, though not for the reserve.
    if (!Move(block, capacity) && (capacity == size || !Move(block, size))) return nullptr;
  } else if (size < block.size && (block.lock_count == 0 || may_move)) {
    Move(block, size);  // returns the excess; if that fails, the block stays and fits
  }
  return memory;
}

}  // namespace

bool IsMovable(HGLOBAL memory) { return (Address(memory) & kMovableMark) != 0; }

}  // namespace pixtola::portable

using pixtola::portable::Block;
using pixtola::portable::BlockOf;
using pixtola::portable::IsMovable;

extern "C" {

HGLOBAL WINAPI GlobalAlloc(UINT flags, SIZE_T size) {
  if (size > pixtola::portable::kLargestSize) return nullptr;
  const HGLOBAL memory = (flags & GMEM_MOVEABLE) != 0 ? pixtola::portable::AllocateMovable(size)
                                                      : pixtola::portable::AllocateFixed(size);
  if (memory != nullptr && size > 0 && (flags & GMEM_ZEROINIT) != 0) {
    std::memset(BlockOf(memory).bytes, 0, size);
  }
  return memory;
}

HGLOBAL WINAPI GlobalReAlloc(HGLOBAL memory, SIZE_T size, UINT flags) {
  if (memory == nullptr || size > pixtola::portable::kLargestSize) return nullptr;
  const std::size_t old_size = BlockOf(memory).size;
  const HGLOBAL resized = pixtola::portable::Resize(memory, size, (flags & GMEM_MOVEABLE) != 0);
  if (resized == nullptr) return nullptr;
  Block& block = BlockOf(resized);
  if (size > old_size && (flags & GMEM_ZEROINIT) != 0) {
    std::memset(block.bytes + old_size, 0, size - old_size);
  }
  block.size = size;
  return resized;
}

HGLOBAL WINAPI GlobalFree(HGLOBAL memory) {
  if (memory == nullptr) return nullptr;
  Block& block = BlockOf(memory);
  if (IsMovable(memory)) std::free(block.bytes);
  std::free(&block);
  return nullptr;
}

LPVOID WINAPI GlobalLock(HGLOBAL memory) {
  if (memory == nullptr) return nullptr;
  Block& block = BlockOf(memory);
  if (block.size == 0 && IsMovable(memory)) return nullptr;
  ++block.lock_count;
  return block.bytes;
}

BOOL WINAPI GlobalUnlock(HGLOBAL memory) {
  if (memory == nullptr) return FALSE;
  if (!IsMovable(memory)) return TRUE;  // a fixed block is as good as locked
  Block& block = BlockOf(memory);
  if (block.lock_count == 0) return FALSE;
  return --block.lock_count > 0 ? TRUE : FALSE;
}

SIZE_T WINAPI GlobalSize(HGLOBAL memory) { return memory != nullptr ? BlockOf(memory).size : 0; }

}  // extern "C"
