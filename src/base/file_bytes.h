// Files of the C runtime, read ahead.
#ifndef PIXTOLA_BASE_FILE_BYTES_H_
#define PIXTOLA_BASE_FILE_BYTES_H_

#include <cstdint>
#include <cstdio>
#include <span>

namespace pixtola {

/// The bytes of a file, piece by piece.
class FileBytes {
 public:
  explicit FileBytes(std::FILE* file) : file_(file) {}

  /// The bytes that were read and not yet taken.
  std::span<const std::uint8_t> ahead() const { return ahead_; }

  void Take(std::size_t count) { ahead_ = ahead_.subspan(count); }

  /// Reads the next piece, once everything has been taken. False at the end of the file or when it
  /// cannot be read, and always from then on.
  bool Refill() {
    const std::size_t size = has_ended_ ? 0 : std::fread(buffer_, 1, sizeof(buffer_), file_);
    ahead_ = {buffer_, size};
    has_ended_ = size == 0;
    return !has_ended_;
  }

 private:
  std::FILE* file_;
  bool has_ended_ = false;
  std::span<const std::uint8_t> ahead_;
  std::uint8_t buffer_[std::size_t{1} << 16];
};

}  // namespace pixtola

#endif  // PIXTOLA_BASE_FILE_BYTES_H_
