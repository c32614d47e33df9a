// The tracks of a movie that the plug-in ignores.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "mp4box/box.h"

namespace fmp4 {

struct OtherTrack {
  std::uint32_t place = 0;  // among the movie's tracks, from 0
  std::uint32_t id = 0;
  std::uint32_t handler = 0;  // "vide", "soun", "subt", ...; 0 when the track has none
  std::uint32_t codec = 0;    // type of the sample entry; 0 when the track has none
  std::string why;            // "AV1 is not supported"
};

// The ignored tracks of the movie below `root`, in file order; none without a "moov". `stream` is the file's.
std::vector<OtherTrack> otherTracks(Mp4Stream& stream, Mp4Box* root);

// The ignored tracks of the files that the plug-in opens for a name.
std::vector<OtherTrack> otherTracksOf(const std::string& name);

// Describes one track: "track 2 (soun, Opus): Opus is not supported".
std::string trackText(const OtherTrack& track);
// Describes all of them, joined by "; ".
std::string trackTexts(const std::vector<OtherTrack>& tracks);

// Why a file has no supported track of a handler ("soun", "vide"), as the text after "has no audio".
std::string whyThereIsNone(const std::string& name, std::uint32_t handler);

}  // namespace fmp4
