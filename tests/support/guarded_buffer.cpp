#include "support/guarded_buffer.h"

#include <algorithm>
#include <new>

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace pixtola::test {
namespace {

enum class Access { kNone, kRead };

#ifdef _WIN32
std::size_t PageSize() {
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  return info.dwPageSize;
}
std::uint8_t* Map(std::size_t size) {
  void* const memory = VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
  if (memory == nullptr) throw std::bad_alloc();
  return static_cast<std::uint8_t*>(memory);
}
void Unmap(std::uint8_t* memory, std::size_t) { VirtualFree(memory, 0, MEM_RELEASE); }
void Protect(std::uint8_t* memory, std::size_t size, Access access) {
  DWORD previous = 0;
  const DWORD wanted = access == Access::kNone ? PAGE_NOACCESS : PAGE_READONLY;
  if (!VirtualProtect(memory, size, wanted, &previous)) throw std::bad_alloc();
}
#else
std::size_t PageSize() { return static_cast<std::size_t>(sysconf(_SC_PAGESIZE)); }
std::uint8_t* Map(std::size_t size) {
  void* const memory =
      mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  return static_cast<std::uint8_t*>(memory);
}
void Unmap(std::uint8_t* memory, std::size_t size) { munmap(memory, size); }
void Protect(std::uint8_t* memory, std::size_t size, Access access) {
  const int wanted = access == Access::kNone ? PROT_NONE : PROT_READ;
  if (mprotect(memory, size, wanted) != 0) throw std::bad_alloc();
}
#endif

}  // namespace

GuardedBuffer::GuardedBuffer(std::size_t size, std::size_t alignment_offset, GuardSide side)
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

GuardedBuffer::~GuardedBuffer() { Unmap(mapping_, usable_size_ + 2 * page_); }

void GuardedBuffer::MakeReadOnly() { Protect(usable_, usable_size_, Access::kRead); }

bool GuardedBuffer::SurroundingsAreUntouched() const {
  const auto is_fill = [](std::uint8_t byte) { return byte == kFill; };
  return std::all_of(usable_, data_, is_fill) &&
         std::all_of(data_ + size_, usable_ + usable_size_, is_fill);
}

}  // namespace pixtola::test
