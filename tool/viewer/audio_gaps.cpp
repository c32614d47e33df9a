#include "tool/viewer/audio_gaps.h"

#include "base/codec_code.h"
#include "base/exact_time.h"
#include "tool/host/access_unit_ticks.h"
#include "tool/host/track_units.h"

namespace fmp4 {

void forEachAudioGap(const std::string& media, std::uint32_t sampleRate, const std::function<bool()>& stopped,
                     const std::function<void(std::uint64_t from, std::uint64_t to)>& found) {
  TrackUnits units(media);
  if (!units.choose({kMp4a, kAc3})) return;
  const std::uint32_t timescale = units.track()->timescale;
  const std::uint64_t unitTicks = accessUnitTicks(*units.track(), sampleRate);
  std::uint64_t ticks = 0, gap = 0;
  for (std::uint64_t number = 0; !stopped() && units.next(); ++number) {
    // Not after the first one: ffmpeg lets the encoder's priming last until the video begins.
    if (gap != 0 && number > 1)
      found(scaleExactly(ticks - gap, sampleRate, timescale), scaleExactly(ticks, sampleRate, timescale));
    const std::uint64_t duration = units.sample().duration;
    gap = gapTicksAfter(duration, unitTicks);
    ticks = addSaturated(ticks, duration);
  }
}

}  // namespace fmp4
