#include "input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "failure.h"
#include "text.h"

namespace pixtola::tool {

namespace {

/// The format whose signature the bytes start with; empty when it is none of those that are read.
std::string_view FormatOf(std::string_view start) {
  using namespace std::string_view_literals;
  struct Signature {
    std::string_view bytes;
    std::string_view format;
  };
  static constexpr Signature kSignatures[] = {{"\x89PNG\r\n\x1A\n"sv, "PNG"},
                                              {"\xFF\xD8\xFF"sv, "JPEG"},
                                              {"BM"sv, "BMP"},
                                              {"GIF87a"sv, "GIF"},
                                              {"GIF89a"sv, "GIF"},
                                              {"II*\0"sv, "TIFF"},
                                              {"MM\0*"sv, "TIFF"},
                                              {"II+\0"sv, "TIFF"},
                                              {"MM\0+"sv, "TIFF"}};
  for (const Signature& signature : kSignatures) {
    if (start.starts_with(signature.bytes)) return signature.format;
  }
  // PCX has a version between its two marks.
  const bool is_pcx = start.size() >= 3 && start[0] == '\x0A' && start[1] >= 0 && start[1] <= 5 &&
                      start[2] == '\x01';
  return is_pcx ? "PCX" : std::string_view();
}

/// Why the library could not open the file, as a sentence.
std::string ExplainUnreadable(const std::string& path) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return "Cannot open " + Quoted(path) + ": " + std::strerror(errno) + ".";
  struct stat status {};
  const bool has_status = ::fstat(descriptor, &status) == 0;
  std::array<char, 8> bytes{};
  const ssize_t count = ::read(descriptor, bytes.data(), bytes.size());
  ::close(descriptor);
  if (has_status && S_ISDIR(status.st_mode)) return Quoted(path) + " is a folder, not an image.";
  if (has_status && !S_ISREG(status.st_mode)) return Quoted(path) + " is not a regular file.";
  if (count < 0) return "Cannot read " + Quoted(path) + ".";
  if (count == 0) return Quoted(path) + " is empty.";
  const std::string_view format = FormatOf({bytes.data(), static_cast<std::size_t>(count)});
  if (format.empty()) {
    return Quoted(path) + " is not an image that can be read (BMP, GIF, JPEG, PCX, PNG, TIFF).";
  }
  return Quoted(path) + " is a " + std::string(format) +
         " file that cannot be decoded: it is damaged, too large, or of a kind that is not read.";
}

}  // namespace

std::unique_ptr<Gdiplus::Bitmap> OpenInput(const std::string& path) {
  const std::optional<std::wstring> wide_path = WideFromUtf8(path);
  if (!wide_path.has_value()) throw Failure("The name " + Quoted(path) + " is not valid UTF-8.");
  Gdiplus::Bitmap* bitmap = nullptr;
  if (PxtOpenImageFile(wide_path->c_str(), &bitmap) == 0) throw Failure(ExplainUnreadable(path));
  return std::unique_ptr<Gdiplus::Bitmap>(bitmap);
}

}  // namespace pixtola::tool
