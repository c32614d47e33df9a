// Audio read through the plug-in as 16-bit samples.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "tests/plugin/loaded_plugin.h"

namespace fmp4 {

using Samples = std::vector<std::int16_t>;

struct Audio {
  std::uint32_t status = 0;
  Samples samples;  // interleaved
};

inline Audio readAudio(CAMediaFile& file, std::uint32_t position, std::uint32_t count,
                       std::uint32_t channels = 2, std::uint32_t mask = 1) {
  Audio audio;
  audio.samples.resize(std::size_t{count} * channels);
  DFRAME d{};
  d.size = sizeof d;
  d.data = reinterpret_cast<std::uint8_t*>(audio.samples.data());
  d.dataCapacity = static_cast<std::uint32_t>(audio.samples.size() * 2);
  audio.status = file.Read(position, count, mask, QVR_MODE_AUDIO, &d, nullptr);
  audio.samples.resize(d.bytes / 2);
  return audio;
}

inline std::uint32_t lengthOf(CAMediaFile& file) {
  return describe(file).audio.stream.length;
}

inline Samples readAll(CAMediaFile& file, std::uint32_t block, std::uint32_t channels = 2) {
  Samples all;
  const std::uint32_t total = lengthOf(file);
  for (std::uint32_t at = 0; at < total; at += block) {
    const Audio audio = readAudio(file, at, std::min(block, total - at), channels);
    EXPECT_EQ(audio.status, VL_OK) << at;
    all.insert(all.end(), audio.samples.begin(), audio.samples.end());
  }
  return all;
}

}  // namespace fmp4
