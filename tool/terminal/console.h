// The command line and the standard streams, the same on every system.
#pragma once

#include <string>
#include <vector>

namespace fmp4 {

// The program's arguments in UTF-8, its name first.
std::vector<std::string> commandLine(int argc, char** argv);

// Standard output and standard error take bytes unchanged, and a terminal shows them as UTF-8. The program
// ends when it writes to a pipe that nobody reads any more, on systems that end programs so, even if its
// parent ignores that.
void prepareStreams();

// Whether a standard stream (1 output, 2 error) is a terminal.
bool isTerminal(int descriptor);
// Whether it is one that shows colours.
bool showsColour(int descriptor);

}  // namespace fmp4
