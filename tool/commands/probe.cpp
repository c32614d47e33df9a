#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <vector>

#include "tool/commands/commands.h"
#include "tool/host/plugin_host.h"

namespace fmp4 {

namespace {

bool probe(const Invocation& invocation, const std::vector<std::string>& files) {
  const Plugin plugin(invocation.plugin);
  bool allAccepted = true;
  for (const std::string& file : files) {
    const bool accepted = plugin.probe(file);
    std::cout << (accepted ? "accepted " : "refused ") << file << '\n';
    allAccepted = allAccepted && accepted;
  }
  return allAccepted;
}

}  // namespace

void addProbeCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* const command = app.add_subcommand("probe", "Ask the plug-in whether it accepts files");
  const auto files = std::make_shared<std::vector<std::string>>();
  command->add_option("FILE", *files, "Files to ask about")->required();
  command->callback([&invocation, files] {
    invocation.command = [&invocation, files] { return probe(invocation, *files); };
  });
}

}  // namespace fmp4
