// Pixels moved as 32-bit words, whose lowest byte comes first in memory: an ARGB value is the word
// of a 32-bit pixel.
#ifndef PIXTOLA_PORTABLE_WORDS_H_
#define PIXTOLA_PORTABLE_WORDS_H_

#include <bit>
#include <cstdint>
#include <cstring>

#include "pixtola/portable/windows_types.h"

namespace pixtola::portable {

static_assert(std::endian::native == std::endian::little);

inline std::uint32_t LoadWord(const BYTE* at) {
  std::uint32_t word;
  std::memcpy(&word, at, sizeof(word));
  return word;
}

inline void StoreWord(BYTE* at, std::uint32_t word) { std::memcpy(at, &word, sizeof(word)); }

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_WORDS_H_
