// Owners of libpng's objects, for functions without setjmp; functions with setjmp get the plain
// pointers.
#ifndef PIXTOLA_PORTABLE_PNG_HANDLES_H_
#define PIXTOLA_PORTABLE_PNG_HANDLES_H_

#include <png.h>

namespace pixtola::portable {

struct PngReadHandle {
  PngReadHandle() = default;
  PngReadHandle(const PngReadHandle&) = delete;
  PngReadHandle& operator=(const PngReadHandle&) = delete;
  ~PngReadHandle() { png_destroy_read_struct(&png, &info, nullptr); }

  png_structp png = nullptr;
  png_infop info = nullptr;
};

struct PngWriteHandle {
  PngWriteHandle() = default;
  PngWriteHandle(const PngWriteHandle&) = delete;
  PngWriteHandle& operator=(const PngWriteHandle&) = delete;
  ~PngWriteHandle() { png_destroy_write_struct(&png, &info); }

  png_structp png = nullptr;
  png_infop info = nullptr;
};

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_PNG_HANDLES_H_
