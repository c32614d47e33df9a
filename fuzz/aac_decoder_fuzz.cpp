// The AAC decoder with hostile bytes. The first byte selects the mode: its upper six bits are the length of a
// leading configuration; the lowest bit selects whether that describes raw access units or units with
// headers; the bit above requests two channels and, with SBR, twice the core's frequency.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "audio/umc/aac/aac_decoder.h"
#include "base/aac/audio_specific_config.h"

namespace fmp4 {

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const bool configured = (data[0] & 1) != 0;
  const std::size_t configSize = std::min<std::size_t>(data[0] >> 2, size - 1);
  std::vector<std::uint8_t> config(data + 1, data + 1 + configSize);
  std::vector<std::uint8_t> bytes(data + 1 + configSize, data + size);
  bytes.shrink_to_fit();

  UMC::MediaData configData, input, output;
  configData.SetBufferPointer(config.data(), config.size());
  configData.SetDataSize(config.size());
  UMC::AACDecoderParams params;
  params.m_output.channels = (data[0] & 2) != 0 ? 2 : 0;
  params.m_sbrDownSampled = (data[0] & 2) != 0 ? 0 : 1;
  if (configured) {
    params.m_input.streamType = UMC::UMC_STREAM_AAC_CONFIGURED;
    params.m_configuration = &configData;
  }
  UMC::AACDecoder decoder;
  if (decoder.Init(&params) != UMC::UMC_OK) return 0;
  UMC::aac::AudioSpecificConfig signalled;
  if (!configured && UMC::aac::ParseAudioSpecificConfig(config.data(), config.size(), signalled)) {
    decoder.SetConfiguration(signalled);
  }

  static std::vector<std::uint8_t> space(4 * 8 * 2048 * 2);
  input.SetBufferPointer(bytes.data(), bytes.size());
  input.SetDataSize(bytes.size());
  for (std::uint64_t left = bytes.size() + 1; input.GetDataSize() < left;) {
    left = input.GetDataSize();
    output.SetBufferPointer(space.data(), space.size());
    const UMC::Status status = decoder.GetFrame(&input, &output);
    if (status >= UMC::UMC_OK && output.GetDataSize() == 0) std::abort();
  }
  return 0;
}

}  // namespace fmp4
