// Whether the modules that sharpening borrows its arithmetic from can be used.
#ifndef PIXTOLA_PROCESS_OPENCV_PROBE_H_
#define PIXTOLA_PROCESS_OPENCV_PROBE_H_

#include <string_view>

namespace pixtola {

/// Written when the library is loaded, only read afterwards.
struct OpenCvFlags {
  bool is_probed = false;
  bool is_core_available = false;
  bool is_imgproc_available = false;  ///< the one that sharpening asks for
};
extern OpenCvFlags OpenCv;

/// Whether the library binds a module of this name at its first use. Names are compared letter by
/// letter: "opencv_core420.dll" is not "opencv_core.dll".
bool IsLazilyBound(std::string_view module);

/// Sets the flags; once per process, later calls do nothing.
void ProbeOpenCv();

}  // namespace pixtola

#endif  // PIXTOLA_PROCESS_OPENCV_PROBE_H_
