// A frame as a person names it: by its number or by a time.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "base/exact_time.h"

namespace fmp4 {

class FramePlace {
 public:
  // The frame of this number, or that many frames.
  explicit FramePlace(std::uint32_t frame) : value_(frame) {}

  // Reads a frame number ("1234"), seconds ("51.36", "90s"), minutes and seconds ("1:30"), hours, minutes and
  // seconds ("0:01:30.5"), or a SMPTE ST 12-1 timecode ("00:01:30:12"; "00:01:30;12" counts in drop frames).
  // Fractions of a second have at most nine digits. Nothing when the text is none of these.
  static std::optional<FramePlace> parse(std::string_view text);

  bool isZero() const { return value_ == 0 && timecodeFrames_ == 0; }

  // The frame that is shown at this place, saturated at the largest number. Times that are printed are
  // rounded to milliseconds, so the last half millisecond before a frame counts as its own. Throws UserError
  // when the frame rate has no such timecode.
  std::uint32_t frame(const FrameRate& rate) const;
  // This place as a duration, in whole frames, rounded to the nearest. Throws as above.
  std::uint32_t frames(const FrameRate& rate) const;

 private:
  enum class Kind { Frame, Time, Timecode, DropTimecode };

  FramePlace(Kind kind, std::uint64_t value, std::uint32_t timecodeFrames = 0)
      : kind_(kind), value_(value), timecodeFrames_(timecodeFrames) {}

  void checkRate(const FrameRate& rate) const;
  // The frame that starts at or last before `early` nanoseconds after a time.
  std::uint32_t frameAfter(std::uint64_t early, const FrameRate& rate) const;
  std::uint32_t timecodeFrame(const FrameRate& rate) const;

  Kind kind_ = Kind::Frame;
  std::uint64_t value_;               // frames, nanoseconds, or a timecode's seconds
  std::uint32_t timecodeFrames_ = 0;  // frames of a timecode after its seconds
};

}  // namespace fmp4
