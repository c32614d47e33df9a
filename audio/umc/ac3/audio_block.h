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

// One block. Fields that a block does not transmit keep their values from the previous block: the same record
// is used for all blocks of a frame.
struct AudioBlock {
  bool blockSwitch[kMaxFullChannels];
  bool dither[kMaxFullChannels];
  std::uint8_t dynamicRange[2];  // control words, by programme
  CouplingStrategy coupling;
  CouplingCoordinates coordinates;
  Rematrixing rematrixing;
  SharedAllocation allocation;
  // Transmitted in this frame: the first block must transmit all.
  bool couplingKnown, allocationKnown, snrOffsetsKnown, couplingLeakKnown;
  bool noBits;  // there are no mantissas in this block
  CodedChannel channels[kCodedChannels];
};

// Resets everything before the first block of a frame.
void BeginFrame(AudioBlock& block);

// Reads a block up to its mantissas and decodes its exponents. False if the syntax is invalid.
bool ParseSideInformation(fmp4::BitWindow& stream, const BitStreamInformation& info, AudioBlock& block);

// Allocates the bits of the channels whose parameters have changed. False if the parameters are invalid.
bool AllocateBlock(const SyncInfo& sync, const BitStreamInformation& info, AudioBlock& block);

// Reads the mantissas and makes the coefficients of all channels, including noise, decoupling and
// dematrixing. False for invalid codes.
bool ParseCoefficients(fmp4::BitWindow& stream, const BitStreamInformation& info, AudioBlock& block,
                       DitherGenerator& generator);

}  // namespace UMC::ac3
