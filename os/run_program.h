// Runs other programs.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace fmp4::os {

// Runs a program that is found along the PATH, without a shell, and waits for its
// end. Names and arguments are UTF-8. Returns its exit code, 128 + N when signal N ended it; nothing when
// there is no such program.
std::optional<int> runProgram(const std::string& program, const std::vector<std::string>& arguments);

}  // namespace fmp4::os
