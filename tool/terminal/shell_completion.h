// Completion scripts for shells, made from the program's own commands and options.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace fmp4 {

// Scripts that complete the commands of `app`, their options, and the values of these: words where an option
// takes one of a few, else file names, and nothing for numbers and places.
std::string bashCompletion(const CLI::App& app);
std::string zshCompletion(const CLI::App& app);
std::string fishCompletion(const CLI::App& app);

}  // namespace fmp4
