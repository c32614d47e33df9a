// How long access units last, and gaps after them.
#pragma once

#include <cstdint>

#include "tool/source/sample_source.h"

namespace fmp4 {

// The duration of an access unit of AAC or AC-3 in ticks of its track; 0 when it is not known. `sampleRate`:
// of the decoded audio.
std::uint64_t accessUnitTicks(const SourceTrack& track, std::uint32_t sampleRate);

// By how many ticks an access unit is stated to last longer than it does: the gap after it, if another one
// follows. 0 below half an access unit, which is rounding, and where its duration is not known.
std::uint64_t gapTicksAfter(std::uint64_t statedTicks, std::uint64_t unitTicks);

}  // namespace fmp4
