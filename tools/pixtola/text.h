// Names from the command line, as the library takes them and as messages show them.
#ifndef PIXTOLA_TOOL_TEXT_H_
#define PIXTOLA_TOOL_TEXT_H_

#include <optional>
#include <string>
#include <string_view>

namespace pixtola::tool {

/// Nothing for bytes that are not UTF-8.
std::optional<std::wstring> WideFromUtf8(std::string_view utf8);

/// A name in quotation marks for a message of one line: control characters become question marks.
std::string Quoted(std::string_view name);

}  // namespace pixtola::tool

#endif  // PIXTOLA_TOOL_TEXT_H_
