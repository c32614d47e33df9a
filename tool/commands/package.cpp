#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <filesystem>
#include <iostream>
#include <limits>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "base/text.h"
#include "base/user_error.h"
#include "mp4box/boxes/hdlr.h"
#include "os/path_name.h"
#include "os/replace_file.h"
#include "recording/check/existing_lists.h"
#include "streaming/lists/master_playlist.h"
#include "tool/commands/commands.h"
#include "tool/host/plugin_host.h"
#include "tool/host/refusal_reason.h"
#include "tool/package/output_files.h"
#include "tool/package/package_plan.h"
#include "tool/package/packager.h"
#include "tool/package/track_choice.h"
#include "tool/source/fragment_stream.h"
#include "tool/source/source_file.h"
#include "tool/source/standard_input.h"
#include "tool/terminal/messages.h"
#include "tool/terminal/progress.h"

namespace fmp4 {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kStandardInput = "-";

MasterPlaylist::Media readPlaylist(const std::filesystem::path& path) {
  const std::optional<std::string> text = readList(vlName(path));
  if (!text)
    throw UserError("'" + vlName(path) + "' cannot be read; 'fmp4 verify' says what the recording has");
  return {vlName(path.filename()), *text};
}

void writeMasterPlaylist(const Packager& packager, const OutputFiles& files) {
  MasterPlaylist master = packager.master();
  master.video = readPlaylist(files.videoPlaylist());
  if (!files.audioPlaylist().empty() && packager.recordsAudio())
    master.audio = readPlaylist(files.audioPlaylist());
  const std::string text = masterPlaylistText(master);
  const std::string path = vlName(files.masterPlaylist());
  if (os::replaceFile(path, text)) throw UserError("'" + path + "' could not be written; is the disk full?");
}

// The duration of a file of the recording; none for lists.
std::optional<double> durationOf(const Packager& packager, const std::filesystem::path& file) {
  const auto extension = file.extension();
  if (extension == ".m4a") return packager.audioDuration();
  if (extension == ".m4v" || extension == ".ismv") return packager.videoDuration();
  return std::nullopt;
}

// Says what was made: the recording's length and its files with their sizes and durations.
void report(const Packager& packager, const PackageOptions& options, const OutputFiles& files) {
  Json list = Json::array();
  std::string text;
  for (const auto& path : files.existing()) {
    std::error_code ignored;
    const std::uint64_t bytes = std::filesystem::file_size(path, ignored);
    list.push_back({{"file", vlName(path)}, {"bytes", bytes}});
    text += (text.empty() ? "" : ", ") + vlName(path.filename()) + " (" + std::to_string(bytes) + " bytes";
    if (const auto duration = durationOf(packager, path)) {
      list.back()["durationSeconds"] = *duration;
      text += ", " + clockText(*duration);
    }
    text += ')';
  }
  const double seconds = packager.videoDuration();
  if (options.json) {
    const Json made = {{"recording", options.output},
                       {"frames", packager.frames()},
                       {"audioAccessUnits", packager.accessUnits()},
                       {"durationSeconds", seconds},
                       {"files", list}};
    std::cout << made.dump(2, ' ', true, Json::error_handler_t::replace) << '\n';
  } else {
    std::cout << "recorded " << packager.frames() << " frames, " << clockText(seconds) << ", in " << text
              << '\n';
  }
}

// Records what arrives; whatever fails later, what came before is a complete recording.
void record(Packager& packager, const OutputFiles& files, const std::function<void(std::uint64_t)>& show) {
  std::exception_ptr failure;
  try {
    packager.run(show, endRequested);
  } catch (const UserError&) {
    failure = std::current_exception();
  }
  try {
    packager.finish();
    if (packager.frames() != 0) writeMasterPlaylist(packager, files);
  } catch (const UserError&) {
    if (!failure) throw;
  }
  if (failure) std::rethrow_exception(failure);
}

// Records up to `frames` frames of `source`.
void packageSource(const Plugin& plugin, SampleSource& source, const PackageOptions& options,
                   const PackagePlan& plan, std::uint64_t frames,
                   const std::function<void(std::uint64_t)>& show) {
  const OutputFiles files(options.output);
  files.check(options.input, options.force);
  std::uint64_t recorded = 0;
  try {
    Packager packager(plugin, source, options, plan, frames, warn);
    record(packager, files, [&](std::uint64_t done) { show(recorded = done); });
    if (recorded == 0) throw UserError("interrupted before the first frame; nothing is recorded");
    report(packager, options, files);
  } catch (const UserError&) {
    if (recorded == 0) files.removeNew();
    throw;
  }
}

// A file that is no source is looked at again for the reason.
std::unique_ptr<SourceFile> openSource(const std::string& path) {
  try {
    return std::make_unique<SourceFile>(path);
  } catch (const UserError&) {
    if (const auto trouble = sourceTrouble(path)) throw UserError("'" + path + "' " + trouble->text);
    throw;
  }
}

void packageFile(const Plugin& plugin, const PackageOptions& options) {
  const std::unique_ptr<SourceFile> file = openSource(options.input);
  SourceFile& source = *file;
  chooseTracks(source, options, warn);
  heedEndRequests();
  checkVideo(source);
  const PackagePlan plan = planPackage(*source.trackOfHandler(mp4::kVideoHandler), options, warn);
  Progress progress("packaging", plan.count);
  std::uint64_t recorded = 0;
  packageSource(plugin, source, options, plan, plan.count,
                [&](std::uint64_t frames) { progress.show(recorded = frames); });
  if (endRequested() && recorded < plan.count)
    throw UserError("interrupted; the recording ends after " + std::to_string(recorded) + " frames");
}

// Whether a stream has shown enough to begin recording: its key-frame interval, and whether the video has
// audio. The wait for it is bounded.
bool knowsEnough(FragmentStream& source) {
  constexpr double kMaxSeconds = 10;
  const SourceTrack* const video = source.trackOfHandler(mp4::kVideoHandler);
  const SourceTrack* const audio = source.trackOfHandler(mp4::kAudioHandler);
  if (video->samples.empty()) return false;
  const auto keys = std::count_if(video->samples.begin(), video->samples.end(),
                                  [](const SourceSample& sample) { return sample.key; });
  const std::uint64_t ticks = video->nextDecodeTime - video->samples.front().decodeTime;
  if (static_cast<double>(ticks) / video->timescale >= kMaxSeconds) return true;
  return keys >= 2 && (!audio || !audio->samples.empty());
}

void awaitBeginning(FragmentStream& source) {
  const SourceTrack* const video = source.trackOfHandler(mp4::kVideoHandler);
  // Nothing would end the wait.
  if (!video || video->timescale == 0) return;
  while (!knowsEnough(source) && !source.holdsMuch() && source.readFragment()) {
  }
}

void packageStream(const Plugin& plugin, const PackageOptions& options) {
  if (options.start != 0) throw UserError("--start needs a file; standard input is recorded as it arrives");
  heedEndRequests();
  FragmentStream source("standard input", {readStandardInput, endRequested});
  chooseTracks(source, options, warn);
  awaitBeginning(source);
  checkVideo(source);
  const PackagePlan plan = planPackage(*source.trackOfHandler(mp4::kVideoHandler), options, warn);
  const std::uint64_t frames = options.count ? *options.count : std::numeric_limits<std::uint32_t>::max();
  packageSource(plugin, source, options, plan, frames, [](std::uint64_t) {});
}

std::map<std::string, CaptionSource> captionSources() {
  return {{"auto", CaptionSource::Auto},
          {"track", CaptionSource::Track},
          {"sei", CaptionSource::Sei},
          {"none", CaptionSource::None}};
}

bool package(const Invocation& invocation, const PackageOptions& options) {
  const Plugin plugin(invocation.plugin);
  if (options.input == kStandardInput) {
    packageStream(plugin, options);
  } else {
    packageFile(plugin, options);
  }
  return true;
}

}  // namespace

void addPackageCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* const command = app.add_subcommand(
      "package", "Record the samples of an MP4 as fragments, with a manifest and playlists");
  const auto options = std::make_shared<PackageOptions>();
  command
      ->add_option(
          "INPUT", options->input,
          "The MP4 to read, plain or fragmented; - reads a fragmented one from standard input as it arrives")
      ->required();
  command
      ->add_option("-o,--output", options->output,
                   "The recording's name: OUT.mp4 becomes OUT.m4v and OUT.m4a, OUT.ismv holds both")
      ->type_name("OUT")
      ->required();
  command
      ->add_option("--gop", options->interval,
                   "Frames from one key frame to the next; by default the source's")
      ->type_name("N")
      ->check(CLI::PositiveNumber);
  command
      ->add_option("--video-track", options->videoTrack,
                   "The ID of the video track to record; by default the first")
      ->type_name("N");
  CLI::Option* const audioTrack =
      command
          ->add_option("--audio-track", options->audioTrack,
                       "The ID of the audio track to record; by default the first")
          ->type_name("N");
  command->add_flag("--no-audio", options->noAudio, "Leave the audio out")->excludes(audioTrack);
  command
      ->add_option(
          "--captions", options->captions,
          "Where captions come from: caption tracks (track), the video (sei), neither (none), or the video "
          "where there is no track (auto, the default)")
      ->type_name("SOURCE")
      ->transform(CLI::CheckedTransformer(captionSources(), CLI::ignore_case).description(""));
  command->add_option("--start", options->start, "The first frame to take, a key frame")->type_name("N");
  command->add_option("--count", options->count, "How many frames to take")
      ->type_name("N")
      ->check(CLI::PositiveNumber);
  command->add_flag("-f,--force", options->force, "Replace a recording of the same name");
  command->add_flag("-j,--json", options->json, "Print what was recorded as JSON");
  command->callback([&invocation, options] {
    invocation.command = [&invocation, options] { return package(invocation, *options); };
  });
}

}  // namespace fmp4
