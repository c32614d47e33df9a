// What a decoder keeps from earlier blocks: resetting it, and knowing when the output no longer depends on
// where decoding started.
#pragma once

#include "audio/umc/aac/decoder_memory.h"

namespace UMC::aac {

// Resets every channel: the overlap into the next block, prediction, and SBR except its headers.
void ResetChannels(LockedMemory& memory);

// Resets the signal and all that was learned from it: the stream is as specified by its configuration.
void Restart(LockedMemory& memory);

// The same for a lost block: decoding restarts after it with the headers received before.
void PassLostBlock(LockedMemory& memory);

// Whether the decoder has converged: the output does not depend on blocks before those since Reset, including
// lost ones, except for an overlap of one block. False before the first block.
bool IsConverged(const LockedMemory& memory);

}  // namespace UMC::aac
