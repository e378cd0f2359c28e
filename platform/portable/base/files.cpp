#include "base/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <utility>

#include "base/heap_bytes.h"
#include "shared/decode_limit.h"

namespace pixtola::portable {

namespace {

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

Descriptor OpenRegularFile(const char* utf8_path) {
  // Non-blocking: a pipe without a writer would otherwise hold the call until one comes.
  Descriptor descriptor(::open(utf8_path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  return descriptor.IsRegularFile() ? std::move(descriptor) : Descriptor(-1);
}

Descriptor ReplaceRegularFile(const char* utf8_path) {
  Descriptor descriptor(::open(utf8_path, O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666));
  const bool is_empty = descriptor.IsRegularFile() && ::ftruncate(descriptor.value(), 0) == 0;
  return is_empty ? std::move(descriptor) : Descriptor(-1);
}

Gdiplus::Status ReadFile(const char* utf8_path, FileBytes& file) {
  const Descriptor descriptor = OpenRegularFile(utf8_path);
  struct stat status {};
  if (!descriptor.is_open() || ::fstat(descriptor.value(), &status) != 0) {
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

}  // namespace pixtola::portable
