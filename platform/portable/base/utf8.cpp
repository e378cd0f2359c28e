#include "base/utf8.h"

#include <cstddef>
#include <cstdint>

namespace pixtola::portable {

namespace {

static_assert(sizeof(wchar_t) == 4, "wide characters are whole code points");

/// The bytes that a character takes; 0 for what is not a character.
unsigned EncodedSize(std::uint32_t code) {
  if (code < 0x80) return 1;
  if (code < 0x800) return 2;
  if (code < 0x10000) return code >= 0xD800 && code < 0xE000 ? 0 : 3;  // surrogates are none
  return code < 0x110000 ? 4 : 0;
}

}  // namespace

Utf8Path::Utf8Path(const wchar_t* path) {
  constexpr unsigned kLeadingBits[] = {0, 0x00, 0xC0, 0xE0, 0xF0};
  bytes_[0] = '\0';
  if (path == nullptr) return;
  std::size_t size = 0;
  for (; *path != L'\0'; ++path) {
    const auto code = static_cast<std::uint32_t>(*path);
    const unsigned length = EncodedSize(code);
    if (length == 0 || size + length >= sizeof(bytes_)) return;
    unsigned shift = 6 * (length - 1);
    bytes_[size++] = static_cast<char>(kLeadingBits[length] | code >> shift);
    while (shift != 0) {
      shift -= 6;
      bytes_[size++] = static_cast<char>(0x80 | (code >> shift & 0x3F));
    }
  }
  bytes_[size] = '\0';
  is_valid_ = true;
}

}  // namespace pixtola::portable
