// The prediction state of all channels, for the object types Main and LTP.
#pragma once

namespace UMC::aac {

struct DecoderState;
struct PredictionArea;
union PredictionMemory;

// Whether blocks of the object type are predicted from earlier ones.
bool IsPredictive(int objectType);

// Resets one channel's, or every channel's, prediction to the state before the first block of the object
// type.
void ResetPrediction(int objectType, PredictionMemory& memory);
void ResetPredictions(int objectType, PredictionArea& area);

// Whether no channel's prediction depends on anything before the start of its signal. `area` may be null for
// object types without prediction.
bool ArePredictionsConverged(const DecoderState& state, const PredictionArea* area);

}  // namespace UMC::aac
