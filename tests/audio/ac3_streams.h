// Decoding complete AC-3 streams in tests.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "audio/umc/ac3/ac3_decoder.h"
#include "audio/umc/ac3/sync_frame.h"
#include "tests/audio/stream_decoder.h"

namespace fmp4 {

inline constexpr std::size_t kAc3FrameSamples = 1536;

// A decoder whose output has the audio coding mode `mode`.
class TestAc3Decoder : public StreamDecoder<UMC::AC3Decoder> {
 public:
  explicit TestAc3Decoder(int mode = 0, bool lfe = false) : StreamDecoder(6 * kAc3FrameSamples) {
    m_params.m_outputMode = mode;
    m_params.m_outputLfe = lfe ? 1 : 0;
    EXPECT_EQ(0, Decoder().Init(&m_params));
  }

 private:
  UMC::AC3DecoderParams m_params;
};

// The frames of a stream, by the sizes in their headers.
inline std::vector<Bytes> SplitAc3(const Bytes& stream) {
  std::vector<Bytes> frames;
  UMC::ac3::SyncInfo info{};
  for (std::size_t at = 0; at + UMC::ac3::kSyncInfoBytes <= stream.size(); at += info.bytes) {
    if (UMC::ac3::ParseSyncInfo(&stream[at], info) != UMC::ac3::SyncStatus::kOk) break;
    const auto start = stream.begin() + static_cast<std::ptrdiff_t>(at);
    frames.emplace_back(start, start + static_cast<std::ptrdiff_t>(info.bytes));
  }
  return frames;
}

inline Bytes Joined(const std::vector<Bytes>& frames) {
  Bytes stream;
  for (const Bytes& frame : frames) stream = stream + frame;
  return stream;
}

// The root mean square of the difference, full scale being 32768.
inline double RmsDifference(const Samples& ours, const std::vector<float>& reference) {
  EXPECT_EQ(reference.size(), ours.size());
  double sum = 0;
  const std::size_t count = std::min(ours.size(), reference.size());
  for (std::size_t i = 0; i < count; ++i) {
    const double difference = static_cast<double>(ours[i]) - static_cast<double>(reference[i]);
    sum += difference * difference;
  }
  return count == 0 ? 0 : std::sqrt(sum / static_cast<double>(count));
}

// A file decoded by a52dec: two channels, full scale being 32768.
inline std::vector<float> A52Decode(const std::filesystem::path& file) {
  const std::string wave = runOrThrow({"a52dec", "-o", "wav", file.string()}).out;
  constexpr std::size_t kHeaderBytes = 44;
  std::vector<float> samples;
  for (std::size_t at = kHeaderBytes; at + 2 <= wave.size(); at += 2) {
    std::int16_t sample;
    std::memcpy(&sample, wave.data() + at, sizeof sample);
    samples.push_back(sample);
  }
  return samples;
}

}  // namespace fmp4
