#include "tool/export/caption_times.h"

namespace fmp4 {

namespace {

// At least `digits` digits.
std::string padded(std::uint64_t value, std::size_t digits) {
  const std::string text = std::to_string(value);
  return text.size() < digits ? std::string(digits - text.size(), '0') + text : text;
}

std::string clockOf(std::uint64_t seconds) {
  return padded(seconds / 3600, 2) + ':' + padded(seconds / 60 % 60, 2) + ':' + padded(seconds % 60, 2);
}

}  // namespace

std::string clockText(std::uint64_t frame, const FrameRate& rate, char separator) {
  const std::uint64_t halves = scaleExactly(frame, std::uint64_t{2000} * rate.denominator, rate.numerator);
  const std::uint64_t milliseconds = (halves + 1) / 2;
  return clockOf(milliseconds / 1000) + separator + padded(milliseconds % 1000, 3);
}

std::string timecodeText(std::uint64_t frame, std::uint32_t framesASecond, bool dropFrame) {
  if (dropFrame) {
    const std::uint64_t inMinute = framesASecond * 60 - 2, inTenMinutes = inMinute * 10 + 2;
    const std::uint64_t tens = frame / inTenMinutes, rest = frame % inTenMinutes;
    // The first minute of ten has all its numbers.
    frame += tens * 18 + (rest < 2 ? 0 : (rest - 2) / inMinute * 2);
  }
  return clockOf(frame / framesASecond) + (dropFrame ? ';' : ':') + padded(frame % framesASecond, 2);
}

}  // namespace fmp4
