// The movie's default values for the samples of track fragments ("trex").
#pragma once

#include <cstdint>
#include <map>

#include "mp4box/box.h"
#include "mp4box/boxes/trex.h"

namespace fmp4 {

// By track ID. The boxes are owned by the tree.
using TrackDefaults = std::map<std::uint32_t, const mp4::TrackExtendsBox*>;

// The defaults in a "moov", the first per track; empty for null.
TrackDefaults readTrackDefaults(Mp4Box* movie);

// Those of one track; null when it has none.
const mp4::TrackExtendsBox* defaultsOfTrack(const TrackDefaults& defaults, std::uint32_t trackId);

}  // namespace fmp4
