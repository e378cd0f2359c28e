// Byte blocks from the heap that report lack of memory by an empty pointer instead of an exception.
#ifndef PIXTOLA_PORTABLE_HEAP_BYTES_H_
#define PIXTOLA_PORTABLE_HEAP_BYTES_H_

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>

#include "large_pages.h"

namespace pixtola::portable {

struct FreeHeap {
  void operator()(void* memory) const { std::free(memory); }
};
using HeapBytes = std::unique_ptr<std::uint8_t[], FreeHeap>;

/// Uninitialised; null when memory lacks or the size is beyond what can be addressed.
inline HeapBytes AllocateBytes(std::uint64_t size) {
  if (size > std::numeric_limits<std::ptrdiff_t>::max()) return nullptr;
  HeapBytes bytes(static_cast<std::uint8_t*>(std::malloc(size == 0 ? 1 : size)));
  platform::PreferLargePages(bytes.get(), size);
  return bytes;
}

/// Zeroed. Untouched pages of a large block cost nothing.
inline HeapBytes AllocateZeroedBytes(std::uint64_t size) {
  if (size > std::numeric_limits<std::ptrdiff_t>::max()) return nullptr;
  HeapBytes bytes(static_cast<std::uint8_t*>(std::calloc(size == 0 ? 1 : size, 1)));
  platform::PreferLargePages(bytes.get(), size);
  return bytes;
}

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_HEAP_BYTES_H_
