// The C runtime's calls with wide characters.
#ifndef PIXTOLA_PORTABLE_RUNTIME_DOOR_H_
#define PIXTOLA_PORTABLE_RUNTIME_DOOR_H_

#include "pixtola/portable/runtime.h"

#endif  // PIXTOLA_PORTABLE_RUNTIME_DOOR_H_
