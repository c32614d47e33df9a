#include "recording/check/repair.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "base/user_error.h"
#include "recording/check/verify.h"
#include "tool/check/recording_names.h"
#include "tool/commands/commands.h"
#include "tool/terminal/recording_progress.h"

namespace fmp4 {

namespace {

struct RepairRequest {
  std::vector<std::string> names;
  bool acceptLoss = false;
  bool dryRun = false;
};

void repairOne(const std::string& name, const RepairRequest& request) {
  const RepairOptions options{request.acceptLoss ? AudioLoss::Accepted : AudioLoss::Refused, request.dryRun};
  const std::vector<std::string> done = repairRecording(name, RecordingProgress("reading"), options);
  for (const std::string& sentence : done) std::cout << sentence << '\n';
  if (request.dryRun) {
    std::cout << name << (done.empty() ? ": nothing to repair" : ": nothing was changed") << '\n';
    return;
  }
  const Verification after = verifyRecording(name, RecordingProgress("verifying"));
  if (after.problems.count() != 0)
    throw UserError("'" + name + "' is still not intact; 'fmp4 verify' says what is wrong");
  for (const std::string& note : after.notes) std::cout << "note: " << note << '\n';
  std::cout << name << (done.empty() ? " is intact: nothing to repair" : " is intact again") << '\n';
}

bool repair(const RepairRequest& request) {
  const bool several = nameSeveral(request.names);
  bool repaired = true;
  for (const std::string& name : recordingNames(request.names)) {
    try {
      repairOne(name, request);
    } catch (const UserError& error) {
      if (!several) throw;
      std::cerr << "fmp4: " << error.what() << '\n';
      repaired = false;
    }
  }
  return repaired;
}

}  // namespace

void addRepairCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* const command = app.add_subcommand(
      "repair",
      "Repair an interrupted recording: remove what follows its last complete fragment, complete the segment "
      "index, rewrite the manifest and playlists");
  const auto request = std::make_shared<RepairRequest>();
  command
      ->add_option("NAME", request->names,
                   "Recordings, each by a media file, its manifest or a playlist; of a folder all")
      ->required();
  command->add_flag("--accept-loss", request->acceptLoss,
                    "Go on without the audio when its file is lost, and drop it from the lists");
  command->add_flag("-n,--dry-run", request->dryRun, "Say what would be done, and change nothing");
  command->callback([&invocation, request] { invocation.command = [request] { return repair(*request); }; });
}

}  // namespace fmp4
