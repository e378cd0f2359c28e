// Files by wide-character path: opening with a sharing mode, deletion.

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <new>
#include <optional>
#include <string>

#include "pixtola/portable/kernel.h"
#include "pixtola/portable/runtime.h"
#include "system/descriptor.h"
#include "system/utf8.h"

namespace pixtola::portable {

namespace {

struct OpenMode {
  int flags = 0;
  bool empties = false;  ///< the file, but only once it is ours
  bool writes = false;
  const char* stdio_mode = nullptr;
};

/// Nothing for what is no mode of fopen with "b" or "t", which mean nothing here.
std::optional<OpenMode> ParseMode(const wchar_t* mode) {
  const wchar_t kind = mode[0];
  bool updates = false;
  for (const wchar_t* flag = mode + 1; kind != L'\0' && *flag != L'\0'; ++flag) {
    if (*flag == L'+') {
      updates = true;
    } else if (*flag != L'b' && *flag != L't') {
      return std::nullopt;
    }
  }
  const int access = updates ? O_RDWR : kind == L'r' ? O_RDONLY : O_WRONLY;
  switch (kind) {
    case L'r':
      return OpenMode{access, false, updates, updates ? "r+" : "r"};
    case L'w':
      return OpenMode{access | O_CREAT, true, true, updates ? "w+" : "w"};
    case L'a':
      return OpenMode{access | O_CREAT | O_APPEND, false, true, updates ? "a+" : "a"};
    default:
      return std::nullopt;
  }
}

/// The lock that keeps others out as the sharing mode says. Who writes holds the file alone, as do
/// those who let nobody else read: the system's locks know no finer grades.
int LockFor(const OpenMode& mode, int sharing) {
  if (sharing == _SH_DENYNO) return 0;
  return mode.writes || sharing != _SH_DENYWR ? LOCK_EX : LOCK_SH;
}

/// True also where the file system has no locks.
bool TakeLock(int descriptor, int lock) {
  return lock == 0 || ::flock(descriptor, lock | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

/// Null with errno set.
std::FILE* OpenShared(const char* utf8_path, const OpenMode& mode, int sharing) {
  // Not blocking: a pipe without a writer would otherwise hold the call until one comes.
  Descriptor descriptor(::open(utf8_path, mode.flags | O_CLOEXEC | O_NONBLOCK, 0666));
  if (descriptor.value() < 0) return nullptr;
  if (!descriptor.IsRegularFile() || !TakeLock(descriptor.value(), LockFor(mode, sharing))) {
    errno = EACCES;
    return nullptr;
  }
  if (mode.empties && ::ftruncate(descriptor.value(), 0) != 0) return nullptr;
  std::FILE* file = ::fdopen(descriptor.value(), mode.stdio_mode);
  if (file != nullptr) descriptor.Release();
  return file;
}

}  // namespace

}  // namespace pixtola::portable

using pixtola::portable::Utf8FromWide;

extern "C" {

std::FILE* _wfsopen(const wchar_t* path, const wchar_t* mode, int sharing) try {
  const auto utf8_path = path != nullptr ? Utf8FromWide(path) : std::nullopt;
  const auto open_mode = mode != nullptr ? pixtola::portable::ParseMode(mode) : std::nullopt;
  if (!utf8_path.has_value() || !open_mode.has_value()) {
    errno = EINVAL;
    return nullptr;
  }
  return pixtola::portable::OpenShared(utf8_path->c_str(), *open_mode, sharing);
} catch (const std::bad_alloc&) {
  errno = ENOMEM;
  return nullptr;
}

BOOL WINAPI DeleteFileW(LPCWSTR path) try {
  const auto utf8_path = path != nullptr ? Utf8FromWide(path) : std::nullopt;
  // unlink refuses folders.
  return utf8_path.has_value() && ::unlink(utf8_path->c_str()) == 0 ? TRUE : FALSE;
} catch (const std::bad_alloc&) {
  return FALSE;
}

}  // extern "C"
