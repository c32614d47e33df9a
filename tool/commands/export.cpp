#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "base/text.h"
#include "base/user_error.h"
#include "os/path_name.h"
#include "tool/commands/commands.h"
#include "tool/export/export_streams.h"
#include "tool/host/plugin_host.h"

namespace fmp4 {

namespace {

struct ExportOptions {
  std::string file;
  std::string video;
  std::string audio;
  std::string captions;
  std::string picture;
  std::string channel;
  unsigned service = 0;
  FrameSelection selection;
  bool force = false;
  bool exact = false;
  bool json = false;
};

struct WrittenFile {
  std::string name;
  std::optional<double> seconds;  // of video and audio
};

// Throws UserError when two of the outputs are the same file.
void checkDifferent(const ExportOptions& options) {
  std::vector<std::filesystem::path> seen;
  for (const std::string& output : {options.video, options.audio, options.captions, options.picture}) {
    if (output.empty()) continue;
    std::error_code ignored;
    const std::filesystem::path path = std::filesystem::weakly_canonical(vlPath(output), ignored);
    if (std::find(seen.begin(), seen.end(), path) != seen.end())
      throw UserError("'" + output + "' is named for two outputs; give each a name of its own");
    seen.push_back(path);
  }
}

// The channel of --channel or --service.
std::optional<captions::CaptionChannel> channelOf(const ExportOptions& options) {
  using captions::CaptionChannel;
  if (options.service != 0) return CaptionChannel{CaptionChannel::Standard::Cea708, options.service};
  if (options.channel.empty()) return std::nullopt;
  return CaptionChannel{CaptionChannel::Standard::Cea608,
                        static_cast<unsigned>(options.channel.back() - '0')};
}

// --captions, and which of them.
void addCaptionOptions(CLI::App& command, CLI::Option_group& outputs, ExportOptions& options) {
  CLI::Option* const captions =
      outputs
          .add_option(
              "--captions", options.captions,
              "Write captions as SubRip (.srt), WebVTT (.vtt), Scenarist (.scc), or all their bytes as "
              "JSON lines (.json), one per frame")
          ->type_name("OUT");
  CLI::Option* const channel = command
                                   .add_option("--channel", options.channel,
                                               "The CEA-608 captions to write, CC1 to CC4; by default CC1")
                                   ->type_name("CC")
                                   ->transform(CLI::IsMember({"CC1", "CC2", "CC3", "CC4"}, CLI::ignore_case))
                                   ->needs(captions);
  command
      .add_option("--service", options.service,
                  "The CEA-708 captions to write, 1 to 63; by default 1 where there are no CEA-608 captions")
      ->type_name("N")
      ->check(CLI::Range(1, 63))
      ->needs(captions)
      ->excludes(channel);
}

std::vector<WrittenFile> writeStreams(CAMediaFile& file, const ExportOptions& options) {
  const auto request = [&options](const std::string& output) {
    return ExportRequest{options.file, output, options.selection, options.force, options.exact};
  };
  std::vector<WrittenFile> written;
  if (!options.video.empty()) written.push_back({options.video, exportVideo(file, request(options.video))});
  if (!options.audio.empty()) written.push_back({options.audio, exportAudio(file, request(options.audio))});
  if (!options.captions.empty()) {
    exportCaptions(file, {request(options.captions), channelOf(options)});
    written.push_back({options.captions, {}});
  }
  if (!options.picture.empty()) {
    exportPicture(file, request(options.picture));
    written.push_back({options.picture, {}});
  }
  return written;
}

// Whether a name stands for a device or pipe, or for standard output where that is a file.
bool isStream(const std::string& name) {
  std::error_code ignored;
  return !std::filesystem::is_regular_file(vlPath(name), ignored) ||
         std::filesystem::equivalent(vlPath(name), "/dev/stdout", ignored);
}

std::uint64_t sizeOf(const std::string& name) {
  std::error_code ignored;
  return std::filesystem::file_size(vlPath(name), ignored);
}

void reportAsText(const std::vector<WrittenFile>& written) {
  std::string text;
  for (const WrittenFile& file : written) {
    text += (text.empty() ? "" : ", ") + file.name + " (" + std::to_string(sizeOf(file.name)) + " bytes";
    if (file.seconds) text += ", " + clockText(*file.seconds);
    text += ')';
  }
  std::cout << "exported " << text << '\n';
}

void reportAsJson(const std::string& source, const std::vector<WrittenFile>& written) {
  using Json = nlohmann::ordered_json;
  Json files = Json::array();
  for (const WrittenFile& file : written) {
    files.push_back({{"file", file.name}, {"bytes", sizeOf(file.name)}});
    if (file.seconds) files.back()["durationSeconds"] = *file.seconds;
  }
  const Json report = {{"source", source}, {"files", files}};
  std::cout << report.dump(2, ' ', true, Json::error_handler_t::replace) << '\n';
}

bool exportStreams(const Invocation& invocation, const ExportOptions& options) {
  checkDifferent(options);
  const Plugin plugin(invocation.plugin);
  const MediaFile file = plugin.open(options.file);
  const std::vector<WrittenFile> written = writeStreams(*file, options);
  // What goes to standard output stays alone there.
  if (std::any_of(written.begin(), written.end(), [](const auto& each) { return isStream(each.name); }))
    return true;
  if (options.json)
    reportAsJson(options.file, written);
  else
    reportAsText(written);
  return true;
}

}  // namespace

void addExportCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* const command = app.add_subcommand("export", "Write the streams of a file to separate files");
  const auto options = std::make_shared<ExportOptions>();
  command->add_option("FILE", options->file, "The file to read")->required();
  CLI::Option_group* const outputs = command->add_option_group("outputs", "At least one of");
  outputs
      ->add_option("--video", options->video,
                   "Write the video as an elementary stream with start codes (H.264 or HEVC)")
      ->type_name("OUT");
  outputs
      ->add_option(
          "--audio", options->audio,
          "Write the audio of the first track: decoded (.wav), or its access units as they are stored, "
          "with all their channels, AAC as ADTS (.aac) and AC-3 (.ac3). Those are whole: about 21 ms "
          "of AAC and 32 ms of AC-3 at 48 kHz")
      ->type_name("OUT");
  addCaptionOptions(*command, *outputs, *options);
  outputs
      ->add_option("--picture", options->picture,
                   "Write the picture of the first selected frame (.png, .jpg), decoded by the installed "
                   "ffmpeg program")
      ->type_name("OUT.png");
  outputs->require_option(1, 0);
  addFrameSelection(*command, options->selection);
  command->add_flag(
      "--exact", options->exact,
      "Refuse video that cannot be decoded from --from, instead of beginning at the key frame before");
  command->add_flag("-f,--force", options->force, "Replace files that exist");
  command->add_flag("-j,--json", options->json, "Print what was written as JSON");
  command->callback([&invocation, options] {
    invocation.command = [&invocation, options] { return exportStreams(invocation, *options); };
  });
}

}  // namespace fmp4
