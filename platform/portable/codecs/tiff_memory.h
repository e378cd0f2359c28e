// libtiff over bytes in memory and over a ByteSink.
//
// Messages go to handlers of each handle that drop them, so libtiff's process-wide handlers are
// neither touched nor called; no single block may be larger than the decode limit.
#ifndef PIXTOLA_PORTABLE_TIFF_MEMORY_H_
#define PIXTOLA_PORTABLE_TIFF_MEMORY_H_

#include "codecs/codec.h"
#include "codecs/tiff_handles.h"

namespace pixtola::portable {

/// Must outlive the handle that reads from it.
struct TiffSource {
  EncodedBytes bytes;
  std::uint64_t position = 0;
};

/// Must outlive the handle that writes to it.
struct TiffDestination {
  ByteSink* sink = nullptr;
  std::uint64_t end = 0;  ///< one past the last byte written
  bool failed = false;    ///< the sink has refused something
};

/// Null when `source` does not begin with a readable TIFF directory, or when the directories up to
/// that of `last_page` ask for too much.
TiffHandle OpenTiffForReading(TiffSource& source, UINT last_page = 0);

/// Null when the header could not be written. The directory is written by the caller
/// (TIFFWriteDirectory), since closing reports no errors.
TiffHandle OpenTiffForWriting(TiffDestination& destination);

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_TIFF_MEMORY_H_
