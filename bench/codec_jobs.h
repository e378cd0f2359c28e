// Pages in the stand-in's image formats.
#ifndef PIXTOLA_BENCH_CODEC_JOBS_H_
#define PIXTOLA_BENCH_CODEC_JOBS_H_

#include <cstdint>
#include <string>
#include <vector>

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

}  // namespace pixtola::bench

#endif  // PIXTOLA_BENCH_CODEC_JOBS_H_
