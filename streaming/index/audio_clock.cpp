#include "streaming/index/audio_clock.h"

#include <algorithm>

namespace fmp4 {

void AudioClock::pass(std::uint32_t ticks) {
  ticks_ = addSaturated(ticks_, ticks);
  const std::uint64_t next = addSaturated(position_, unitFrames_);
  const std::uint64_t stated = frames(ticks_);
  position_ = stated >= addSaturated(next, unitFrames_ / 2) ? stated : next;
}

void AudioClock::pass(std::uint32_t ticks, std::uint32_t count) {
  // Stated durations equal to the decoded duration leave the difference unchanged.
  if (std::uint64_t{ticks} * sampleRate_ == std::uint64_t{unitFrames_} * timescale_) {
    ticks_ = addSaturated(ticks_, std::uint64_t{ticks} * count);
    position_ = addSaturated(position_, std::uint64_t{unitFrames_} * count);
    return;
  }
  for (; count > 0; --count) pass(ticks);
}

bool AudioClock::pass(const AudioAmount& amount) {
  if (amount.units == AudioAmount::kUnknown || amount.lead == AudioAmount::kUnknown) return false;
  // After each unit the stated durations are at most this much ahead, with one frame for rounding down.
  const std::uint64_t ahead = addSaturated(addSaturated(frames(ticks_), amount.lead), 1);
  if (ahead == ~std::uint64_t{0} || ahead > addSaturated(position_, unitFrames_ / 2)) return false;
  ticks_ = addSaturated(ticks_, amount.ticks);
  position_ = addSaturated(position_, std::uint64_t{unitFrames_} * amount.units);
  return true;
}

void AudioCount::add(const AudioClock& clock, std::uint32_t ticks, std::uint32_t count) {
  units_ += count;
  ticks_ = addSaturated(ticks_, std::uint64_t{ticks} * count);
  // The lead grows over units that are stated too long, so it is largest after the last of them.
  if (count == 0 || !clock.leads(ticks)) return;
  const std::uint64_t stated = addSaturated(clock.frames(ticks_), 1);
  const std::uint64_t decoded =
      units_ > AudioAmount::kUnknown ? ~std::uint64_t{0} : units_ * clock.unitFrames();
  if (stated > decoded) lead_ = std::max(lead_, stated - decoded);
}

AudioAmount AudioCount::amount() const {
  AudioAmount amount;
  amount.units = saturate<std::uint32_t>(units_);
  amount.ticks = saturate<std::uint32_t>(ticks_);
  const bool known = ticks_ < AudioAmount::kUnknown;
  amount.lead = known ? saturate<std::uint32_t>(lead_) : AudioAmount::kUnknown;
  return amount;
}

}  // namespace fmp4
