#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <iterator>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tool/commands/commands.h"
#include "tool/host/host_log.h"
#include "tool/terminal/command_name.h"
#include "tool/terminal/console.h"
#include "tool/terminal/messages.h"
#include "tool/terminal/progress.h"

namespace fmp4 {

namespace {

constexpr int kOperationFailed = 1;
constexpr int kWrongUsage = 2;

int runCommand(const Invocation& invocation) {
  setColour(invocation.colour);
  takeHostLog(invocation.quiet ? LogLines::None : invocation.verbose ? LogLines::All : LogLines::Troubles);
  if (invocation.noProgress) Progress::hide();
  const bool succeeded = invocation.command();
  return succeeded ? EXIT_SUCCESS : kOperationFailed;
}

// The exit code of a run that would end with `code`, once all that it printed is written.
int written(int code) {
  if (std::cout.flush()) return code;
  sayFailure("standard output could not be written; is its disk full?");
  return kOperationFailed;
}

std::map<std::string, ColourUse> colours() {
  return {{"auto", ColourUse::Auto}, {"always", ColourUse::Always}, {"never", ColourUse::Never}};
}

struct Command {
  const char* name;
  void (*add)(CLI::App& app, Invocation& invocation);
};
constexpr Command kCommands[] = {
    {"probe", addProbeCommand},   {"info", addInfoCommand},       {"frames", addFramesCommand},
    {"export", addExportCommand}, {"package", addPackageCommand}, {"boxes", addBoxesCommand},
    {"verify", addVerifyCommand}, {"repair", addRepairCommand},   {"report", addReportCommand},
    {"serve", addServeCommand},   {"version", addVersionCommand}, {"completion", addCompletionCommand}};

std::vector<std::string> commandNames() {
  std::vector<std::string> names;
  for (const Command& command : kCommands) names.emplace_back(command.name);
  return names;
}

// Adds the command that the arguments begin with alone, as the others' options take a third of the time of a
// short command. All are added for help, for completion, and where several are named.
void addCommands(CLI::App& app, Invocation& invocation, const std::vector<std::string>& arguments) {
  const auto isNamed = [&arguments](const Command& command) {
    return std::find(arguments.begin(), arguments.end(), command.name) != arguments.end();
  };
  const bool one = std::count_if(std::begin(kCommands), std::end(kCommands), isNamed) == 1;
  for (const Command& command : kCommands) {
    const bool isFirst = one && arguments.front() == command.name && command.add != addCompletionCommand;
    if (isFirst) return command.add(app, invocation);
  }
  for (const Command& command : kCommands) command.add(app, invocation);
}

}  // namespace

}  // namespace fmp4

using namespace fmp4;

// Memory that ends before the command line is read ends the program.
int main(int argc, char** argv) {  // NOLINT(bugprone-exception-escape)
  std::ios::sync_with_stdio(false);
  prepareStreams();
  CLI::App app("Inspects, exports, records and checks fragmented MP4 through the media-file plug-in.",
               "fmp4");
  app.require_subcommand(1);
  app.fallthrough();
  Invocation invocation;
  app.add_option("--plugin", invocation.plugin, "The plug-in library to load")
      ->type_name("PATH")
      ->capture_default_str();
  app.add_flag("-q,--quiet", invocation.quiet, "Hide the host's log");
  app.add_flag("-v,--verbose", invocation.verbose, "Show the status lines of the host's log too");
  app.add_option("--color", invocation.colour, "Colour messages: auto (on a terminal), always or never")
      ->type_name("WHEN")
      ->transform(CLI::CheckedTransformer(colours(), CLI::ignore_case).description(""));
  app.add_flag("--no-progress", invocation.noProgress, "Draw no progress bar");
  app.set_version_flag("--version", "fmp4 " + programVersion(), "Print the program's version and exit");

  try {
    std::vector<std::string> arguments = commandLine(argc, argv);
    arguments.erase(arguments.begin());
    arguments = withHelpAsOption(std::move(arguments));
    if (const std::string trouble = unknownCommand(arguments, commandNames()); !trouble.empty()) {
      sayFailure(trouble);
      return kWrongUsage;
    }
    addCommands(app, invocation, arguments);
    std::reverse(arguments.begin(), arguments.end());  // the order that the parser takes
    app.parse(std::move(arguments));
    return written(runCommand(invocation));
  } catch (const CLI::ParseError& error) {
    // Help and the version are printed so too.
    return app.exit(error) == EXIT_SUCCESS ? written(EXIT_SUCCESS) : kWrongUsage;
  } catch (const std::bad_alloc&) {
    sayFailure("out of memory");
  } catch (const std::exception& error) {
    sayFailure(error.what());
  }
  return kOperationFailed;
}
