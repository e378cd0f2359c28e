// What all wrapper classes share.
#ifndef PIXTOLA_PORTABLE_GDIPLUS_BASE_CLASS_H_
#define PIXTOLA_PORTABLE_GDIPLUS_BASE_CLASS_H_

#include <cstddef>

#include "pixtola/portable/gdiplus/flat_memory.h"

namespace Gdiplus {

/// Objects come from GdipAlloc and return to GdipFree, whoever deletes them.
class GdiplusBase {
 public:
  static void* operator new(std::size_t size) noexcept { return DllExports::GdipAlloc(size); }
  static void* operator new[](std::size_t size) noexcept { return DllExports::GdipAlloc(size); }
  static void operator delete(void* memory) { DllExports::GdipFree(memory); }
  static void operator delete[](void* memory) { DllExports::GdipFree(memory); }
};

}  // namespace Gdiplus

#endif  // PIXTOLA_PORTABLE_GDIPLUS_BASE_CLASS_H_
