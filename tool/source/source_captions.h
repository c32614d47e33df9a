// The captions of a source, frame by frame.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "qvr.h"
#include "tool/source/sample_source.h"

namespace fmp4 {

// Adds a CEA-608 pair to a descriptor.
void addPairTo(DFRAME& descriptor, const std::array<std::uint8_t, 2>& pair);
// Adds CEA-708 data to a descriptor as a host does; data that the caption area cannot hold are left out.
void addPacketTo(DFRAME& descriptor, std::span<const std::uint8_t> packet);

// One caption track ("c608" or "c708") read in step with the video: request frames in ascending order.
class SourceCaptions {
 public:
  // Null `track`: no captions.
  SourceCaptions(SampleSource& source, SourceTrack* track) : source_(source), track_(track) {
    if (track_) track_->wanted = true;
  }

  bool present() const { return track_ != nullptr; }
  // Adds the captions of frame `frame` to a descriptor. `frameOf` returns the frame that plays at a time of
  // the track's presentation in seconds, negative before the first.
  void addTo(DFRAME& descriptor, std::int64_t frame, const std::function<std::int64_t(double)>& frameOf);
  // Goes back to the first frame.
  void rewind();

 private:
  void addPair(DFRAME& descriptor, std::int64_t index) const;

  SampleSource& source_;
  SourceTrack* track_;
  std::int64_t start_ = 0;             // first frame of the current sample
  std::vector<std::uint8_t> payload_;  // payload of the current sample's box
};

}  // namespace fmp4
