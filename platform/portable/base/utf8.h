// Wide-character paths as the UTF-8 names under which the system opens files.
#ifndef PIXTOLA_PORTABLE_UTF8_H_
#define PIXTOLA_PORTABLE_UTF8_H_

#include <climits>

namespace pixtola::portable {

/// The name of a file, made without the heap: a file can be deleted even when out of memory.
class Utf8Path {
 public:
  /// Not valid for null, for units that are not Unicode characters, and when the name is too long
  /// for the system.
  explicit Utf8Path(const wchar_t* path);

  bool is_valid() const { return is_valid_; }
  const char* c_str() const { return bytes_; }

 private:
  bool is_valid_ = false;
  char bytes_[PATH_MAX];
};

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_UTF8_H_
