// The Win32 and COM names that Pixtola and its callers use, for systems without windows.h.
//
// Sizes and signs are Windows' own (LONG, ULONG, DWORD and HRESULT have 32 bits on every system),
// so that the same calling code means the same everywhere. WCHAR is the system's wchar_t: paths are
// UTF-32 here and are opened by their UTF-8 form.
#ifndef PIXTOLA_PORTABLE_WIN32_H_
#define PIXTOLA_PORTABLE_WIN32_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using SHORT = std::int16_t;
using USHORT = std::uint16_t;
using INT = std::int32_t;
using UINT = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using DWORD = std::uint32_t;
using BOOL = std::int32_t;
using HRESULT = std::int32_t;
using ULONG_PTR = std::uintptr_t;
using UINT_PTR = std::uintptr_t;
using WCHAR = wchar_t;
using VOID = void;

#ifndef TRUE
#define TRUE 1
#define FALSE 0
#endif

/// right and bottom are exclusive unless a function says otherwise.
struct RECT {
  LONG left;
  LONG top;
  LONG right;
  LONG bottom;
};

union LARGE_INTEGER {
  __extension__ struct {
    DWORD LowPart;
    LONG HighPart;
  };
  std::int64_t QuadPart;
};

union ULARGE_INTEGER {
  __extension__ struct {
    DWORD LowPart;
    DWORD HighPart;
  };
  std::uint64_t QuadPart;
};

struct GUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  std::uint8_t Data4[8];
};
using CLSID = GUID;
using IID = GUID;
using REFIID = const IID&;

inline bool operator==(const GUID& a, const GUID& b) {
  return std::memcmp(&a, &b, sizeof(GUID)) == 0;
}
inline bool operator!=(const GUID& a, const GUID& b) { return !(a == b); }

struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

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

// The COM interfaces; the order of the operations is binary contract.
class IUnknown {
 public:
  virtual HRESULT QueryInterface(REFIID iid, void** object) = 0;
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;

 protected:
  ~IUnknown() = default;
};

class ISequentialStream : public IUnknown {
 public:
  virtual HRESULT Read(void* buffer, ULONG size, ULONG* read) = 0;
  virtual HRESULT Write(const void* buffer, ULONG size, ULONG* written) = 0;

 protected:
  ~ISequentialStream() = default;
};

class IStream : public ISequentialStream {
 public:
  virtual HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) = 0;
  virtual HRESULT SetSize(ULARGE_INTEGER size) = 0;
  virtual HRESULT CopyTo(IStream* stream, ULARGE_INTEGER size, ULARGE_INTEGER* read,
                         ULARGE_INTEGER* written) = 0;
  virtual HRESULT Commit(DWORD flags) = 0;
  virtual HRESULT Revert() = 0;
  virtual HRESULT LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) = 0;
  virtual HRESULT UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) = 0;
  virtual HRESULT Stat(STATSTG* stat, DWORD flags) = 0;
  virtual HRESULT Clone(IStream** stream) = 0;

 protected:
  ~IStream() = default;
};

#endif  // PIXTOLA_PORTABLE_WIN32_H_
