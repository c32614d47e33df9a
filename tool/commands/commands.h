// The commands of the program, each in a file of its own beside this header.
#pragma once

#include <functional>
#include <string>

#include "tool/terminal/messages.h"

namespace CLI {
class App;
}

namespace fmp4 {

// What the command line requests. Parsing it sets `command`, which then does the work.
struct Invocation {
  std::string plugin = "vlx_fmp4";     // name or path of the plug-in library
  bool quiet = false;                  // hides the host's log
  bool verbose = false;                // shows the status lines of the host's log
  ColourUse colour = ColourUse::Auto;  // of messages
  bool noProgress = false;             // draws no progress bar
  std::function<bool()> command;       // false: it succeeded, and the answer is negative
};

// Each adds its command, options and help to `app`. Commands throw UserError when they cannot do their work.
void addProbeCommand(CLI::App& app, Invocation& invocation);
void addInfoCommand(CLI::App& app, Invocation& invocation);
void addFramesCommand(CLI::App& app, Invocation& invocation);
void addExportCommand(CLI::App& app, Invocation& invocation);
void addPackageCommand(CLI::App& app, Invocation& invocation);
void addBoxesCommand(CLI::App& app, Invocation& invocation);
void addVerifyCommand(CLI::App& app, Invocation& invocation);
void addRepairCommand(CLI::App& app, Invocation& invocation);
void addReportCommand(CLI::App& app, Invocation& invocation);
void addServeCommand(CLI::App& app, Invocation& invocation);
void addVersionCommand(CLI::App& app, Invocation& invocation);
void addCompletionCommand(CLI::App& app, Invocation& invocation);

// The version of the program, "0.1.0".
std::string programVersion();

}  // namespace fmp4
