#include "audio/umc/aac/core/scale_factors.h"

namespace UMC::aac {

namespace {

constexpr int kMaxScaleFactor = 255;
constexpr int kNoiseOffset = 90;       // NOISE_OFFSET
constexpr unsigned kNoisePcmBits = 9;  // bits of the first noise energy, which is PCM-coded
constexpr int kNoisePcmOffset = 256;

}  // namespace

bool ParseScaleFactorData(fmp4::BitWindow& stream, const Codebooks& codebooks, int globalGain,
                          ChannelStream& channel) {
  fmp4::BitWindow window = stream;  // in registers
  int scaleFactor = globalGain;
  int position = 0;
  int energy = globalGain - kNoiseOffset;
  bool firstNoise = true;
  for (int band = 0; band < channel.ics.BandCount(); ++band) {
    int value = 0;
    switch (channel.codebook[band]) {
      case kZeroCodebook:
        break;
      case kIntensityInPhase:
      case kIntensityOutOfPhase:
        value = position += ReadScaleFactorDifference(window, codebooks);
        break;
      case kNoiseCodebook:
        energy += firstNoise ? static_cast<int>(window.Read(kNoisePcmBits)) - kNoisePcmOffset
                             : ReadScaleFactorDifference(window, codebooks);
        firstNoise = false;
        value = energy;
        break;
      default:
        value = scaleFactor += ReadScaleFactorDifference(window, codebooks);
        if (value < 0 || value > kMaxScaleFactor) return false;
    }
    channel.scaleFactor[band] = static_cast<std::int16_t>(value);
  }
  stream = window;
  return true;
}

}  // namespace UMC::aac
