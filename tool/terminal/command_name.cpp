#include "tool/terminal/command_name.h"

#include <algorithm>
#include <numeric>
#include <string_view>

namespace fmp4 {

namespace {

// How many letters have to be added, removed or replaced to get from one word to the other.
std::size_t editDistance(std::string_view from, std::string_view to) {
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

// The first argument that is neither an option nor the value of one that comes before a command.
const std::string* firstWord(const std::vector<std::string>& arguments) {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (arguments[i] == "--plugin" || arguments[i] == "--color")
      ++i;
    else if (!arguments[i].starts_with('-'))
      return &arguments[i];
  }
  return nullptr;
}

}  // namespace

std::vector<std::string> withHelpAsOption(std::vector<std::string> arguments) {
  if (arguments.empty() || arguments.front() != "help") return arguments;
  arguments.erase(arguments.begin());
  arguments.resize(std::min(arguments.size(), std::size_t{1}));
  arguments.emplace_back("--help");
  return arguments;
}

std::string unknownCommand(const std::vector<std::string>& arguments,
                           const std::vector<std::string>& commands) {
  constexpr std::size_t kMaxTypos = 2, kMaxWord = 32;
  const std::string* const word = firstWord(arguments);
  if (!word || std::find(commands.begin(), commands.end(), *word) != commands.end()) return {};
  std::string text = "there is no command '" + *word + "'; ";
  if (word->size() <= kMaxWord) {
    const auto closest = std::min_element(
        commands.begin(), commands.end(),
        [&](const auto& a, const auto& b) { return editDistance(*word, a) < editDistance(*word, b); });
    if (closest != commands.end() && editDistance(*word, *closest) <= kMaxTypos)
      text += "did you mean '" + *closest + "'? ";
  }
  return text + "fmp4 --help lists the commands";
}

}  // namespace fmp4
