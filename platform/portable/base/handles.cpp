#include "base/handles.h"

#include <sys/stat.h>
#include <unistd.h>

namespace pixtola::portable {

Descriptor::~Descriptor() {
  if (is_open()) ::close(value_);
}

bool Descriptor::IsRegularFile() const {
  struct stat status {};
  return is_open() && ::fstat(value_, &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace pixtola::portable
