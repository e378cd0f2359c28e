// The library's entry point, called with the reasons that Windows calls it for.

#include <gtest/gtest.h>

#include "io/format_name_list.h"
#include "platform.h"

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void* reserved);

namespace pixtola::test {
namespace {

TEST(DllMain, EmptiesTheListOfExtensionsWhenTheLibraryGoesOnly) {
  ASSERT_EQ(PxtIsSupportedBitmapType(L"page.tif"), 1);
  constexpr DWORD kOtherReasons[] = {DLL_PROCESS_ATTACH, DLL_THREAD_ATTACH, DLL_THREAD_DETACH};
  for (const DWORD reason : kOtherReasons) {
    EXPECT_EQ(DllMain(nullptr, reason, nullptr), TRUE);
    EXPECT_FALSE(FormatNameList.IsEmpty()) << reason;
  }
  EXPECT_EQ(DllMain(nullptr, DLL_PROCESS_DETACH, nullptr), TRUE);
  EXPECT_TRUE(FormatNameList.IsEmpty());
}

}  // namespace
}  // namespace pixtola::test
