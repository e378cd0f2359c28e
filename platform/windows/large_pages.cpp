#include "shared/large_pages.h"

namespace pixtola::platform {

// Programs need a privilege for large pages.
void PreferLargePages(void* /*memory*/, std::uint64_t /*size*/) {}

}  // namespace pixtola::platform
