// Memory for whole images: the system hands it out in pages, and to get thousands of small ones
// costs more than to fill them.
#ifndef PIXTOLA_PLATFORM_SHARED_LARGE_PAGES_H_
#define PIXTOLA_PLATFORM_SHARED_LARGE_PAGES_H_

#include <cstdint>

#include "shared/export.h"

namespace pixtola::platform {

/// Asks the system for large pages in a block of `size` bytes that has not been written to. Changes
/// nothing but speed; does nothing for null, for blocks of less than some pages, and where there is
/// no such thing.
PIXTOLA_PLATFORM_SHARED void PreferLargePages(void* memory, std::uint64_t size);

}  // namespace pixtola::platform

#endif  // PIXTOLA_PLATFORM_SHARED_LARGE_PAGES_H_
