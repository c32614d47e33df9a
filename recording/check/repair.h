// Repairs an interrupted recording.
#pragma once

#include <string>
#include <vector>

#include "recording/check/repair_plan.h"

namespace fmp4 {

struct RepairOptions {
  AudioLoss loss = AudioLoss::Refused;
  bool dryRun = false;  // says what would be done, and changes nothing
};

// Brings a recording into the state that it would have if it had ended after its last complete fragment:
// segment indexes completed, what follows that fragment removed, manifest and playlists rewritten and ended,
// temporary files of interrupted runs removed. What is already right is not written. Whenever the power
// fails, the recording can be repaired again, and nothing complete is ever touched.
//
// Returns what was done, or is to be done, a sentence each. Throws UserError, with nothing changed, when the
// recording is being written, is damaged before its end or has lost its audio; and when a file cannot be
// written.
std::vector<std::string> repairRecording(const std::string& name, const Recording::Progress& progress = {},
                                         const RepairOptions& options = {});

}  // namespace fmp4
