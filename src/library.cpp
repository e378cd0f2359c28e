// The library's start and end: the objects that the whole process shares, and what happens when the
// library is loaded and unloaded.

#include "io/format_name_list.h"
#include "io/tiff_lock.h"
#include "platform.h"
#include "process/opencv_probe.h"

namespace pixtola {

CFormatNameList FormatNameList;
CriticalSection TiffLock;

namespace {

void Attach() { ProbeOpenCv(); }

void Detach() { FormatNameList.Clear(); }

}  // namespace

}  // namespace pixtola

#if defined(_WIN32)

BOOL WINAPI DllMain(HINSTANCE /*module*/, DWORD reason, void* /*reserved*/) {
  if (reason == DLL_PROCESS_ATTACH) pixtola::Attach();
  if (reason == DLL_PROCESS_DETACH) pixtola::Detach();
  return TRUE;
}

#else

namespace pixtola {

namespace {

/// Must stay the last object here: it is constructed after the others and destroyed before them.
struct Lifetime {
  Lifetime() { Attach(); }
  ~Lifetime() { Detach(); }
} lifetime;

}  // namespace

}  // namespace pixtola

#endif
