#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <utility>

#include "base/text.h"
#include "base/user_error.h"
#include "os/path_name.h"
#include "recording/check/verify.h"
#include "recording/existing_paths.h"
#include "tool/commands/commands.h"
#include "tool/commands/info_facts.h"
#include "tool/commands/verification_text.h"
#include "tool/export/output_file.h"
#include "tool/host/left_out_samples.h"
#include "tool/host/media_tracks.h"
#include "tool/host/other_tracks.h"
#include "tool/host/plugin_host.h"
#include "tool/host/undecoded_audio.h"
#include "tool/host/watched_files.h"
#include "tool/terminal/recording_progress.h"
#include "tool/viewer/overview_scan.h"
#include "tool/viewer/report_page.h"

namespace fmp4 {

namespace {

struct ReportOptions {
  std::string file;
  std::string output;
  bool force = false;
};

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

// Lines about the streams, as the plug-in describes them.
std::vector<std::string> streamLines(const OverviewStreams& streams) {
  std::vector<std::string> lines;
  const bool timed = streams.frames != 0 && streams.rate.known();
  if (streams.frames != 0) lines.push_back("video: " + std::to_string(streams.frames) + " frames");
  if (timed)
    lines.push_back("rate: " + std::to_string(streams.rate.numerator) + '/' +
                    std::to_string(streams.rate.denominator) + " frames a second");
  if (streams.channels != 0)
    lines.push_back("audio: " + std::to_string(streams.samples) + " samples at " +
                    std::to_string(streams.sampleRate) + " Hz, " + std::to_string(streams.channels) +
                    (streams.channels == 1 ? " channel" : " channels"));
  const double seconds = timed                   ? streams.frames / streams.rate.value()
                         : streams.channels != 0 ? static_cast<double>(streams.samples) / streams.sampleRate
                                                 : 0;
  lines.push_back("duration: " + clockText(seconds));
  return lines;
}

std::vector<std::string> notReadLines(const std::string& name) {
  std::vector<std::string> lines;
  for (const OtherTrack& track : otherTracksOf(name)) lines.push_back(trackText(track));
  std::size_t number = 0;
  for (const std::string& why : undecodedAudio(name)) {
    ++number;
    if (!why.empty()) lines.push_back("audio " + std::to_string(number) + " is not decoded: " + why);
  }
  if (const std::string left = leftOutSamples(name); !left.empty()) lines.push_back(left);
  return lines;
}

// None when there are no lists that make a recording of the file.
std::optional<std::vector<std::string>> verified(const std::string& name) {
  try {
    const RecordingPaths paths = findRecordingPaths(name);
    const auto exists = [](const std::string& path) {
      std::error_code ignored;
      return !path.empty() && std::filesystem::exists(vlPath(path), ignored);
    };
    if (!exists(paths.manifest) && !exists(paths.videoPlaylist) && !exists(paths.audioPlaylist))
      return std::nullopt;
    std::vector<std::string> lines = verificationLines(verifyRecording(name, RecordingProgress("verifying")),
                                                       vlName(vlPath(name).filename()));
    std::rotate(lines.begin(), lines.end() - 1, lines.end());  // the verdict first
    return lines;
  } catch (const UserError& error) {
    return std::vector<std::string>{error.what()};
  }
}

std::string reportOn(const Plugin& plugin, const std::string& name) {
  ReportFacts facts;
  facts.name = vlName(vlPath(name).filename());
  WatchedFiles files(name);
  const MediaFile file = plugin.open(name);
  const std::vector<MediaTrack> tracks = mediaTracks(name, files);
  const InfoFacts more(files.names());
  facts.description = streamLines(overviewStreams(*file, name));
  for (std::string& line : linesOf(more.text())) facts.description.push_back(std::move(line));
  for (std::size_t i = 0; i < tracks.size(); ++i)
    facts.tracks.push_back(mediaTrackText(tracks[i]) + more.trackText(i));
  facts.notRead = notReadLines(name);
  Overview overview;
  ScanWatch watch;
  watch.progress = RecordingProgress("reading");
  static_cast<void>(scanOverview(plugin, *file, name, overview, watch));  // nothing stops it
  facts.verification = verified(name);
  return reportPage(facts, overview);
}

bool report(const Invocation& invocation, const ReportOptions& options) {
  const Plugin plugin(invocation.plugin);
  std::size_t bytes = 0;
  OutputFile output(options.output, options.file, options.force);
  output.make([&] {
    const std::string page = reportOn(plugin, options.file);
    bytes = page.size();
    output.write(page);
  });
  std::cout << "wrote " << options.output << " (" << bytes << " bytes)\n";
  return true;
}

}  // namespace

void addReportCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* const command = app.add_subcommand(
      "report", "Write a page about a file that can be printed, with its bit rate and sound");
  const auto options = std::make_shared<ReportOptions>();
  command->add_option("FILE", options->file, "The file to read")->required();
  command->add_option("-o,--output", options->output, "The page to write")->type_name("OUT.html")->required();
  command->add_flag("-f,--force", options->force, "Replace a file that exists");
  command->callback([&invocation, options] {
    invocation.command = [&invocation, options] { return report(invocation, *options); };
  });
}

}  // namespace fmp4
