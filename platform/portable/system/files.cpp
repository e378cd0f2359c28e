#include "system/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "decode_limit.h"

namespace pixtola::portable {

namespace {

/// A file descriptor that is closed with its scope, unless it is released before; -1 for none.
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

 private:
  int value_;
};

/// Bytes read, fewer than `size` only at the file's end; negative on an error.
ssize_t ReadFully(int descriptor, std::uint8_t* bytes, std::size_t size) {
  std::size_t done = 0;
  while (done < size) {
    const ssize_t count = ::read(descriptor, bytes + done, size - done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return -1;
    if (count == 0) break;
    done += static_cast<std::size_t>(count);
  }
  return static_cast<ssize_t>(done);
}

}  // namespace

int OpenRegularFile(const char* utf8_path) {
  // Not blocking: a pipe without a writer would otherwise hold the call until one comes.
  Descriptor descriptor(::open(utf8_path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  const bool is_regular = descriptor.value() >= 0 &&
                          ::fstat(descriptor.value(), &status) == 0 && S_ISREG(status.st_mode);
  return is_regular ? descriptor.Release() : -1;
}

Gdiplus::Status ReadFile(const char* utf8_path, FileBytes& file) {
  const Descriptor descriptor(OpenRegularFile(utf8_path));
  struct stat status {};
  if (descriptor.value() < 0 || ::fstat(descriptor.value(), &status) != 0) {
    return Gdiplus::InvalidParameter;
  }
  const auto size = static_cast<std::uint64_t>(status.st_size);
  if (size > platform::GetDecodeLimit().bytes) return Gdiplus::OutOfMemory;
  file.bytes = AllocateBytes(size);
  if (file.bytes == nullptr) return Gdiplus::OutOfMemory;
  const ssize_t read = ReadFully(descriptor.value(), file.bytes.get(), size);
  if (read < 0) return Gdiplus::InvalidParameter;
  file.size = static_cast<std::size_t>(read);
  return Gdiplus::Ok;
}

FileSink::FileSink(const char* utf8_path) : file_(std::fopen(utf8_path, "wbe")) {}

bool FileSink::Write(const void* bytes, std::size_t size) {
  if (std::fwrite(bytes, 1, size, file_.get()) != size) return false;
  position_ += size;
  return true;
}

bool FileSink::Seek(std::uint64_t position) {
  if (::fseeko(file_.get(), static_cast<off_t>(position), SEEK_SET) != 0) return false;
  position_ = position;
  return true;
}

bool FileSink::Close() { return std::fclose(file_.release()) == 0; }

}  // namespace pixtola::portable
