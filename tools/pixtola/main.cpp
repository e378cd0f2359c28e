// pixtola: the library's jobs on files, from the command line.
//
// Exit status: 0 done, 1 something failed (one sentence on stderr says what), 2 wrong usage.

#include <CLI/CLI.hpp>
#include <csignal>
#include <exception>
#include <iostream>
#include <string>

#include "Pixtola.h"
#include "convert_command.h"
#include "failure.h"
#include "text.h"

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

int Fail(const char* sentence) {
  std::cerr << "pixtola: " << sentence << '\n';
  return kFailed;
}

/// What is wrong with the arguments, for the user.
std::string UsageMessage(const CLI::App* app, const CLI::Error& error) {
  std::string message = error.what();
  if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError)) {
    // The parser's own message names them backwards.
    message = "Not expected:";
    for (const std::string& argument : app->remaining(true)) {
      message += ' ' + pixtola::tool::Quoted(argument);
    }
    message += '.';
  }
  return "pixtola: " + message + "\nRun with --help for more information.\n";
}

int Run(int argument_count, char** arguments) {
  CLI::App app("Prepares captured pages as documents.", "pixtola");
  app.set_version_flag("--version", "pixtola " PIXTOLA_VERSION);
  app.require_subcommand(1);
  app.failure_message(UsageMessage);
  pixtola::tool::AddConvertCommand(app);
  try {
    app.parse(argument_count, arguments);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kWrongUsage;
  }
  return 0;
}

}  // namespace

int main(int argument_count, char** arguments) {
  // A file that may not grow is a failed write, told like any other.
  (void)std::signal(SIGXFSZ, SIG_IGN);
  ULONG_PTR token = 0;
  const Gdiplus::GdiplusStartupInput input;
  Gdiplus::GdiplusStartup(&token, &input, nullptr);
  int status = kFailed;
  try {
    status = Run(argument_count, arguments);
  } catch (const pixtola::tool::Failure& failure) {
    status = Fail(failure.what());
  } catch (const std::exception& error) {
    status = Fail(error.what());
  }
  Gdiplus::GdiplusShutdown(token);
  return status;
}
