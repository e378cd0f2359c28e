// `pixtola convert`: one image file into another.
#ifndef PIXTOLA_TOOL_CONVERT_COMMAND_H_
#define PIXTOLA_TOOL_CONVERT_COMMAND_H_

#include <CLI/CLI.hpp>

namespace pixtola::tool {

/// Adds the subcommand to the tool. It throws Failure for what goes wrong and CLI::ValidationError
/// for what was asked wrongly.
void AddConvertCommand(CLI::App& app);

}  // namespace pixtola::tool

#endif  // PIXTOLA_TOOL_CONVERT_COMMAND_H_
