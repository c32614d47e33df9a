// The screens of one caption channel in a range of frames.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <vector>

#include "captions/caption_screen.h"
#include "captions/channel_decoders.h"

namespace fmp4::captions {

// Displayed from frame `first` up to frame `end`, which is not included.
struct ShownScreen {
  std::int64_t first = 0;
  std::int64_t end = 0;
  CaptionScreen screen;
  bool operator==(const ShownScreen&) const = default;
};

class ScreenSequence {
 public:
  // Of the frames from `from` on; what is added before them decides what they begin with.
  ScreenSequence(const CaptionChannel& channel, PictureShape shape, double framesPerSecond, std::int64_t from)
      : channel_(channel), shape_(shape), from_(from), decoders_(framesPerSecond) {}

  // Adds what a frame has, as CaptionCues::add does.
  void add(std::int64_t frame, std::span<const std::uint8_t> pair, std::span<const std::uint8_t> packet);

  // The screens that are not empty, in ascending order; the last one ends at frame `end`. Nothing may be
  // added after.
  std::vector<ShownScreen> finish(std::int64_t end);

  // The channels that have displayed something, in the frames before `from` too.
  std::set<CaptionChannel> channels() const;

 private:
  template <class Decoder>
  void note(const CaptionSource& source, const Decoder& decoder);
  void show(std::vector<ShownScreen>& shown, std::int64_t frame, CaptionScreen screen) const;

  CaptionChannel channel_;
  PictureShape shape_;
  std::int64_t from_;
  ChannelDecoders decoders_;
  std::set<CaptionSource> seen_;
  std::map<CaptionSource, std::vector<ShownScreen>> shown_;  // of the channel
};

}  // namespace fmp4::captions
