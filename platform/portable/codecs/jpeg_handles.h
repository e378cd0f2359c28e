// Owners of libjpeg's objects, for functions without setjmp; functions with setjmp get the plain
// pointers.
#ifndef PIXTOLA_PORTABLE_JPEG_HANDLES_H_
#define PIXTOLA_PORTABLE_JPEG_HANDLES_H_

// jpeglib.h uses FILE and size_t without including what declares them.
#include <cstddef>
#include <cstdio>

#include <jpeglib.h>

namespace pixtola::portable {

struct JpegReadHandle {
  JpegReadHandle() = default;
  JpegReadHandle(const JpegReadHandle&) = delete;
  JpegReadHandle& operator=(const JpegReadHandle&) = delete;
  /// Does nothing while `jpeg` has not been created.
  ~JpegReadHandle() { jpeg_destroy_decompress(&jpeg); }

  jpeg_decompress_struct jpeg{};
};

struct JpegWriteHandle {
  JpegWriteHandle() = default;
  JpegWriteHandle(const JpegWriteHandle&) = delete;
  JpegWriteHandle& operator=(const JpegWriteHandle&) = delete;
  /// Does nothing while `jpeg` has not been created.
  ~JpegWriteHandle() { jpeg_destroy_compress(&jpeg); }

  jpeg_compress_struct jpeg{};
};

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_JPEG_HANDLES_H_
