// IStream over growable global memory.

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include "base/handles.h"
#include "pixtola/portable/kernel.h"
#include "pixtola/portable/stream.h"
#include "system/global_memory.h"

namespace pixtola::portable {

namespace {

/// The block that a stream and its clones share.
class SharedBlock {
 public:
  explicit SharedBlock(HGLOBAL memory) : memory_(memory) {}
  SharedBlock(const SharedBlock&) = delete;
  SharedBlock& operator=(const SharedBlock&) = delete;

  void AddRef() { ++references_; }
  void Release() {
    if (--references_ == 0) delete this;
  }

  /// From now on the last Release also frees the block.
  void Own() { own_.reset(memory_); }

  HGLOBAL memory() const { return memory_; }
  std::uint64_t size() const { return GlobalSize(memory_); }

  /// Bytes added by growth are undefined. False when out of memory; the block is as it was then.
  bool Resize(std::uint64_t size) {
    if (size > std::numeric_limits<SIZE_T>::max()) return false;
    const HGLOBAL resized = GlobalReAlloc(memory_, static_cast<SIZE_T>(size), GMEM_MOVEABLE);
    return resized != nullptr;  // a movable block keeps its handle
  }

  /// `start` to `end` are within the block. Nothing happens when `end` is not beyond `start`.
  void Clear(std::uint64_t start, std::uint64_t end) {
    if (end <= start) return;
    std::memset(static_cast<BYTE*>(GlobalLock(memory_)) + start, 0, end - start);
    GlobalUnlock(memory_);
  }

  /// `position + size` is within the block.
  void CopyOut(std::uint64_t position, void* bytes, std::size_t size) {
    std::memcpy(bytes, static_cast<BYTE*>(GlobalLock(memory_)) + position, size);
    GlobalUnlock(memory_);
  }
  void CopyIn(std::uint64_t position, const void* bytes, std::size_t size) {
    std::memcpy(static_cast<BYTE*>(GlobalLock(memory_)) + position, bytes, size);
    GlobalUnlock(memory_);
  }

 private:
  ~SharedBlock() = default;

  HGLOBAL memory_;
  GlobalHandle own_;
  std::atomic<ULONG> references_{1};
};

class MemoryStream final : public IStream {
 public:
  MemoryStream(ComPointer<SharedBlock> block, std::uint64_t position)
      : block_(std::move(block)), position_(position) {}
  MemoryStream(const MemoryStream&) = delete;
  MemoryStream& operator=(const MemoryStream&) = delete;

  HGLOBAL memory() const { return block_->memory(); }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) return E_INVALIDARG;
    const bool is_known = iid == IID_IUnknown || iid == IID_ISequentialStream || iid == IID_IStream;
    *object = is_known ? static_cast<IStream*>(this) : nullptr;
    if (!is_known) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }

  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }

  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

  /// Fewer bytes than asked for at the end, none past it; that is no failure.
  HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG size, ULONG* read) override {
    if (read != nullptr) *read = 0;
    if (buffer == nullptr) return STG_E_INVALIDPOINTER;
    const std::uint64_t end = block_->size();
    const std::uint64_t left = end - std::min(end, position_);
    const auto count = static_cast<ULONG>(std::min<std::uint64_t>(left, size));
    if (count > 0) block_->CopyOut(position_, buffer, count);
    position_ += count;
    if (read != nullptr) *read = count;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE Write(const void* buffer, ULONG size, ULONG* written) override {
    if (written != nullptr) *written = 0;
    if (buffer == nullptr) return STG_E_INVALIDPOINTER;
    if (size == 0) return S_OK;
    const std::uint64_t end = position_ + size;  // a position is below 2^63
    const std::uint64_t old_size = block_->size();
    if (end > old_size && !block_->Resize(end)) return E_OUTOFMEMORY;
    block_->Clear(old_size, position_);  // the gap, when the position was past the end
    block_->CopyIn(position_, buffer, size);
    position_ = end;
    if (written != nullptr) *written = size;
    return S_OK;
  }

  /// Positions past the end are fine; before the start they are refused and nothing moves.
  HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin,
                                 ULARGE_INTEGER* position) override {
    if (position != nullptr) position->QuadPart = position_;
    std::uint64_t start = 0;
    switch (origin) {
      case STREAM_SEEK_SET:
        break;
      case STREAM_SEEK_CUR:
        start = position_;
        break;
      case STREAM_SEEK_END:
        start = block_->size();
        break;
      default:
        return STG_E_SEEKERROR;
    }
    std::int64_t moved = 0;
    if (__builtin_add_overflow(static_cast<std::int64_t>(start), move.QuadPart, &moved) ||
        moved < 0) {
      return STG_E_SEEKERROR;
    }
    position_ = static_cast<std::uint64_t>(moved);
    if (position != nullptr) position->QuadPart = position_;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) override {
    const std::uint64_t old_size = block_->size();
    if (!block_->Resize(size.QuadPart)) return E_OUTOFMEMORY;
    block_->Clear(old_size, size.QuadPart);
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE CopyTo(IStream* stream, ULARGE_INTEGER size, ULARGE_INTEGER* read,
                                   ULARGE_INTEGER* written) override {
    if (read != nullptr) read->QuadPart = 0;
    if (written != nullptr) written->QuadPart = 0;
    if (stream == nullptr) return STG_E_INVALIDPOINTER;
    // The other stream may be a clone. What it writes can lengthen the block, so that the end would
    // never come nearer: only what is there at first is copied. It can also move the block, so that
    // the bytes go by way of a buffer.
    const std::uint64_t end = block_->size();
    BYTE buffer[4096];
    for (std::uint64_t left = std::min(size.QuadPart, end - std::min(end, position_)); left > 0;) {
      ULONG count = 0;
      Read(buffer, static_cast<ULONG>(std::min<std::uint64_t>(left, sizeof(buffer))), &count);
      if (count == 0) break;
      if (read != nullptr) read->QuadPart += count;
      ULONG taken = 0;
      const HRESULT result = stream->Write(buffer, count, &taken);
      if (written != nullptr) written->QuadPart += taken;
      if (FAILED(result)) return result;
      if (taken < count) return STG_E_MEDIUMFULL;
      left -= count;
    }
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE Commit(DWORD /*flags*/) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE Revert() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER /*offset*/, ULARGE_INTEGER /*size*/,
                                       DWORD /*type*/) override {
    return STG_E_INVALIDFUNCTION;
  }
  HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER /*offset*/, ULARGE_INTEGER /*size*/,
                                         DWORD /*type*/) override {
    return STG_E_INVALIDFUNCTION;
  }

  /// The stream has no name, whatever the flags ask for.
  HRESULT STDMETHODCALLTYPE Stat(STATSTG* stat, DWORD /*flags*/) override {
    if (stat == nullptr) return STG_E_INVALIDPOINTER;
    *stat = {};
    stat->type = STGTY_STREAM;
    stat->cbSize.QuadPart = block_->size();
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE Clone(IStream** stream) override {
    if (stream == nullptr) return STG_E_INVALIDPOINTER;
    *stream = new (std::nothrow) MemoryStream(block_, position_);
    return *stream != nullptr ? S_OK : E_OUTOFMEMORY;
  }

 private:
  ~MemoryStream() = default;

  ComPointer<SharedBlock> block_;
  std::uint64_t position_;
  std::atomic<ULONG> references_{1};
};

/// A stream over `memory`; null, with the block left alone, when out of memory.
ComPointer<IStream> MakeStream(HGLOBAL memory, bool frees) {
  const auto block = ComPointer<SharedBlock>::Adopt(new (std::nothrow) SharedBlock(memory));
  if (block == nullptr) return {};
  auto stream = ComPointer<IStream>::Adopt(new (std::nothrow) MemoryStream(block, 0));
  if (stream != nullptr && frees) block->Own();
  return stream;
}

}  // namespace

}  // namespace pixtola::portable

extern "C" {

HRESULT WINAPI CreateStreamOnHGlobal(HGLOBAL memory, BOOL delete_on_release, IStream** stream) {
  if (stream == nullptr) return E_INVALIDARG;
  *stream = nullptr;
  pixtola::portable::GlobalHandle made;
  if (memory == nullptr) {
    made.reset(GlobalAlloc(GMEM_MOVEABLE, 0));
    if (made == nullptr) return E_OUTOFMEMORY;
    memory = made.get();
  } else if (!pixtola::portable::IsMovable(memory)) {
    return E_INVALIDARG;
  }
  *stream = pixtola::portable::MakeStream(memory, delete_on_release != FALSE).Detach();
  if (*stream == nullptr) return E_OUTOFMEMORY;
  made.release();  // now the stream's, or the caller's through it
  return S_OK;
}

HRESULT WINAPI GetHGlobalFromStream(IStream* stream, HGLOBAL* memory) {
  if (stream == nullptr || memory == nullptr) return E_INVALIDARG;
  *memory = nullptr;
  // Not by QueryInterface: a stream in front of one in memory may pass the call on, and what is
  // read from it need not be what is in the block.
  const auto* own = dynamic_cast<const pixtola::portable::MemoryStream*>(stream);
  if (own == nullptr) return E_INVALIDARG;
  *memory = own->memory();
  return S_OK;
}

}  // extern "C"
