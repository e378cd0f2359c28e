// The basic Win32 types, for systems without windows.h.
//
// Sizes and signs are Windows' own (LONG, ULONG, DWORD and HRESULT have 32 bits on every system),
// so that the same calling code means the same everywhere. WCHAR is the system's wchar_t: paths are
// UTF-32 here and are opened by their UTF-8 form.
#ifndef PIXTOLA_PORTABLE_WINDOWS_TYPES_H_
#define PIXTOLA_PORTABLE_WINDOWS_TYPES_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

#define PIXTOLA_PLATFORM_API __attribute__((visibility("default")))

// Calling conventions, of which there is only one.
#define WINAPI
#define STDMETHODCALLTYPE

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
using INT_PTR = std::intptr_t;
using UINT_PTR = std::uintptr_t;
using ULONG_PTR = std::uintptr_t;
using SIZE_T = std::size_t;
using WCHAR = wchar_t;
using VOID = void;
using LPVOID = void*;
using LPCWSTR = const WCHAR*;

#ifndef TRUE
#define TRUE 1
#define FALSE 0
#endif

using HANDLE = void*;
using HGLOBAL = HANDLE;

/// right and bottom are exclusive unless a function says otherwise.
struct tagRECT {
  LONG left;
  LONG top;
  LONG right;
  LONG bottom;
};
using RECT = tagRECT;

union LARGE_INTEGER {
  __extension__ struct {
    DWORD LowPart;
    LONG HighPart;
  };
  struct {
    DWORD LowPart;
    LONG HighPart;
  } u;
  std::int64_t QuadPart;
};

union ULARGE_INTEGER {
  __extension__ struct {
    DWORD LowPart;
    DWORD HighPart;
  };
  struct {
    DWORD LowPart;
    DWORD HighPart;
  } u;
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
inline bool IsEqualGUID(const GUID& a, const GUID& b) { return a == b; }
inline bool operator!=(const GUID& a, const GUID& b) { return !(a == b); }

struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

// Results of COM calls; negative ones are failures.
constexpr HRESULT S_OK = 0;
constexpr HRESULT S_FALSE = 1;
constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001U);
constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002U);
constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003U);
constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005U);
constexpr HRESULT E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFFU);
constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000EU);
constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057U);
constexpr HRESULT STG_E_INVALIDFUNCTION = static_cast<HRESULT>(0x80030001U);
constexpr HRESULT STG_E_INVALIDPOINTER = static_cast<HRESULT>(0x80030009U);
constexpr HRESULT STG_E_SEEKERROR = static_cast<HRESULT>(0x80030019U);
constexpr HRESULT STG_E_WRITEFAULT = static_cast<HRESULT>(0x8003001DU);
constexpr HRESULT STG_E_READFAULT = static_cast<HRESULT>(0x8003001EU);
constexpr HRESULT STG_E_MEDIUMFULL = static_cast<HRESULT>(0x80030070U);

constexpr bool SUCCEEDED(HRESULT result) { return result >= 0; }
constexpr bool FAILED(HRESULT result) { return result < 0; }

#endif  // PIXTOLA_PORTABLE_WINDOWS_TYPES_H_
