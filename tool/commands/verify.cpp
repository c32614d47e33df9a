#include "recording/check/verify.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "base/user_error.h"
#include "recording/existing_paths.h"
#include "tool/check/decode_check.h"
#include "tool/check/recording_names.h"
#include "tool/check/report_list.h"
#include "tool/commands/commands.h"
#include "tool/commands/verification_text.h"
#include "tool/terminal/messages.h"
#include "tool/terminal/recording_progress.h"

namespace fmp4 {

namespace {

using Json = nlohmann::ordered_json;

struct VerifyOptions {
  std::vector<std::string> names;
  bool decode = false;
  bool json = false;
};

Json jsonOf(const Verification& result, const std::string& name) {
  Json problems = Json::array();
  for (const Problem& problem : result.problems.kept()) {
    problems.push_back({{"file", problem.file},
                        {"offset", problem.offset ? Json(*problem.offset) : Json()},
                        {"problem", problem.text},
                        {"repairable", problem.repairable}});
  }
  return {{"recording", name},
          {"intact", result.problems.count() == 0},
          {"files", result.files},
          {"frames", result.frames},
          {"audioAccessUnits", result.audioFrames},
          {"fragments", result.fragments},
          {"segments", result.segments},
          {"durationSeconds", result.seconds},
          {"audioSeconds", result.audioSeconds},
          {"notes", result.notes},
          {"beingWritten", result.beingWritten},
          {"problemCount", result.problems.count()},
          {"problems", problems},
          {"advice", adviceFor(result, name)}};
}

void decode(const Plugin& plugin, const std::string& name, Verification& result) {
  const RecordingPaths paths = findRecordingPaths(name);
  for (const DecodeFault& fault :
       decodeFaults(plugin, paths.video, paths.audio, RecordingProgress("decoding")))
    result.addDamage({fileNameOf(fault.file), std::nullopt, fault.text});
}

// Reports each recording as soon as it is verified; as JSON, all of them at the end.
class Report {
 public:
  explicit Report(bool json) : json_(json) {}

  void add(const Verification& result, const std::string& name) {
    if (json_)
      list_.add(jsonOf(result, name));
    else
      for (const std::string& line : verificationLines(result, name)) std::cout << line << '\n';
  }
  void addError(const std::string& error, const std::string& name) {
    if (json_) list_.addError(name, error);
    sayFailure(error);
  }
  void end(bool several) const {
    if (json_) list_.print(several);
  }

 private:
  bool json_;
  ReportList list_;
};

bool verify(const Invocation& invocation, const VerifyOptions& options) {
  std::optional<Plugin> plugin;
  if (options.decode) plugin.emplace(invocation.plugin);
  const bool several = nameSeveral(options.names);
  Report report(options.json);
  bool intact = true;
  for (const std::string& name : recordingNames(options.names)) {
    try {
      Verification result = verifyRecording(name, RecordingProgress("verifying"));
      if (plugin) decode(*plugin, name, result);
      report.add(result, name);
      intact = intact && result.problems.count() == 0;
    } catch (const UserError& error) {
      if (!several) throw;
      report.addError(error.what(), name);
      intact = false;
    }
  }
  report.end(several);
  return intact;
}

}  // namespace

void addVerifyCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* const command = app.add_subcommand(
      "verify",
      "Check a recording: boxes, offsets, times and indexes, manifest and playlists against the media");
  const auto options = std::make_shared<VerifyOptions>();
  command
      ->add_option("NAME", options->names,
                   "Recordings, each by a media file, its manifest or a playlist; of a folder all")
      ->required();
  command->add_flag("--decode", options->decode, "Decode all audio and walk through every video frame too");
  command->add_flag("-j,--json", options->json, "Print JSON");
  command->callback([&invocation, options] {
    invocation.command = [&invocation, options] { return verify(invocation, *options); };
  });
}

}  // namespace fmp4
