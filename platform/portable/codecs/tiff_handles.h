// The owner of libtiff's objects.
#ifndef PIXTOLA_PORTABLE_TIFF_HANDLES_H_
#define PIXTOLA_PORTABLE_TIFF_HANDLES_H_

#include <tiffio.h>

#include <memory>

namespace pixtola::portable {

struct CloseTiff {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffHandle = std::unique_ptr<TIFF, CloseTiff>;

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_TIFF_HANDLES_H_
