// Blocks of bytes from the heap: running out of memory gives a null pointer, not an exception.
#ifndef PIXTOLA_PORTABLE_HEAP_BYTES_H_
#define PIXTOLA_PORTABLE_HEAP_BYTES_H_

#include <cstdint>
#include <cstdlib>
#include <limits>

#include "base/handles.h"
#include "shared/large_pages.h"

namespace pixtola::portable {

/// Uninitialised; null when out of memory or when the size is beyond what can be addressed.
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
