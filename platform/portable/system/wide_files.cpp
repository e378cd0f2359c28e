// Files by wide-character path: opening with a sharing mode, deletion.

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <optional>

#include "base/handles.h"
#include "base/utf8.h"
#include "pixtola/portable/kernel.h"
#include "pixtola/portable/runtime.h"
#include "system/file_sharing.h"

namespace pixtola::portable {

namespace {

struct OpenMode {
  int flags = 0;
  bool reads = false;
  bool writes = false;
  bool empties = false;  ///< truncates the file, but only once it is ours
  const char* stdio_mode = nullptr;
};

/// Nothing for what is not a mode of fopen, with or without "b" or "t", which mean nothing here.
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
  // Files for writing are opened for reading, too: the locks below need that.
  switch (kind) {
    case L'r':
      return updates ? OpenMode{O_RDWR, true, true, false, "r+"}
                     : OpenMode{O_RDONLY, true, false, false, "r"};
    case L'w':
      return OpenMode{O_RDWR | O_CREAT, updates, true, true, updates ? "w+" : "w"};
    case L'a':
      return OpenMode{O_RDWR | O_CREAT | O_APPEND, updates, true, false, updates ? "a+" : "a"};
    default:
      return std::nullopt;
  }
}

FileUse DenialOf(int sharing) {
  return {sharing == _SH_DENYRW || sharing == _SH_DENYRD,
          sharing == _SH_DENYRW || sharing == _SH_DENYWR};
}

/// Opens a file; `is_new` tells whether it was not there before. Not open, with errno set, when
/// that fails.
Descriptor OpenOrCreate(const char* utf8_path, int flags, bool& is_new) {
  constexpr mode_t kAccess = 0666;
  is_new = false;
  Descriptor existing(::open(utf8_path, flags & ~O_CREAT));
  if (existing.is_open() || errno != ENOENT || (flags & O_CREAT) == 0) return existing;
  Descriptor made(::open(utf8_path, flags | O_EXCL, kAccess));
  is_new = made.is_open();
  if (is_new || errno != EEXIST) return made;
  // A link to a file that does not exist, or somebody was quicker.
  return Descriptor(::open(utf8_path, flags, kAccess));
}

/// Null, with errno set, when that fails; a file that was created is then removed again.
FileHandle OpenShared(const char* utf8_path, const OpenMode& mode, int sharing) {
  // Non-blocking: a pipe without a writer would otherwise hold the call until one comes.
  bool is_new = false;
  Descriptor descriptor = OpenOrCreate(utf8_path, mode.flags | O_CLOEXEC | O_NONBLOCK, is_new);
  if (!descriptor.is_open()) return nullptr;
  const bool is_ours = descriptor.IsRegularFile() &&
                       ShareFile(descriptor.value(), {mode.reads, mode.writes}, DenialOf(sharing));
  FileHandle file;
  if (!is_ours) {
    errno = EACCES;
  } else if (!mode.empties || ::ftruncate(descriptor.value(), 0) == 0) {
    file.reset(::fdopen(descriptor.value(), mode.stdio_mode));
  }
  if (file != nullptr) {
    descriptor.Release();
  } else if (is_new) {
    const int reason = errno;
    ::unlink(utf8_path);
    errno = reason;
  }
  return file;
}

}  // namespace

}  // namespace pixtola::portable

using pixtola::portable::Utf8Path;

extern "C" {

std::FILE* _wfsopen(const wchar_t* path, const wchar_t* mode, int sharing) {
  const Utf8Path utf8_path(path);
  const auto open_mode = mode != nullptr ? pixtola::portable::ParseMode(mode) : std::nullopt;
  if (!utf8_path.is_valid() || !open_mode.has_value()) {
    errno = EINVAL;
    return nullptr;
  }
  return pixtola::portable::OpenShared(utf8_path.c_str(), *open_mode, sharing).release();
}

BOOL WINAPI DeleteFileW(LPCWSTR path) {
  const Utf8Path utf8_path(path);
  // unlink refuses folders.
  return utf8_path.is_valid() && ::unlink(utf8_path.c_str()) == 0 ? TRUE : FALSE;
}

}  // extern "C"
