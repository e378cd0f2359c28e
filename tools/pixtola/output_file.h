// The output: written under a temporary name beside its place and moved there when it is whole, so
// that a failed run leaves what was there and nothing half-written.
#ifndef PIXTOLA_TOOL_OUTPUT_FILE_H_
#define PIXTOLA_TOOL_OUTPUT_FILE_H_

#include <sys/types.h>

#include <string>

#include "removal_on_signal.h"

namespace pixtola::tool {

class OutputFile {
 public:
  /// Creates the temporary file. Throws Failure.
  explicit OutputFile(const std::string& path);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  /// Removes the temporary file unless it was moved.
  ~OutputFile();

  const std::wstring& wide_temporary_path() const { return wide_temporary_path_; }

  /// Moves the temporary file to its place, with the permissions of the file that it replaces or
  /// those of a new file. Throws Failure.
  void Commit();

  /// Why writing may have failed (such as a full disk), for the end of a sentence; empty when
  /// nothing prevents it.
  std::string ExplainWriteFailure() const;

 private:
  void CreateTemporary(bool replaces_file);

  std::string path_;         ///< as the user gave it, for messages
  std::string target_path_;  ///< symbolic links followed
  std::string temporary_path_;
  RemovalOnSignal removal_;
  std::wstring wide_temporary_path_;
  mode_t permissions_ = 0600;  ///< for the file when nothing is in its place
  int descriptor_ = -1;        ///< of the temporary file, wherever its name leads meanwhile
};

}  // namespace pixtola::tool

#endif  // PIXTOLA_TOOL_OUTPUT_FILE_H_
