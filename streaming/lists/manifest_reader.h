// What of a DASH manifest (ISO/IEC 23009-1) an open needs: which representation is the picture and which the
// sound, where their media are, and where their segment indexes stand.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/exact_time.h"
#include "streaming/lists/manifest_document.h"

// One representation, as far as it says.
struct ManifestTrack {
  std::string baseUrl;  // the reference to the media beside the manifest; empty when not given
  // Whether the representation lists its segments, or names its index. Then the media file need not be
  // searched for them.
  bool hasSegmentList = false;
  bool hasSegmentBase = false;
  std::vector<std::uint64_t> indexOffsets;  // file offsets of the segment indexes named
  bool hasSegmentFiles = false;             // whether every segment is a file of its own
};

struct Manifest {
  ManifestTrack video;
  ManifestTrack audio;
  FrameRate frameRate;                             // unknown when not given or no number
  std::optional<std::uint32_t> width;              // pixels
  std::optional<std::uint32_t> height;             // pixels
  std::optional<std::uint32_t> audioSamplingRate;  // Hz
};

// Reads a manifest. None when the document has no "MPD" with a "Period" and an "AdaptationSet".
std::optional<Manifest> ReadManifest(const tinyxml2::XMLDocument& document);

// A frame rate as text, "30000/1001" or "29.97", with any number of decimals; unknown when it is no number.
// What 32-bit terms cannot hold exactly is rounded: 24.999999999999996 is 25/1. Independent of the locale.
FrameRate ParseFrameRate(const char* text);
