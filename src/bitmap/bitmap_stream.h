// The memory stream that images are encoded into.
#ifndef PIXTOLA_BITMAP_BITMAP_STREAM_H_
#define PIXTOLA_BITMAP_BITMAP_STREAM_H_

#include <cstdint>

#include "base/owners.h"
#include "platform.h"

namespace pixtola {

// Windows' interfaces have a public destructor that is not virtual. Nobody deletes through them:
// references are released.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// A stream in front of a memory stream, to which it passes every call on. It has room from the
/// start, so that the memory need not grow step by step, and remembers how far it was written, so
/// that the excess can be cut off. Bytes that a writer skips become 0, whatever the memory held
/// before. It lives for one operation and has no reference count: references are the inner
/// stream's.
///
/// Without an inner stream operations return E_UNEXPECTED, AddRef and Release 0.
class CBitmapStream final : public virtual IStream {
 public:
  /// With a block of `size` bytes. There is no inner stream when out of memory.
  explicit CBitmapStream(std::uint64_t size);
  CBitmapStream(const CBitmapStream&) = delete;
  CBitmapStream& operator=(const CBitmapStream&) = delete;
  virtual ~CBitmapStream();

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;
  HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG size, ULONG* read) override;
  HRESULT STDMETHODCALLTYPE Write(const void* buffer, ULONG size, ULONG* written) override;
  HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin,
                                 ULARGE_INTEGER* position) override;
  HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) override;
  HRESULT STDMETHODCALLTYPE CopyTo(IStream* stream, ULARGE_INTEGER size, ULARGE_INTEGER* read,
                                   ULARGE_INTEGER* written) override;
  HRESULT STDMETHODCALLTYPE Commit(DWORD flags) override;
  HRESULT STDMETHODCALLTYPE Revert() override;
  HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size,
                                       DWORD type) override;
  HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size,
                                         DWORD type) override;
  HRESULT STDMETHODCALLTYPE Stat(STATSTG* stat, DWORD flags) override;
  HRESULT STDMETHODCALLTYPE Clone(IStream** stream) override;

  bool has_inner() const { return inner_ != nullptr; }
  /// The furthest position reached by a write.
  std::uint64_t written_size() const { return written_size_; }

  /// Cuts the inner stream to what was written and hands it over; null when there is none or it
  /// cannot be cut.
  ComPointer<IStream> Finish();

 private:
  /// Writes zeros from the written size on, up to `gap_end`, and goes back to `position`.
  HRESULT FillGap(std::uint64_t gap_end, std::uint64_t position);

  IStream* inner_ = nullptr;
  std::uint64_t written_size_ = 0;
};

#pragma GCC diagnostic pop

/// How many bytes of room a stream should have from the start for a bitmap encoded as `type`: the
/// uncompressed size, at least 4096, and none for TIFF.
std::uint64_t EncodedSizeEstimate(Gdiplus::Bitmap& bitmap, PxtFileType type);

}  // namespace pixtola

#endif  // PIXTOLA_BITMAP_BITMAP_STREAM_H_
