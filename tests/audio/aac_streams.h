// Decoding complete AAC streams in tests.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "audio/umc/aac/aac_decoder.h"
#include "tests/audio/stream_decoder.h"

namespace fmp4 {

class TestDecoder : public StreamDecoder<UMC::AACDecoder> {
 public:
  explicit TestDecoder(std::uint32_t outputChannels = 0, std::int32_t sbrDownSampled = 1)
      : StreamDecoder(kSpace) {
    m_params.m_sbrDownSampled = sbrDownSampled;
    m_params.m_output.channels = outputChannels;
    EXPECT_EQ(0, Decoder().Init(&m_params));
  }
  // For raw access units of a configuration.
  explicit TestDecoder(const Bytes& config, std::int32_t sbrDownSampled = 1)
      : StreamDecoder(kSpace), m_config(config) {
    m_params.m_sbrDownSampled = sbrDownSampled;
    m_configData.SetBufferPointer(m_config.data(), m_config.size());
    m_configData.SetDataSize(m_config.size());
    m_params.m_configuration = &m_configData;
    m_params.m_input.streamType = 2065;
    EXPECT_EQ(0, Decoder().Init(&m_params));
  }

 private:
  static constexpr std::size_t kSpace = 8 * 2048 * 4;

  UMC::AACDecoderParams m_params;
  Bytes m_config;
  UMC::MediaData m_configData;
};

}  // namespace fmp4
