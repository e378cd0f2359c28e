// Regular files by their UTF-8 names: opened, and read whole into memory.
#ifndef PIXTOLA_PORTABLE_FILES_H_
#define PIXTOLA_PORTABLE_FILES_H_

#include <cstddef>

#include "base/handles.h"
#include "pixtola/portable/gdiplus.h"

namespace pixtola::portable {

/// Opens a regular file for reading; pipes and devices, which might be waited for without end, are
/// refused. Not open when that fails.
Descriptor OpenRegularFile(const char* utf8_path);

/// Opens a regular file for reading and writing, empty, and creates it if it is not there. Not open
/// when that fails.
Descriptor ReplaceRegularFile(const char* utf8_path);

struct FileBytes {
  HeapBytes bytes;
  std::size_t size = 0;
};

/// Reads a regular file. InvalidParameter when it cannot be opened or read, OutOfMemory when it is
/// larger than the decode limit's bytes, or when out of memory.
Gdiplus::Status ReadFile(const char* utf8_path, FileBytes& file);

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_FILES_H_
