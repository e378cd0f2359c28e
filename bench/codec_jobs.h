// Pages in image files: in the stand-in's formats and in the library's own.
#ifndef PIXTOLA_BENCH_CODEC_JOBS_H_
#define PIXTOLA_BENCH_CODEC_JOBS_H_

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Pixtola.h"
#include "image.h"
#include "job.h"

namespace pixtola::bench {

/// A format with the pixels that are timed in it.
struct PageFormat {
  const char* name;  ///< of the jobs and of files
  const char* title;
  std::uint32_t bytes_per_pixel;
  const wchar_t* extension;  ///< by which the encoder is found
  bool is_lossless;
};

const std::vector<PageFormat>& PageFormats();

/// The page as the format's encoder writes it with default parameters.
std::vector<std::uint8_t> EncodePage(const PageFormat& format, const Image& page);

/// Encoding and decoding in memory, for each format.
std::vector<Job> CodecJobs();

/// The page as a 24-bit PCX file.
std::vector<std::uint8_t> EncodePcxPage(const Image& page);

/// Writing and reading PCX files.
std::vector<Job> PcxJobs();

/// A bitmap over the page's own rows, which are only read.
std::shared_ptr<Gdiplus::Bitmap> BitmapOver(const Image& page);

/// A bitmap's pixels in its own format.
Image PixelsOf(Gdiplus::Bitmap& bitmap, std::uint32_t bytes_per_pixel);

}  // namespace pixtola::bench

#endif  // PIXTOLA_BENCH_CODEC_JOBS_H_
