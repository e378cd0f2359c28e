// How TIFF files are opened, and what libtiff is allowed when it reads: which compressions, which
// pages, and how much memory at once.
#ifndef PIXTOLA_PLATFORM_SHARED_TIFF_FILES_H_
#define PIXTOLA_PLATFORM_SHARED_TIFF_FILES_H_

#include <cstdint>
#include <memory>

#include "shared/export.h"

struct tiff;  // libtiff's TIFF
struct TIFFOpenOptions;

namespace pixtola::platform {

/// Whether pages with this value of the Compression tag are read: those that libtiff can decode,
/// except where a small file can make the codec's own library do harm. JBIG's ends the process
/// when out of memory, LERC's crashes, LZMA's allocates whatever its data asks for.
PIXTOLA_PLATFORM_SHARED bool IsTiffCompressionRead(std::uint16_t compression);

/// Whether each directory up to that of `last_page` has no more values than the file and 16 MiB,
/// and all together no more than the file and 1 GiB: those of many tags can lie in the same place,
/// and libtiff reads them for each. `tiff` was opened for its header only (mode "rh").
PIXTOLA_PLATFORM_SHARED bool AreTiffDirectoriesAllowed(tiff* tiff, std::uint32_t last_page);

/// Whether the current page, of a compression that is read, may be decoded: its size and its tiles'
/// keep to the decode limit, its data can hold what the tags claim (see IsClaimPlausible), and no
/// harm can come of the data. Samples beyond four per pixel count as further pixels. A refusal
/// counts as a failed allocation.
PIXTOLA_PLATFORM_SHARED bool IsTiffPageAllowed(tiff* tiff);

struct FreeTiffOptions {
  PIXTOLA_PLATFORM_SHARED void operator()(TIFFOpenOptions* options) const;
};
using TiffOptions = std::unique_ptr<TIFFOpenOptions, FreeTiffOptions>;

/// Options for opening a TIFF: when it is opened for reading, no single allocation of libtiff
/// exceeds the decode limit's bytes. Null when out of memory.
PIXTOLA_PLATFORM_SHARED TiffOptions MakeTiffOptions(bool is_reading);

/// Opens a TIFF file with libtiff's `mode` ("r..." or "w..."), within MakeTiffOptions' limits. Null
/// when the file cannot be opened or the path cannot be given to the system. The caller closes it
/// with TIFFClose.
PIXTOLA_PLATFORM_SHARED tiff* OpenTiffFile(const wchar_t* path, const char* mode);

}  // namespace pixtola::platform

#endif  // PIXTOLA_PLATFORM_SHARED_TIFF_FILES_H_
