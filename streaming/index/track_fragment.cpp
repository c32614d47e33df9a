#include "streaming/index/track_fragment.h"

#include <algorithm>

#include "mp4box/box_type.h"

namespace fmp4 {

namespace {

// The `tfhd` that assigns `traf` to the track, or null.
const Mp4Box* acceptingHeader(const Mp4Box* traf, std::uint32_t trackId) {
  for (const Mp4Box* child = traf->first; child; child = child->next) {
    if (child->type != box_type::kTfhd) continue;
    const auto* header = Mp4PayloadOf<mp4::TrackFragmentHeaderBox>(child);
    if (!header) return nullptr;
    // Intended (quirk 14): nothing follows that could distinguish tracks, so the header is accepted for any
    // track.
    if (!child->next) return child;
    if (header->trackId == trackId) return child;
  }
  return nullptr;
}

}  // namespace

SampleDefaults::SampleDefaults(const mp4::TrackFragmentHeaderBox* tfhd, const mp4::TrackExtendsBox* trex) {
  if (trex) {
    duration = trex->defaultSampleDuration;
    size = trex->defaultSampleSize;
    flags = trex->defaultSampleFlags;
  }
  if (tfhd) {
    if (tfhd->flags & mp4::TrackFragmentHeaderBox::kDefaultSampleDuration)
      duration = tfhd->defaultSampleDuration;
    if (tfhd->flags & mp4::TrackFragmentHeaderBox::kDefaultSampleSize) size = tfhd->defaultSampleSize;
    if (tfhd->flags & mp4::TrackFragmentHeaderBox::kDefaultSampleFlags) flags = tfhd->defaultSampleFlags;
  }
}

Mp4Box* findTrackFragment(const Mp4Box* moof, std::uint32_t trackId) {
  for (Mp4Box* child = moof->first; child; child = child->next) {
    if (child->type == box_type::kTraf && acceptingHeader(child, trackId)) return child;
  }
  return nullptr;
}

const mp4::TrackFragmentHeaderBox* trackFragmentHeader(const Mp4Box* traf, std::uint32_t trackId) {
  return Mp4PayloadOf<mp4::TrackFragmentHeaderBox>(acceptingHeader(traf, trackId));
}

const mp4::TrackRunBox* trackRun(const Mp4Box* child) {
  return child->type == box_type::kTrun ? Mp4PayloadOf<mp4::TrackRunBox>(child) : nullptr;
}

TrackFragment readTrackFragment(const Mp4Box* moof, std::uint32_t trackId) {
  TrackFragment fragment;
  fragment.traf = findTrackFragment(moof, trackId);
  if (!fragment.traf) return fragment;
  fragment.tfhd = trackFragmentHeader(fragment.traf, trackId);
  for (const Mp4Box* child = fragment.traf->first; child; child = child->next) {
    if (const auto* run = trackRun(child)) {
      fragment.truns.push_back(run);
    } else if (child->type == box_type::kTfdt && !fragment.tfdt) {
      fragment.tfdt = Mp4PayloadOf<mp4::TrackFragmentDecodeTimeBox>(child);
    }
  }
  return fragment;
}

SamplePosition sampleAtTime(const mp4::TrackRunBox& run, std::uint64_t time, const SampleDefaults& d) {
  SamplePosition position;
  if (!run.hasDuration()) {
    position.index = d.duration ? saturate<std::uint32_t>(time / d.duration) : run.sampleCount;
    position.index = std::min(position.index, run.sampleCount);
    position.start = std::uint64_t{position.index} * d.duration;
    return position;
  }
  while (position.index < run.sampleCount) {
    const std::uint64_t end = position.start + run.duration(position.index);
    if (end > time) break;
    position.start = end;
    ++position.index;
  }
  return position;
}

}  // namespace fmp4
