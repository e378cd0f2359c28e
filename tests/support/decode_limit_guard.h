// Another decode limit until the end of a scope.
#ifndef PIXTOLA_TESTS_SUPPORT_DECODE_LIMIT_GUARD_H_
#define PIXTOLA_TESTS_SUPPORT_DECODE_LIMIT_GUARD_H_

#include "shared/decode_limit.h"

namespace pixtola::test {

class DecodeLimitGuard {
 public:
  explicit DecodeLimitGuard(pixtola::platform::DecodeLimit limit) {
    pixtola::platform::SetDecodeLimit(limit);
  }
  DecodeLimitGuard(const DecodeLimitGuard&) = delete;
  DecodeLimitGuard& operator=(const DecodeLimitGuard&) = delete;
  ~DecodeLimitGuard() { pixtola::platform::SetDecodeLimit(before_); }

 private:
  pixtola::platform::DecodeLimit before_ = pixtola::platform::GetDecodeLimit();
};

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_DECODE_LIMIT_GUARD_H_
