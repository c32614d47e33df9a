// Samples of a fragmented file that are outside its fragments.
#pragma once

#include <string>

namespace fmp4 {

// A warning about those of `file`, which the plug-in does not read: how many there are and how to move them
// into fragments. Empty when there are none.
std::string leftOutSamples(const std::string& file);

}  // namespace fmp4
