// Runs a program and keeps its output.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace fmp4 {

struct RunResult {
  int exitCode = -1;  // 128 + N when signal N ended the program
  std::string out;    // standard output, every byte
  std::string err;    // standard error
};

// Runs `command` (the program, found along PATH, and its arguments; no shell) with an empty standard input
// and waits for its end. Throws std::runtime_error when it cannot be started. Programs given by name alone
// are the development machine's, Linux programs; those given by a path are ours.
inline RunResult run(const std::vector<std::string>& command);

// The same for a program that must succeed: throws std::runtime_error with its output otherwise.
inline RunResult runOrThrow(const std::vector<std::string>& command) {
  RunResult result = run(command);
  if (result.exitCode != 0) {
    std::string line;
    for (const std::string& argument : command) line += argument + ' ';
    throw std::runtime_error(line + "ended with " + std::to_string(result.exitCode) + ":\n" + result.err);
  }
  return result;
}

}  // namespace fmp4

#if defined(_WIN32)
#include "tests/support/win32/run.h"
#else
#include "tests/support/posix/run.h"
#endif
