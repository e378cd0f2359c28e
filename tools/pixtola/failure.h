// A failure that ends the run: one sentence for the user, exit status 1.
#ifndef PIXTOLA_TOOL_FAILURE_H_
#define PIXTOLA_TOOL_FAILURE_H_

#include <stdexcept>

namespace pixtola::tool {

class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace pixtola::tool

#endif  // PIXTOLA_TOOL_FAILURE_H_
