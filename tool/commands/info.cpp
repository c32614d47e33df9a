#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>
#include <vector>

#include "base/text.h"
#include "base/user_error.h"
#include "tool/commands/commands.h"
#include "tool/commands/info_facts.h"
#include "tool/host/codec_configuration.h"
#include "tool/host/input_names.h"
#include "tool/host/media_tracks.h"
#include "tool/host/movie_file.h"
#include "tool/host/other_tracks.h"
#include "tool/host/plugin_host.h"
#include "tool/host/undecoded_audio.h"
#include "tool/host/watched_files.h"

namespace fmp4 {

namespace {

using Json = nlohmann::ordered_json;

struct InfoOptions {
  std::vector<std::string> names;
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

// A duration as an exact fraction: units, of which a second has some.
struct Duration {
  std::uint64_t ticks = 0;
  std::uint32_t timescale = 0;

  double seconds() const { return timescale != 0 ? static_cast<double>(ticks) / timescale : 0; }
};

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
  Duration duration;
  const bool hasVideo = file.VidChan() != 0;
  if (hasVideo) {
    description["video"] = describeVideo(*video);
    duration = {std::uint64_t{video->stream.length} * video->stream.scale, video->stream.rate};
  }
  // Each stream has some of the channels; the first stream has the lowest.
  for (std::uint32_t channels = file.Channels(); channels != 0;) {
    const std::uint32_t lowest = channels & (~channels + 1);
    QVRAUDIO audio = {};
    getFileInfo(file, lowest, nullptr, &audio, nullptr);
    if (!hasVideo && description["audio"].empty())
      duration = {audio.stream.length, audio.wave.samplesPerSecond};
    description["audio"].push_back(describeAudio(audio));
    channels &= ~(audio.channelMask | lowest);
  }
  description["captions608"] = (info.captions & QVR_CAPTIONS_608) != 0;
  description["captions708"] = (info.captions & QVR_CAPTIONS_708) != 0;
  description["durationSeconds"] = duration.seconds();
  description["durationTicks"] = duration.ticks;
  description["timescale"] = duration.timescale;
  return description;
}

// The four characters of a code, null when it is 0.
Json code(std::uint32_t fourCc) {
  return fourCc == 0 ? Json() : Json(fourCcText(fourCc));
}

// A text, null when it is empty; a number, null when it is not known.
Json known(const std::string& text) {
  return text.empty() ? Json() : Json(text);
}
Json known(const std::optional<std::uint64_t>& number) {
  return number ? Json(*number) : Json();
}

Json describeTrack(const MediaTrack& track) {
  Json json = {{"file", track.file},
               {"id", track.id},
               {"handler", code(track.handler)},
               {"codec", code(track.codec)},
               {"codecName", known(track.codecName)},
               {"profile", known(track.profile)},
               {"level", known(track.level)},
               {"language", known(track.language)}};
  if (track.width != 0) {
    json["width"] = track.width;
    json["height"] = track.height;
  }
  if (track.sampleRate != 0) {
    json["channels"] = track.layout.channels;
    json["channelLayout"] = known(track.layout.name);
    json["sampleRate"] = track.sampleRate;
  }
  json["bitRate"] = known(track.bitRate());
  json["samples"] = known(track.samples);
  json["durationSeconds"] = track.samples ? Json(track.seconds()) : Json();
  json["durationTicks"] = track.samples ? Json(track.durationTicks) : Json();
  json["timescale"] = track.timescale;
  json["read"] = track.read;
  if (!track.why.empty()) json["why"] = track.why;
  return json;
}

Json describeTracks(const std::vector<MediaTrack>& tracks) {
  Json list = Json::array();
  for (const MediaTrack& track : tracks) list.push_back(describeTrack(track));
  return list;
}

Json describeOtherTracks(const std::vector<OtherTrack>& tracks) {
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

struct Description {
  Json json;
  std::vector<MediaTrack> tracks;
  InfoFacts facts;
};

Description describeFile(const Plugin& plugin, const std::string& name) {
  WatchedFiles files(name);
  const MediaFile file = plugin.open(name);
  Description description{describe(*file, name), mediaTracks(name, files), InfoFacts(files.names())};
  addReasons(description.json["audio"], name);
  description.facts.addTo(description.json);
  description.json["otherTracks"] = describeOtherTracks(otherTracksOf(name));
  description.json["tracks"] = describeTracks(description.tracks);
  description.facts.addToTracks(description.json["tracks"]);
  return description;
}

// Each track on a line, with its file where there are two.
void printTracks(const Description& description) {
  const std::vector<MediaTrack>& tracks = description.tracks;
  for (std::size_t i = 0; i < tracks.size(); ++i) {
    std::cout << mediaTrackText(tracks[i]) << description.facts.trackText(i);
    if (tracks.front().file != tracks.back().file) std::cout << " (" << tracks[i].file << ')';
    std::cout << '\n';
  }
}

void printJson(const Json& json) {
  std::cout << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

void describeOne(const Plugin& plugin, const std::string& name, bool json) {
  const Description description = describeFile(plugin, name);
  if (json) return printJson(description.json);
  printText(description.json);
  std::cout << description.facts.text();
  printTracks(description);
}

// Describes all that can be, and says of the others why not. Returns whether all could.
bool describeMany(const Plugin& plugin, const std::vector<std::string>& names, bool json) {
  Json list = Json::array();
  bool all = true, first = true;
  for (const std::string& name : names) {
    if (!json && !std::exchange(first, false)) std::cout << '\n';
    try {
      if (json)
        list.push_back(describeFile(plugin, name).json);
      else
        describeOne(plugin, name, false);
    } catch (const UserError& error) {
      all = false;
      if (json)
        list.push_back({{"file", name}, {"error", error.what()}});
      else
        std::cout << "file: " << name << "\nerror: " << error.what() << '\n';
    }
  }
  if (json) printJson(list);
  return all;
}

bool info(const Invocation& invocation, const InfoOptions& options) {
  const Plugin plugin(invocation.plugin);
  const std::vector<std::string> names = inputNames(options.names);
  // A folder is a list, however many files it has.
  if (names != options.names || names.size() != 1) return describeMany(plugin, names, options.json);
  describeOne(plugin, names.front(), options.json);
  return true;
}

}  // namespace

void addInfoCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* const command = app.add_subcommand("info", "Describe files and their tracks");
  const auto options = std::make_shared<InfoOptions>();
  command->add_option("FILE", options->names, "The files to describe, and folders of files")->required();
  command->add_flag("-j,--json", options->json, "Print JSON: an object, or an array for several files");
  command->callback([&invocation, options] {
    invocation.command = [&invocation, options] { return info(invocation, *options); };
  });
}

}  // namespace fmp4
