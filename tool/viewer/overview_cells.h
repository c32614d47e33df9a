// What the time line shows of frames and audio: cells that summarise more or fewer of them.
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace fmp4 {

// A frame in 32 bits: its size in bytes, saturated, and what begins with it.
struct FrameValue {
  static constexpr std::uint32_t kKey = 1u << 31;
  static constexpr std::uint32_t kFragment = 1u << 30;  // the first of a fragment
  static constexpr std::uint32_t kSegment = 1u << 29;   // the first after a segment index
  static constexpr std::uint32_t kUnread = 1u << 28;    // its size is not known
  static constexpr std::uint32_t kMaxBytes = kUnread - 1;

  std::uint32_t bits = 0;

  std::uint32_t bytes() const { return bits & kMaxBytes; }
  bool has(std::uint32_t flag) const { return (bits & flag) != 0; }
  bool operator==(const FrameValue&) const = default;
};

// Consecutive frames.
struct FrameCell {
  std::uint64_t bytes = 0;    // of all
  std::uint32_t largest = 0;  // bytes of the largest
  std::uint32_t frames = 0;
  std::uint32_t keys = 0;  // key frames, and so on
  std::uint32_t fragments = 0;
  std::uint32_t segments = 0;
  std::uint32_t unread = 0;

  static FrameCell of(const FrameValue& value);
  static FrameCell merged(std::span<const FrameCell> cells);
  bool operator==(const FrameCell&) const = default;
};

// Audio of more channels has no overview.
inline constexpr std::uint32_t kMaxOverviewChannels = 8;

// Hundredths of a second are the finest that is kept of audio.
inline constexpr std::uint32_t kAudioCellsASecond = 100;

// One channel of some PCM frames of 16 bits: the largest magnitude, and the root of the mean square. That of
// a merged cell is made of the values of its parts, which count alike, rounded to the nearest.
struct AudioCell {
  std::uint16_t peak = 0;  // 0 to 32768
  std::uint16_t rms = 0;

  static AudioCell of(const AudioCell& value) { return value; }
  static AudioCell merged(std::span<const AudioCell> cells);
  // One for each of the channels, at most kMaxOverviewChannels, of `frames` PCM frames: samples of the
  // channels in turn.
  static std::array<AudioCell, kMaxOverviewChannels> ofFrames(const std::int16_t* samples, std::size_t frames,
                                                              std::size_t channels);
  bool operator==(const AudioCell&) const = default;
};

// The first PCM frame of an audio cell.
constexpr std::uint64_t audioCellStart(std::uint64_t cell, std::uint32_t sampleRate) {
  return cell * sampleRate / kAudioCellsASecond;
}

}  // namespace fmp4
