// A file descriptor that closes itself.
#ifndef PIXTOLA_PORTABLE_DESCRIPTOR_H_
#define PIXTOLA_PORTABLE_DESCRIPTOR_H_

#include <sys/stat.h>
#include <unistd.h>

#include <utility>

namespace pixtola::portable {

/// Closed with its scope, unless it is released before; -1 for none.
class Descriptor {
 public:
  explicit Descriptor(int value) : value_(value) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (value_ >= 0) ::close(value_);
  }
  int value() const { return value_; }
  int Release() { return std::exchange(value_, -1); }

  /// Whether this is an open regular file. Pipes and devices, which could be waited for without
  /// end, are not.
  bool IsRegularFile() const {
    struct stat status {};
    return value_ >= 0 && ::fstat(value_, &status) == 0 && S_ISREG(status.st_mode);
  }

 private:
  int value_;
};

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_DESCRIPTOR_H_
