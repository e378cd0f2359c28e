#include "system/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "decode_limit.h"
#include "system/descriptor.h"

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

int OpenRegularFile(const char* utf8_path) {
  // Not blocking: a pipe without a writer would otherwise hold the call until one comes.
  Descriptor descriptor(::open(utf8_path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  return descriptor.IsRegularFile() ? descriptor.Release() : -1;
}

int ReplaceRegularFile(const char* utf8_path) {
  Descriptor descriptor(::open(utf8_path, O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666));
  const bool is_empty = descriptor.IsRegularFile() && ::ftruncate(descriptor.value(), 0) == 0;
  return is_empty ? descriptor.Release() : -1;
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

FileSink::FileSink(const char* utf8_path) : path_(utf8_path) {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK;
  int opened = ::open(utf8_path, kFlags | O_EXCL, 0666);
  is_new_ = opened >= 0;
  if (!is_new_) opened = ::open(utf8_path, kFlags, 0666);
  Descriptor descriptor(opened);
  if (descriptor.IsRegularFile()) file_.reset(::fdopen(descriptor.value(), "wb"));
  if (file_ != nullptr) {
    descriptor.Release();
  } else if (is_new_) {
    ::unlink(utf8_path);  // made just now, for nothing
  }
}

bool FileSink::Write(const void* bytes, std::size_t size) {
  if (!is_written_ && ::ftruncate(::fileno(file_.get()), 0) != 0) return false;
  is_written_ = true;
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

void FileSink::Discard() {
  file_.reset();
  if (is_new_) {
    ::unlink(path_.c_str());
  } else if (is_written_) {
    (void)!::truncate(path_.c_str(), 0);
  }
}

}  // namespace pixtola::portable
