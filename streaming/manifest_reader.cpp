#include "manifest_reader.h"

#include <strings.h>

#include <charconv>
#include <cstring>
#include <numeric>
#include <string_view>

using tinyxml2::XMLElement;

namespace {

// An element and the one around it whose attributes stand in for it.
struct Selected {
  const XMLElement* set = nullptr;
  const XMLElement* representation = nullptr;

  // The first of the two that has the attribute decides.
  const char* attribute(const char* name) const {
    for (const XMLElement* element : {representation, set}) {
      if (const char* value = element ? element->Attribute(name) : nullptr) return value;
    }
    return nullptr;
  }
};

struct Selection {
  Selected video;
  Selected audio;
};

bool isType(const char* mimeType, const char* type) {
  return mimeType && strcasecmp(mimeType, type) == 0;
}

// Takes the representations that tell their own type.
void selectByRepresentation(const XMLElement* set, Selection& selection) {
  for (const XMLElement* representation = set->FirstChildElement("Representation"); representation;
       representation = representation->NextSiblingElement("Representation")) {
    const char* mimeType = representation->Attribute("mimeType");
    if (!selection.video.representation && isType(mimeType, "video/mp4"))
      selection.video = {set, representation};
    if (!selection.audio.representation && isType(mimeType, "audio/mp4"))
      selection.audio = {set, representation};
  }
}

Selection select(const XMLElement* period) {
  Selection selection;
  for (const XMLElement* set = period->FirstChildElement("AdaptationSet"); set;
       set = set->NextSiblingElement("AdaptationSet")) {
    if (const char* mimeType = set->Attribute("mimeType")) {
      // Intended, reversed as it looks: a set that says "video/mp4" of itself is read as the sound, any other
      // as the picture, and no further set is looked at.
      Selected& selected = isType(mimeType, "video/mp4") ? selection.audio : selection.video;
      selected = {set, set->FirstChildElement("Representation")};
      break;
    }
    selectByRepresentation(set, selection);
    if (selection.video.representation && selection.audio.representation) break;
  }
  return selection;
}

template <class Number>
std::optional<Number> wholeNumber(std::string_view text) {
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::optional<std::uint32_t> wholeNumberOf(const char* text) {
  return text ? wholeNumber<std::uint32_t>(text) : std::nullopt;
}

// The offset that a byte range starts with: "1234" of "1234-5678".
void addIndexOffset(const XMLElement* element, ManifestTrack& track) {
  const char* range = element->Attribute("indexRange");
  if (!range) return;
  const std::string_view text(range);
  if (const auto offset = wholeNumber<std::uint64_t>(text.substr(0, text.find('-')))) {
    track.indexOffsets.push_back(*offset);
  }
}

ManifestTrack readTrack(const XMLElement* representation) {
  ManifestTrack track;
  if (!representation) return track;
  if (const XMLElement* base = representation->FirstChildElement("BaseURL")) {
    if (const char* text = base->GetText()) track.baseUrl = text;
  }
  const XMLElement* list = representation->FirstChildElement("SegmentList");
  const XMLElement* base = representation->FirstChildElement("SegmentBase");
  track.hasSegmentList = list != nullptr;
  track.hasSegmentBase = base != nullptr;
  if (list) {
    for (const XMLElement* url = list->FirstChildElement("SegmentURL"); url;
         url = url->NextSiblingElement("SegmentURL")) {
      addIndexOffset(url, track);
    }
  } else if (base) {
    addIndexOffset(base, track);
  }
  return track;
}

// A number with decimals as a fraction: "29.97" is 2997/100. Unknown when it is none, or needs more digits
// than 32 bits hold.
std::optional<FrameRate> decimalNumber(std::string_view text) {
  const std::size_t point = text.find('.');
  std::string digits(text.substr(0, point));
  std::uint64_t denominator = 1;
  if (point != text.npos) {
    const std::string_view decimals = text.substr(point + 1);
    if (decimals.size() > 9) return std::nullopt;
    digits += decimals;
    for (std::size_t i = 0; i < decimals.size(); ++i) denominator *= 10;
  }
  const auto numerator = wholeNumber<std::uint64_t>(digits);
  if (!numerator) return std::nullopt;
  const std::uint64_t common = std::gcd(*numerator, denominator);
  const std::uint64_t n = *numerator / common, d = denominator / common;
  if (n > 0xFFFFFFFFu) return std::nullopt;
  return FrameRate{static_cast<std::uint32_t>(n), static_cast<std::uint32_t>(d)};
}

}  // namespace

FrameRate ParseFrameRate(const char* text) {
  if (!text) return {};
  const std::string_view whole(text);
  const std::size_t slash = whole.find('/');
  const auto first = decimalNumber(whole.substr(0, slash));
  const auto second = slash == whole.npos ? FrameRate{1, 1} : decimalNumber(whole.substr(slash + 1));
  if (!first || !second) return {};
  const std::uint64_t numerator = std::uint64_t{first->numerator} * second->denominator;
  const std::uint64_t denominator = std::uint64_t{first->denominator} * second->numerator;
  if (numerator == 0 || denominator == 0) return {};
  const std::uint64_t common = std::gcd(numerator, denominator);
  if (numerator / common > 0xFFFFFFFFu || denominator / common > 0xFFFFFFFFu) return {};
  return {static_cast<std::uint32_t>(numerator / common), static_cast<std::uint32_t>(denominator / common)};
}

std::optional<Manifest> ReadManifest(const tinyxml2::XMLDocument& document) {
  const XMLElement* root = document.FirstChildElement("MPD");
  const XMLElement* period = root ? root->FirstChildElement("Period") : nullptr;
  if (!period || !period->FirstChildElement("AdaptationSet")) return std::nullopt;
  const Selection selection = select(period);
  Manifest manifest;
  manifest.video = readTrack(selection.video.representation);
  manifest.audio = readTrack(selection.audio.representation);
  manifest.frameRate = ParseFrameRate(selection.video.attribute("frameRate"));
  manifest.width = wholeNumberOf(selection.video.attribute("width"));
  manifest.height = wholeNumberOf(selection.video.attribute("height"));
  manifest.audioSamplingRate = wholeNumberOf(selection.audio.attribute("audioSamplingRate"));
  if (!manifest.audioSamplingRate) {
    manifest.audioSamplingRate = wholeNumberOf(selection.audio.attribute("sampleRate"));
  }
  return manifest;
}
