// A stream that passes everything on to another one and whose reads and writes fail on demand.
#ifndef PIXTOLA_TESTS_SUPPORT_FAULTY_STREAM_H_
#define PIXTOLA_TESTS_SUPPORT_FAULTY_STREAM_H_

#include "Pixtola.h"
#include "support/fault_injection.h"

// Some systems' interfaces have a public destructor that is not virtual. Streams are ended by
// Release.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

namespace pixtola::test {

/// Reads and writes count under the plan that is in force (Fault::kRead, Fault::kWrite). One that
/// fails leaves the inner stream alone and reports no bytes. CopyTo counts as a read and a write.
class FaultyStream final : public IStream {
 public:
  static constexpr HRESULT kReadFault = static_cast<HRESULT>(0x8003001EU);   // STG_E_READFAULT
  static constexpr HRESULT kWriteFault = static_cast<HRESULT>(0x8003001DU);  // STG_E_WRITEFAULT

  /// Takes a reference to `inner`; the caller gets one to the new stream.
  static FaultyStream* Create(IStream& inner) { return new FaultyStream(inner); }

  HRESULT QueryInterface(REFIID iid, void** object) override {
    const HRESULT result = inner_.QueryInterface(iid, object);
    // A stream asked for by another interface is still this one.
    if (result == 0 && *object == static_cast<void*>(&inner_)) {
      inner_.Release();
      AddRef();
      *object = static_cast<IStream*>(this);
    }
    return result;
  }
  ULONG AddRef() override { return ++references_; }
  ULONG Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

  HRESULT Read(void* buffer, ULONG size, ULONG* read) override {
    if (!IsFaultDue(Fault::kRead)) return inner_.Read(buffer, size, read);
    if (read != nullptr) *read = 0;
    return kReadFault;
  }
  HRESULT Write(const void* buffer, ULONG size, ULONG* written) override {
    if (!IsFaultDue(Fault::kWrite)) return inner_.Write(buffer, size, written);
    if (written != nullptr) *written = 0;
    return kWriteFault;
  }

  HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override {
    return inner_.Seek(move, origin, position);
  }
  HRESULT SetSize(ULARGE_INTEGER size) override { return inner_.SetSize(size); }
  HRESULT CopyTo(IStream* stream, ULARGE_INTEGER size, ULARGE_INTEGER* read,
                 ULARGE_INTEGER* written) override {
    if (IsFaultDue(Fault::kRead)) return kReadFault;
    if (IsFaultDue(Fault::kWrite)) return kWriteFault;
    return inner_.CopyTo(stream, size, read, written);
  }
  HRESULT Commit(DWORD flags) override { return inner_.Commit(flags); }
  HRESULT Revert() override { return inner_.Revert(); }
  HRESULT LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) override {
    return inner_.LockRegion(offset, size, type);
  }
  HRESULT UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) override {
    return inner_.UnlockRegion(offset, size, type);
  }
  HRESULT Stat(STATSTG* stat, DWORD flags) override { return inner_.Stat(stat, flags); }
  HRESULT Clone(IStream** stream) override {
    IStream* clone = nullptr;
    const HRESULT result = inner_.Clone(&clone);
    *stream = result == 0 ? Create(*clone) : nullptr;
    if (clone != nullptr) clone->Release();
    return result;
  }

 private:
  explicit FaultyStream(IStream& inner) : inner_(inner) { inner_.AddRef(); }
  virtual ~FaultyStream() { inner_.Release(); }

  IStream& inner_;
  ULONG references_ = 1;
};

}  // namespace pixtola::test

#pragma GCC diagnostic pop

#endif  // PIXTOLA_TESTS_SUPPORT_FAULTY_STREAM_H_
