// Decoding whole AAC streams in tests.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "aac_decoder.h"
#include "streams.h"

// A decoder with its descriptors. The input is a block of exactly its size, so that a sanitizer sees any
// read beyond.
class TestDecoder {
 public:
  explicit TestDecoder(std::uint32_t outputChannels = 0, std::int32_t sbrDownSampled = 1) {
    m_params.m_sbrDownSampled = sbrDownSampled;
    m_params.m_output.channels = outputChannels;
    EXPECT_EQ(0, m_decoder.Init(&m_params));
  }
  // For raw access units of a configuration.
  explicit TestDecoder(const Bytes& config, std::int32_t sbrDownSampled = 1) : m_config(config) {
    m_params.m_sbrDownSampled = sbrDownSampled;
    m_configData.SetBufferPointer(m_config.data(), m_config.size());
    m_configData.SetDataSize(m_config.size());
    m_params.m_configuration = &m_configData;
    m_params.m_input.streamType = 2065;
    EXPECT_EQ(0, m_decoder.Init(&m_params));
  }

  void SetInput(const Bytes& bytes) {
    m_bytes.assign(bytes.begin(), bytes.end());
    m_bytes.shrink_to_fit();
    m_input.SetBufferPointer(m_bytes.data(), m_bytes.size());
    m_input.SetDataSize(m_bytes.size());
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
  // All frames of a stream.
  Samples DecodeAll(const Bytes& stream) {
    SetInput(stream);
    Samples all;
    while (Decode() >= 0) all.insert(all.end(), m_last.begin(), m_last.end());
    return all;
  }
  const Samples& Last() const { return m_last; }
  std::size_t Left() const { return m_input.GetDataSize(); }
  UMC::AACDecoder& Decoder() { return m_decoder; }

 private:
  UMC::AACDecoderParams m_params;
  Bytes m_config;
  UMC::MediaData m_configData;
  UMC::AACDecoder m_decoder;
  Bytes m_bytes;
  UMC::MediaData m_input, m_output;
  Samples m_room = Samples(8 * 2048 * 4);
  Samples m_last;
};

// The frames of an ADTS stream, by the lengths that their headers tell.
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
