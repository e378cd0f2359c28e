// Whole files into memory, and a sink that writes a file.
#ifndef PIXTOLA_PORTABLE_FILES_H_
#define PIXTOLA_PORTABLE_FILES_H_

#include <cstdint>
#include <cstdio>
#include <memory>

#include "codecs/codec.h"
#include "imaging/heap_bytes.h"
#include "pixtola/portable/gdiplus.h"

namespace pixtola::portable {

/// Opens a regular file for reading; pipes and devices, which could be waited for without end, are
/// refused. Returns a descriptor that the caller closes, or -1.
int OpenRegularFile(const char* utf8_path);

struct FileBytes {
  HeapBytes bytes;
  std::size_t size = 0;
};

/// Reads a regular file. InvalidParameter when it cannot be opened or read, OutOfMemory when it is
/// larger than the decode limit's bytes or memory lacks.
Gdiplus::Status ReadFile(const char* utf8_path, FileBytes& file);

/// Writes a file from its start, replacing what was there.
class FileSink final : public ByteSink {
 public:
  explicit FileSink(const char* utf8_path);

  bool is_open() const { return file_ != nullptr; }
  bool Write(const void* bytes, std::size_t size) override;
  bool Seek(std::uint64_t position) override;
  std::uint64_t Position() const override { return position_; }
  /// False when something that was written did not reach the file.
  bool Close();

 private:
  struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  std::unique_ptr<std::FILE, CloseFile> file_;
  std::uint64_t position_ = 0;
};

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_FILES_H_
