// The commands of the program, one file each (beside this header).
#pragma once

#include <functional>
#include <string>

namespace CLI {
class App;
}

// What the command line asks for. Parsing it chooses `command`, which does the work afterwards.
struct Invocation {
  std::string plugin = "vlx_fmp4";  // name or path of the plug-in library
  bool quiet = false;               // hides the host's log
  std::function<bool()> command;    // false: it did its work and the answer is a failure
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
void addServeCommand(CLI::App& app, Invocation& invocation);
void addVersionCommand(CLI::App& app, Invocation& invocation);

// The version of the program, "0.1.0".
std::string programVersion();
