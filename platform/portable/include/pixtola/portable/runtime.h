// The wide-character calls of Windows' C runtime: files with sharing modes, parts of paths,
// comparison without case.
#ifndef PIXTOLA_PORTABLE_RUNTIME_H_
#define PIXTOLA_PORTABLE_RUNTIME_H_

#include <cstddef>
#include <cstdio>

#include "pixtola/portable/windows_types.h"

constexpr int _SH_DENYRW = 0x10;  ///< nobody else may open the file
constexpr int _SH_DENYWR = 0x20;  ///< others may read
constexpr int _SH_DENYRD = 0x30;  ///< others may write
constexpr int _SH_DENYNO = 0x40;

using errno_t = int;

extern "C" {

/// Opens a regular file as fopen does; the caller closes it with fclose. Null, with errno set, when
/// that fails or another program or thread holds the file in a way that `sharing` or its own
/// sharing forbids. Sharing is an agreement among those who open files by this call.
PIXTOLA_PLATFORM_API std::FILE* _wfsopen(const wchar_t* path, const wchar_t* mode, int sharing);

/// Splits a path at its last '/' and at the last '.' of what follows: the folder with its '/', the
/// name, the extension with its '.'. There are no drives: that part is empty. A part that is not
/// wanted is null with size 0. Sizes count characters with the terminating zero. EINVAL for a null
/// path or a part of which one is zero and the other not, ERANGE when a part does not fit; all
/// parts are empty then.
PIXTOLA_PLATFORM_API errno_t _wsplitpath_s(const wchar_t* path, wchar_t* drive,
                                           std::size_t drive_size, wchar_t* folder,
                                           std::size_t folder_size, wchar_t* name,
                                           std::size_t name_size, wchar_t* extension,
                                           std::size_t extension_size);

/// As wcscmp, with the letters A to Z taken as a to z.
PIXTOLA_PLATFORM_API int _wcsicmp(const wchar_t* a, const wchar_t* b);
/// The same for at most `count` characters.
PIXTOLA_PLATFORM_API int _wcsnicmp(const wchar_t* a, const wchar_t* b, std::size_t count);

}  // extern "C"

#endif  // PIXTOLA_PORTABLE_RUNTIME_H_
