// The file name extensions of the formats that can be opened.
#ifndef PIXTOLA_IO_FORMAT_NAME_LIST_H_
#define PIXTOLA_IO_FORMAT_NAME_LIST_H_

#include <set>
#include <string>

namespace pixtola {

/// Extensions in lower case with their dot, each one once. An empty list has not been built. Not
/// locked.
class CFormatNameList {
 public:
  CFormatNameList() = default;
  CFormatNameList(const CFormatNameList&) = delete;
  CFormatNameList& operator=(const CFormatNameList&) = delete;
  virtual ~CFormatNameList() = default;

  /// Adds the extensions of the platform's decoders and ".pcx". Throws std::bad_alloc, with the
  /// list empty.
  void Build();
  void Clear() { names_.clear(); }

  bool IsEmpty() const { return names_.empty(); }
  /// `extension` with its dot, in upper or lower case.
  bool Contains(const std::wstring& extension) const { return names_.count(extension) != 0; }

  auto begin() const { return names_.begin(); }
  auto end() const { return names_.end(); }

 private:
  /// Without regard to case.
  struct ComesBefore {
    bool operator()(const std::wstring& a, const std::wstring& b) const;
  };
  using Names = std::set<std::wstring, ComesBefore>;

  static void AddDecoderExtensions(Names& names);

  Names names_;
};

/// The process's list.
extern CFormatNameList FormatNameList;

}  // namespace pixtola

#endif  // PIXTOLA_IO_FORMAT_NAME_LIST_H_
