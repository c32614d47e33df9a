// Prediction of the object type Main: every spectral line from its past (ISO/IEC 14496-3, 4.6.7).
#pragma once

#include <cstdint>

#include "audio/umc/aac/core/scale_factor_bands.h"
#include "base/bit_window.h"
#include "dsp/ipps_fdp.h"

namespace UMC::aac {

struct ChannelStream;

struct PredictionData {
  std::uint8_t resetGroup;  // predictor_reset_group_number, 1 to 30; 0: none is reset
  std::uint64_t used;       // prediction_used: bit of every band
};

// A channel's memory from frame to frame. StartPrediction makes it valid.
struct PredictionState {
  IppsFDPState_32f predictors;
  std::uint32_t groupsReset;  // bit of every reset group, since the start
  bool settled;               // the last frame does not depend on any ahead of the start
};

void StartPrediction(PredictionState& state);

// Reads the predictor data of a long window behind predictor_data_present. False for a reset group that
// does not exist.
bool ParsePredictionData(BitWindow& stream, const BandTable& bands, int maxSfb, PredictionData& prediction);

// Adds the prediction where it is used, and lets the predictors learn from the frame.
void ApplyPrediction(PredictionState& state, ChannelStream& channel);

}  // namespace UMC::aac
