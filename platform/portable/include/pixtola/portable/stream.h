// COM streams: the interface, and the stream over growable global memory.
#ifndef PIXTOLA_PORTABLE_STREAM_H_
#define PIXTOLA_PORTABLE_STREAM_H_

#include "pixtola/portable/windows_types.h"

constexpr IID IID_IUnknown = {
    0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
constexpr IID IID_IStream = {
    0x0000000C, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
constexpr IID IID_ISequentialStream = {
    0x0C733A30, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};

enum STREAM_SEEK { STREAM_SEEK_SET = 0, STREAM_SEEK_CUR = 1, STREAM_SEEK_END = 2 };
enum STGTY { STGTY_STORAGE = 1, STGTY_STREAM = 2 };
enum STATFLAG { STATFLAG_DEFAULT = 0, STATFLAG_NONAME = 1 };
enum STGC { STGC_DEFAULT = 0 };
// Of LOCKTYPE, LOCK_WRITE is missing: <fcntl.h> has a macro of that name.
enum LOCKTYPE { LOCK_EXCLUSIVE = 2, LOCK_ONLYONCE = 4 };

struct STATSTG {
  WCHAR* pwcsName;
  DWORD type;
  ULARGE_INTEGER cbSize;
  FILETIME mtime;
  FILETIME ctime;
  FILETIME atime;
  DWORD grfMode;
  DWORD grfLocksSupported;
  CLSID clsid;
  DWORD grfStateBits;
  DWORD reserved;
};

// The order of the operations is part of the binary interface.
class IUnknown {
 public:
  virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) = 0;
  virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
  virtual ULONG STDMETHODCALLTYPE Release() = 0;

 protected:
  ~IUnknown() = default;
};

class ISequentialStream : public IUnknown {
 public:
  virtual HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG size, ULONG* read) = 0;
  virtual HRESULT STDMETHODCALLTYPE Write(const void* buffer, ULONG size, ULONG* written) = 0;

 protected:
  ~ISequentialStream() = default;
};

class IStream : public ISequentialStream {
 public:
  virtual HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin,
                                         ULARGE_INTEGER* position) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) = 0;
  virtual HRESULT STDMETHODCALLTYPE CopyTo(IStream* stream, ULARGE_INTEGER size,
                                           ULARGE_INTEGER* read, ULARGE_INTEGER* written) = 0;
  virtual HRESULT STDMETHODCALLTYPE Commit(DWORD flags) = 0;
  virtual HRESULT STDMETHODCALLTYPE Revert() = 0;
  virtual HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size,
                                               DWORD type) = 0;
  virtual HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size,
                                                 DWORD type) = 0;
  virtual HRESULT STDMETHODCALLTYPE Stat(STATSTG* stat, DWORD flags) = 0;
  virtual HRESULT STDMETHODCALLTYPE Clone(IStream** stream) = 0;

 protected:
  ~IStream() = default;
};

extern "C" {

/// A stream over `memory`, a movable block that grows with what is written and whose present size
/// is the stream's; over a new empty block when `memory` is null. The last Release frees the block
/// if `delete_on_release` says so. E_INVALIDARG for a block that cannot move.
///
/// The stream and its clones share the block; one thread at a time may use them.
PIXTOLA_PLATFORM_API HRESULT WINAPI CreateStreamOnHGlobal(HGLOBAL memory, BOOL delete_on_release,
                                                          IStream** stream);

/// The block under a stream of CreateStreamOnHGlobal, which stays the stream's. E_INVALIDARG for
/// other streams.
PIXTOLA_PLATFORM_API HRESULT WINAPI GetHGlobalFromStream(IStream* stream, HGLOBAL* memory);

}  // extern "C"

#endif  // PIXTOLA_PORTABLE_STREAM_H_
