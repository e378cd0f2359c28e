// The one door to the platform: GDI+, COM and Win32 names, and the few things that each system
// provides in its own way. Sources of the library include this header and nothing else of a
// platform.
#ifndef PIXTOLA_PLATFORM_PLATFORM_H_
#define PIXTOLA_PLATFORM_PLATFORM_H_

#include "Pixtola.h"
#include "door/image_access.h"
#include "door/runtime.h"
#include "shared/decode_limit.h"
#include "shared/large_pages.h"
#include "shared/tiff_files.h"

#endif  // PIXTOLA_PLATFORM_PLATFORM_H_
