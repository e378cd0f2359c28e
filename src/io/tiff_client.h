// TIFF in COM streams: the procedures through which libtiff reads and writes them.
#ifndef PIXTOLA_IO_TIFF_CLIENT_H_
#define PIXTOLA_IO_TIFF_CLIENT_H_

#include <tiffio.h>

#include "platform.h"

namespace pixtola {

/// A reference to a stream, held as long as the object lives.
class StreamReference {
 public:
  explicit StreamReference(IStream& stream) : stream_(stream) { stream_.AddRef(); }
  StreamReference(const StreamReference&) = delete;
  StreamReference& operator=(const StreamReference&) = delete;
  ~StreamReference() { stream_.Release(); }

 private:
  IStream& stream_;
};

/// Opens the TIFF in a stream with libtiff's `mode` ("r..." or "w"), within the limits of TIFF files;
/// null when that fails. The stream must outlive the result, which the caller closes with
/// TIFFClose.
TIFF* OpenTiffStream(IStream& stream, const char* mode);

}  // namespace pixtola

#endif  // PIXTOLA_IO_TIFF_CLIENT_H_
