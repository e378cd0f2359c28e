// Which instruction set runs is what Highway was told, and every table is one of its own.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "convert/gray_kernels.h"
#include "support/kernel_targets.h"

namespace pixtola {
namespace {

TEST(TargetChoice, EveryTableHasATargetOfItsOwn) {
  std::set<std::string> targets;
  std::set<const void*> functions;
  const auto tables = test::AllKernels(kPlainGrayKernels, BestGrayKernels);
  for (const GrayKernels* table : tables) {
    targets.insert(table->target);
    functions.insert(reinterpret_cast<const void*>(table->row_from_24_bit));
  }
  EXPECT_EQ(targets.size(), tables.size());
  EXPECT_EQ(functions.size(), tables.size());
}

#if PIXTOLA_WITH_HIGHWAY

TEST(TargetChoice, TheForcedTargetIsTheOneThatRuns) {
  for (const std::int64_t target : test::RunnableTargets()) {
    const test::ForcedTargets forced(target);
    const std::string expected = target == HWY_SCALAR ? "plain" : hwy::TargetName(target);
    EXPECT_EQ(BestGrayKernels().target, expected);
  }
}

TEST(TargetChoice, TheBestRunnableTargetIsChosenByItself) {
  // Better instruction sets have lower bits, so the first is the best.
  const std::int64_t best = test::RunnableTargets().front();
  const std::string expected = best == HWY_SCALAR ? "plain" : hwy::TargetName(best);
  EXPECT_EQ(BestGrayKernels().target, expected);
}

#else

TEST(TargetChoice, OnlyThePlainDefinitionExistsWithoutHighway) {
  EXPECT_EQ(&BestGrayKernels(), &kPlainGrayKernels);
}

#endif

}  // namespace
}  // namespace pixtola
