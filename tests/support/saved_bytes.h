// What of the bytes of a saved image is settled, to compare those in files with those in streams.
#ifndef PIXTOLA_TESTS_SAVED_BYTES_H_
#define PIXTOLA_TESTS_SAVED_BYTES_H_

#include <cstddef>

#include "support/test_bitmap.h"

namespace test_support {

/// The bytes with those replaced by 0 that nobody writes. libtiff puts directories at even places;
/// the byte before one, when the pixels end at an odd place, is 0 in files and anything in streams.
inline Bytes SettledBytes(Bytes bytes) {
  const bool is_tiff = bytes.size() > 8 && bytes[0] == 'I' && bytes[1] == 'I' && bytes[2] == 42;
  if (!is_tiff) return bytes;
  std::size_t directory = 0;
  for (std::size_t i = 8; i-- > 4;) directory = directory << 8 | bytes[i];
  if (directory > 8 && directory <= bytes.size()) bytes[directory - 1] = 0;
  return bytes;
}

}  // namespace test_support

#endif  // PIXTOLA_TESTS_SAVED_BYTES_H_
