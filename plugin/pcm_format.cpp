#include "plugin/pcm_format.h"

#include "base/aac/audio_specific_config.h"
#include "base/codec_code.h"
#include "mp4box/boxes/dac3.h"

namespace fmp4 {

namespace {

constexpr std::uint16_t kStereo = 2;

// AC-3 is decoded to two channels (ETSI TS 102 366, F.4: the channel count of the sample entry is to be
// ignored).
PcmFormat formatOfAc3(Mp4Box* sampleEntry) {
  PcmFormat format{kStereo, 0};
  constexpr std::uint32_t kRates[] = {48000, 44100, 32000, 0};  // indexed by fscod
  const auto* stream = Mp4PayloadOf<mp4::AC3SpecificBox>(Mp4BoxChild(sampleEntry, Mp4FourCc("dac3")));
  // Streams with bsid 9 or 10 have half or a quarter of the rate.
  if (stream && stream->bsid <= 10)
    format.samplesPerSecond = kRates[stream->fscod] >> (stream->bsid > 8 ? stream->bsid - 8 : 0);
  return format;
}

PcmFormat formatOfAac(const std::vector<std::uint8_t>& configuration) {
  UMC::aac::AudioSpecificConfig config{};
  if (!UMC::aac::ParseAudioSpecificConfig(configuration.data(), configuration.size(), config))
    return {kStereo, 0};
  // Parametric stereo produces two channels from one.
  std::uint16_t channels = config.psSignalled ? kStereo : config.layout.channelCount;
  if (channels == 0) channels = kStereo;
  return {channels, config.sbrSignalled ? config.extensionFrequency : config.frequency};
}

}  // namespace

PcmFormat pcmFormatOf(Mp4Box* sampleEntry, const mp4::AudioSampleEntry& entry,
                      const std::vector<std::uint8_t>& audioConfiguration) {
  PcmFormat format = sampleEntry->type == kAc3 ? formatOfAc3(sampleEntry) : formatOfAac(audioConfiguration);
  const std::uint32_t channels = entry.channels(), rate = entry.samplesPerSecond();
  if (channels > 0 && channels <= 0xFFFF) format.channels = static_cast<std::uint16_t>(channels);
  if (rate > 0) format.samplesPerSecond = rate;
  return format;
}

}  // namespace fmp4
