// All captions of a file as cues, by channel.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "captions/channel_decoders.h"
#include "captions/cue_builder.h"

namespace fmp4::captions {

class CaptionCues {
 public:
  explicit CaptionCues(double framesPerSecond) : decoders_(framesPerSecond) {}

  // Adds what a frame has: its CEA-608 pair of field 1 and its caption distribution packet, either of which
  // may be empty. Frames must ascend.
  void add(std::int64_t frame, std::span<const std::uint8_t> pair, std::span<const std::uint8_t> packet);

  // The cues of each channel that has any; the last ones end before frame `end`. Nothing may be added after.
  std::map<CaptionChannel, std::vector<Cue>> finish(std::int64_t end);

 private:
  ChannelDecoders decoders_;
  std::map<CaptionSource, CueBuilder> cues_;
};

}  // namespace fmp4::captions
