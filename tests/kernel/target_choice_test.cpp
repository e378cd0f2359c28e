// Which instruction set runs, in every folder that has kernels.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "convert/pixels/adaptive/adaptive_kernels.h"
#include "convert/pixels/diffusion/diffusion_kernels.h"
#include "convert/pixels/gray/gray_kernels.h"
#include "convert/pixels/otsu/pack_kernels.h"
#include "io/pixels/pcx_plane_kernels.h"
#include "io/pixels/pcx_rle_kernels.h"
#include "process/pixels/recolor_kernels.h"
#include "process/pixels/sharpen_kernels.h"
#include "process/pixels/white_balance_kernels.h"
#include "support/kernel_targets.h"
#include "transform/pixels/rotate_flip_kernels.h"

namespace pixtola {
namespace {

template <typename KernelTable, const KernelTable& kPlainTable, const KernelTable& (*kBestTable)()>
struct Room {
  using Table = KernelTable;
  static const Table& Plain() { return kPlainTable; }
  static const Table& Best() { return kBestTable(); }
};

template <typename T>
class TargetChoice : public testing::Test {};

using Rooms =
    testing::Types<Room<AdaptiveKernels, kPlainAdaptiveKernels, BestAdaptiveKernels>,
                   Room<DiffusionKernels, kPlainDiffusionKernels, BestDiffusionKernels>,
                   Room<GrayKernels, kPlainGrayKernels, BestGrayKernels>,
                   Room<PackKernels, kPlainPackKernels, BestPackKernels>,
                   Room<PcxPlaneKernels, kPlainPcxPlaneKernels, BestPcxPlaneKernels>,
                   Room<PcxRleKernels, kPlainPcxRleKernels, BestPcxRleKernels>,
                   Room<RecolorKernels, kPlainRecolorKernels, BestRecolorKernels>,
                   Room<RotateFlipKernels, kPlainRotateFlipKernels, BestRotateFlipKernels>,
                   Room<SharpenKernels, kPlainSharpenKernels, BestSharpenKernels>,
                   Room<WhiteBalanceKernels, kPlainWhiteBalanceKernels, BestWhiteBalanceKernels>>;
TYPED_TEST_SUITE(TargetChoice, Rooms);

TYPED_TEST(TargetChoice, EveryTableHasATargetOfItsOwn) {
  std::set<std::string> targets;
  const auto tables = test::AllKernels(TypeParam::Plain(), TypeParam::Best);
  for (const auto* table : tables) targets.insert(table->target);
  EXPECT_EQ(targets.size(), tables.size());
  EXPECT_EQ(std::string(tables.front()->target), "plain");
}

#if PIXTOLA_WITH_HIGHWAY

/// The definition serves where a processor has none of the instruction sets.
std::string NameOf(std::int64_t target) {
  return target == HWY_SCALAR ? "plain" : hwy::TargetName(target);
}

TYPED_TEST(TargetChoice, TheForcedTargetIsTheOneThatRuns) {
  for (const std::int64_t target : test::RunnableTargets()) {
    const test::ForcedTargets forced(target);
    EXPECT_EQ(TypeParam::Best().target, NameOf(target));
  }
}

TYPED_TEST(TargetChoice, TheBestRunnableTargetIsChosenByItself) {
  // Better instruction sets have lower bits, so the first is the best.
  EXPECT_EQ(TypeParam::Best().target, NameOf(test::RunnableTargets().front()));
}

#else

TYPED_TEST(TargetChoice, OnlyThePlainDefinitionExistsWithoutHighway) {
  EXPECT_EQ(&TypeParam::Best(), &TypeParam::Plain());
}

#endif

}  // namespace
}  // namespace pixtola
