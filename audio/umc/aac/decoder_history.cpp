#include "audio/umc/aac/decoder_history.h"

#include <algorithm>

#include "audio/umc/aac/decoder_state.h"
#include "audio/umc/aac/output_format.h"
#include "audio/umc/aac/predictions.h"
#include "audio/umc/aac/sbr/sbr_decoder.h"

namespace UMC::aac {

namespace {

// Whether the headers of all elements have been received since Reset, except LFE elements, which have none.
bool AreHeadersSeen(const LockedMemory& memory) {
  const DecoderState& state = memory.State();
  if (!HasSbr(state)) return !state.sbrKnown;
  if (memory.Sbr() == nullptr) return false;
  for (int i = 0; i < state.layout.elementCount; ++i) {
    if (state.layout.elements[i].type != ElementType::kLfe && !memory.Sbr()->elements[i].headerSeen)
      return false;
  }
  return true;
}

}  // namespace

void ResetChannels(LockedMemory& memory) {
  DecoderState& state = memory.State();
  std::fill_n(state.channels, kMaxChannels, FilterBankState{});
  std::fill_n(state.couplings, kMaxCouplings, FilterBankState{});
  if (memory.Predictions() != nullptr) ResetPredictions(state.config.objectType, *memory.Predictions());
  if (memory.Sbr() != nullptr) ResetSbr(*memory.Sbr());
}

void Restart(LockedMemory& memory) {
  DecoderState& state = memory.State();
  if (state.started) {
    ResetChannels(memory);
  } else if (memory.Predictions() != nullptr) {
    // Nothing has been predicted yet, but the object type may have changed.
    ResetPredictions(state.config.objectType, *memory.Predictions());
  }
  state.started = state.sbrSeen = state.psSeen = false;
  state.program = state.config.Program();
  if (state.numbered || state.config.layout.channelCount > 0) state.layout = state.config.layout;
  UpdateMix(state);
}

void PassLostBlock(LockedMemory& memory) {
  DecoderState& state = memory.State();
  // Before the first block it is unknown whether there are headers.
  state.blank |= state.started && AreHeadersSeen(memory);
  Restart(memory);
}

bool IsConverged(const LockedMemory& memory) {
  const DecoderState& state = memory.State();
  if (state.blank) return true;
  if (!state.started) return false;
  if (!HasSbr(state)) return !state.sbrKnown && ArePredictionsConverged(state, memory.Predictions());
  return memory.Sbr() != nullptr && memory.Sbr()->completeBlocks >= kSbrConvergenceBlocks;
}

}  // namespace UMC::aac
