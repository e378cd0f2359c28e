#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>

#include "failure.h"
#include "text.h"

namespace pixtola::tool {

namespace {

/// The temporary file that a signal must remove; empty when there is none. A signal handler can
/// read no std::string.
std::array<char, PATH_MAX> path_to_remove{};

void RemoveTemporaryAndDie(int signal) {
  if (path_to_remove[0] != '\0') ::unlink(path_to_remove.data());
  // The handler was installed for one signal: the second one ends the process as it always does.
  (void)::raise(signal);
}

void RemoveOnSignals(const std::string& path) {
  if (path.size() >= path_to_remove.size()) return;
  std::memcpy(path_to_remove.data(), path.c_str(), path.size() + 1);
  struct sigaction action {};
  action.sa_handler = RemoveTemporaryAndDie;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (const int signal : {SIGHUP, SIGINT, SIGTERM}) ::sigaction(signal, &action, nullptr);
}

[[noreturn]] void FailToWrite(const std::string& path, int error) {
  throw Failure("Cannot write '" + path + "': " + std::strerror(error) + ".");
}

/// The file behind symbolic links; the path itself when it does not exist yet.
std::string FollowLinks(const std::string& path) {
  struct FreeMemory {
    void operator()(char* memory) const { std::free(memory); }
  };
  const std::unique_ptr<char, FreeMemory> resolved(::realpath(path.c_str(), nullptr));
  return resolved != nullptr ? resolved.get() : path;
}

}  // namespace

OutputFile::OutputFile(const std::string& path) : path_(path), target_path_(FollowLinks(path)) {
  struct stat target {};
  const bool exists = ::stat(target_path_.c_str(), &target) == 0;
  if (exists && !S_ISREG(target.st_mode)) {
    throw Failure("Cannot write '" + path + "': it is not a regular file.");
  }
  if (exists && ::access(target_path_.c_str(), W_OK) != 0) FailToWrite(path, errno);

  const std::string name = ".pixtola-" + std::to_string(::getpid()) + ".tmp";
  temporary_path_ = (std::filesystem::path(target_path_).parent_path() / name).string();
  const std::optional<std::wstring> wide = WideFromUtf8(temporary_path_);
  if (!wide.has_value()) throw Failure("The name '" + path + "' is not valid UTF-8.");
  wide_temporary_path_ = *wide;

  const int descriptor =
      ::open(temporary_path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (descriptor < 0) FailToWrite(path, errno);
  // A replaced file keeps its permissions.
  if (exists) (void)!::fchmod(descriptor, target.st_mode & 07777);
  ::close(descriptor);
  RemoveOnSignals(temporary_path_);
}

OutputFile::~OutputFile() {
  if (!temporary_path_.empty()) ::unlink(temporary_path_.c_str());
  path_to_remove[0] = '\0';
}

void OutputFile::Commit() {
  if (::rename(temporary_path_.c_str(), target_path_.c_str()) != 0) FailToWrite(path_, errno);
  temporary_path_.clear();
}

std::string OutputFile::ExplainWriteFailure() const {
  const int descriptor = ::open(temporary_path_.c_str(), O_WRONLY | O_APPEND | O_CREAT, 0666);
  if (descriptor < 0) return std::string(": ") + std::strerror(errno);
  const std::array<char, 65536> probe{};
  const ssize_t written = ::write(descriptor, probe.data(), probe.size());
  const int error = errno;
  ::close(descriptor);
  if (written < 0) return std::string(": ") + std::strerror(error);
  if (static_cast<std::size_t>(written) < probe.size()) return ": no space is left for it";
  return {};
}

}  // namespace pixtola::tool
