// The track IDs of a recording.
#pragma once

#include <cstdint>
#include <optional>

#include "mp4box/movie.h"

namespace fmp4 {

// The track ID is fixed, regardless of which other tracks exist.
constexpr std::uint32_t trackNumber(mp4::TrackKind kind) {
  return static_cast<std::uint32_t>(kind) + 1;
}

// The kind of the track with this ID; nothing if recordings have no such track.
constexpr std::optional<mp4::TrackKind> kindOfTrackNumber(std::uint32_t trackId) {
  for (const mp4::TrackKind kind : mp4::kTrackKinds) {
    if (trackNumber(kind) == trackId) return kind;
  }
  return std::nullopt;
}

}  // namespace fmp4
