#include "recording/check/existing_lists.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "base/text.h"
#include "base/user_error.h"
#include "os/path_name.h"
#include "streaming/lists/manifest_document.h"
#include "streaming/lists/manifest_reader.h"
#include "streaming/lists/uri.h"

namespace fmp4 {

namespace {

using tinyxml2::XMLElement;

template <class Number>
std::optional<Number> numberOf(const char* text) {
  const std::string_view digits(text ? text : "");
  Number value{};
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (digits.empty() || error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return value;
}

// The text if it can be a date and time: it is written into manifest and playlists again.
std::string dateTime(std::string_view text) {
  constexpr std::string_view kCharacters = "0123456789TZ:.+-";
  return text.size() <= 40 && text.find_first_not_of(kCharacters) == text.npos ? std::string(text) : "";
}

const XMLElement* representationOf(const XMLElement* set) {
  return set ? set->FirstChildElement("Representation") : nullptr;
}

const XMLElement* segmentListOf(const XMLElement* set) {
  const XMLElement* const representation = representationOf(set);
  return representation ? representation->FirstChildElement("SegmentList") : nullptr;
}

void requireGood(const std::ifstream& file, const std::string& path) {
  if (!file.bad()) return;
  throw UserError("'" + path + "' could not be read; check the disk or the connection to it, then try again");
}

}  // namespace

std::optional<std::string> readList(const std::string& path) {
  std::error_code error;
  const auto size = std::filesystem::file_size(vlPath(path), error);
  if (error || size > kMaxManifestBytes) return std::nullopt;
  std::ifstream file(vlPath(path), std::ios::binary);
  std::string text(static_cast<std::size_t>(size), '\0');
  file.read(text.data(), static_cast<std::streamsize>(size));
  requireGood(file, path);
  if (!file) return std::nullopt;
  return text;
}

std::optional<PreviousManifest> readPreviousManifest(const std::string& path,
                                                     std::uint64_t initialisationLength) {
  tinyxml2::XMLDocument document;
  const std::optional<std::string> text = readList(path);
  if (!text || !parseManifestDocument(*text, document)) return std::nullopt;
  const XMLElement* const mpd = document.FirstChildElement("MPD");
  const XMLElement* const period = mpd ? mpd->FirstChildElement("Period") : nullptr;
  const XMLElement* const videoSet = period ? period->FirstChildElement("AdaptationSet") : nullptr;
  const XMLElement* const list = segmentListOf(videoSet);
  const XMLElement* const initialisation = list ? list->FirstChildElement("Initialization") : nullptr;
  const std::string range = "0-" + std::to_string(initialisationLength - 1);
  if (!initialisation || !initialisation->Attribute("range", range.c_str())) return std::nullopt;
  const XMLElement* const audioSet = videoSet->NextSiblingElement("AdaptationSet");
  const XMLElement* const audio = representationOf(audioSet);
  const char* const time = mpd->Attribute("availabilityStartTime");
  PreviousManifest previous;
  previous.startTime = dateTime(time ? time : "");
  previous.placesAudio = audioSet != nullptr;
  previous.videoSegmentTicks = numberOf<std::uint64_t>(list->Attribute("duration"));
  if (const XMLElement* const audioList = segmentListOf(audioSet)) {
    previous.audioSegmentTicks = numberOf<std::uint64_t>(audioList->Attribute("duration"));
    for (const XMLElement* segment = audioList->FirstChildElement("SegmentURL"); segment;
         segment = segment->NextSiblingElement("SegmentURL"))
      ++previous.audioSegments;
  }
  const auto bitRate = numberOf<std::uint64_t>(audio ? audio->Attribute("bandwidth") : nullptr);
  if (bitRate && *bitRate / 8 <= 0xFFFFFFFFu)
    previous.audioByteRate = static_cast<std::uint32_t>(*bitRate / 8);
  return previous;
}

std::optional<std::string> firstMediaOf(const std::string& manifest) {
  const auto read = readManifestFile(manifest.c_str());
  return read ? std::optional(nameOfUri(read->video.baseUrl)) : std::nullopt;
}

std::optional<PreviousPlaylist> readPreviousPlaylist(const std::string& path, const std::string& mediaName,
                                                     std::uint64_t initialisationLength) {
  const std::string map = "#EXT-X-MAP:URI=\"" + uriOfName(mediaName) + "\",BYTERANGE=\"" +
                          std::to_string(initialisationLength) + "@0\"";
  constexpr std::string_view kTarget = "#EXT-X-TARGETDURATION:", kTime = "#EXT-X-PROGRAM-DATE-TIME:";
  constexpr int kHeaderLines = 7;
  std::ifstream file(vlPath(path));
  PreviousPlaylist previous;
  bool mapped = false;
  std::string line;
  for (int i = 0; i < kHeaderLines && std::getline(file, line); ++i) {
    if (line.ends_with('\r')) line.pop_back();  // Windows line end
    if (line == map) mapped = true;
    if (line.starts_with(kTarget)) previous.targetDuration = numberOf<std::uint32_t>(&line[kTarget.size()]);
    if (line.starts_with(kTime)) previous.startTime = dateTime(std::string_view(line).substr(kTime.size()));
  }
  requireGood(file, path);
  return mapped ? std::optional(previous) : std::nullopt;
}

std::uint64_t segmentsListed(const std::string& playlist, const std::string& mediaName) {
  const std::string text = plainLines(readList(playlist).value_or("")), uri = uriOfName(mediaName);
  std::uint64_t segments = 0;
  for (std::string_view rest = text; !rest.empty();) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    segments += line == uri;
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
  }
  return segments;
}

}  // namespace fmp4
