// Decoding whole AC-3 streams in tests.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "ac3_decoder.h"
#include "streams.h"
#include "sync_frame.h"

inline constexpr std::size_t kAc3FrameSamples = 1536;

// A decoder with its descriptors, for an output of the audio coding mode `mode`. The input is a block of
// exactly its size, so that a sanitizer sees any read beyond.
class TestAc3Decoder {
 public:
  explicit TestAc3Decoder(int mode = 0, bool lfe = false) {
    m_params.m_outputMode = mode;
    m_params.m_outputLfe = lfe ? 1 : 0;
    EXPECT_EQ(0, m_decoder.Init(&m_params));
  }

  void SetInput(const Bytes& bytes) {
    m_bytes.assign(bytes.begin(), bytes.end());
    m_bytes.shrink_to_fit();
    m_input.SetBufferPointer(m_bytes.data(), m_bytes.size());
    m_input.SetDataSize(m_bytes.size());
    m_input.SetTime(-1, -1);
  }
  // One frame; `Last` holds its samples.
  UMC::Status Decode() {
    m_output.SetBufferPointer(reinterpret_cast<std::uint8_t*>(m_room.data()), m_room.size() * 2);
    const UMC::Status status = m_decoder.GetFrame(&m_input, &m_output);
    const auto count = static_cast<std::ptrdiff_t>(m_output.GetDataSize() / 2);
    m_last.assign(m_room.begin(), m_room.begin() + count);
    return status;
  }
  UMC::Status Decode(const Bytes& bytes) {
    SetInput(bytes);
    return Decode();
  }
  // All frames of a stream, damaged ones as silence.
  Samples DecodeAll(const Bytes& stream) {
    SetInput(stream);
    Samples all;
    while (Decode() >= 0) all.insert(all.end(), m_last.begin(), m_last.end());
    return all;
  }
  const Samples& Last() const { return m_last; }
  std::size_t Left() const { return m_input.GetDataSize(); }
  UMC::AC3Decoder& Decoder() { return m_decoder; }
  UMC::MediaData& Input() { return m_input; }
  UMC::MediaData& Output() { return m_output; }

 private:
  UMC::AC3DecoderParams m_params;
  UMC::AC3Decoder m_decoder;
  Bytes m_bytes;
  UMC::MediaData m_input, m_output;
  Samples m_room = Samples(6 * kAc3FrameSamples);
  Samples m_last;
};

// The frames of a stream, by the sizes that their headers tell.
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

// The root of the mean square of the difference, full scale being 32768.
inline double RmsDifference(const Samples& ours, const std::vector<float>& witness) {
  EXPECT_EQ(witness.size(), ours.size());
  double sum = 0;
  const std::size_t count = std::min(ours.size(), witness.size());
  for (std::size_t i = 0; i < count; ++i) {
    const double difference = static_cast<double>(ours[i]) - static_cast<double>(witness[i]);
    sum += difference * difference;
  }
  return count == 0 ? 0 : std::sqrt(sum / static_cast<double>(count));
}

// What a52dec makes of a file: two channels, full scale being 32768.
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
