// Objects of the platform's bitmap classes, in memory from GDI+, which gets it back when they are
// deleted.
#ifndef PIXTOLA_BASE_PLATFORM_OBJECT_H_
#define PIXTOLA_BASE_PLATFORM_OBJECT_H_

#include <memory>
#include <new>
#include <utility>

#include "platform.h"

namespace pixtola {

/// Null when out of memory. The classes' own `new` need not report that: on some platforms it
/// passes GdipAlloc's null on to the constructor.
template <typename T, typename... Arguments>
std::unique_ptr<T> MakePlatformObject(Arguments&&... arguments) {
  void* memory = Gdiplus::DllExports::GdipAlloc(sizeof(T));
  if (memory == nullptr) return nullptr;
  return std::unique_ptr<T>(::new (memory) T(std::forward<Arguments>(arguments)...));
}

}  // namespace pixtola

#endif  // PIXTOLA_BASE_PLATFORM_OBJECT_H_
