// The flat API: memory.
#ifndef PIXTOLA_PORTABLE_GDIPLUS_FLAT_MEMORY_H_
#define PIXTOLA_PORTABLE_GDIPLUS_FLAT_MEMORY_H_

#include <cstddef>

#include "pixtola/portable/windows_types.h"

namespace Gdiplus {
namespace DllExports {
extern "C" {

// Memory of the wrapper objects. GdipAlloc returns null when out of memory; GdipFree takes null.
PIXTOLA_PLATFORM_API void* GdipAlloc(std::size_t size);
PIXTOLA_PLATFORM_API void GdipFree(void* memory);

}  // extern "C"
}  // namespace DllExports
}  // namespace Gdiplus

#endif  // PIXTOLA_PORTABLE_GDIPLUS_FLAT_MEMORY_H_
