// Samples of a fragmented file that stand outside of its fragments.
#pragma once

#include <string>

// A warning about those of `file`, which the plug-in does not read: how many they are and how they are
// brought into fragments. Empty when there are none.
std::string leftOutSamples(const std::string& file);
