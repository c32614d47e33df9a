#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "base/user_error.h"
#include "tool/commands/commands.h"
#include "tool/host/input_names.h"
#include "tool/host/movie_file.h"
#include "tool/host/plugin_host.h"
#include "tool/host/refusal_reason.h"
#include "tool/terminal/messages.h"

namespace fmp4 {

namespace {

using Json = nlohmann::ordered_json;

struct ProbeOptions {
  std::vector<std::string> names;
  bool json = false;
};

// Whether the system opens no file any more.
bool cannotOpenMore(const std::string& file) {
  return MovieFile(file).openError() == std::errc::too_many_files_open;
}

struct Answer {
  bool accepted = false;
  std::optional<Refusal> trouble;  // why it is refused, or will not open although it is accepted
};

Answer ask(const Plugin& plugin, const std::string& file) {
  const std::string meant = recordedAs(file);
  const bool accepted = plugin.probe(meant);
  // The limit of the system is no answer of the plug-in, which keeps accepted files open (quirk 1).
  if (cannotOpenMore(meant))
    throw UserError(
        "too many files are open: each accepted one stays so; probe fewer at a time, or raise the "
        "limit (ulimit -n)");
  return {accepted, accepted ? openTrouble(meant) : probeRefusal(meant)};
}

Json asJson(const std::string& file, const Answer& answer) {
  Json json = {{"file", file}, {"accepted", answer.accepted}};
  if (answer.trouble) {
    json["code"] = answer.trouble->code;
    json["why"] = answer.trouble->text;
  }
  return json;
}

bool probe(const Invocation& invocation, const ProbeOptions& options) {
  const Plugin plugin(invocation.plugin);
  bool allAccepted = true;
  Json list = Json::array();
  for (const std::string& file : inputNames(options.names)) {
    const Answer answer = ask(plugin, file);
    if (options.json)
      list.push_back(asJson(file, answer));
    else
      std::cout << (answer.accepted ? "accepted " : "refused ") << file << '\n';
    if (answer.trouble)
      say("'" + file + "' " + (answer.accepted ? "is accepted, but " : "") + answer.trouble->text);
    allAccepted = allAccepted && answer.accepted;
  }
  if (options.json) std::cout << list.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
  return allAccepted;
}

}  // namespace

void addProbeCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* const command = app.add_subcommand(
      "probe", "Ask the plug-in whether it accepts files; the exit code is 1 if it refuses one");
  const auto options = std::make_shared<ProbeOptions>();
  command->add_option("FILE", options->names, "Files to ask about, and folders of files")->required();
  command->add_flag("-j,--json", options->json, "Print a JSON array");
  command->callback([&invocation, options] {
    invocation.command = [&invocation, options] { return probe(invocation, *options); };
  });
}

}  // namespace fmp4
