// A folder for the files of one test, removed at its end. Tests that run at the same time have
// folders of their own.
#ifndef PIXTOLA_TESTS_SUPPORT_TEMPORARY_FOLDER_H_
#define PIXTOLA_TESTS_SUPPORT_TEMPORARY_FOLDER_H_

#include <filesystem>
#include <string>

#include "support/bytes.h"

namespace pixtola::test {

class TemporaryFolder {
 public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

  bool is_empty() const { return std::filesystem::is_empty(path_); }

 private:
  std::filesystem::path path_;
};

Bytes ReadWholeFile(const std::filesystem::path& path);

void WriteWholeFile(const std::filesystem::path& path, const Bytes& bytes);

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_TEMPORARY_FOLDER_H_
