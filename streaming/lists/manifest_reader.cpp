#include "streaming/lists/manifest_reader.h"

#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>

#include "base/letter_case.h"
#include "streaming/lists/attribute_text.h"

namespace fmp4 {

using tinyxml2::XMLElement;

namespace {

// An element and its parent, whose attributes serve as defaults.
struct Selected {
  const XMLElement* set = nullptr;
  const XMLElement* representation = nullptr;

  // The value of the first of the two that has the attribute.
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
  return mimeType && equalsIgnoringCase(mimeType, type);
}

// Selects the representations that specify their own type.
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
      // Intended (quirk 13), although it looks reversed: a set with the type "video/mp4" is read as the
      // audio, any other type as the video, and no further set is examined.
      Selected& selected = isType(mimeType, "video/mp4") ? selection.audio : selection.video;
      selected = {set, set->FirstChildElement("Representation")};
      break;
    }
    selectByRepresentation(set, selection);
    if (selection.video.representation && selection.audio.representation) break;
  }
  return selection;
}

std::optional<std::uint32_t> wholeNumberOf(const char* text) {
  return text ? wholeNumber<std::uint32_t>(text) : std::nullopt;
}

void addIndexOffset(const XMLElement* element, ManifestTrack& track) {
  const char* range = element->Attribute("indexRange");
  if (const auto offset = range ? startOfRange(range) : std::nullopt) track.indexOffsets.push_back(*offset);
}

// Whether segments are separate files, given individually or by a template, rather than ranges of one file.
bool namesSegmentFiles(const XMLElement* element) {
  if (!element) return false;
  if (element->FirstChildElement("SegmentTemplate")) return true;
  const XMLElement* list = element->FirstChildElement("SegmentList");
  const XMLElement* url = list ? list->FirstChildElement("SegmentURL") : nullptr;
  return url && url->Attribute("media");
}

ManifestTrack readTrack(const Selected& selected, const SegmentRuns& runs) {
  ManifestTrack track;
  const XMLElement* representation = selected.representation;
  if (!representation) return track;
  track.hasSegmentFiles = namesSegmentFiles(representation) || namesSegmentFiles(selected.set);
  if (const XMLElement* base = representation->FirstChildElement("BaseURL")) {
    if (const char* text = base->GetText()) track.baseUrl = trimmed(text);
  }
  const XMLElement* list = representation->FirstChildElement("SegmentList");
  const XMLElement* base = representation->FirstChildElement("SegmentBase");
  track.hasSegmentList = list != nullptr;
  track.hasSegmentBase = base != nullptr;
  if (list) {
    for (const XMLElement* url = list->FirstChildElement("SegmentURL"); url;
         url = url->NextSiblingElement("SegmentURL")) {
      addIndexOffset(url, track);
      const auto run = runs.after(url->GetLineNum());
      track.indexOffsets.insert(track.indexOffsets.end(), run.begin(), run.end());
    }
  } else if (base) {
    addIndexOffset(base, track);
  }
  return track;
}

// n / d as a fraction of 32-bit numbers: exact if possible, otherwise the last convergent of its continued
// fraction that fits, so that 29.97002997002997 becomes 30000/1001. Unknown if it exceeds 32 bits or d is 0.
FrameRate fractionOf(std::uint64_t n, std::uint64_t d) {
  std::uint64_t numerator = 1, denominator = 0, previousNumerator = 0, previousDenominator = 1;
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint32_t>::max();
  while (d != 0 && n / d <= kMax) {  // all products fit 64 bits
    const std::uint64_t nextNumerator = n / d * numerator + previousNumerator;
    const std::uint64_t nextDenominator = n / d * denominator + previousDenominator;
    if (std::max(nextNumerator, nextDenominator) > kMax) break;
    previousNumerator = std::exchange(numerator, nextNumerator);
    previousDenominator = std::exchange(denominator, nextDenominator);
    n = std::exchange(d, n % d);
  }
  if (numerator == 0 || denominator == 0) return {};
  return {static_cast<std::uint32_t>(numerator), static_cast<std::uint32_t>(denominator)};
}

// A decimal number as a fraction: "29.97" is 2997/100. Unknown if it is not a number or 0.
FrameRate decimalNumber(std::string_view text) {
  // With one more digit the terms of the fraction still fit 64 bits; further decimals do not matter.
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max() / 10 - 1;
  text = trimmed(text);
  const std::size_t point = text.find('.');
  const std::string_view decimals = point == text.npos ? std::string_view() : text.substr(point + 1);
  const std::string_view integer = text.substr(0, point);
  const auto integral = integer.empty() && !decimals.empty() ? 0 : wholeNumber<std::uint32_t>(integer);
  if (!integral || decimals.find_first_not_of("0123456789") != decimals.npos) return {};
  std::uint64_t numerator = *integral, denominator = 1;
  for (const char digit : decimals) {
    if (numerator > kMax || denominator > kMax) break;
    numerator = numerator * 10 + static_cast<unsigned>(digit - '0');
    denominator *= 10;
  }
  return fractionOf(numerator, denominator);
}

}  // namespace

FrameRate parseFrameRate(const char* text) {
  if (!text) return {};
  const std::string_view all(text);
  const std::size_t slash = all.find('/');
  const FrameRate first = decimalNumber(all.substr(0, slash));
  const FrameRate second = slash == all.npos ? FrameRate{1, 1} : decimalNumber(all.substr(slash + 1));
  return fractionOf(std::uint64_t{first.numerator} * second.denominator,
                    std::uint64_t{first.denominator} * second.numerator);
}

std::optional<Manifest> readManifest(const tinyxml2::XMLDocument& document, const SegmentRuns& runs) {
  const XMLElement* root = document.FirstChildElement("MPD");
  const XMLElement* period = root ? root->FirstChildElement("Period") : nullptr;
  if (!period || !period->FirstChildElement("AdaptationSet")) return std::nullopt;
  const Selection selection = select(period);
  Manifest manifest;
  manifest.video = readTrack(selection.video, runs);
  manifest.audio = readTrack(selection.audio, runs);
  manifest.frameRate = parseFrameRate(selection.video.attribute("frameRate"));
  manifest.width = wholeNumberOf(selection.video.attribute("width"));
  manifest.height = wholeNumberOf(selection.video.attribute("height"));
  manifest.audioSamplingRate = wholeNumberOf(selection.audio.attribute("audioSamplingRate"));
  if (!manifest.audioSamplingRate) {
    manifest.audioSamplingRate = wholeNumberOf(selection.audio.attribute("sampleRate"));
  }
  return manifest;
}

std::optional<Manifest> readManifestFile(const char* path) {
  tinyxml2::XMLDocument document;
  SegmentRuns runs;
  return loadManifestDocument(path, document, runs) ? readManifest(document, runs) : std::nullopt;
}

}  // namespace fmp4
