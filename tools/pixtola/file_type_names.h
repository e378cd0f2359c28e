// The library's file types as the command line names them.
#ifndef PIXTOLA_TOOL_FILE_TYPE_NAMES_H_
#define PIXTOLA_TOOL_FILE_TYPE_NAMES_H_

#include <optional>
#include <span>
#include <string>

#include "Pixtola.h"

namespace pixtola::tool {

struct FileTypeName {
  PxtFileType code;
  const char* name;  ///< for --type; null for types that the tool does not write
  /// The file name extensions that stand for the type by themselves, in lower case, with their
  /// dots, a space between them; empty for none.
  const char* extensions;
};

/// One entry for each of the library's file types.
std::span<const FileTypeName> FileTypeNames();

/// The type that an output's name stands for, which for TIFF depends on whether the image is 1-bit.
std::optional<PxtFileType> TypeOfName(const std::string& path, bool is_bilevel);

}  // namespace pixtola::tool

#endif  // PIXTOLA_TOOL_FILE_TYPE_NAMES_H_
