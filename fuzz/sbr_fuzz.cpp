// SBR payloads with hostile bytes, frame after frame. The first byte selects a pair, frames of 960 samples,
// downsampling and the core's frequency. It is followed by alternating payload lengths, extension types and
// payload bytes.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "audio/umc/aac/core/filter_bank.h"
#include "audio/umc/aac/core/scale_factor_bands.h"
#include "audio/umc/aac/sbr/sbr_decoder.h"

namespace fmp4 {

using namespace UMC::aac;

namespace {

constexpr int kMaxFrames = 24;  // an input of empty payloads alone would be thousands

using Core = std::array<float, 1024>;

Core CoreSignal(float scale) {
  Core core;
  for (int i = 0; i < 1024; ++i)
    core[static_cast<std::size_t>(i)] = scale * static_cast<float>(i * 7919 % 65536 - 32768);
  return core;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const int channels = (data[0] & 1) != 0 ? 2 : 1;
  const SbrFormat format = {kSamplingFrequencies[(data[0] >> 3) % kSamplingIndexCount],
                            (data[0] & 2) != 0 ? 960 : 1024, (data[0] & 4) != 0};
  static const Core kCore = CoreSignal(1), kLoudestCore = CoreSignal(kSampleLimit / 32768);
  const auto area = std::make_unique<SbrArea>();
  int frames = 0;
  for (std::size_t at = 1; at < size && frames < kMaxFrames; ++frames) {
    const std::size_t length = std::min<std::size_t>(data[at], size - at - 1);
    // A block of exactly this size, so that the sanitizer detects any read past its end.
    std::vector<std::uint8_t> bytes(data + at + 1, data + at + 1 + length);
    bytes.shrink_to_fit();
    at += 1 + length;
    SbrPayload payload{};
    if (length > 0) payload = {4, static_cast<std::uint32_t>(8 * length - 4), bytes[0] >> 4 == 14};
    // Sometimes at the maximum level of a core signal.
    const Core& core = length % 4 == 1 ? kLoudestCore : kCore;
    BitWindow stream(bytes.data(), bytes.size());
    const bool hasHighBand =
        ReadSbrPayload(format, stream, payload, channels, area->elements[0], area->channels, area->scratch);
    for (int i = 0; i < channels; ++i) {
      DecodeSbrChannel(format, area->elements[0], hasHighBand, i, core.data(), area->channels[i],
                       area->scratch, area->output[i]);
      const int count = format.downSampled ? format.coreFrameLength : 2 * format.coreFrameLength;
      if (!std::all_of(area->output[i], area->output[i] + count, [](float x) { return std::isfinite(x); }))
        std::abort();
    }
  }
  return 0;
}

}  // namespace fmp4
