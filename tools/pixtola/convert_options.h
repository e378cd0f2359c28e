// The options of `pixtola convert`.
#ifndef PIXTOLA_TOOL_CONVERT_OPTIONS_H_
#define PIXTOLA_TOOL_CONVERT_OPTIONS_H_

#include "convert.h"

namespace CLI {
class App;
}

namespace pixtola::tool {

/// Adds the subcommand. Parsing it fills `request`, which must live as long as the parser.
void AddConvertOptions(CLI::App& app, ConvertRequest& request);

}  // namespace pixtola::tool

#endif  // PIXTOLA_TOOL_CONVERT_OPTIONS_H_
