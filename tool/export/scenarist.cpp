#include "tool/export/scenarist.h"

#include <algorithm>

#include "base/text.h"
#include "tool/export/caption_times.h"

namespace fmp4 {

namespace {

// Frames a second from which two frames share a timecode: line 21 has one a picture, interlaced.
constexpr double kDoubleRate = 48;

// The rate of timecodes that count every frame of `rate`, or every second one.
struct TimecodeRate {
  std::uint32_t framesPerNumber;
  std::uint32_t numbersASecond;
  bool dropFrame;

  explicit TimecodeRate(const FrameRate& rate) : framesPerNumber(rate.value() >= kDoubleRate ? 2 : 1) {
    const std::uint64_t divisor = std::uint64_t{rate.denominator} * framesPerNumber;
    numbersASecond = std::max(1u, saturate<std::uint32_t>((rate.numerator + divisor / 2) / divisor));
    dropFrame = numbersASecond == 30 && rate.numerator < 30 * divisor;
  }
};

}  // namespace

std::string scenaristText(std::span<const TimedPair> pairs, const FrameRate& rate) {
  const TimecodeRate timecodes(rate);
  std::string text = "Scenarist_SCC V1.0\n";
  std::uint64_t next = 0;
  for (const TimedPair& pair : pairs) {
    const std::uint64_t due = pair.frame / timecodes.framesPerNumber;
    const bool follows = &pair != pairs.data() && due <= next;
    if (!follows) {
      next = due;
      text += (&pair == pairs.data() ? "\n" : "\n\n") +
              timecodeText(next, timecodes.numbersASecond, timecodes.dropFrame) + '\t';
    } else {
      text += ' ';
    }
    text += hexText(pair.bytes);
    ++next;
  }
  return pairs.empty() ? text : text + '\n';
}

}  // namespace fmp4
