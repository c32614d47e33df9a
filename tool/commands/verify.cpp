#include "recording/check/verify.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "tool/commands/commands.h"
#include "tool/terminal/recording_progress.h"

namespace fmp4 {

namespace {

using Json = nlohmann::ordered_json;

struct VerifyOptions {
  std::string name;
  bool json = false;
};

std::string adviceFor(const Verification& result, const std::string& name) {
  if (result.problems.count() == 0) return "";
  if (result.beingWritten) return "it is being recorded; verify it when that has ended";
  if (result.problems.repairable()) return "run: fmp4 repair " + name;
  return "not all of this can be repaired; 'fmp4 repair' does what it can, or get an undamaged copy";
}

void printJson(const Verification& result, const std::string& name) {
  Json problems = Json::array();
  for (const Problem& problem : result.problems.kept()) {
    problems.push_back({{"file", problem.file},
                        {"offset", problem.offset ? Json(*problem.offset) : Json()},
                        {"problem", problem.text},
                        {"repairable", problem.repairable}});
  }
  const Json report = {{"recording", name},
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
  std::cout << report.dump(2, ' ', true, Json::error_handler_t::replace) << '\n';
}

void printResult(const Verification& result, const std::string& name) {
  for (const Problem& problem : result.problems.kept()) {
    std::cout << problem.file << ": ";
    if (problem.offset) std::cout << "byte " << *problem.offset << ": ";
    std::cout << problem.text << '\n';
  }
  const std::uint64_t count = result.problems.count(), kept = result.problems.kept().size();
  if (count > kept) std::cout << "... and " << count - kept << " more\n";
  for (const std::string& note : result.notes) std::cout << "note: " << note << '\n';
  if (count == 0) {
    std::cout << name << " is intact: " << result.frames << " frames, " << result.audioFrames
              << " audio access units, " << result.fragments << " fragments, " << result.segments
              << " segments in " << result.files.size() << " files\n";
  } else {
    std::cout << name << " is not intact: " << count << (count == 1 ? " problem; " : " problems; ")
              << adviceFor(result, name) << '\n';
  }
}

bool verify(const VerifyOptions& options) {
  const Verification result = verifyRecording(options.name, RecordingProgress("verifying"));
  (options.json ? printJson : printResult)(result, options.name);
  return result.problems.count() == 0;
}

}  // namespace

void addVerifyCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* const command = app.add_subcommand(
      "verify",
      "Check a recording: boxes, offsets, times and indexes, manifest and playlists against the media");
  const auto options = std::make_shared<VerifyOptions>();
  command->add_option("NAME", options->name, "A media file, the manifest or a playlist of the recording")
      ->required();
  command->add_flag("-j,--json", options->json, "Print JSON");
  command->callback([&invocation, options] { invocation.command = [options] { return verify(*options); }; });
}

}  // namespace fmp4
