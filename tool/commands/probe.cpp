#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <vector>

#include "base/user_error.h"
#include "tool/commands/commands.h"
#include "tool/host/movie_file.h"
#include "tool/host/plugin_host.h"
#include "tool/host/refusal_reason.h"

namespace fmp4 {

namespace {

// Whether the system opens no file any more.
bool cannotOpenMore(const std::string& file) {
  return MovieFile(file).openError() == std::errc::too_many_files_open;
}

bool probe(const Invocation& invocation, const std::vector<std::string>& files) {
  const Plugin plugin(invocation.plugin);
  bool allAccepted = true;
  for (const std::string& file : files) {
    const bool accepted = plugin.probe(file);
    // The limit of the system is no answer of the plug-in, which keeps accepted files open (quirk 1).
    if (!accepted && cannotOpenMore(file))
      throw UserError(
          "too many files are open: each accepted one stays so; probe fewer at a time, or raise the "
          "limit (ulimit -n)");
    std::cout << (accepted ? "accepted " : "refused ") << file << '\n';
    if (!accepted) std::cerr << "fmp4: " << probeRefusal(file) << '\n';
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
