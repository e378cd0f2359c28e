// Owners of giflib's objects.
#ifndef PIXTOLA_PORTABLE_GIF_HANDLES_H_
#define PIXTOLA_PORTABLE_GIF_HANDLES_H_

#include <gif_lib.h>

#include <memory>

namespace pixtola::portable {

struct CloseGifReader {
  void operator()(GifFileType* gif) const { DGifCloseFile(gif, nullptr); }
};
using GifReadHandle = std::unique_ptr<GifFileType, CloseGifReader>;

struct CloseGifWriter {
  void operator()(GifFileType* gif) const { EGifCloseFile(gif, nullptr); }
};
using GifWriteHandle = std::unique_ptr<GifFileType, CloseGifWriter>;

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_GIF_HANDLES_H_
