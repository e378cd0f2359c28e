#include "system/utf8.h"

#include <cstdint>

namespace pixtola::portable {

static_assert(sizeof(wchar_t) == 4, "wide characters are whole code points");

std::optional<std::string> Utf8FromWide(const wchar_t* text) {
  std::string utf8;
  for (; *text != L'\0'; ++text) {
    const auto code = static_cast<std::uint32_t>(*text);
    const auto append_tail = [&utf8, code](unsigned shift) {
      utf8.push_back(static_cast<char>(0x80 | (code >> shift & 0x3F)));
    };
    if (code < 0x80) {
      utf8.push_back(static_cast<char>(code));
    } else if (code < 0x800) {
      utf8.push_back(static_cast<char>(0xC0 | code >> 6));
      append_tail(0);
    } else if (code < 0x10000) {
      if (code >= 0xD800 && code < 0xE000)
        return std::nullopt;  // surrogates stand for no character
      utf8.push_back(static_cast<char>(0xE0 | code >> 12));
      append_tail(6);
      append_tail(0);
    } else if (code < 0x110000) {
      utf8.push_back(static_cast<char>(0xF0 | code >> 18));
      append_tail(12);
      append_tail(6);
      append_tail(0);
    } else {
      return std::nullopt;
    }
  }
  return utf8;
}

}  // namespace pixtola::portable
