// Whole files into memory, and a sink that writes a file.
#ifndef PIXTOLA_PORTABLE_FILES_H_
#define PIXTOLA_PORTABLE_FILES_H_

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "codecs/codec.h"
#include "imaging/heap_bytes.h"
#include "pixtola/portable/gdiplus.h"

namespace pixtola::portable {

/// Opens a regular file for reading; pipes and devices, which could be waited for without end, are
/// refused. Returns a descriptor that the caller closes, or -1.
int OpenRegularFile(const char* utf8_path);

/// Opens a regular file for reading and writing, empty, and makes it if it is not there. Returns as
/// above.
int ReplaceRegularFile(const char* utf8_path);

struct FileBytes {
  HeapBytes bytes;
  std::size_t size = 0;
};

/// Reads a regular file. InvalidParameter when it cannot be opened or read, OutOfMemory when it is
/// larger than the decode limit's bytes or memory lacks.
Gdiplus::Status ReadFile(const char* utf8_path, FileBytes& file);

/// Writes a regular file from its start. What was there is given up with the first write, not
/// before.
class FileSink final : public ByteSink {
 public:
  explicit FileSink(const char* utf8_path);

  bool is_open() const { return file_ != nullptr; }
  bool Write(const void* bytes, std::size_t size) override;
  bool Seek(std::uint64_t position) override;
  std::uint64_t Position() const override { return position_; }
  /// False when something that was written did not reach the file.
  bool Close();
  /// Closes the file and leaves nothing half-written: a new file is removed, one that was there
  /// before is emptied if anything has been written to it.
  void Discard();

 private:
  struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  std::string path_;
  bool is_new_ = false;
  bool is_written_ = false;
  std::unique_ptr<std::FILE, CloseFile> file_;
  std::uint64_t position_ = 0;
};

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_FILES_H_
