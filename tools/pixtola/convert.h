// `pixtola convert`: one image file into another.
#ifndef PIXTOLA_TOOL_CONVERT_H_
#define PIXTOLA_TOOL_CONVERT_H_

#include <optional>
#include <string>

#include "Pixtola.h"

namespace pixtola::tool {

/// What the user asked for.
struct ConvertRequest {
  std::string input;
  std::string output;
  std::optional<PxtConversionMethod> method;  ///< without one the page is saved as it is
  std::optional<PxtFileType> type;            ///< without one the output's name decides
};

/// Does it. Throws Failure or WrongUsage, with the output as it was.
void Convert(const ConvertRequest& request);

}  // namespace pixtola::tool

#endif  // PIXTOLA_TOOL_CONVERT_H_
