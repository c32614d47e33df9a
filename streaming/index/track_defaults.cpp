#include "streaming/index/track_defaults.h"

#include "mp4box/box_type.h"

namespace fmp4 {

TrackDefaults readTrackDefaults(Mp4Box* movie) {
  TrackDefaults defaults;
  const Mp4Box* const extends = Mp4BoxChild(movie, box_type::kMvex);
  for (const Mp4Box* child = extends ? extends->first : nullptr; child; child = child->next) {
    if (const auto* trex = Mp4PayloadOf<mp4::TrackExtendsBox>(child)) defaults.emplace(trex->trackId, trex);
  }
  return defaults;
}

const mp4::TrackExtendsBox* defaultsOfTrack(const TrackDefaults& defaults, std::uint32_t trackId) {
  const auto found = defaults.find(trackId);
  return found == defaults.end() ? nullptr : found->second;
}

}  // namespace fmp4
