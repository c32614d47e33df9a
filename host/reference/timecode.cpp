#include "qvr.h"
#include "tcxlat.h"

namespace {

// Frames per 24 hours at a timecode rate; 0 for an invalid rate.
std::uint32_t framesPerDay(std::uint32_t timecodeRate) {
  constexpr std::uint32_t kSecondsPerDay = 24 * 60 * 60;
  switch (timecodeRate) {
    case 1:
      return kSecondsPerDay * 24;
    case 2:
      return kSecondsPerDay * 30;
    case 4:
      // 24 hours hold 2589410.6 frames at 30000/1001 per second. Timecode ends the day on an integral label:
      // SMPTE ST 12-1 drops two labels per minute except every tenth minute, 108 per hour.
      return kSecondsPerDay * 30 - 24 * 108;
    case 8:
      return kSecondsPerDay * 25;
    case 128:
      return static_cast<std::uint32_t>(std::uint64_t{kSecondsPerDay} * 24000 / 1001);
    default:
      return 0;
  }
}

}  // namespace

std::uint32_t TCXlat(std::uint32_t start, std::uint32_t frame, std::uint32_t timecodeRate) {
  if (start == QVR_NOT_SET) return frame;
  const std::uint64_t timecode = std::uint64_t{start} + frame;
  const std::uint32_t day = framesPerDay(timecodeRate);
  return static_cast<std::uint32_t>(day == 0 ? timecode : timecode % day);
}
