// What every use of libtiff in the library happens in: one lock around all of it, and silence.
#ifndef PIXTOLA_IO_TIFF_SESSION_H_
#define PIXTOLA_IO_TIFF_SESSION_H_

#include <tiffio.h>

#include <memory>
#include <mutex>

namespace pixtola {

/// Serialises all libtiff use. Recursive, as the platform's critical sections are: a stream that
/// libtiff reads through may itself be written with this library.
extern std::recursive_mutex TiffLock;

/// Holds TiffLock and keeps libtiff from printing. One per operation, from before the file is
/// opened until after it is closed.
class TiffSession {
 public:
  TiffSession();

 private:
  std::scoped_lock<std::recursive_mutex> lock_;
};

struct CloseTiff {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffFile = std::unique_ptr<TIFF, CloseTiff>;

}  // namespace pixtola

#endif  // PIXTOLA_IO_TIFF_SESSION_H_
