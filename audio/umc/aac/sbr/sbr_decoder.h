// Spectral band replication of an element, frame by frame (ISO/IEC 14496-3, 4.6.18): the core's samples in,
// twice as many (or, down-sampled, as many) out, late by kSbrAheadSlots slots and the filter banks' delay.
#pragma once

#include <cstdint>
#include <type_traits>

#include "audio/umc/aac/core/coupling.h"
#include "audio/umc/aac/ps/parametric_stereo.h"
#include "audio/umc/aac/sbr/data.h"
#include "audio/umc/aac/sbr/envelope.h"
#include "audio/umc/aac/sbr/frequency_tables.h"
#include "audio/umc/aac/sbr/header.h"
#include "audio/umc/aac/sbr/hf_adjuster.h"
#include "audio/umc/aac/sbr/hf_generator.h"
#include "base/aac/layout.h"
#include "base/bit_window.h"
#include "dsp/ipps_sbr.h"
#include "dsp/qmf_plan.h"

namespace UMC::aac {

inline constexpr int kMaxSbrFrameLength = kIppsSbrSlots * kIppsSbrBands;

// What a channel keeps from frame to frame.
struct SbrChannelState {
  IppsAnalysisState_SBR_32f analysis;
  IppsSynthesisState_SBR_32f synthesis;
  Ipp32fc low[kSbrOldSlots][kIppsSbrAnalysisBands];  // the last slots of the core's subbands below `kx`
  Ipp32fc high[kSbrAheadSlots][kQmfBands];           // the high band generated beyond the frame's end
  int highSlots;                                     // of these, how many there are
  int kx;                                            // of the last frame
  SbrEnvelopeMemory envelope;
  SbrChirp chirp;
  SbrAdjusterState adjuster;
};

// What an element keeps from frame to frame. Its header outlives the signal: it is how a stream is
// configured, and where headers are rare it saves a long search for one.
struct SbrElementState {
  bool headerKnown;
  SbrHeader header;
  SbrFrequencyTables tables;  // of the header
  bool headerSeen;            // it has come since the decoder's Reset
  // Of the signal, from where it starts.
  bool started;      // a block has been read
  bool phaseUnsure;  // the noise need not be where it would be had the signal started a multiple of 16 blocks
                     // earlier: the first block did not begin at its start, or only later ones had the header
};

// Whether the element's block, with a payload of `bits` bits, was decoded as by a decoder that has seen all
// of the stream; its filters' memory aside.
bool IsSbrComplete(const SbrElementState& element, std::uint32_t bits, bool hasHighBand);

// Room for one call.
struct SbrScratch {
  SbrData data;
  SbrLevels levels[2];
  alignas(16) Ipp32fc rows[kSbrRows][kQmfBands];
  alignas(16) float work[kQmfWorkFloats];
  alignas(16) Ipp32fc right[kIppsSbrSlots][kQmfBands];  // of two channels that were one
  PsScratch ps;
};

// All of a decoder: a block of its own, since streams without spectral band replication have none.
struct SbrArea {
  SbrElementState elements[kMaxChannels];    // by element of the layout
  SbrChannelState channels[kMaxChannels];    // by channel of the layout
  SbrChannelState couplings[kMaxCouplings];  // of channels that are coupled in time: no more than delayed
  PsData psData;                             // of a layout of one channel, likewise
  PsState ps;
  int completeBlocks;  // up to the last one, in a row
  SbrScratch scratch;
  alignas(16) float output[kMaxChannels][kMaxSbrFrameLength];
  alignas(16) float coupled[kMaxSbrFrameLength];
};
static_assert(std::is_trivially_copyable_v<SbrArea>);

// Forgets the signal, but not the elements' headers.
void ForgetSbr(SbrArea& sbr);

// From here on the headers are those of another place, until others come.
void DoubtSbrHeaders(SbrArea& sbr);

// The filter banks, shared by all decoders.
struct SbrFilterBanks;

// Made by the first caller; null where memory was short then.
const SbrFilterBanks* SharedSbrFilterBanks();

struct SbrFormat {
  std::uint32_t coreFrequency;  // hertz
  int coreFrameLength;          // 1024 or 960
  bool downSampled;             // the output has the core's sampling frequency
  bool numbered = false;        // `block` tells where the noise is; else it goes on from payload to payload
  std::uint64_t block = 0;      // number of the payload's block in its track
};

// Reads the payload, whose position counts from the stream's start, into `scratch.data` and `scratch.levels`.
// False when the frame has no high band: there is no payload, no header yet, or damage. After damage a header
// must come first.
bool ReadSbrPayload(const SbrFormat& format, BitWindow& stream, const SbrPayload& payload, int channelCount,
                    SbrElementState& element, SbrChannelState* channels, SbrScratch& scratch);

// True when a payload in a stream that had none before shows that the stream has spectral band replication
// from here on: a header and all data behind it make sense.
bool StartsSbr(const SbrFormat& format, BitWindow& stream, const SbrPayload& payload, int channelCount,
               SbrScratch& scratch);

// Decodes the element's channel `index` from its core samples: with the high band that ReadSbrPayload has
// left in `scratch`, or (`hasHighBand` false) the core's own band alone.
void DecodeSbrChannel(const SbrFormat& format, const SbrElementState& element, bool hasHighBand, int index,
                      const float* core, SbrChannelState& channel, SbrScratch& scratch, float* output);

// The same for an element of one channel that becomes two by parametric stereo. The second one's state is
// for its synthesis.
void DecodeSbrStereo(const SbrFormat& format, const SbrElementState& element, bool hasHighBand,
                     const float* core, const PsData& psData, PsState& ps, SbrChannelState* channels,
                     SbrScratch& scratch, float* left, float* right);

}  // namespace UMC::aac
