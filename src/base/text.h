// Small helpers for text.
#ifndef PIXTOLA_BASE_TEXT_H_
#define PIXTOLA_BASE_TEXT_H_

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace pixtola {

/// The text without leading and trailing white space.
inline std::wstring_view Trim(std::wstring_view text) {
  constexpr std::wstring_view kWhiteSpace = L" \t\n\v\f\r";
  const std::size_t first = text.find_first_not_of(kWhiteSpace);
  if (first == std::wstring_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}

/// Makes the letters A to Z lower case, as case-insensitive comparison does.
inline void MakeLowerCase(std::wstring& text) {
  std::transform(text.begin(), text.end(), text.begin(), [](wchar_t letter) {
    return letter >= L'A' && letter <= L'Z' ? static_cast<wchar_t>(letter - L'A' + L'a') : letter;
  });
}

}  // namespace pixtola

#endif  // PIXTOLA_BASE_TEXT_H_
