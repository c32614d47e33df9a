// Runs the built program.
#pragma once

#include <string>
#include <vector>

#include "tests/support/places.h"
#include "tests/support/run.h"

namespace fmp4 {

inline RunResult fmp4(const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {VL_BIN_DIR "/fmp4"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return run(command);
}

// The lines of a text, without their ends.
inline std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = text.find('\n', start);
    lines.push_back(text.substr(start, end - start));
    start = end == std::string::npos ? text.size() : end + 1;
  }
  return lines;
}

}  // namespace fmp4
