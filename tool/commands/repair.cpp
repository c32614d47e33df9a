#include "recording/check/repair.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "base/user_error.h"
#include "recording/check/verify.h"
#include "tool/commands/commands.h"
#include "tool/terminal/progress.h"
#include "tool/terminal/recording_progress.h"

namespace fmp4 {

namespace {

bool repair(const std::string& name) {
  const std::vector<std::string> done = repairRecording(name, RecordingProgress("reading"));
  for (const std::string& sentence : done) std::cout << sentence << '\n';
  const Verification after = verifyRecording(name, RecordingProgress("verifying"));
  if (after.problems.count() != 0)
    throw UserError("'" + name + "' is still not intact; 'fmp4 verify' says what is wrong");
  std::cout << name << (done.empty() ? " is intact: nothing to repair" : " is intact again") << '\n';
  return true;
}

}  // namespace

void addRepairCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* const command = app.add_subcommand(
      "repair",
      "Repair an interrupted recording: remove what follows its last complete fragment, complete the segment "
      "index, rewrite the manifest and playlists");
  const auto name = std::make_shared<std::string>();
  command->add_option("NAME", *name, "A media file, the manifest or a playlist of the recording")->required();
  command->callback([&invocation, name] { invocation.command = [name] { return repair(*name); }; });
}

}  // namespace fmp4
