#include "io/tiff_lock.h"

#include <tiffio.h>

#include <cstdarg>

namespace pixtola {

namespace {

void IgnoreMessage(const char* /*module*/, const char* /*format*/, va_list /*arguments*/) {}

void IgnoreMessageOfClient(thandle_t /*client*/, const char* /*module*/, const char* /*format*/,
                           va_list /*arguments*/) {}

}  // namespace

void SilenceTiff() {
  TIFFSetErrorHandler(IgnoreMessage);
  TIFFSetErrorHandlerExt(IgnoreMessageOfClient);
  TIFFSetWarningHandler(IgnoreMessage);
  TIFFSetWarningHandlerExt(IgnoreMessageOfClient);
}

}  // namespace pixtola
