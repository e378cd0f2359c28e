// How TIFF files are opened, and what libtiff is allowed when it reads: which compressions, and how
// much memory at once.
#ifndef PIXTOLA_PLATFORM_TIFF_FILES_H_
#define PIXTOLA_PLATFORM_TIFF_FILES_H_

#include <cstdint>
#include <memory>

#include "export.h"

struct tiff;  // libtiff's TIFF
struct TIFFOpenOptions;

namespace pixtola::platform {

/// Whether pages with this value of the Compression tag are read. Codecs that allocate by sizes of
/// their own (JBIG, LZMA, Zstandard, WebP, LERC) know nothing of the decode limit, and JBIG's ends
/// the process when memory lacks; they are left out.
PIXTOLA_PLATFORM_SHARED bool IsTiffCompressionRead(std::uint16_t compression);

struct FreeTiffOptions {
  PIXTOLA_PLATFORM_SHARED void operator()(TIFFOpenOptions* options) const;
};
using TiffOptions = std::unique_ptr<TIFFOpenOptions, FreeTiffOptions>;

/// Options for opening a TIFF: when it is opened for reading, no single allocation of libtiff
/// exceeds the decode limit's bytes. Null without memory.
PIXTOLA_PLATFORM_SHARED TiffOptions MakeTiffOptions(bool is_reading);

/// Opens a TIFF file with libtiff's `mode` ("r..." or "w..."), within MakeTiffOptions' limits. Null
/// when the file cannot be opened or the path has no form that the system can open. The caller
/// closes it with TIFFClose.
PIXTOLA_PLATFORM_SHARED tiff* OpenTiffFile(const wchar_t* path, const char* mode);

}  // namespace pixtola::platform

#endif  // PIXTOLA_PLATFORM_TIFF_FILES_H_
