#include "io/format_name_list.h"

#include <algorithm>
#include <cwchar>
#include <new>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "io/codec_list.h"
#include "platform.h"

namespace pixtola {

bool CFormatNameList::ComesBefore::operator()(const std::wstring& a, const std::wstring& b) const {
  return _wcsicmp(a.c_str(), b.c_str()) < 0;
}

void CFormatNameList::AddDecoderExtensions(Names& names) {
  const CodecList decoders = CodecList::OfDecoders();
  for (const Gdiplus::ImageCodecInfo& decoder : decoders.codecs()) {
    if (decoder.FilenameExtension == nullptr) continue;
    // Such as "*.JPG;*.JPEG".
    std::wstring_view patterns = decoder.FilenameExtension;
    while (!patterns.empty()) {
      const std::size_t end = std::min(patterns.find(L';'), patterns.size());
      std::wstring name(patterns.substr(0, end));
      patterns.remove_prefix(std::min(end + 1, patterns.size()));
      name.erase(std::remove(name.begin(), name.end(), L'*'), name.end());
      name = Trim(name);
      MakeLowerCase(name);
      if (!name.empty()) names.insert(std::move(name));
    }
  }
}

void CFormatNameList::Build() {
  Names names;
  AddDecoderExtensions(names);
  names.insert(L".pcx");  // the library's own reader's
  names_.merge(names);
}

}  // namespace pixtola

int PxtIsSupportedBitmapType(const wchar_t* path) try {
  using pixtola::FormatNameList;
  if (path == nullptr) return 0;
  constexpr std::size_t kLongest = 256;  // with the terminating zero
  wchar_t extension[kLongest] = {};
  // Longer ones are not given to _wsplitpath_s: some runtimes end the process then.
  const wchar_t* dot = std::wcsrchr(path, L'.');
  if (dot != nullptr && std::wcslen(dot) >= kLongest) return 0;
  if (_wsplitpath_s(path, nullptr, 0, nullptr, 0, nullptr, 0, extension, kLongest) != 0) return 0;
  if (FormatNameList.IsEmpty()) FormatNameList.Build();
  std::wstring name(extension);
  pixtola::MakeLowerCase(name);
  return FormatNameList.Contains(name) ? 1 : 0;
} catch (const std::bad_alloc&) {
  return 0;
}

void PxtClear() { pixtola::FormatNameList.Clear(); }
