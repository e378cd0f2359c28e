// What ends a run before its work is done: one sentence for the user.
#ifndef PIXTOLA_TOOL_FAILURE_H_
#define PIXTOLA_TOOL_FAILURE_H_

#include <stdexcept>

namespace pixtola::tool {

/// The work failed: exit status 1.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A wrong request that the parser could not detect: exit status 2.
class WrongUsage : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace pixtola::tool

#endif  // PIXTOLA_TOOL_FAILURE_H_
