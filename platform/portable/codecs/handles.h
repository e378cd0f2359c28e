// Owners of the C libraries' objects: each frees its object when it leaves scope.
//
// They belong to functions without setjmp; functions with setjmp get the plain pointers.
#ifndef PIXTOLA_PORTABLE_HANDLES_H_
#define PIXTOLA_PORTABLE_HANDLES_H_

#include <gif_lib.h>
#include <png.h>
#include <tiffio.h>

// jpeglib.h uses FILE and size_t without including what declares them.
#include <cstddef>
#include <cstdio>

#include <jpeglib.h>

#include <memory>

namespace pixtola::portable {

struct CloseTiff {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffHandle = std::unique_ptr<TIFF, CloseTiff>;

struct CloseGifReader {
  void operator()(GifFileType* gif) const { DGifCloseFile(gif, nullptr); }
};
using GifReadHandle = std::unique_ptr<GifFileType, CloseGifReader>;

struct CloseGifWriter {
  void operator()(GifFileType* gif) const { EGifCloseFile(gif, nullptr); }
};
using GifWriteHandle = std::unique_ptr<GifFileType, CloseGifWriter>;

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

#endif  // PIXTOLA_PORTABLE_HANDLES_H_
