// The startup and shutdown of GDI+, and the memory of its objects.

#include <cstdlib>

#include "pixtola/portable/gdiplus.h"

namespace Gdiplus {

Status GdiplusStartup(ULONG_PTR* token, const GdiplusStartupInput* input,
                      GdiplusStartupOutput* /*output*/) {
  if (token == nullptr || input == nullptr) return InvalidParameter;
  if (input->GdiplusVersion < 1 || input->GdiplusVersion > 2) return UnsupportedGdiplusVersion;
  *token = 1;
  return Ok;
}

void GdiplusShutdown(ULONG_PTR /*token*/) {}

namespace DllExports {

void* GdipAlloc(std::size_t size) { return std::malloc(size == 0 ? 1 : size); }

void GdipFree(void* memory) { std::free(memory); }

}  // namespace DllExports
}  // namespace Gdiplus
