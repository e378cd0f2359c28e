// Opening the input. The library says only that it failed; here the cause is found and reported.
#ifndef PIXTOLA_TOOL_INPUT_FILE_H_
#define PIXTOLA_TOOL_INPUT_FILE_H_

#include <memory>
#include <string>

#include "Pixtola.h"

namespace pixtola::tool {

/// Opens an image. Throws Failure.
std::unique_ptr<Gdiplus::Bitmap> OpenInput(const std::string& path);

}  // namespace pixtola::tool

#endif  // PIXTOLA_TOOL_INPUT_FILE_H_
