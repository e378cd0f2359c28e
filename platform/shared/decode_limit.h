// The process-wide limit on what a file may make a decoder allocate: a header of a few bytes can
// claim gigabytes. Bitmaps made from a caller's own buffer are never limited.
#ifndef PIXTOLA_PLATFORM_SHARED_DECODE_LIMIT_H_
#define PIXTOLA_PLATFORM_SHARED_DECODE_LIMIT_H_

#include <cstdint>

#include "shared/export.h"

namespace pixtola::platform {

struct DecodeLimit {
  std::uint64_t pixels = std::uint64_t{1} << 29;
  std::uint64_t bytes = std::uint64_t{1} << 32;
};

PIXTOLA_PLATFORM_SHARED DecodeLimit GetDecodeLimit();
PIXTOLA_PLATFORM_SHARED void SetDecodeLimit(DecodeLimit limit);

/// Whether an image of `width` x `height` pixels that takes `bytes` bytes once decoded may be
/// allocated. Ask before allocating; a refusal counts as a failed allocation.
PIXTOLA_PLATFORM_SHARED bool IsDecodeAllowed(std::uint64_t width, std::uint64_t height,
                                             std::uint64_t bytes);

inline constexpr std::uint64_t kNeverDoubtedPixels = std::uint64_t{1} << 26;

/// Whether `data_size` bytes of a file can be meant for the `pixels` that it claims, where their
/// shortest coding in its format takes `least_size` bytes. Files that are cut short are opened as
/// far as they go; but where more than kNeverDoubtedPixels are claimed and the data does not even
/// suffice for a tenth of them, the claim counts as beyond the decode limit.
PIXTOLA_PLATFORM_SHARED bool IsClaimPlausible(std::uint64_t pixels, std::uint64_t data_size,
                                              std::uint64_t least_size);

/// While one of these lives, nothing is refused to its thread: for the decoding of what was encoded
/// from a caller's own buffer.
class DecodeWithoutLimit {
 public:
  PIXTOLA_PLATFORM_SHARED DecodeWithoutLimit();
  DecodeWithoutLimit(const DecodeWithoutLimit&) = delete;
  DecodeWithoutLimit& operator=(const DecodeWithoutLimit&) = delete;
  PIXTOLA_PLATFORM_SHARED ~DecodeWithoutLimit();
};

}  // namespace pixtola::platform

#endif  // PIXTOLA_PLATFORM_SHARED_DECODE_LIMIT_H_
