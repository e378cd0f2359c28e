// The sizes that pages are resampled to.
#ifndef PIXTOLA_BENCH_RESAMPLE_JOBS_H_
#define PIXTOLA_BENCH_RESAMPLE_JOBS_H_

#include <cstdint>
#include <vector>

#include "job.h"

namespace pixtola::bench {

struct Resizing {
  const char* name;
  const char* title;
  /// What becomes of a page's width or height, from it and the page's width.
  std::uint32_t (*size)(std::uint32_t size, std::uint32_t page_width);
};

const std::vector<Resizing>& Resizings();

/// Of the size that the page becomes.
Image ResizedImage(const Resizing& resizing, const Image& page);

/// A page of 32 bits with other values of alpha than 255.
Image Translucent(const Image& page);

std::vector<Job> ResampleJobs();

}  // namespace pixtola::bench

#endif  // PIXTOLA_BENCH_RESAMPLE_JOBS_H_
