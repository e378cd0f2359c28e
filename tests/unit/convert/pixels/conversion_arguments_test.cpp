// What all bilevel methods do with their arguments, and with pixels that have one bit already.

#include <gtest/gtest.h>

#include "convert/pixels/adaptive/adaptive.h"
#include "convert/pixels/diffusion/diffusion.h"
#include "convert/pixels/otsu/otsu.h"
#include "unit/convert/pixels/binarize.h"

namespace pixtola::test {
namespace {

TEST(BilevelMethods, CopyOneBitSourcesAsTheyAre) {
  for (const Worker worker : {BinarizeOtsu, BinarizeAdaptive, BinarizeDiffusion}) {
    const Bytes source = {0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0};
    Bytes destination(16, 0xA5);
    // 10 pixels: the rest of the source row comes along, what it does not reach becomes 0.
    ASSERT_EQ(worker({source.data(), 10, 2, 4, 1}, nullptr, {destination.data(), 10, 2, 8, 1}), 1);
    EXPECT_EQ(destination, (Bytes{0x12, 0x34, 0x56, 0x78, 0, 0, 0, 0,  //
                                  0x9A, 0xBC, 0xDE, 0xF0, 0, 0, 0, 0}));
    Bytes narrow(8, 0xA5);
    const Bytes wide_source = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    ASSERT_EQ(worker({wide_source.data(), 10, 2, 8, 1}, nullptr, {narrow.data(), 10, 2, 4, 1}), 1);
    EXPECT_EQ(narrow, (Bytes{1, 2, 3, 4, 9, 10, 11, 12}));
  }
}

TEST(BilevelMethods, CheckTheirArguments) {
  for (const Worker worker : {BinarizeOtsu, BinarizeAdaptive, BinarizeDiffusion}) {
    const Bytes source(24, 255);
    Bytes destination(8, 0xA5);
    EXPECT_EQ(worker({nullptr, 8, 1, 24, 24}, nullptr, {destination.data(), 8, 1, 4, 1}), 0);
    EXPECT_EQ(worker({source.data(), 8, 1, 24, 24}, nullptr, {nullptr, 8, 1, 4, 1}), 0);
    EXPECT_EQ(worker({source.data(), 0, 1, 24, 24}, nullptr, {destination.data(), 0, 1, 4, 1}), 0);
    EXPECT_EQ(worker({source.data(), 8, 0, 24, 24}, nullptr, {destination.data(), 8, 0, 4, 1}), 0);
    EXPECT_EQ(worker({source.data(), 8, 1, 24, 24}, nullptr, {destination.data(), 8, 1, 2, 1}), 0);
    EXPECT_EQ(worker({source.data(), 8, 1, 20, 24}, nullptr, {destination.data(), 8, 1, 4, 1}), 0);
    EXPECT_EQ(destination, Bytes(8, 0xA5));
  }
}

TEST(BilevelMethods, LeaveTheDestinationWithoutLookupExceptTheAdaptiveOne) {
  const Bytes source(64, 1);
  for (const Worker worker : {BinarizeOtsu, BinarizeDiffusion}) {
    Bytes destination(32, 0xA5);
    EXPECT_EQ(worker({source.data(), 8, 8, 8, 8}, nullptr, {destination.data(), 8, 8, 4, 1}), 0);
    EXPECT_EQ(destination, Bytes(32, 0xA5));
  }
  Bytes destination(32, 0xA5);
  EXPECT_EQ(
      BinarizeAdaptive({source.data(), 8, 8, 8, 8}, nullptr, {destination.data(), 8, 8, 4, 1}), 0);
  EXPECT_EQ(destination, Bytes(32, 255));
}

}  // namespace
}  // namespace pixtola::test
