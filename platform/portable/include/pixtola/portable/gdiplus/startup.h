// The startup and shutdown of GDI+.
#ifndef PIXTOLA_PORTABLE_GDIPLUS_STARTUP_H_
#define PIXTOLA_PORTABLE_GDIPLUS_STARTUP_H_

#include "pixtola/portable/gdiplus/status.h"
#include "pixtola/portable/windows_types.h"

namespace Gdiplus {

struct GdiplusStartupInput {
  GdiplusStartupInput(void* debug_event_callback = nullptr, BOOL suppress_background_thread = FALSE,
                      BOOL suppress_external_codecs = FALSE)
      : GdiplusVersion(1),
        DebugEventCallback(debug_event_callback),
        SuppressBackgroundThread(suppress_background_thread),
        SuppressExternalCodecs(suppress_external_codecs) {}

  UINT GdiplusVersion;
  void* DebugEventCallback;
  BOOL SuppressBackgroundThread;
  BOOL SuppressExternalCodecs;
};

struct GdiplusStartupOutput {
  void* NotificationHook;
  void* NotificationUnhook;
};

// Nothing has to be started here: both calls exist so that callers can be written once.

/// InvalidParameter for null, UnsupportedGdiplusVersion for versions other than 1 and 2.
PIXTOLA_PLATFORM_API Status GdiplusStartup(ULONG_PTR* token, const GdiplusStartupInput* input,
                                           GdiplusStartupOutput* output);
PIXTOLA_PLATFORM_API void GdiplusShutdown(ULONG_PTR token);

}  // namespace Gdiplus

#endif  // PIXTOLA_PORTABLE_GDIPLUS_STARTUP_H_
