#include "tool/host/frame_place.h"

#include <array>
#include <charconv>
#include <limits>
#include <string>

#include "base/user_error.h"

namespace fmp4 {

namespace {

constexpr std::uint64_t kNanoseconds = 1'000'000'000;
constexpr std::uint64_t kHalfMillisecond = 500'000;  // nanoseconds
constexpr std::uint64_t kMaxHours = 9999;

// A number of decimal digits alone, no larger than `max`.
std::optional<std::uint64_t> number(std::string_view text, std::uint64_t max) {
  std::uint64_t value = 0;
  const char* const end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, value);
  if (text.empty() || error != std::errc() || stopped != end || value > max) return std::nullopt;
  return value;
}

// "7" or "7.25", in nanoseconds.
std::optional<std::uint64_t> nanoseconds(std::string_view text, std::uint64_t maxSeconds) {
  const std::size_t point = text.find('.');
  const auto seconds = number(text.substr(0, point), maxSeconds);
  if (!seconds) return std::nullopt;
  if (point == text.npos) return *seconds * kNanoseconds;
  std::string fraction(text.substr(point + 1));
  constexpr std::size_t kDigits = 9;
  if (fraction.empty() || fraction.size() > kDigits) return std::nullopt;
  fraction.resize(kDigits, '0');
  const auto nano = number(fraction, kNanoseconds - 1);
  if (!nano) return std::nullopt;
  return *seconds * kNanoseconds + *nano;
}

// Takes the part of `text` up to the next colon, the colon too; all of it without one.
std::string_view takePart(std::string_view& text) {
  const std::size_t colon = text.find(':');
  const std::string_view part = text.substr(0, colon);
  text = colon == text.npos ? std::string_view() : text.substr(colon + 1);
  return part;
}

std::string timecodeTrouble(const FrameRate& rate) {
  return std::to_string(rate.value()) +
         " frames a second have no such timecode: its frames count from 0 to one less than a second has, "
         "drop "
         "frames (;) exist at 29.97 and 59.94 alone and leave out the first numbers of most minutes; give a "
         "frame "
         "number or a time";
}

}  // namespace

std::optional<FramePlace> FramePlace::parse(std::string_view text) {
  constexpr std::uint64_t kMaxSeconds = kMaxHours * 3600;
  if (const auto frame = number(text, std::numeric_limits<std::uint32_t>::max()))
    return FramePlace(static_cast<std::uint32_t>(*frame));
  if (text.find(':') == text.npos) {
    if (text.ends_with('s')) text.remove_suffix(1);
    const auto time = nanoseconds(text, kMaxSeconds);
    return time ? std::optional(FramePlace(Kind::Time, *time)) : std::nullopt;
  }

  // Drop-frame timecodes have a semicolon before their frames.
  std::string colons(text);
  const std::size_t semicolon = colons.rfind(';');
  if (semicolon != colons.npos) colons[semicolon] = ':';
  std::string_view left = colons;
  std::array<std::string_view, 4> parts;
  std::size_t count = 0;
  while (count < parts.size() && !left.empty()) parts[count++] = takePart(left);
  if (!left.empty() || colons.ends_with(':') || (semicolon != colons.npos && count != 4)) return std::nullopt;

  const bool timecode = count == 4;
  const bool hours = count >= 3;
  const auto hour = hours ? number(parts[0], kMaxHours) : 0;
  const auto minute = number(parts[hours ? 1 : 0], hours ? 59 : kMaxHours);
  const auto second = nanoseconds(parts[hours ? 2 : 1], 59);
  if (!hour || !minute || !second) return std::nullopt;
  const std::uint64_t time = (*hour * 60 + *minute) * 60 * kNanoseconds + *second;
  if (!timecode) return FramePlace(Kind::Time, time);
  const auto frames = number(parts[3], 999);
  if (!frames || time % kNanoseconds != 0) return std::nullopt;
  return FramePlace(semicolon == colons.npos ? Kind::Timecode : Kind::DropTimecode, time / kNanoseconds,
                    static_cast<std::uint32_t>(*frames));
}

std::uint32_t FramePlace::frame(const FrameRate& rate) const {
  checkRate(rate);
  return kind_ == Kind::Time ? frameAfter(kHalfMillisecond, rate) : timecodeFrame(rate);
}

std::uint32_t FramePlace::frames(const FrameRate& rate) const {
  checkRate(rate);
  const std::uint64_t halfFrame = scaleExactly(kNanoseconds / 2, rate.denominator, rate.numerator);
  return kind_ == Kind::Time ? frameAfter(halfFrame, rate) : timecodeFrame(rate);
}

void FramePlace::checkRate(const FrameRate& rate) const {
  if (kind_ != Kind::Frame && !rate.known())
    throw UserError("the file has no frame rate, so times in it are unknown; give frame numbers");
}

std::uint32_t FramePlace::frameAfter(std::uint64_t early, const FrameRate& rate) const {
  return saturate<std::uint32_t>(
      scaleExactly(addSaturated(value_, early), rate.numerator, rate.denominator * kNanoseconds));
}

std::uint32_t FramePlace::timecodeFrame(const FrameRate& rate) const {
  if (kind_ == Kind::Frame) return static_cast<std::uint32_t>(value_);
  // A timecode counts a whole number of frames in each of its seconds.
  const std::uint64_t nominal = (std::uint64_t{rate.numerator} + rate.denominator / 2) / rate.denominator;
  if (timecodeFrames_ >= nominal) throw UserError(timecodeTrouble(rate));
  const std::uint64_t counted = value_ * nominal + timecodeFrames_;
  if (kind_ == Kind::Timecode) return saturate<std::uint32_t>(counted);

  // Each minute but every tenth leaves out its first numbers, 2 at 29.97 frames a second.
  const std::uint64_t dropped = nominal / 15;
  const std::uint64_t minutes = value_ / 60;
  if (rate.denominator != 1001 || nominal % 30 != 0 ||
      (minutes % 10 != 0 && value_ % 60 == 0 && timecodeFrames_ < dropped))
    throw UserError(timecodeTrouble(rate));
  return saturate<std::uint32_t>(counted - dropped * (minutes - minutes / 10));
}

}  // namespace fmp4
