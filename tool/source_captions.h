// The captions of a source, frame by frame.
#pragma once

#include <cstdint>
#include <vector>

#include "qvr.h"
#include "source_file.h"

// One caption track ("c608" or "c708") read along with the video: ask for frames in rising order.
class SourceCaptions {
 public:
  // Null `track`: there are none. `frameOrigin` is the video's first decode time in seconds, `rate` its
  // frames a second.
  SourceCaptions(SourceFile& file, const SourceTrack* track, double frameOrigin, double rate);

  bool present() const { return track_ != nullptr; }
  // Adds what plays with frame `frame` of the video to a descriptor.
  void addTo(DFRAME& descriptor, std::uint64_t frame);

 private:
  void addPair(DFRAME& descriptor, std::uint64_t index) const;
  void addPacket(DFRAME& descriptor) const;

  SourceFile& file_;
  const SourceTrack* track_;
  double frameOrigin_;
  double rate_;
  std::size_t next_ = 0;               // the sample behind the current one
  std::uint64_t start_ = 0;            // first frame of the current sample
  std::vector<std::uint8_t> payload_;  // what the current sample's box holds
};
