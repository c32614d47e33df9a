// The values that a movie sets for the samples of its tracks' fragments ("trex").
#pragma once

#include <cstdint>
#include <map>

#include "mp4box/box.h"
#include "mp4box/boxes/trex.h"

// By track ID. The boxes belong to the tree.
using TrackDefaults = std::map<std::uint32_t, const mp4::TrackExtendsBox*>;

// Those of a "moov", the first of each track counting; none for null.
TrackDefaults ReadTrackDefaults(Mp4Box* movie);
