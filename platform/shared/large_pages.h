// Memory for whole images: the system hands it out in pages, and getting thousands of small ones
// costs more than filling them.
#ifndef PIXTOLA_PLATFORM_SHARED_LARGE_PAGES_H_
#define PIXTOLA_PLATFORM_SHARED_LARGE_PAGES_H_

#include <cstdint>

#include "shared/export.h"

namespace pixtola::platform {

/// Asks the system for large pages in a block of `size` bytes that has not been written to. Changes
/// nothing but speed; does nothing for null, for blocks of only a few pages, and on systems without
/// them.
PIXTOLA_PLATFORM_SHARED void PreferLargePages(void* memory, std::uint64_t size);

}  // namespace pixtola::platform

#endif  // PIXTOLA_PLATFORM_SHARED_LARGE_PAGES_H_
