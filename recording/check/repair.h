// Makes a recording whole that was cut off.
#pragma once

#include <string>
#include <vector>

#include "recording/check/recording.h"

// Brings a recording into the state that ending it behind its last whole fragment would have left: segment
// indexes completed, what follows the last whole fragment removed, manifest and playlists rewritten and
// ended. What is as it should be is not written. Every step leaves a recording that can be repaired again,
// and nothing whole is ever touched, whenever the power fails.
//
// Returns what was done, a sentence each. Throws UserError, nothing changed, when the recording is being
// written, or is damaged in its middle; and when a file cannot be written.
std::vector<std::string> repairRecording(const std::string& name, const Recording::Progress& progress = {});
