// What a global memory handle stands for.
#ifndef PIXTOLA_PORTABLE_GLOBAL_MEMORY_H_
#define PIXTOLA_PORTABLE_GLOBAL_MEMORY_H_

#include "pixtola/portable/kernel.h"

namespace pixtola::portable {

/// Whether a handle is that of a movable block, the kind that can grow under a stream.
bool IsMovable(HGLOBAL memory);

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_GLOBAL_MEMORY_H_
