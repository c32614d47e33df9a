// What `verify` says of a recording, in words.
#pragma once

#include <string>
#include <vector>

#include "recording/check/verify.h"

namespace fmp4 {

// What to do about the problems; empty when there are none. `name`: the recording as the user named it.
std::string adviceFor(const Verification& result, const std::string& name);

// A line for each problem and note; the last one is the verdict, with the advice.
std::vector<std::string> verificationLines(const Verification& result, const std::string& name);

}  // namespace fmp4
