#include "tool/host/access_unit_ticks.h"

#include <algorithm>

#include "base/aac/audio_specific_config.h"
#include "base/audio_units.h"
#include "base/codec_code.h"
#include "base/exact_time.h"

namespace fmp4 {

std::uint64_t accessUnitTicks(const SourceTrack& track, std::uint32_t sampleRate) {
  if (track.codec == kAc3) return scaleExactly(kAc3FrameSamples, track.timescale, sampleRate);
  UMC::aac::AudioSpecificConfig config{};
  if (!UMC::aac::ParseAudioSpecificConfig(track.configuration.data(), track.configuration.size(), config))
    return 0;
  return scaleExactly(kAacFrameSamples, track.timescale, config.frequency);
}

std::uint64_t gapTicksAfter(std::uint64_t statedTicks, std::uint64_t unitTicks) {
  const bool gap = unitTicks != 0 && statedTicks >= unitTicks + std::max<std::uint64_t>(unitTicks / 2, 1);
  return gap ? statedTicks - unitTicks : 0;
}

}  // namespace fmp4
