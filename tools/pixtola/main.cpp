// pixtola: the library's jobs on files, from the command line.
//
// Exit status: 0 done, 1 something failed (one sentence on stderr says what), 2 wrong usage.

#include <csignal>
#include <exception>
#include <iostream>
#include <variant>

#include "Pixtola.h"
#include "command_line.h"
#include "failure.h"

namespace {

using namespace pixtola::tool;

/// The platform, started for as long as it lives.
class Platform {
 public:
  Platform() {
    const Gdiplus::GdiplusStartupInput input;
    Gdiplus::GdiplusStartup(&token_, &input, nullptr);
  }
  Platform(const Platform&) = delete;
  Platform& operator=(const Platform&) = delete;
  ~Platform() { Gdiplus::GdiplusShutdown(token_); }

 private:
  ULONG_PTR token_ = 0;
};

void Do(const ConvertRequest& request) { Convert(request); }

int Report(int status, const char* sentence) {
  std::cerr << "pixtola: " << sentence << '\n';
  if (status == kWrongUsage) std::cerr << "Run with --help for more information.\n";
  return status;
}

int Run(int argument_count, char** arguments) try {
  const CommandLine command_line = ParseCommandLine(argument_count, arguments);
  if (!command_line.request.has_value()) return command_line.exit_status;
  const Platform platform;
  std::visit([](const auto& request) { Do(request); }, *command_line.request);
  return kDone;
} catch (const WrongUsage& error) {
  return Report(kWrongUsage, error.what());
} catch (const std::exception& error) {
  return Report(kFailed, error.what());
}

}  // namespace

int main(int argument_count, char** arguments) {
  // Reaching the limit on file sizes is then a failed write, reported like any other.
  (void)std::signal(SIGXFSZ, SIG_IGN);
  return Run(argument_count, arguments);
}
