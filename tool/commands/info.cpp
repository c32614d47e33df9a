#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "base/text.h"
#include "base/user_error.h"
#include "tool/commands/commands.h"
#include "tool/host/codec_configuration.h"
#include "tool/host/other_tracks.h"
#include "tool/host/plugin_host.h"
#include "tool/host/undecoded_audio.h"

namespace fmp4 {

namespace {

using Json = nlohmann::ordered_json;

struct InfoOptions {
  std::string file;
  bool json = false;
};

// The video description holds the codec's four characters in reverse order.
std::string videoCodecText(std::uint32_t handler) {
  std::string text = fourCcText(handler);
  std::reverse(text.begin(), text.end());
  return text;
}

Json describeVideo(const QVRVIDEO& video) {
  return {{"codec", videoCodecText(video.stream.handler)},
          {"width", video.bitmap.width},
          {"height", std::abs(std::int64_t{video.bitmap.height})},
          {"rate", video.stream.rate},
          {"scale", video.stream.scale},
          {"frames", video.stream.length},
          {"codecConfigurationBytes", codecConfiguration(video).size()}};
}

Json describeAudio(const QVRAUDIO& audio) {
  return {{"codec", fourCcText(audio.codec)},
          {"channels", audio.wave.channels},
          {"sampleRate", audio.wave.samplesPerSecond},
          {"bitsPerSample", audio.wave.bitsPerSample},
          {"samples", audio.stream.length}};
}

double seconds(double units, double unitsPerSecond) {
  return unitsPerSecond > 0 ? units / unitsPerSecond : 0;
}

void getFileInfo(CAMediaFile& file, std::uint32_t channelMask, QVRVIDEO* video, QVRAUDIO* audio,
                 QVRINFO* info) {
  const std::uint32_t status = file.GetFileInfo(channelMask, nullptr, video, audio, info);
  if (status != VL_OK)
    throw UserError("the plug-in gives no description (status " + statusText(status) + ")");
}

Json describe(CAMediaFile& file, const std::string& name) {
  QVRINFO info = {};
  const auto video = std::make_unique<QVRVIDEO>();
  getFileInfo(file, kVideoChannel, video.get(), nullptr, &info);

  Json description = {{"file", name}, {"video", nullptr}, {"audio", Json::array()}};
  double duration = 0;
  const bool hasVideo = file.VidChan() != 0;
  if (hasVideo) {
    description["video"] = describeVideo(*video);
    duration = seconds(double{1} * video->stream.length * video->stream.scale, video->stream.rate);
  }
  // Each stream has some of the channels; the first stream has the lowest.
  for (std::uint32_t channels = file.Channels(); channels != 0;) {
    const std::uint32_t lowest = channels & (~channels + 1);
    QVRAUDIO audio = {};
    getFileInfo(file, lowest, nullptr, &audio, nullptr);
    if (!hasVideo && description["audio"].empty())
      duration = seconds(audio.stream.length, audio.wave.samplesPerSecond);
    description["audio"].push_back(describeAudio(audio));
    channels &= ~(audio.channelMask | lowest);
  }
  description["captions608"] = (info.captions & QVR_CAPTIONS_608) != 0;
  description["captions708"] = (info.captions & QVR_CAPTIONS_708) != 0;
  description["durationSeconds"] = duration;
  return description;
}

// The four characters of a code, null when it is 0.
Json code(std::uint32_t fourCc) {
  return fourCc == 0 ? Json() : Json(fourCcText(fourCc));
}

Json describeTracks(const std::vector<OtherTrack>& tracks) {
  Json list = Json::array();
  for (const OtherTrack& track : tracks)
    list.push_back({{"id", track.id},
                    {"handler", code(track.handler)},
                    {"codec", code(track.codec)},
                    {"why", track.why}});
  return list;
}

// Reports why audio is not decoded.
void addReasons(Json& streams, const std::string& name) {
  const std::vector<std::string> reasons = undecodedAudio(name);
  for (std::size_t i = 0; i < std::min(streams.size(), reasons.size()); ++i)
    if (!reasons[i].empty()) streams[i]["why"] = reasons[i];
}

void printText(const Json& description) {
  std::cout << "file: " << description["file"].get<std::string>() << '\n';
  const Json& video = description["video"];
  if (video.is_null())
    std::cout << "video: none\n";
  else
    std::cout << "video: " << video["codec"].get<std::string>() << ", " << video["width"] << " x "
              << video["height"] << ", " << video["rate"] << '/' << video["scale"] << " frames a second, "
              << video["frames"] << " frames, " << video["codecConfigurationBytes"]
              << " bytes of codec configuration\n";
  const Json& streams = description["audio"];
  if (streams.empty()) std::cout << "audio: none\n";
  for (const Json& audio : streams)
    std::cout << "audio: " << audio["codec"].get<std::string>()
              << (audio.contains("why") ? " (" + audio["why"].get<std::string>() + ")" : "") << ", "
              << audio["channels"] << " channels, " << audio["sampleRate"] << " Hz, "
              << audio["bitsPerSample"] << " bits, " << audio["samples"] << " samples\n";
  const bool has608 = description["captions608"], has708 = description["captions708"];
  std::cout << "captions:" << (has608 ? " CEA-608" : "") << (has708 ? " CEA-708" : "")
            << (has608 || has708 ? "\n" : " none\n")
            << "duration: " << clockText(description["durationSeconds"]) << '\n';
}

bool info(const Invocation& invocation, const InfoOptions& options) {
  const Plugin plugin(invocation.plugin);
  const MediaFile file = plugin.open(options.file);
  Json description = describe(*file, options.file);
  addReasons(description["audio"], options.file);
  const std::vector<OtherTrack> others = otherTracksOf(options.file);
  if (options.json) {
    description["otherTracks"] = describeTracks(others);
    std::cout << description.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
  } else {
    printText(description);
    for (const OtherTrack& track : others) std::cout << "not read: " << trackText(track) << '\n';
  }
  return true;
}

}  // namespace

void addInfoCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* const command = app.add_subcommand("info", "Print the plug-in's description of a file");
  const auto options = std::make_shared<InfoOptions>();
  command->add_option("FILE", options->file, "The file to describe")->required();
  command->add_flag("-j,--json", options->json, "Print JSON");
  command->callback([&invocation, options] {
    invocation.command = [&invocation, options] { return info(invocation, *options); };
  });
}

}  // namespace fmp4
