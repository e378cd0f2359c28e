#include "support/kernel_targets.h"

#if PIXTOLA_WITH_HIGHWAY
#include <hwy/highway.h>

namespace pixtola::test {

void ForcedTargets::Force(std::int64_t targets) {
  hwy::SetSupportedTargetsForTest(targets);
  hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

std::vector<std::int64_t> RunnableTargets() { return hwy::SupportedAndGeneratedTargets(); }

}  // namespace pixtola::test

#endif
