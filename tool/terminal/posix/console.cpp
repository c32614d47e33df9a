#include "tool/terminal/console.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string_view>

namespace fmp4 {

std::vector<std::string> commandLine(int argc, char** argv) {
  return {argv, argv + argc};
}

void prepareStreams() {
  std::signal(SIGPIPE, SIG_DFL);
}

bool isTerminal(int descriptor) {
  return isatty(descriptor) != 0;
}

bool showsColour(int descriptor) {
  const char* const terminal = std::getenv("TERM");
  return isTerminal(descriptor) && terminal != nullptr && std::string_view(terminal) != "dumb";
}

}  // namespace fmp4
