#include "command_line.h"

#include <CLI/CLI.hpp>
#include <string>

#include "convert_options.h"
#include "text.h"

namespace pixtola::tool {

namespace {

/// What is wrong with the arguments, for the user.
std::string UsageMessage(const CLI::App* app, const CLI::Error& error) {
  std::string message = error.what();
  if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError)) {
    // The parser's own message names them backwards.
    message = "Not expected:";
    for (const std::string& argument : app->remaining(true)) message += ' ' + Quoted(argument);
    message += '.';
  }
  return "pixtola: " + message + "\nRun with --help for more information.\n";
}

}  // namespace

CommandLine ParseCommandLine(int argument_count, char** arguments) {
  CLI::App app("Prepares captured pages as documents.", "pixtola");
  app.set_version_flag("--version", "pixtola " PIXTOLA_VERSION);
  app.require_subcommand(1);
  app.failure_message(UsageMessage);
  ConvertRequest convert;
  AddConvertOptions(app, convert);
  try {
    app.parse(argument_count, arguments);
  } catch (const CLI::ParseError& error) {
    return {.request = std::nullopt, .exit_status = app.exit(error) == 0 ? kDone : kWrongUsage};
  }
  return {.request = std::move(convert)};
}

}  // namespace pixtola::tool
