// The command that a command line names.
#pragma once

#include <string>
#include <vector>

namespace fmp4 {

// Turns "help" and "help COMMAND" into "--help" and "COMMAND --help".
std::vector<std::string> withHelpAsOption(std::vector<std::string> arguments);

// What to say of the first argument that should be a command and is none of `commands`: the closest one, if
// one is close. Empty when the command exists or none is given. `arguments` are those after the program's
// name.
std::string unknownCommand(const std::vector<std::string>& arguments,
                           const std::vector<std::string>& commands);

}  // namespace fmp4
