// Whether the modules for sharpening are found: never, since the probe asks for names under which
// nothing is bound.
#include "process/opencv_probe.h"

#include <gtest/gtest.h>

namespace pixtola::test {
namespace {

TEST(OpenCvProbe, FindsNothing) {
  ProbeOpenCv();
  EXPECT_TRUE(OpenCv.is_probed);
  EXPECT_FALSE(OpenCv.is_core_available);
  EXPECT_FALSE(OpenCv.is_imgproc_available);
}

TEST(OpenCvProbe, IsMadeOnce) {
  ProbeOpenCv();
  const OpenCvFlags before = OpenCv;
  OpenCv = {true, true, true};
  ProbeOpenCv();
  EXPECT_TRUE(OpenCv.is_core_available);
  EXPECT_TRUE(OpenCv.is_imgproc_available);
  OpenCv = {false, true, true};
  ProbeOpenCv();
  EXPECT_TRUE(OpenCv.is_probed);
  OpenCv = before;
}

TEST(OpenCvProbe, KnowsModulesByTheirExactNames) {
  EXPECT_TRUE(IsLazilyBound("opencv_core.dll"));
  EXPECT_TRUE(IsLazilyBound("opencv_imgproc.dll"));
  for (const char* name : {"opencv_core420.dll", "opencv_imgproc420.dll", "OPENCV_CORE.DLL",
                           "opencv_core.DLL", "opencv_core", "opencv_core.dl", "opencv_core.dll ",
                           "pencv_core.dll", "", "opencv_highgui.dll"}) {
    EXPECT_FALSE(IsLazilyBound(name)) << name;
  }
}

}  // namespace
}  // namespace pixtola::test
