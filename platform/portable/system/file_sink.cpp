#include "system/file_sink.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace pixtola::portable {

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
    ::unlink(utf8_path);  // created just now, and not wanted
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
