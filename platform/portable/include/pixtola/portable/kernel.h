// Calls of the Windows kernel: blocks of global memory, modules and their resources, critical
// sections, deletion of files.
#ifndef PIXTOLA_PORTABLE_KERNEL_H_
#define PIXTOLA_PORTABLE_KERNEL_H_

#include "pixtola/portable/windows_types.h"

constexpr UINT GMEM_FIXED = 0x0000;
constexpr UINT GMEM_MOVEABLE = 0x0002;
constexpr UINT GMEM_ZEROINIT = 0x0040;
constexpr UINT GMEM_DISCARDABLE = 0x0100;  ///< accepted; nothing is ever discarded
constexpr UINT GHND = GMEM_MOVEABLE | GMEM_ZEROINIT;
constexpr UINT GPTR = GMEM_FIXED | GMEM_ZEROINIT;

struct HMODULE__;
using HMODULE = HMODULE__*;
using HINSTANCE = HMODULE;
struct HRSRC__;
using HRSRC = HRSRC__*;

/// An integer id instead of a resource's name or type.
#define MAKEINTRESOURCEW(id) \
  (reinterpret_cast<const WCHAR*>(static_cast<ULONG_PTR>(static_cast<WORD>(id))))
/// Whether a name or type is an integer id.
#define IS_INTRESOURCE(name) ((reinterpret_cast<ULONG_PTR>(name) >> 16) == 0)

/// The thread that holds it may enter it any number of times; the contents are the platform's.
struct CRITICAL_SECTION {
  alignas(std::max_align_t) unsigned char storage[64];
};

extern "C" {

// Global memory. A fixed block's handle is its address; a movable one has an address while it is
// locked. All calls take null and fail on it, except GlobalFree, which has nothing to do then.

/// Null when out of memory. The contents are undefined unless GMEM_ZEROINIT is given.
PIXTOLA_PLATFORM_API HGLOBAL WINAPI GlobalAlloc(UINT flags, SIZE_T size);
/// Changes the size and keeps the contents; null, with the block as it was, when that fails. A
/// block that is fixed or locked moves only when GMEM_MOVEABLE is given. Movable blocks keep room
/// for growth: to grow one in many small steps costs no more than to grow it at once.
PIXTOLA_PLATFORM_API HGLOBAL WINAPI GlobalReAlloc(HGLOBAL memory, SIZE_T size, UINT flags);
/// Returns null; `memory` itself when it cannot be freed.
PIXTOLA_PLATFORM_API HGLOBAL WINAPI GlobalFree(HGLOBAL memory);
/// The address of a block, valid until as many calls of GlobalUnlock. Null for a block of size 0.
PIXTOLA_PLATFORM_API LPVOID WINAPI GlobalLock(HGLOBAL memory);
/// TRUE while locks remain.
PIXTOLA_PLATFORM_API BOOL WINAPI GlobalUnlock(HGLOBAL memory);
/// Bytes, as many as were asked for.
PIXTOLA_PLATFORM_API SIZE_T WINAPI GlobalSize(HGLOBAL memory);

// Modules and resources. A module is a program or a shared library with files embedded in it; see
// pixtola/portable/resources.h.

/// The module of that name, its extension left out or ".dll" (letters A to Z without case); the
/// program itself, which always exists, for null. Null when no module of that name has resources.
PIXTOLA_PLATFORM_API HMODULE WINAPI GetModuleHandleW(LPCWSTR name);
/// Null when the module, the program for null, has no such resource. Names and types are words,
/// compared without case, or integer ids; "#12" is the id 12.
PIXTOLA_PLATFORM_API HRSRC WINAPI FindResourceW(HMODULE module, LPCWSTR name, LPCWSTR type);
/// Bytes; 0 for null.
PIXTOLA_PLATFORM_API DWORD WINAPI SizeofResource(HMODULE module, HRSRC resource);
/// For LockResource only: this is not a block of global memory. Null for null.
PIXTOLA_PLATFORM_API HGLOBAL WINAPI LoadResource(HMODULE module, HRSRC resource);
/// The bytes of a loaded resource, which live as long as its module. Null for null.
PIXTOLA_PLATFORM_API LPVOID WINAPI LockResource(HGLOBAL resource);

// Critical sections.
PIXTOLA_PLATFORM_API void WINAPI InitializeCriticalSection(CRITICAL_SECTION* section);
PIXTOLA_PLATFORM_API void WINAPI EnterCriticalSection(CRITICAL_SECTION* section);
/// FALSE when another thread holds the section.
PIXTOLA_PLATFORM_API BOOL WINAPI TryEnterCriticalSection(CRITICAL_SECTION* section);
PIXTOLA_PLATFORM_API void WINAPI LeaveCriticalSection(CRITICAL_SECTION* section);
/// The section must not be held.
PIXTOLA_PLATFORM_API void WINAPI DeleteCriticalSection(CRITICAL_SECTION* section);

/// FALSE when there is no such file, when it is a folder, or when it must not be deleted.
PIXTOLA_PLATFORM_API BOOL WINAPI DeleteFileW(LPCWSTR path);

}  // extern "C"

#endif  // PIXTOLA_PORTABLE_KERNEL_H_
