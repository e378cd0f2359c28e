// TIFF in COM streams: the procedures through which libtiff reads and writes them.
#ifndef PIXTOLA_IO_TIFF_CLIENT_H_
#define PIXTOLA_IO_TIFF_CLIENT_H_

#include <tiffio.h>

#include "platform.h"

namespace pixtola {

/// Opens the TIFF in a stream with libtiff's `mode` ("r" or "w"); null when that fails. The stream
/// must outlive the result, which the caller closes with TIFFClose.
TIFF* OpenTiffStream(IStream& stream, const char* mode);

}  // namespace pixtola

#endif  // PIXTOLA_IO_TIFF_CLIENT_H_
