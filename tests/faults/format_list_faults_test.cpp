// The list of file name extensions when out of memory.

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "Pixtola.h"
#include "io/format_name_list.h"
#include "support/fault_injection.h"

namespace pixtola::test {
namespace {

using pixtola::FormatNameList;

using Names = std::set<std::wstring>;

Names ListedNames() { return {FormatNameList.begin(), FormatNameList.end()}; }

/// A name whose extension is too long for a string object itself.
constexpr const wchar_t* kLongName = L"file.jpg-but-not-quite-that";

TEST(PxtIsSupportedBitmapType, ListsAllExtensionsOrNoneWithoutMemory) {
  PxtClear();
  ASSERT_EQ(PxtIsSupportedBitmapType(L"scan.jpg"), 1);
  const Names whole = ListedNames();
  // Without memory for the platform's list nothing is taken from it.
  const Names own = {L".pcx"};
  for (const Span span : {Span::kOneCall, Span::kToTheEnd}) {
    for (const wchar_t* path : {L"scan.jpg", L"scan.pcx", L"scan.txt", kLongName}) {
      SCOPED_TRACE(path);
      const std::wstring text(path);
      const bool is_supported = text.ends_with(L".jpg") || text.ends_with(L".pcx");
      std::uint32_t own_only = 0;
      const std::uint32_t faults = ForEveryFault(
          Fault::kAllocation,
          [&](FaultPlan& plan) {
            PxtClear();
            const int result = plan.Run([&] { return PxtIsSupportedBitmapType(path); });
            const Names names = ListedNames();
            EXPECT_TRUE(names == whole || (plan.HasFired() && (names.empty() || names == own)));
            // What is found is listed.
            EXPECT_TRUE(result == 0 || (result == 1 && is_supported && !names.empty()));
            EXPECT_TRUE(plan.HasFired() || result == (is_supported ? 1 : 0));
            if (names == own) ++own_only;
            // An empty list is made anew; any other is, once it is cleared.
            if (!names.empty()) PxtClear();
            EXPECT_EQ(PxtIsSupportedBitmapType(path), is_supported ? 1 : 0);
            EXPECT_EQ(ListedNames(), whole);
            PxtClear();
          },
          span);
      EXPECT_GE(faults, whole.size());
      EXPECT_LE(own_only, 1U);
    }
  }
}

TEST(PxtIsSupportedBitmapType, KeepsTheListWhenOnlyTheNameTakesMemory) {
  PxtClear();
  ASSERT_EQ(PxtIsSupportedBitmapType(L"scan.jpg"), 1);
  const Names whole = ListedNames();
  const std::uint32_t faults = ForEveryFault(Fault::kAllocation, [&](FaultPlan& plan) {
    EXPECT_EQ(plan.Run([] { return PxtIsSupportedBitmapType(kLongName); }), 0);
    EXPECT_EQ(ListedNames(), whole);
  });
  EXPECT_GE(faults, 1U);
}

}  // namespace
}  // namespace pixtola::test
