#include "shared/decode_limit.h"

#include <atomic>

namespace pixtola::platform {

namespace {
// Two atomics rather than one lock: the pair is set by tests and by programs at their start, not
// while decoders run.
std::atomic<std::uint64_t> pixel_limit{DecodeLimit{}.pixels};
std::atomic<std::uint64_t> byte_limit{DecodeLimit{}.bytes};

thread_local unsigned lives_without_limit = 0;
}  // namespace

DecodeLimit GetDecodeLimit() { return {pixel_limit.load(), byte_limit.load()}; }

void SetDecodeLimit(DecodeLimit limit) {
  pixel_limit = limit.pixels;
  byte_limit = limit.bytes;
}

bool IsDecodeAllowed(std::uint64_t width, std::uint64_t height, std::uint64_t bytes) {
  if (lives_without_limit != 0) return true;
  const DecodeLimit limit = GetDecodeLimit();
  const bool pixels_fit = width == 0 || height <= limit.pixels / width;
  return pixels_fit && bytes <= limit.bytes;
}

bool IsClaimPlausible(std::uint64_t pixels, std::uint64_t data_size, std::uint64_t least_size) {
  return lives_without_limit != 0 || pixels <= kNeverDoubtedPixels || data_size >= least_size / 10;
}

DecodeWithoutLimit::DecodeWithoutLimit() { ++lives_without_limit; }
DecodeWithoutLimit::~DecodeWithoutLimit() { --lives_without_limit; }

}  // namespace pixtola::platform
