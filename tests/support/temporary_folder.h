// A folder for the files of one test, removed at its end.
#ifndef PIXTOLA_TESTS_SUPPORT_TEMPORARY_FOLDER_H_
#define PIXTOLA_TESTS_SUPPORT_TEMPORARY_FOLDER_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

namespace test_support {

class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::random_device random;
    path_ = std::filesystem::path(testing::TempDir()) / ("pixtola-" + std::to_string(random()));
    std::filesystem::create_directory(path_);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

  bool is_empty() const { return std::filesystem::is_empty(path_); }

 private:
  std::filesystem::path path_;
};

inline std::vector<std::uint8_t> ReadWholeFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void WriteWholeFile(const std::filesystem::path& path,
                           const std::vector<std::uint8_t>& bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
}

}  // namespace test_support

#endif  // PIXTOLA_TESTS_SUPPORT_TEMPORARY_FOLDER_H_
