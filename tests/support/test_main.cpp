// The main function of all programs of GoogleTest: GDI+ is started before the first test and shut
// down after the last.

#include <gtest/gtest.h>

#include "Pixtola.h"

namespace {

class GdiplusEnvironment : public testing::Environment {
 public:
  void SetUp() override {
    const Gdiplus::GdiplusStartupInput input;
    ASSERT_EQ(Gdiplus::GdiplusStartup(&token_, &input, nullptr), Gdiplus::Ok);
  }
  void TearDown() override { Gdiplus::GdiplusShutdown(token_); }

 private:
  ULONG_PTR token_ = 0;
};

}  // namespace

int main(int argument_count, char** arguments) {
  testing::InitGoogleTest(&argument_count, arguments);
  testing::AddGlobalTestEnvironment(new GdiplusEnvironment);
  return RUN_ALL_TESTS();
}
