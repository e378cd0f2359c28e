// Functions that hand out a new bitmap, called under every fault: they hand out the right one, or
// none and leave nothing behind.
#ifndef PIXTOLA_TESTS_FAULTS_FAULT_MAKERS_H_
#define PIXTOLA_TESTS_FAULTS_FAULT_MAKERS_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "faults/fault_images.h"
#include "support/fault_injection.h"
#include "support/platform_expectations.h"

namespace pixtola::test {

/// A width that leaves the last byte of 1- and 4-bit rows partly unused, where the platform copies
/// such rows whole.
inline constexpr UINT kOddWidth = kUserBufferLocksLosePartialBytes ? 48 : 45;

/// What a bitmap's handle is before the call that may leave it alone: never used as a bitmap.
inline Gdiplus::Bitmap* UntouchedBitmap() {
  static std::uintptr_t place = 0;
  return reinterpret_cast<Gdiplus::Bitmap*>(&place);
}

/// What a function that hands out a bitmap does to its out pointer when it fails.
enum class OnFailure { kIsNull, kIsLeft, kIsNullOrLeft };

inline bool IsAsExpected(const Gdiplus::Bitmap* out, OnFailure on_failure) {
  const bool may_be_null = on_failure != OnFailure::kIsLeft;
  const bool may_be_left = on_failure != OnFailure::kIsNull;
  return (out == nullptr && may_be_null) || (out == UntouchedBitmap() && may_be_left);
}

using Maker = std::function<int(Gdiplus::Bitmap**)>;

/// The faults under which a bitmap is made, and what may come out besides the undisturbed one.
struct Disturbance {
  Fault fault = Fault::kAllocation;
  /// By the number of the fault, counted from 1.
  std::function<OnFailure(std::uint32_t)> on_failure;
  std::vector<Picture> also_right{};
  Span span = Span::kOneCall;
  std::optional<Fault> always_failing{};  ///< calls of this kind fail under all plans
};

struct Outcomes {
  std::uint32_t faults = 0;    ///< that fired
  std::uint32_t failures = 0;  ///< calls that returned nothing
  /// Which of the faults left the undisturbed picture as it was.
  std::vector<std::uint32_t> harmless{};
};

inline auto Always(OnFailure on_failure) {
  return [on_failure](std::uint32_t) { return on_failure; };
}

/// Only the first `count` faults find the out pointer untouched; it is null after the later ones.
inline auto LeftByTheFirst(std::uint32_t count) {
  return
      [count](std::uint32_t nth) { return nth <= count ? OnFailure::kIsLeft : OnFailure::kIsNull; };
}

/// Calls `make` under every fault, and undisturbed.
inline Outcomes MakeUnderEveryFault(const Disturbance& disturbance, const Maker& make) {
  Outcomes outcomes;
  BitmapPointer undisturbed;
  EXPECT_EQ(make(Receive(undisturbed)), 1);
  if (undisturbed == nullptr) return outcomes;
  const Picture expected = PictureOf(*undisturbed);
  undisturbed.reset();
  const std::vector<Picture>& others = disturbance.also_right;

  std::uint32_t nth = 0;
  const auto make_once = [&](FaultPlan& plan) {
    ++nth;
    if (disturbance.always_failing.has_value()) plan.FailEvery(*disturbance.always_failing);
    Gdiplus::Bitmap* made = UntouchedBitmap();
    const int result = plan.Run([&] { return make(&made); });
    if (result == 1) {
      ASSERT_NE(made, UntouchedBitmap());
      ASSERT_NE(made, nullptr);
      const BitmapPointer owned(made);
      EXPECT_EQ(made->GetLastStatus(), Gdiplus::Ok);
      const Picture picture = PictureOf(*made);
      const bool is_expected = picture == expected;
      EXPECT_TRUE(is_expected || std::find(others.begin(), others.end(), picture) != others.end());
      EXPECT_TRUE(is_expected || plan.HasFired() || disturbance.always_failing.has_value());
      if (is_expected && plan.HasFired()) outcomes.harmless.push_back(nth);
    } else {
      EXPECT_EQ(result, 0);
      EXPECT_TRUE(plan.HasFired());
      EXPECT_TRUE(IsAsExpected(made, disturbance.on_failure(nth)));
      ++outcomes.failures;
    }
  };
  outcomes.faults = ForEveryFault(disturbance.fault, make_once, disturbance.span);
  return outcomes;
}

/// The picture with another resolution. Indexed bitmaps that come by way of BMP have whole pixels
/// per metre; those whose rows were copied directly have the resolution itself.
inline Picture WithDpi(Picture picture, float dpi_x, float dpi_y) {
  picture.dpi_x = dpi_x;
  picture.dpi_y = dpi_y;
  return picture;
}

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_FAULTS_FAULT_MAKERS_H_
