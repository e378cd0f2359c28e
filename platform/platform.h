// The one door to the platform: GDI+, COM and Win32 names, and the few things that each system
// provides in its own way. Sources of the library include this header and nothing else of a
// platform.
#ifndef PIXTOLA_PLATFORM_PLATFORM_H_
#define PIXTOLA_PLATFORM_PLATFORM_H_

#include "Pixtola.h"
#include "decode_limit.h"
#include "image_access.h"

struct tiff;  // libtiff's TIFF

namespace pixtola::platform {

/// Opens a TIFF file with libtiff's `mode`, one allocation of libtiff never exceeding the decode
/// limit's bytes. Null when the file cannot be opened or the path has no form that the system can
/// open. The caller closes it with TIFFClose.
tiff* OpenTiffFile(const wchar_t* path, const char* mode);

}  // namespace pixtola::platform

#endif  // PIXTOLA_PLATFORM_PLATFORM_H_
