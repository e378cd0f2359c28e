// What every use of libtiff in the library needs: one lock around all of it, and no messages.
#ifndef PIXTOLA_IO_TIFF_LOCK_H_
#define PIXTOLA_IO_TIFF_LOCK_H_

#include "base/critical_section.h"

namespace pixtola {

/// Held from before libtiff's handlers are replaced until after the file is closed. A thread may
/// hold it more than once: a stream that libtiff reads through may itself be read with this
/// library.
extern CriticalSection TiffLock;

/// Keeps libtiff, in the whole process, from printing. Whoever calls this holds TiffLock.
void SilenceTiff();

}  // namespace pixtola

#endif  // PIXTOLA_IO_TIFF_LOCK_H_
