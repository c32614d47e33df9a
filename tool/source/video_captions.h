// The captions inside a source's H.264 video, frame by frame.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <span>
#include <vector>

#include "captions/cc_data.h"
#include "qvr.h"

namespace fmp4 {

class VideoCaptions {
 public:
  // Samples have NAL units after their lengths of `lengthBytes`. `framesPerSecond` is the recording's rate.
  VideoCaptions(unsigned lengthBytes, double framesPerSecond)
      : lengthBytes_(lengthBytes), framesPerSecond_(framesPerSecond) {}

  // Takes the captions of the sample of frame `frame`, which is displayed `offset` frames later. Frames must
  // ascend.
  void add(std::span<const std::uint8_t> sample, std::uint64_t frame, std::int64_t offset);
  // Adds what is displayed with frame `frame` to its descriptor: the next CEA-608 pair of field 1, and all
  // constructs as a caption distribution packet. Each frame must be asked for once, after it was added.
  void addTo(DFRAME& descriptor, std::uint64_t frame);

  bool found() const { return found_; }

 private:
  unsigned lengthBytes_;
  double framesPerSecond_;
  bool found_ = false;
  std::map<std::uint64_t, std::vector<captions::CcConstruct>> pending_;  // by the frame that displays them
  // Pairs of field 1 that wait for a frame: at fewer than 29.97 frames a second some have two.
  std::deque<std::array<std::uint8_t, 2>> pairs_;
  std::uint16_t packets_ = 0;
};

}  // namespace fmp4
