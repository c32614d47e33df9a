#include "tool/export/audio_range.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "base/exact_time.h"
#include "base/user_error.h"
#include "tool/export/audio_skew.h"

namespace fmp4 {

AudioRange audioRange(const FrameSelection& selection, const QVRSYSTEM& system, const QVRAUDIO& audio,
                      const std::string& name) {
  const auto total = static_cast<std::int64_t>(audio.stream.length);
  const auto skew = static_cast<std::int64_t>(std::llround(audioSkew(name) * audio.wave.samplesPerSecond));
  // Clamped so that the audio ends there with any skew.
  const std::uint64_t most = audio.stream.length + static_cast<std::uint64_t>(std::abs(skew));
  const auto sampleOf = [&](std::uint64_t frame) {
    const std::uint64_t sample =
        scaleExactly(frame, std::uint64_t{system.scale} * audio.wave.samplesPerSecond, system.rate);
    return static_cast<std::int64_t>(std::min(sample, most)) + skew;
  };
  const FrameRange selected = selection.range({system.rate, system.scale});
  const std::int64_t begin = sampleOf(selected.from);
  if (begin >= total)
    throw UserError("the audio of '" + name + "' ends before frame " + std::to_string(selected.from));
  const std::int64_t end =
      selection.hasEnd() ? std::min(sampleOf(std::uint64_t{selected.from} + selected.count), total) : total;
  const std::int64_t from = std::max<std::int64_t>(begin, 0), to = std::max<std::int64_t>(end, 0);
  return {static_cast<std::uint64_t>(from), static_cast<std::uint64_t>(std::max(to - from, std::int64_t{0})),
          static_cast<std::uint64_t>(std::min(from, std::max(end, begin)) - begin)};
}

}  // namespace fmp4
