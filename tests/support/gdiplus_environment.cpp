// Starts GDI+ before the first test of a program and shuts it down after the last.

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

const testing::Environment* const environment =
    testing::AddGlobalTestEnvironment(new GdiplusEnvironment);

}  // namespace
