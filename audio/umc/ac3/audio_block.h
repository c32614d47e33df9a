// audblk(): the six blocks of a sync frame (ATSC A/52, 5.3.3 and 5.4.3).
#pragma once

#include <cstdint>

#include "audio/umc/ac3/bit_stream_information.h"
#include "audio/umc/ac3/channel_coupling.h"
#include "audio/umc/ac3/coded_channel.h"
#include "audio/umc/ac3/dither.h"
#include "audio/umc/ac3/rematrixing.h"
#include "audio/umc/ac3/sync_frame.h"
#include "base/bit_window.h"

namespace UMC::ac3 {

// One block. What a block does not say is as it was in the block before: the same record serves all blocks
// of a frame.
struct AudioBlock {
  bool blockSwitch[kMaxFullChannels];
  bool dither[kMaxFullChannels];
  std::uint8_t dynamicRange[2];  // words, by programme
  CouplingStrategy coupling;
  CouplingCoordinates coordinates;
  Rematrixing rematrixing;
  SharedAllocation allocation;
  // Sent in this frame: the first block must have all.
  bool couplingKnown, allocationKnown, snrOffsetsKnown, couplingLeakKnown;
  bool noBits;  // there are no mantissas at all
  CodedChannel channels[kCodedChannels];
};

// Forgets everything, as the first block of a frame finds it.
void BeginFrame(AudioBlock& block);

// Reads a block up to its mantissas, exponents decoded. False for what no stream may hold.
bool ParseSideInformation(BitWindow& stream, const BitStreamInformation& info, AudioBlock& block);

// Allocates the bits of the channels where something has changed. False for what no stream may hold.
bool AllocateBlock(const SyncInfo& sync, const BitStreamInformation& info, AudioBlock& block);

// Reads the mantissas and makes the coefficients of all channels, noise, coupling and rematrixing undone.
// False for codes that stand for nothing.
bool ParseCoefficients(BitWindow& stream, const BitStreamInformation& info, AudioBlock& block,
                       DitherGenerator& generator);

}  // namespace UMC::ac3
