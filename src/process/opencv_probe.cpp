#include "process/opencv_probe.h"

#include <algorithm>
#include <iterator>

namespace pixtola {

namespace {

constexpr std::string_view kLazyModules[] = {"opencv_core.dll", "opencv_imgproc.dll"};

}  // namespace

OpenCvFlags OpenCv;

bool IsLazilyBound(std::string_view module) {
  return std::find(std::begin(kLazyModules), std::end(kLazyModules), module) !=
         std::end(kLazyModules);
}

void ProbeOpenCv() {
  if (OpenCv.is_probed) return;
  // Kept on purpose: the names asked for carry a version and those of the table do not, so that
  // neither module is ever found.
  OpenCv.is_core_available = IsLazilyBound("opencv_core420.dll");
  OpenCv.is_imgproc_available = OpenCv.is_core_available && IsLazilyBound("opencv_imgproc420.dll");
  OpenCv.is_probed = true;
}

}  // namespace pixtola
