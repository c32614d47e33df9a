#include "audio/umc/aac/predictions.h"

#include <algorithm>

#include "audio/umc/aac/decoder_state.h"

namespace UMC::aac {

bool IsPredictive(int objectType) {
  return objectType == kObjectMain || objectType == kObjectLtp;
}

void ResetPrediction(int objectType, PredictionMemory& memory) {
  if (objectType == kObjectMain) StartPrediction(memory.prediction);
  if (objectType == kObjectLtp) memory.ltp = {};
}

void ResetPredictions(int objectType, PredictionArea& area) {
  for (PredictionMemory& memory : area.channels) ResetPrediction(objectType, memory);
  for (PredictionMemory& memory : area.couplings) ResetPrediction(objectType, memory);
}

bool ArePredictionsConverged(const DecoderState& state, const PredictionArea* area) {
  if (!IsPredictive(state.config.objectType)) return true;
  const auto converged = [&](const PredictionMemory& memory) {
    return state.config.objectType == kObjectMain ? memory.prediction.converged
                                                  : memory.ltp.unpredicted == kLtpConvergenceFrames;
  };
  return std::all_of(area->channels, area->channels + state.layout.channelCount, converged) &&
         std::all_of(area->couplings, area->couplings + state.couplingsInUse, converged);
}

}  // namespace UMC::aac
