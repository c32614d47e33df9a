// Starts programs as children of this process.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace fmp4::os {

enum class ChildStreams {
  Inherited,  // but for standard input, which is empty
  None,       // apart from the terminal too, whose Ctrl-C does not end it
};

// runProgram() with a choice of streams.
std::optional<int> runChild(const std::string& program, const std::vector<std::string>& arguments,
                            ChildStreams streams);

}  // namespace fmp4::os
