// What the codes of file types mean: who writes such a file, and how.
#ifndef PIXTOLA_FORMAT_FILE_TYPES_H_
#define PIXTOLA_FORMAT_FILE_TYPES_H_

#include <cstdint>
#include <optional>
#include <span>

#include "platform.h"

namespace pixtola {

struct FileType {
  PxtFileType code;
  const GUID* container;  ///< of the platform's encoder; null where it has none
  const GUID* parameter;  ///< the encoder's one parameter; null for none
  ULONG parameter_value;
  std::uint16_t tiff_compression;                 ///< libtiff's code; 0 for files that are not TIFF
  std::optional<PxtConversionMethod> to_bilevel;  ///< for images that are not 1-bit yet
};

/// One entry for each code of PxtFileType.
std::span<const FileType> AllFileTypes();

/// Null for numbers that are no code.
const FileType* FindFileType(PxtFileType code);

}  // namespace pixtola

#endif  // PIXTOLA_FORMAT_FILE_TYPES_H_
