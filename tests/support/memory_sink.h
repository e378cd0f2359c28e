// A ByteSink that keeps what is written, for tests of the writers.
//
// It can be told to refuse everything beyond a number of bytes, as a full disk would.
#ifndef PIXTOLA_TESTS_SUPPORT_MEMORY_SINK_H_
#define PIXTOLA_TESTS_SUPPORT_MEMORY_SINK_H_

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

#include "base/byte_sink.h"

namespace pixtola::test {

class MemorySink final : public pixtola::portable::ByteSink {
 public:
  explicit MemorySink(std::uint64_t capacity = std::numeric_limits<std::uint64_t>::max())
      : capacity_(capacity) {}

  bool Write(const void* bytes, std::size_t size) override {
    if (size > capacity_ || position_ > capacity_ - size) return false;
    if (bytes_.size() < position_ + size) bytes_.resize(position_ + size);
    const auto* first = static_cast<const std::uint8_t*>(bytes);
    std::copy(first, first + size, bytes_.begin() + static_cast<std::ptrdiff_t>(position_));
    position_ += size;
    return true;
  }

  /// Positions beyond the end are refused: writers fill what they skip.
  bool Seek(std::uint64_t position) override {
    if (position > bytes_.size()) return false;
    position_ = position;
    return true;
  }

  std::uint64_t Position() const override { return position_; }

  const std::vector<std::uint8_t>& bytes() const { return bytes_; }

 private:
  std::uint64_t capacity_;
  std::uint64_t position_ = 0;
  std::vector<std::uint8_t> bytes_;
};

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_MEMORY_SINK_H_
