#include "tool/host/channel_layout.h"

#include <array>

#include "base/aac/audio_specific_config.h"

namespace fmp4 {

namespace {

struct NamedCount {
  std::uint32_t channels;
  const char* name;
};
// By channelConfiguration, from 0, which says more than a number.
constexpr std::array<NamedCount, 8> kAacLayouts = {
    {{0, ""}, {1, "mono"}, {2, "stereo"}, {3, "3.0"}, {4, "4.0"}, {5, "5.0"}, {6, "5.1"}, {8, "7.1"}}};

// By acmod.
struct Ac3Mode {
  std::uint32_t channels;
  const char* name;
  const char* nameWithLfe;
};
constexpr std::array<Ac3Mode, 8> kAc3Modes = {{{2, "dual mono", "dual mono + LFE"},
                                               {1, "mono", "1.1"},
                                               {2, "stereo", "2.1"},
                                               {3, "3.0", "3.1"},
                                               {3, "2/1", "2/1 + LFE"},
                                               {4, "4.0", "4.1"},
                                               {4, "2/2", "2/2 + LFE"},
                                               {5, "5.0", "5.1"}}};

}  // namespace

ChannelLayout aacLayout(std::span<const std::uint8_t> bytes) {
  UMC::aac::AudioSpecificConfig config{};
  if (!UMC::aac::ParseAudioSpecificConfig(bytes.data(), bytes.size(), config)) return {};
  const auto number = static_cast<std::size_t>(config.channelConfiguration);
  if (number == 0) return layoutOfCount(config.layout.channelCount);
  if (number >= kAacLayouts.size()) return layoutOfCount(config.layout.channelCount);
  const NamedCount& layout = kAacLayouts[config.psSignalled && number == 1 ? 2 : number];
  return {layout.channels, layout.name};
}

ChannelLayout ac3Layout(const mp4::AC3SpecificBox& stream) {
  const Ac3Mode& mode = kAc3Modes[stream.acmod & 7];
  if (stream.lfeon != 0) return {mode.channels + 1, mode.nameWithLfe};
  return {mode.channels, mode.name};
}

ChannelLayout layoutOfCount(std::uint32_t channels) {
  return {channels, channels == 1 ? "mono" : channels == 2 ? "stereo" : ""};
}

}  // namespace fmp4
