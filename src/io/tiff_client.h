// TIFF in COM streams: the procedures through which libtiff reads and writes them.
#ifndef PIXTOLA_IO_TIFF_CLIENT_H_
#define PIXTOLA_IO_TIFF_CLIENT_H_

#include "base/owners.h"
#include "platform.h"

namespace pixtola {

/// Opens the TIFF in a stream with libtiff's `mode` ("r..." or "w"), within the limits for TIFF
/// files; null when that fails. The stream must outlive the result.
TiffFile OpenTiffStream(IStream& stream, const char* mode);

}  // namespace pixtola

#endif  // PIXTOLA_IO_TIFF_CLIENT_H_
