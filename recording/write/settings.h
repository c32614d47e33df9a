// The settings of a recording, fixed when its first sample arrives.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "base/exact_time.h"
#include "recording/segment_geometry.h"

namespace fmp4 {

struct AudioSettings {
  std::uint32_t sampleRate = 0;
  std::uint32_t byteRate = 0;               // bytes a second
  std::uint32_t samplesPerFrame = 0;        // audio samples of an access unit
  std::vector<std::uint8_t> configuration;  // AudioSpecificConfig
};

struct VideoSettings {
  SegmentGeometry geometry;
  FrameRate rate;                       // over 1000 or 1001
  std::int32_t width = 0;               // pixels
  std::int32_t height = 0;              // negative: rows are stored bottom-up
  std::vector<std::uint8_t> avcRecord;  // AVC decoder configuration record
  bool captions608 = false;
  bool captions708 = false;
  std::optional<AudioSettings> audio;  // in the same file
};

// Ticks of a video frame: the rate's numerator is the timescale.
constexpr std::uint32_t frameTicks(const FrameRate& rate) {
  return rate.denominator == 1001 ? 1001 : 1000;
}

}  // namespace fmp4
