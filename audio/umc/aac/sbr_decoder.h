// Spectral band replication of an element, frame by frame (ISO/IEC 14496-3, 4.6.18): the core's samples in,
// twice as many (or, down-sampled, as many) out, late by kSbrAheadSlots slots and the filter banks' delay.
#pragma once

#include <cstdint>
#include <type_traits>

#include "bit_window.h"
#include "ipps_sbr.h"
#include "layout.h"
#include "qmf_plan.h"
#include "sbr_data.h"
#include "sbr_envelope.h"
#include "sbr_frequency_tables.h"
#include "sbr_header.h"
#include "sbr_hf_adjuster.h"
#include "sbr_hf_generator.h"

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

// What an element keeps from frame to frame, a new signal included.
struct SbrElementState {
  bool headerKnown;
  SbrHeader header;
  SbrFrequencyTables tables;  // of the header
};

// Room for one call.
struct SbrScratch {
  SbrData data;
  SbrLevels levels[2];
  alignas(16) Ipp32fc rows[kSbrRows][kQmfBands];
  alignas(16) float work[kQmfWorkFloats];
};

// All of a decoder: a block of its own, since streams without spectral band replication never touch it.
struct SbrArea {
  SbrElementState elements[kMaxChannels];  // by element of the layout
  SbrChannelState channels[kMaxChannels];  // by channel of the layout
  SbrScratch scratch;
  alignas(16) float output[kMaxChannels][kMaxSbrFrameLength];
};
static_assert(std::is_trivially_copyable_v<SbrArea>);

// The filter banks, shared by all decoders.
struct SbrFilterBanks;

// Made by the first caller; null where memory was short then.
const SbrFilterBanks* SharedSbrFilterBanks();

struct SbrFormat {
  std::uint32_t coreFrequency;  // hertz
  int coreFrameLength;          // 1024 or 960
  bool downSampled;             // the output has the core's sampling frequency
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

// Makes the QMF samples of the element's channel `index` from its core samples: with the high band that
// ReadSbrPayload has left in `scratch`, or (`hasHighBand` false) the core's own band alone. They are left in
// `scratch.rows`, output slot i in row i + kSbrAdjustSlots; behind the frame's, the core's band of
// kSbrAheadSlots more slots follows.
void AssembleSbrChannel(const SbrFormat& format, const SbrElementState& element, bool hasHighBand, int index,
                        const float* core, SbrChannelState& channel, SbrScratch& scratch);

// Makes the output of the QMF samples in `scratch.rows`.
void SynthesiseSbrChannel(const SbrFormat& format, SbrChannelState& channel, SbrScratch& scratch,
                          float* output);

}  // namespace UMC::aac
