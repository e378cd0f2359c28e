// Encoded images into files.
#ifndef PIXTOLA_PORTABLE_FILE_SINK_H_
#define PIXTOLA_PORTABLE_FILE_SINK_H_

#include <cstdint>
#include <string>

#include "base/byte_sink.h"
#include "base/handles.h"

namespace pixtola::portable {

/// Writes a regular file from its start. Its old contents are given up with the first write, not
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
  std::string path_;
  bool is_new_ = false;
  bool is_written_ = false;
  FileHandle file_;
  std::uint64_t position_ = 0;
};

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_FILE_SINK_H_
