#include "audio/umc/aac/core/prediction.h"

#include <algorithm>

#include "audio/umc/aac/core/channel_stream.h"

namespace UMC::aac {

bool ParsePredictionData(fmp4::BitWindow& stream, const BandTable& bands, int maxSfb,
                         PredictionData& prediction) {
  const bool reset = stream.ReadFlag();  // predictor_reset
  if (reset) {
    prediction.resetGroup = static_cast<std::uint8_t>(stream.Read(5));
    if (prediction.resetGroup < 1 || prediction.resetGroup > kFdpResetGroups) return false;
  }
  for (int sfb = 0; sfb < std::min(maxSfb, bands.predictionBands); ++sfb) {
    prediction.used |= std::uint64_t{stream.Read(1)} << sfb;
  }
  return true;
}

void StartPrediction(PredictionState& state) {
  ippsFDPInit_32f(&state.predictors);
  state.groupsReset = 0;
  state.converged = false;
}

void ApplyPrediction(PredictionState& state, ChannelStream& channel) {
  constexpr std::uint32_t kAllGroups = (1u << kFdpResetGroups) - 1;
  const IcsInfo& ics = channel.ics;
  if (ics.IsShort()) {
    ippsFDPReset_32f(&state.predictors);
    state.groupsReset = kAllGroups;
    state.converged = true;
    return;
  }
  state.converged = state.groupsReset == kAllGroups;
  // Noise and intensity bands are not predicted; noise bands also reset their predictors.
  std::uint64_t used = ics.prediction.used, noise = 0;
  for (int sfb = 0; sfb < ics.maxSfb; ++sfb) {
    const std::uint64_t bit = std::uint64_t{1} << sfb;
    if (channel.codebook[sfb] >= kNoiseCodebook) used &= ~bit;
    if (channel.codebook[sfb] == kNoiseCodebook) noise |= bit;
  }
  const std::uint16_t* offsets = ics.bands->offsets;
  const auto bands = static_cast<std::size_t>(ics.bands->predictionBands);
  ippsFDPInv_32f_I(channel.spectrum, offsets, bands, used, &state.predictors);
  for (std::size_t sfb = 0; sfb < bands; ++sfb) {
    if ((noise >> sfb & 1) != 0) ippsFDPResetLines_32f(offsets[sfb], offsets[sfb + 1], &state.predictors);
  }
  if (ics.prediction.resetGroup == 0) return;
  ippsFDPResetGroup_32f(ics.prediction.resetGroup, &state.predictors);
  state.groupsReset |= 1u << (ics.prediction.resetGroup - 1);
}

}  // namespace UMC::aac
