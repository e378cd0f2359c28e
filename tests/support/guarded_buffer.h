// A buffer of bytes between two inaccessible pages: a read or write of one byte outside ends the
// test program at the spot instead of going unnoticed. Only the side that the buffer is placed
// against is guarded to the byte; on the other side, writes are found by SurroundingsAreUntouched.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <span>

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace test_support {

enum class GuardSide { kAfterEnd, kBeforeStart };

class GuardedBuffer {
 public:
  static constexpr std::uint8_t kFill = 0xA5;

  // `alignment_offset` bytes are left between the buffer and the guarding page, to try alignments
  // that a buffer flush against the page cannot have.
  explicit GuardedBuffer(std::size_t size, std::size_t alignment_offset = 0,
                         GuardSide side = GuardSide::kAfterEnd)
      : size_(size), page_(PageSize()) {
    const std::size_t pages = (size + alignment_offset + page_ - 1) / page_;
    usable_size_ = (pages == 0 ? 1 : pages) * page_;
    mapping_ = Map(usable_size_ + 2 * page_);
    usable_ = mapping_ + page_;
    Protect(mapping_, page_, Access::kNone);
    Protect(usable_ + usable_size_, page_, Access::kNone);
    std::fill_n(usable_, usable_size_, kFill);
    data_ = side == GuardSide::kAfterEnd ? usable_ + (usable_size_ - alignment_offset - size)
                                         : usable_ + alignment_offset;
  }

  ~GuardedBuffer() { Unmap(mapping_, usable_size_ + 2 * page_); }

  GuardedBuffer(const GuardedBuffer&) = delete;
  GuardedBuffer& operator=(const GuardedBuffer&) = delete;

  std::uint8_t* data() { return data_; }
  const std::uint8_t* data() const { return data_; }
  std::size_t size() const { return size_; }
  std::span<std::uint8_t> span() { return {data_, size_}; }
  std::span<const std::uint8_t> span() const { return {data_, size_}; }

  // From here on a write anywhere in the buffer ends the program, too.
  void MakeReadOnly() { Protect(usable_, usable_size_, Access::kRead); }

  // True while every accessible byte around the buffer still has its first value.
  bool SurroundingsAreUntouched() const {
    const auto is_fill = [](std::uint8_t byte) { return byte == kFill; };
    return std::all_of(usable_, data_, is_fill) &&
           std::all_of(data_ + size_, usable_ + usable_size_, is_fill);
  }

 private:
  enum class Access { kNone, kRead };

#ifdef _WIN32
  static std::size_t PageSize() {
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return info.dwPageSize;
  }
  static std::uint8_t* Map(std::size_t size) {
    void* const memory = VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    if (memory == nullptr) throw std::bad_alloc();
    return static_cast<std::uint8_t*>(memory);
  }
  static void Unmap(std::uint8_t* memory, std::size_t) { VirtualFree(memory, 0, MEM_RELEASE); }
  static void Protect(std::uint8_t* memory, std::size_t size, Access access) {
    DWORD previous = 0;
    const DWORD wanted = access == Access::kNone ? PAGE_NOACCESS : PAGE_READONLY;
    if (!VirtualProtect(memory, size, wanted, &previous)) throw std::bad_alloc();
  }
#else
  static std::size_t PageSize() { return static_cast<std::size_t>(sysconf(_SC_PAGESIZE)); }
  static std::uint8_t* Map(std::size_t size) {
    void* const memory =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::bad_alloc();
    return static_cast<std::uint8_t*>(memory);
  }
  static void Unmap(std::uint8_t* memory, std::size_t size) { munmap(memory, size); }
  static void Protect(std::uint8_t* memory, std::size_t size, Access access) {
    const int wanted = access == Access::kNone ? PROT_NONE : PROT_READ;
    if (mprotect(memory, size, wanted) != 0) throw std::bad_alloc();
  }
#endif

  std::size_t size_;
  std::size_t page_;
  std::size_t usable_size_ = 0;
  std::uint8_t* mapping_ = nullptr;  // guard page, usable pages, guard page
  std::uint8_t* usable_ = nullptr;
  std::uint8_t* data_ = nullptr;
};

}  // namespace test_support
