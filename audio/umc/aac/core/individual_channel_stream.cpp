#include "audio/umc/aac/core/individual_channel_stream.h"

#include "audio/umc/aac/core/gain_control.h"
#include "audio/umc/aac/core/pulse.h"
#include "audio/umc/aac/core/scale_factors.h"
#include "audio/umc/aac/core/sections.h"
#include "audio/umc/aac/core/spectral_data.h"
#include "base/aac/audio_specific_config.h"

namespace UMC::aac {

bool ParseIndividualChannelStream(fmp4::BitWindow& stream, const Codebooks& codebooks,
                                  const FrameBands& bands, int objectType, bool commonWindow,
                                  std::int16_t* quantised, ChannelStream& channel) {
  const auto globalGain = static_cast<int>(stream.Read(8));
  if (!commonWindow && !ParseIcsInfo(stream, bands, objectType, channel.ics, nullptr)) return false;
  if (!ParseSectionData(stream, channel)) return false;
  if (!ParseScaleFactorData(stream, codebooks, globalGain, channel)) return false;

  PulseData pulse;
  const bool pulseDataPresent = stream.ReadFlag();
  if (pulseDataPresent) {
    if (channel.ics.IsShort() || !ParsePulseData(stream, *channel.ics.bands, pulse)) return false;
  }
  channel.tns.count = 0;
  const bool tnsDataPresent = stream.ReadFlag();
  if (tnsDataPresent && !ParseTnsData(stream, channel.ics, objectType, channel.tns)) return false;
  const bool gainControlDataPresent = stream.ReadFlag();
  if (gainControlDataPresent) {
    if (objectType != kObjectSsr) return false;
    SkipGainControlData(stream, channel.ics.sequence);
  }
  return ParseSpectralData(stream, codebooks, pulse, quantised, channel);
}

}  // namespace UMC::aac
