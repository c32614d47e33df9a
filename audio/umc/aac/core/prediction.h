// Prediction of the object type Main: every spectral line from its history (ISO/IEC 14496-3, 4.6.7).
#pragma once

#include <cstdint>

#include "audio/umc/aac/core/scale_factor_bands.h"
#include "base/bit_window.h"
#include "dsp/ipps_fdp.h"

namespace UMC::aac {

struct ChannelStream;

struct PredictionData {
  std::uint8_t resetGroup;  // predictor_reset_group_number, 1 to 30; 0: no reset
  std::uint64_t used;       // prediction_used, one bit per band
};

// A channel's prediction state between frames. StartPrediction makes it valid.
struct PredictionState {
  IppsFDPState_32f predictors;
  std::uint32_t groupsReset;  // one bit per group reset since the start
  bool converged;             // converged: the last frame does not depend on any before the start
};

void StartPrediction(PredictionState& state);

// Reads the predictor data of a long window after predictor_data_present. False for an invalid reset group.
bool ParsePredictionData(fmp4::BitWindow& stream, const BandTable& bands, int maxSfb,
                         PredictionData& prediction);

// Adds the prediction where it is used, and adapts the predictors to the frame.
void ApplyPrediction(PredictionState& state, ChannelStream& channel);

}  // namespace UMC::aac
