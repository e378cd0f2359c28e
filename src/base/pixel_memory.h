// Memory for the pixels of a whole image.
#ifndef PIXTOLA_BASE_PIXEL_MEMORY_H_
#define PIXTOLA_BASE_PIXEL_MEMORY_H_

#include <cstdint>

#include "base/memory.h"
#include "platform.h"

namespace pixtola {

/// `count` elements of zero, in large pages where the system has them.
template <typename T>
Block<T> AllocatePixels(std::uint64_t count) {
  Block<T> block = AllocateZeroed<T>(count);
  platform::PreferLargePages(block.get(), count * sizeof(T));
  return block;
}

}  // namespace pixtola

#endif  // PIXTOLA_BASE_PIXEL_MEMORY_H_
