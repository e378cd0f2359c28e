// Names from the command line as the library takes them.
#ifndef PIXTOLA_TOOL_TEXT_H_
#define PIXTOLA_TOOL_TEXT_H_

#include <optional>
#include <string>
#include <string_view>

namespace pixtola::tool {

/// Nothing for bytes that are no UTF-8.
std::optional<std::wstring> WideFromUtf8(std::string_view utf8);

}  // namespace pixtola::tool

#endif  // PIXTOLA_TOOL_TEXT_H_
