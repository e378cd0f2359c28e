// The Win32 and COM names that Pixtola and its callers use, for systems without windows.h.
#ifndef PIXTOLA_PORTABLE_WIN32_H_
#define PIXTOLA_PORTABLE_WIN32_H_

#include "pixtola/portable/gdi.h"
#include "pixtola/portable/kernel.h"
#include "pixtola/portable/stream.h"
#include "pixtola/portable/windows_types.h"

#endif  // PIXTOLA_PORTABLE_WIN32_H_
