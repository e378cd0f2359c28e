// The command line: what the user asked for, or what to say instead.
#ifndef PIXTOLA_TOOL_COMMAND_LINE_H_
#define PIXTOLA_TOOL_COMMAND_LINE_H_

#include <optional>
#include <variant>

#include "convert.h"

namespace pixtola::tool {

inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;
inline constexpr int kWrongUsage = 2;

/// A request of one of the subcommands.
using Request = std::variant<ConvertRequest>;

struct CommandLine {
  std::optional<Request> request;
  int exit_status = kDone;  ///< without a request; the message has been printed then
};

/// Reads the arguments. Help goes to standard output, what is wrong to standard error.
CommandLine ParseCommandLine(int argument_count, char** arguments);

}  // namespace pixtola::tool

#endif  // PIXTOLA_TOOL_COMMAND_LINE_H_
