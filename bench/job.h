// What is measured: jobs of the library on a page, and the same jobs done by other libraries.
#ifndef PIXTOLA_BENCH_JOB_H_
#define PIXTOLA_BENCH_JOB_H_

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "image.h"

namespace pixtola::bench {

/// Something that can be timed. It owns its buffers, which exist before the first run.
struct Work {
  std::function<void()> run;
  std::function<Image()> result;            ///< what the last run made
  std::function<void()> prepare = nullptr;  ///< before each run, not timed; may be null
};

/// The source outlives the work. It is in the layout of the library.
using MakeWork = std::function<Work(const Image& source)>;

/// A job of the library.
struct Job {
  std::string name;               ///< for the command line and for file names
  std::string title;              ///< for readers
  std::uint32_t bytes_per_pixel;  ///< of the source
  MakeWork make;
  bool has_kernels = true;  ///< false: there are no plain definitions to compare it with
  bool keeps_page = false;  ///< its result is the page itself
};

/// How a peer's result is compared with the library's before anything is timed.
enum class Agreement {
  kSameBytes,      ///< no byte may differ
  kCloseValues,    ///< small differences: rounding, other weights
  kSameBrightness  ///< another algorithm: black and white, as dark on the whole
};

/// Another library that does a job.
struct Peer {
  std::string job;
  std::string library;
  std::string difference;  ///< how its result or its layout differs; empty: not at all
  Agreement agreement;
  MakeWork make;
};

std::vector<Job> ConvertJobs();
std::vector<Job> LockJobs();
std::vector<Job> TransformJobs();
std::vector<Job> ProcessJobs();

/// Ends a benchmark that does not do what it claims to measure.
inline void Require(bool condition, const std::string& what) {
  if (!condition) throw std::runtime_error(what);
}

}  // namespace pixtola::bench

#endif  // PIXTOLA_BENCH_JOB_H_
