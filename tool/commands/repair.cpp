#include "recording/check/repair.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "base/user_error.h"
#include "recording/check/verify.h"
#include "tool/check/recording_names.h"
#include "tool/check/report_list.h"
#include "tool/commands/commands.h"
#include "tool/terminal/messages.h"
#include "tool/terminal/recording_progress.h"

namespace fmp4 {

namespace {

struct RepairRequest {
  std::vector<std::string> names;
  bool acceptLoss = false;
  bool dryRun = false;
  bool json = false;
};

struct Repaired {
  std::vector<std::string> actions;  // done, or to be done
  std::vector<std::string> notes;    // of the recording after it
  bool intact = false;               // after it
};

Repaired repairOne(const std::string& name, const RepairRequest& request) {
  const RepairOptions options{request.acceptLoss ? AudioLoss::Accepted : AudioLoss::Refused, request.dryRun};
  const std::vector<std::string> actions = repairRecording(name, RecordingProgress("reading"), options);
  if (request.dryRun) return {actions, {}, actions.empty()};
  const Verification after = verifyRecording(name, RecordingProgress("verifying"));
  return {actions, after.notes, after.problems.count() == 0};
}

nlohmann::ordered_json jsonOfRepaired(const Repaired& repaired, const std::string& name, bool dryRun) {
  return {{"recording", name},
          {"dryRun", dryRun},
          {"intact", repaired.intact},
          {"actions", repaired.actions},
          {"notes", repaired.notes}};
}

void printRepaired(const Repaired& repaired, const std::string& name, bool dryRun) {
  for (const std::string& sentence : repaired.actions) std::cout << sentence << '\n';
  const bool none = repaired.actions.empty();
  if (dryRun) {
    std::cout << name << (none ? ": nothing to repair" : ": nothing was changed") << '\n';
  } else if (repaired.intact) {
    for (const std::string& note : repaired.notes) std::cout << "note: " << note << '\n';
    std::cout << name << (none ? " is intact: nothing to repair" : " is intact again") << '\n';
  }
}

bool repair(const RepairRequest& request) {
  const bool several = nameSeveral(request.names);
  ReportList reports;
  bool allRepaired = true;
  for (const std::string& name : recordingNames(request.names)) {
    try {
      const Repaired repaired = repairOne(name, request);
      if (request.json)
        reports.add(jsonOfRepaired(repaired, name, request.dryRun));
      else
        printRepaired(repaired, name, request.dryRun);
      if (repaired.intact || request.dryRun) continue;
      sayFailure("'" + name + "' is still not intact; 'fmp4 verify' says what is wrong");
      allRepaired = false;
    } catch (const UserError& error) {
      if (!several) throw;
      sayFailure(error.what());
      reports.addError(name, error.what());
      allRepaired = false;
    }
  }
  if (request.json) reports.print(several);
  return allRepaired;
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
  command->add_flag("-j,--json", request->json, "Print what was done as JSON");
  command->callback([&invocation, request] { invocation.command = [request] { return repair(*request); }; });
}

}  // namespace fmp4
