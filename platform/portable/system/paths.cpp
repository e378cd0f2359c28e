// Parts of wide-character paths, and comparison without case.

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <limits>
#include <string_view>

#include "pixtola/portable/runtime.h"

namespace {

/// Where one part of a path goes; null with size 0 when it is not wanted.
struct Part {
  wchar_t* buffer;
  std::size_t size;
  std::wstring_view text;

  bool is_valid() const { return (buffer == nullptr) == (size == 0); }
  bool fits() const { return buffer == nullptr || text.size() < size; }
  void Store() const {
    if (buffer != nullptr) *std::copy(text.begin(), text.end(), buffer) = L'\0';
  }
  void Clear() const {
    if (buffer != nullptr && size > 0) buffer[0] = L'\0';
  }
};

/// Only the letters A to Z: any others would depend on the locale.
constexpr wchar_t Lower(wchar_t unit) {
  return unit >= L'A' && unit <= L'Z' ? static_cast<wchar_t>(unit - L'A' + L'a') : unit;
}

}  // namespace

extern "C" {

errno_t _wsplitpath_s(const wchar_t* path, wchar_t* drive, std::size_t drive_size, wchar_t* folder,
                      std::size_t folder_size, wchar_t* name, std::size_t name_size,
                      wchar_t* extension, std::size_t extension_size) {
  const std::wstring_view whole = path != nullptr ? path : L"";
  const std::size_t name_at = whole.rfind(L'/') + 1;  // 0 when there is no slash
  const std::size_t dot = whole.rfind(L'.');
  const std::size_t extension_at =
      dot != std::wstring_view::npos && dot >= name_at ? dot : whole.size();
  const Part parts[] = {
      {drive, drive_size, {}},
      {folder, folder_size, whole.substr(0, name_at)},
      {name, name_size, whole.substr(name_at, extension_at - name_at)},
      {extension, extension_size, whole.substr(extension_at)},
  };
  const bool is_valid =
      path != nullptr && std::all_of(std::begin(parts), std::end(parts),
                                     [](const Part& part) { return part.is_valid(); });
  if (!is_valid || !std::all_of(std::begin(parts), std::end(parts),
                                [](const Part& part) { return part.fits(); })) {
    for (const Part& part : parts) part.Clear();
    return errno = is_valid ? ERANGE : EINVAL;
  }
  for (const Part& part : parts) part.Store();
  return 0;
}

int _wcsnicmp(const wchar_t* a, const wchar_t* b, std::size_t count) {
  for (; count > 0; --count, ++a, ++b) {
    const wchar_t left = Lower(*a);
    const wchar_t right = Lower(*b);
    if (left != right) return left < right ? -1 : 1;
    if (left == L'\0') break;
  }
  return 0;
}

int _wcsicmp(const wchar_t* a, const wchar_t* b) {
  return _wcsnicmp(a, b, std::numeric_limits<std::size_t>::max());
}

}  // extern "C"
