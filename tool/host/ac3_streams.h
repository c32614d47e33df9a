// What AC-3 tracks say of their sound: mode, service and loudness.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tool/host/movie_file.h"

namespace fmp4 {

struct Ac3Stream {
  std::string mode;     // channels in front and behind, "3/2"; "1+1" of two programmes
  bool lfe = false;     // whether there is a low-frequency channel
  std::string service;  // "complete main"
  // Loudness of dialogue in dB below full scale, -31 to -1; of the first programme. Nothing when it is not
  // known.
  std::optional<int> dialnorm;
};

// Of the beginning of an AC-3 frame (ATSC A/52, 5.3). Nothing when it does not begin with one.
std::optional<Ac3Stream> ac3StreamOfFrame(std::span<const std::uint8_t> frame);

// Of each track of the files, in the order of mediaTracks(); nothing for tracks that are not AC-3. Read from
// a track's first frame; where that cannot be read, from its sample entry, which does not have the loudness.
std::vector<std::optional<Ac3Stream>> ac3Streams(const OpenedFiles& files);

// "3/2 with LFE, complete main, dialogue at -27 dB".
std::string ac3StreamText(const Ac3Stream& stream);

}  // namespace fmp4
