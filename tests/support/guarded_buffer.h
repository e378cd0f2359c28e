// A buffer of bytes between two inaccessible pages: a read or write of one byte outside ends the
// test program on the spot instead of going unnoticed. Only the side that the buffer is placed
// against is guarded to the byte; on the other side, writes are found by SurroundingsAreUntouched.
#ifndef PIXTOLA_TESTS_SUPPORT_GUARDED_BUFFER_H_
#define PIXTOLA_TESTS_SUPPORT_GUARDED_BUFFER_H_

#include <cstddef>
#include <cstdint>
#include <span>

namespace pixtola::test {

enum class GuardSide { kAfterEnd, kBeforeStart };

class GuardedBuffer {
 public:
  static constexpr std::uint8_t kFill = 0xA5;

  // `alignment_offset` bytes are left between the buffer and the guarding page, to try alignments
  // that a buffer flush against the page cannot have.
  explicit GuardedBuffer(std::size_t size, std::size_t alignment_offset = 0,
                         GuardSide side = GuardSide::kAfterEnd);
  ~GuardedBuffer();
  GuardedBuffer(const GuardedBuffer&) = delete;
  GuardedBuffer& operator=(const GuardedBuffer&) = delete;

  std::uint8_t* data() { return data_; }
  const std::uint8_t* data() const { return data_; }
  std::size_t size() const { return size_; }
  std::span<std::uint8_t> span() { return {data_, size_}; }
  std::span<const std::uint8_t> span() const { return {data_, size_}; }

  // From here on a write anywhere in the buffer ends the program, too.
  void MakeReadOnly();

  // True while every accessible byte around the buffer still has its first value.
  bool SurroundingsAreUntouched() const;

 private:
  std::size_t size_;
  std::size_t page_;
  std::size_t usable_size_ = 0;
  std::uint8_t* mapping_ = nullptr;  // guard page, usable pages, guard page
  std::uint8_t* usable_ = nullptr;
  std::uint8_t* data_ = nullptr;
};

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_GUARDED_BUFFER_H_
