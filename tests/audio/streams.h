// Bytes and samples of complete streams, and their decoding by the reference decoders.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/ffmpeg.h"
#include "tests/support/run.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

using Bytes = std::vector<std::uint8_t>;
using Samples = std::vector<std::int16_t>;

inline Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// The frames of an ADTS stream, by the lengths in their headers.
inline std::vector<Bytes> SplitAdts(const Bytes& stream) {
  std::vector<Bytes> frames;
  for (std::size_t at = 0; at + 7 <= stream.size();) {
    const std::size_t length = (stream[at + 3] & 3u) << 11 | stream[at + 4] * 8u | stream[at + 5] >> 5u;
    if (length < 7 || at + length > stream.size()) break;
    frames.emplace_back(stream.begin() + static_cast<std::ptrdiff_t>(at),
                        stream.begin() + static_cast<std::ptrdiff_t>(at + length));
    at += length;
  }
  return frames;
}

// A file decoded by ffmpeg, full scale being 32768, not rounded. `filters`: options for the output.
inline std::vector<float> FfmpegDecode(const std::filesystem::path& file,
                                       const std::vector<std::string>& options = {},
                                       const std::vector<std::string>& filters = {}) {
  const RunResult result = runOrThrow(
      std::vector<std::string>{"ffmpeg", "-nostdin", "-v", "error", "-threads", "1"} + options +
      std::vector<std::string>{"-i", file.string()} + filters + std::vector<std::string>{"-f", "f32le", "-"});
  std::vector<float> samples(result.out.size() / sizeof(float));
  std::memcpy(samples.data(), result.out.data(), samples.size() * sizeof(float));
  for (float& sample : samples) sample *= 32768;
  return samples;
}

// The largest difference once the reference's samples are rounded and limited.
inline int LargestDifference(const Samples& ours, const std::vector<float>& reference) {
  EXPECT_EQ(reference.size(), ours.size());
  int largest = 0;
  for (std::size_t i = 0; i < std::min(ours.size(), reference.size()); ++i) {
    const auto rounded = static_cast<int>(std::lrint(std::clamp(reference[i], -32768.0f, 32767.0f)));
    largest = std::max(largest, std::abs(rounded - ours[i]));
  }
  return largest;
}

// The root mean square of the differences, the reference's samples rounded and limited likewise.
inline double RootMeanSquare(const Samples& ours, const std::vector<float>& reference) {
  EXPECT_EQ(reference.size(), ours.size());
  const std::size_t count = std::min(ours.size(), reference.size());
  double sum = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const double difference = std::round(std::clamp(reference[i], -32768.0f, 32767.0f)) - ours[i];
    sum += difference * difference;
  }
  return std::sqrt(sum / static_cast<double>(count));
}

}  // namespace fmp4
