#include "tool/terminal/console.h"

#include <unistd.h>

namespace fmp4 {

std::vector<std::string> commandLine(int argc, char** argv) {
  return {argv, argv + argc};
}

void prepareStreams() {}

bool isTerminal(int descriptor) {
  return isatty(descriptor) != 0;
}

}  // namespace fmp4
