// Wide-character paths as the UTF-8 names under which the system opens files.
#ifndef PIXTOLA_PORTABLE_UTF8_H_
#define PIXTOLA_PORTABLE_UTF8_H_

#include <optional>
#include <string>

namespace pixtola::portable {

/// Nothing for paths with units that are no Unicode characters. May throw std::bad_alloc.
std::optional<std::string> Utf8FromWide(const wchar_t* text);

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_UTF8_H_
