#include "tool/viewer/file_description.h"

#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "base/text.h"
#include "base/user_error.h"
#include "mp4box/box.h"
#include "tool/host/host_log.h"
#include "tool/host/left_out_samples.h"
#include "tool/host/movie_file.h"
#include "tool/host/other_tracks.h"
#include "tool/host/refusal_reason.h"
#include "tool/host/undecoded_audio.h"
#include "tool/viewer/codecs_parameter.h"

namespace fmp4 {

namespace {

using Json = nlohmann::ordered_json;

// `text` without the folder that the server knows and the page does not ask about.
std::string withoutFolder(std::string text, const std::string& file, const std::string& name) {
  for (std::size_t at = text.find(file); at != text.npos; at = text.find(file, at + name.size()))
    text.replace(at, file.size(), name);
  return text;
}

void getInfo(CAMediaFile& file, std::uint32_t channel, QVRVIDEO* video, QVRAUDIO* audio, QVRINFO* info) {
  if (const std::uint32_t status = file.GetFileInfo(channel, nullptr, video, audio, info); status != VL_OK)
    throw UserError("the plug-in gives no description (status " + statusText(status) + ")");
}

Json videoOf(const QVRVIDEO& video) {
  return {{"width", video.bitmap.width},
          {"height", std::abs(std::int64_t{video.bitmap.height})},
          {"rate", video.stream.rate},
          {"scale", video.stream.scale},
          {"frames", video.stream.length}};
}

// The audio streams; `seconds`: the duration of the first.
Json audioOf(CAMediaFile& file, double& seconds) {
  Json streams = Json::array();
  for (std::uint32_t channels = file.Channels(); channels != 0;) {
    const std::uint32_t lowest = channels & (~channels + 1);
    QVRAUDIO audio = {};
    getInfo(file, lowest, nullptr, &audio, nullptr);
    const std::uint32_t rate = audio.wave.samplesPerSecond;
    if (streams.empty() && rate != 0) seconds = static_cast<double>(audio.stream.length) / rate;
    streams.push_back(
        {{"codec", fourCcText(audio.codec)}, {"channels", audio.wave.channels}, {"sampleRate", rate}});
    channels &= ~(audio.channelMask | lowest);
  }
  return streams;
}

// Sentences about what of the file is not read.
Json warningsOf(const std::string& file) {
  Json warnings = Json::array();
  for (const OtherTrack& track : otherTracksOf(file))
    warnings.push_back(trackText(track) + "; it is not read");
  std::size_t number = 0;
  for (const std::string& why : undecodedAudio(file)) {
    ++number;
    if (!why.empty()) warnings.push_back("audio " + std::to_string(number) + " is not decoded: " + why);
  }
  if (const std::string left = leftOutSamples(file); !left.empty()) warnings.push_back(left);
  return warnings;
}

// Whether fragments state their decode times, without which players cannot place them.
bool statesTimes(const std::string& media) {
  MovieFile file(media);
  return file.isOpen() && Mp4BoxGet(&file.stream(), file.root(), false, "moof/traf/tfdt") != nullptr;
}

Json describeOpened(CAMediaFile& opened, const std::string& file) {
  Json json = {{"accepted", true}, {"video", nullptr}, {"audio", Json::array()}};
  const auto video = std::make_unique<QVRVIDEO>();
  QVRINFO info = {};
  double seconds = 0;
  getInfo(opened, kVideoChannel, video.get(), nullptr, &info);
  json["audio"] = audioOf(opened, seconds);
  if (opened.VidChan() != 0) {
    json["video"] = videoOf(*video);
    const double rate = video->stream.rate;
    seconds = rate > 0 ? static_cast<double>(video->stream.length) * video->stream.scale / rate : 0;
  }
  json["durationSeconds"] = seconds;
  json["captions608"] = (info.captions & QVR_CAPTIONS_608) != 0;
  json["captions708"] = (info.captions & QVR_CAPTIONS_708) != 0;
  json["codecs"] = codecsOf(file);
  json["statesTimes"] = statesTimes(openedFiles(file).media);
  return json;
}

Json refusal(const std::string& file, const std::string& text) {
  const auto trouble = openTrouble(file);
  Json json = {{"accepted", false}, {"code", trouble ? Json(trouble->code) : Json()}, {"why", text}};
  if (trouble && std::string(trouble->code) == "not-fragmented") json["command"] = packagingCommand(file);
  return json;
}

}  // namespace

std::string fileDescription(const Plugin& plugin, const std::string& file, const std::string& name) {
  const HeldLog log;
  Json json;
  try {
    const MediaFile opened = plugin.openQuietly(file);
    json = describeOpened(*opened, file);
  } catch (const UserError& error) {
    json = refusal(file, withoutFolder(error.what(), file, name));
  }
  json["warnings"] = Json::array();
  if (json["accepted"] == true)
    for (const Json& warning : warningsOf(file))
      json["warnings"].push_back(withoutFolder(warning.get<std::string>(), file, name));
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace fmp4
