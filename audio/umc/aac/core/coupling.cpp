#include "audio/umc/aac/core/coupling.h"

#include <algorithm>
#include <cmath>

#include "audio/umc/aac/core/individual_channel_stream.h"
#include "dsp/ipps_vector.h"

namespace UMC::aac {

namespace {

// cc_scale^-exponent, where the base is 2^(1 / (8 >> scale)), clamped to a float's range.
float Gain(unsigned scale, int exponent) {
  const float octaves = static_cast<float>(-exponent) / static_cast<float>(8u >> scale);
  return std::exp2(std::clamp(octaves, -100.0f, 100.0f));
}

}  // namespace

bool ParseCoupling(fmp4::BitWindow& stream, const Codebooks& codebooks, const FrameBands& bands,
                   int objectType, std::int16_t* quantised, ChannelStream& channel, Coupling& coupling) {
  const bool independent = stream.ReadFlag();  // ind_sw_cce_flag
  coupling.targetCount = static_cast<std::uint8_t>(stream.Read(3) + 1);
  int lists = 0;
  for (int i = 0; i < coupling.targetCount; ++i) {
    CouplingTarget& target = coupling.targets[i];
    target.isPair = stream.ReadFlag();
    target.tag = static_cast<std::uint8_t>(stream.Read(4));
    bool left = true, right = false, shared = false;
    if (target.isPair) {
      left = stream.ReadFlag();
      right = stream.ReadFlag();
      shared = !left && !right;
    }
    target.gainLists[0] = static_cast<std::int8_t>(left || shared ? lists : -1);
    target.gainLists[1] = static_cast<std::int8_t>(right || shared ? lists + (left ? 1 : 0) : -1);
    lists += left && right ? 2 : 1;
  }
  const bool afterTns = stream.ReadFlag();  // cc_domain
  coupling.point = independent ? CouplingPoint::kTimeSignal
                   : afterTns  ? CouplingPoint::kAfterTns
                               : CouplingPoint::kBeforeTns;
  const bool signedGains = stream.ReadFlag();  // gain_element_sign
  const auto scale = stream.Read(2);           // gain_element_scale
  if (!ParseIndividualChannelStream(stream, codebooks, bands, objectType, false, quantised, channel))
    return false;

  const int bandCount = channel.ics.BandCount();
  for (int list = 0; list < lists; ++list) {
    float* gains = coupling.gains[list];
    const bool common = list == 0 || independent || stream.ReadFlag();  // common_gain_element_present
    if (common) {
      const int exponent = list == 0 ? 0 : ReadScaleFactorDifference(stream, codebooks);
      std::fill_n(gains, std::max(bandCount, 1), Gain(scale, exponent));
      continue;
    }
    int sum = 0;
    for (int band = 0; band < bandCount; ++band) {
      if (channel.codebook[band] == kZeroCodebook) continue;
      sum += ReadScaleFactorDifference(stream, codebooks);
      const bool negative = signedGains && (sum & 1) != 0;
      const float gain = Gain(scale, signedGains ? sum >> 1 : sum);
      gains[band] = negative ? -gain : gain;
    }
  }
  return true;
}

void AddCoupledSpectrum(const ChannelStream& source, const float* gains, ChannelStream& target) {
  ForEachWindowBand(source.ics, [&](int band, int first, int count) {
    if (source.codebook[band] == kZeroCodebook) return;
    ippsAddProductC_32f(source.spectrum + first, gains[band], target.spectrum + first,
                        static_cast<std::size_t>(count));
  });
}

}  // namespace UMC::aac
