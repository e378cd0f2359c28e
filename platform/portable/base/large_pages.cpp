#include "shared/large_pages.h"

#include <sys/mman.h>

namespace pixtola::platform {

void PreferLargePages([[maybe_unused]] void* memory, [[maybe_unused]] std::uint64_t size) {
#ifdef MADV_HUGEPAGE
  constexpr std::uintptr_t kLargePage = std::uintptr_t{1} << 21;
  if (memory == nullptr || size < 2 * kLargePage) return;
  // Only those that lie wholly within the block.
  const auto start = reinterpret_cast<std::uintptr_t>(memory);
  const std::uintptr_t first = (start + kLargePage - 1) / kLargePage * kLargePage;
  const std::uintptr_t end = (start + size) / kLargePage * kLargePage;
  ::madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
#endif
}

}  // namespace pixtola::platform
