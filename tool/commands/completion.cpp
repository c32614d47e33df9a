#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>

#include "tool/commands/commands.h"
#include "tool/terminal/shell_completion.h"

namespace fmp4 {

void addCompletionCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* const command = app.add_subcommand(
      "completion", "Print a script that completes this program's command lines in a shell");
  const auto shell = std::make_shared<std::string>();
  command->add_option("SHELL", *shell, "bash, zsh or fish")
      ->required()
      ->check(CLI::IsMember({"bash", "zsh", "fish"}));
  command->callback([&app, &invocation, shell] {
    invocation.command = [&app, shell] {
      std::cout << (*shell == "bash"  ? bashCompletion
                    : *shell == "zsh" ? zshCompletion
                                      : fishCompletion)(app);
      return true;
    };
  });
}

}  // namespace fmp4
