// Repairs an interrupted recording.
#pragma once

#include <string>
#include <vector>

#include "recording/check/recording.h"

namespace fmp4 {

// Brings a recording into the state that it would have if it had ended after its last complete fragment:
// segment indexes completed, what follows that fragment removed, manifest and playlists rewritten and ended.
// What is already right is not written. Whenever the power fails, the recording can be repaired again, and
// nothing complete is ever touched.
//
// Returns what was done, a sentence each. Throws UserError, with nothing changed, when the recording is being
// written or is damaged before its end; and when a file cannot be written.
std::vector<std::string> repairRecording(const std::string& name, const Recording::Progress& progress = {});

}  // namespace fmp4
