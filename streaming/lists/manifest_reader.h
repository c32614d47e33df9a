// The parts of a DASH manifest (ISO/IEC 23009-1) needed to open a file: the video and audio representations,
// their media files and the positions of their segment indexes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/exact_time.h"
#include "streaming/lists/manifest_document.h"

namespace fmp4 {

// One representation, as far as specified.
struct ManifestTrack {
  std::string baseUrl;  // reference to the media file, relative to the manifest; empty if unspecified
  // Whether the representation lists its segments, or specifies its index. The media file then need not be
  // scanned for them.
  bool hasSegmentList = false;
  bool hasSegmentBase = false;
  std::vector<std::uint64_t> indexOffsets;  // file offsets of the segment indexes
  bool hasSegmentFiles = false;             // whether every segment is a separate file

  bool operator==(const ManifestTrack&) const = default;
};

struct Manifest {
  ManifestTrack video;
  ManifestTrack audio;
  FrameRate frameRate;                             // unknown if missing or invalid
  std::optional<std::uint32_t> width;              // pixels
  std::optional<std::uint32_t> height;             // pixels
  std::optional<std::uint32_t> audioSamplingRate;  // Hz

  bool operator==(const Manifest&) const = default;
};

// Reads a manifest from its document and the segments that were taken out of it, `runs`. Returns nullopt if
// the document has no "MPD" with a "Period" and an "AdaptationSet".
std::optional<Manifest> readManifest(const tinyxml2::XMLDocument& document, const SegmentRuns& runs = {});

// Reads the manifest at `path`. Returns nullopt if it cannot be loaded or contains nothing usable.
std::optional<Manifest> readManifestFile(const char* path);

// A frame rate as text, "30000/1001" or "29.97", with any number of decimals; unknown if it is not a number.
// Rounded if 32-bit terms cannot hold it exactly: 24.999999999999996 is 25/1. Independent of the locale.
FrameRate parseFrameRate(const char* text);

}  // namespace fmp4
