#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <random>
#include <system_error>

#include "failure.h"
#include "text.h"

namespace pixtola::tool {

namespace {

[[noreturn]] void FailToWrite(const std::string& path, int error) {
  throw Failure("Cannot write " + Quoted(path) + ": " + std::strerror(error) + ".");
}

/// Where symbolic links lead, even when nothing is there yet.
std::string FollowLinks(const std::string& path) {
  constexpr int kMostLinks = 40;  // the system's own limit
  std::filesystem::path followed = path;
  std::error_code error;
  for (int links = 0; std::filesystem::is_symlink(followed, error); ++links) {
    if (links == kMostLinks) FailToWrite(path, ELOOP);
    const std::filesystem::path target = std::filesystem::read_symlink(followed, error);
    if (error) FailToWrite(path, error.value());
    followed = followed.parent_path() / target;  // an absolute target stands alone
  }
  return followed.string();
}

}  // namespace

OutputFile::OutputFile(const std::string& path) : path_(path), target_path_(FollowLinks(path)) {
  struct stat target {};
  const bool exists = ::stat(target_path_.c_str(), &target) == 0;
  if (exists && !S_ISREG(target.st_mode)) {
    throw Failure("Cannot write " + Quoted(path) + ": it is not a regular file.");
  }
  if (exists && ::access(target_path_.c_str(), W_OK) != 0) FailToWrite(path, errno);
  if (exists) permissions_ = target.st_mode & 0777;
  CreateTemporary(exists);
}

void OutputFile::CreateTemporary(bool replaces_file) {
  const std::filesystem::path folder = std::filesystem::path(target_path_).parent_path();
  const mode_t permissions = replaces_file ? 0600 : 0666;
  std::random_device random;
  const SignalsHeldBack held_back;  // until a signal would find the file
  for (int attempt = 0; attempt < 100; ++attempt) {
    const std::string path = (folder / (".pixtola-" + std::to_string(random()) + ".tmp")).string();
    const std::optional<std::wstring> wide = WideFromUtf8(path);
    if (!wide.has_value()) throw Failure("The name " + Quoted(path_) + " is not valid UTF-8.");
    const int descriptor =
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, permissions);
    if (descriptor < 0 && errno == EEXIST) continue;
    if (descriptor < 0) FailToWrite(path_, errno);
    descriptor_ = descriptor;
    temporary_path_ = path;
    wide_temporary_path_ = *wide;
    removal_.Begin(temporary_path_.c_str());
    // The system has taken off what the umask says. Until it is whole, the file is nobody else's.
    struct stat created {};
    if (!replaces_file && ::fstat(descriptor, &created) == 0) {
      permissions_ = created.st_mode & 0777;
    }
    (void)!::fchmod(descriptor, 0600);
    return;
  }
  FailToWrite(path_, EEXIST);
}

OutputFile::~OutputFile() {
  if (!temporary_path_.empty()) ::unlink(temporary_path_.c_str());
  removal_.End();
  if (descriptor_ >= 0) ::close(descriptor_);
}

void OutputFile::Commit() {
  // By descriptor, and only if the name still leads to it: anyone who may write to the folder could
  // have put a link to another file there.
  struct stat written {};
  struct stat named {};
  if (::fstat(descriptor_, &written) != 0 || ::lstat(temporary_path_.c_str(), &named) != 0 ||
      written.st_dev != named.st_dev || written.st_ino != named.st_ino) {
    throw Failure("Cannot write " + Quoted(path_) + ": its temporary file was replaced.");
  }
  struct stat target {};
  if (::stat(target_path_.c_str(), &target) == 0) {
    mode_t permissions = target.st_mode & 07777;
    // Only the superuser can give files away. Permissions of an owner or a group that the new file
    // does not have are dropped.
    if (::fchown(descriptor_, target.st_uid, target.st_gid) != 0) {
      permissions &= ~mode_t{06000};
      if (::fchown(descriptor_, static_cast<uid_t>(-1), target.st_gid) != 0)
        permissions &= ~mode_t{070};
    }
    (void)!::fchmod(descriptor_, permissions);
  } else {
    (void)!::fchmod(descriptor_, permissions_);
  }
  if (::rename(temporary_path_.c_str(), target_path_.c_str()) != 0) FailToWrite(path_, errno);
  removal_.End();
  temporary_path_.clear();
}

std::string OutputFile::ExplainWriteFailure() const {
  const std::array<char, 65536> probe{};
  (void)::lseek(descriptor_, 0, SEEK_END);
  const ssize_t written = ::write(descriptor_, probe.data(), probe.size());
  if (written < 0) return std::strerror(errno);
  const bool is_full = static_cast<std::size_t>(written) < probe.size();
  return is_full ? "no space is left for it" : "";
}

}  // namespace pixtola::tool
