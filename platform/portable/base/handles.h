// Owners of what `delete` does not free: each gives back what it holds when it leaves scope.
//
// Those of the image libraries' objects are with the codecs (codecs/*_handles.h): nothing else
// needs those libraries' headers.
#ifndef PIXTOLA_PORTABLE_HANDLES_H_
#define PIXTOLA_PORTABLE_HANDLES_H_

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

#include "pixtola/portable/kernel.h"

namespace pixtola::portable {

/// Memory of malloc; see heap_bytes.h.
struct FreeHeap {
  void operator()(void* memory) const { std::free(memory); }
};
using HeapBytes = std::unique_ptr<std::uint8_t[], FreeHeap>;

/// A file of the C library. The result of closing it is lost here: code that needs it closes the
/// file itself.
struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, CloseFile>;

/// A block of GlobalAlloc.
struct FreeGlobal {
  void operator()(HGLOBAL memory) const { GlobalFree(memory); }
};
using GlobalHandle = std::unique_ptr<void, FreeGlobal>;

/// One lock of a block, by the block's handle.
struct UnlockGlobal {
  void operator()(HGLOBAL memory) const { GlobalUnlock(memory); }
};
using GlobalLockHandle = std::unique_ptr<void, UnlockGlobal>;

/// A file descriptor; -1 for none.
class Descriptor {
 public:
  explicit Descriptor(int value) : value_(value) {}
  Descriptor(Descriptor&& other) noexcept : value_(other.Release()) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(value_, other.value_);
    return *this;
  }
  ~Descriptor();

  int value() const { return value_; }
  bool is_open() const { return value_ >= 0; }
  int Release() { return std::exchange(value_, -1); }

  /// Whether this is an open regular file. Pipes and devices, which could be waited for without
  /// end, are not.
  bool IsRegularFile() const;

 private:
  int value_;
};

/// A counted reference to an object that has AddRef and Release, as those of COM have.
template <typename Object>
class ComPointer {
 public:
  ComPointer() = default;
  /// Takes over a reference of the caller's; a new object comes with one. `object` may be null.
  static ComPointer Adopt(Object* object) {
    ComPointer pointer;
    pointer.object_ = object;
    return pointer;
  }
  ComPointer(const ComPointer& other) : object_(other.object_) {
    if (object_ != nullptr) object_->AddRef();
  }
  ComPointer(ComPointer&& other) noexcept : object_(other.Detach()) {}
  ComPointer& operator=(ComPointer other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~ComPointer() {
    if (object_ != nullptr) object_->Release();
  }

  bool operator==(std::nullptr_t) const { return object_ == nullptr; }
  Object* operator->() const { return object_; }
  /// Leaves the reference to the caller.
  Object* Detach() { return std::exchange(object_, nullptr); }

 private:
  Object* object_ = nullptr;
};

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_HANDLES_H_
