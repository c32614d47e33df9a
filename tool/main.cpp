#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iostream>
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

std::vector<std::string> commandsOf(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
    names.push_back(command->get_name());
  return names;
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
  addProbeCommand(app, invocation);
  addInfoCommand(app, invocation);
  addFramesCommand(app, invocation);
  addExportCommand(app, invocation);
  addPackageCommand(app, invocation);
  addBoxesCommand(app, invocation);
  addVerifyCommand(app, invocation);
  addRepairCommand(app, invocation);
  addServeCommand(app, invocation);
  addVersionCommand(app, invocation);
  addCompletionCommand(app, invocation);

  try {
    std::vector<std::string> arguments = commandLine(argc, argv);
    arguments.erase(arguments.begin());
    arguments = withHelpAsOption(std::move(arguments));
    if (const std::string trouble = unknownCommand(arguments, commandsOf(app)); !trouble.empty()) {
      sayFailure(trouble);
      return kWrongUsage;
    }
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
