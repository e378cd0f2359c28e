// The tables of kernels that this build has and this machine can run.
#ifndef PIXTOLA_TESTS_SUPPORT_KERNEL_TARGETS_H_
#define PIXTOLA_TESTS_SUPPORT_KERNEL_TARGETS_H_

#include <cstdint>
#include <string>
#include <vector>

#if PIXTOLA_WITH_HIGHWAY
#include <hwy/targets.h>
#endif

namespace pixtola::test {

#if PIXTOLA_WITH_HIGHWAY

/// Lets the library choose only among `targets` (Highway's bits) for as long as it lives.
class ForcedTargets {
 public:
  explicit ForcedTargets(std::int64_t targets) { Force(targets); }
  ~ForcedTargets() { Force(0); }
  ForcedTargets(const ForcedTargets&) = delete;
  ForcedTargets& operator=(const ForcedTargets&) = delete;

 private:
  static void Force(std::int64_t targets);
};

/// Highway's bits of the instruction sets that were compiled and that this processor has.
std::vector<std::int64_t> RunnableTargets();

#endif

/// The plain table first, then what `best` chooses on processors with each of the runnable
/// instruction sets.
template <typename Kernels>
std::vector<const Kernels*> AllKernels(const Kernels& plain, const Kernels& (*best)()) {
  std::vector<const Kernels*> tables{&plain};
#if PIXTOLA_WITH_HIGHWAY
  for (const std::int64_t target : RunnableTargets()) {
    const ForcedTargets forced(target);
    if (&best() != &plain) tables.push_back(&best());
  }
#else
  if (&best() != &plain) tables.push_back(&best());
#endif
  return tables;
}

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_KERNEL_TARGETS_H_
