#include "support/resource_library.h"

const void* AddressInResourceLibrary() {
  static const char inside = 0;
  return &inside;
}
