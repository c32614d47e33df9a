// SBR of an element, frame by frame (ISO/IEC 14496-3, 4.6.18). Takes the core's samples and outputs twice as
// many (or, downsampled, as many), delayed by kSbrAheadSlots slots and the filter banks' delay.
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
#include "dsp/ipps_memory.h"
#include "dsp/ipps_sbr.h"
#include "dsp/qmf_plan.h"

namespace UMC::aac {

inline constexpr int kMaxSbrFrameLength = kIppsSbrSlots * kIppsSbrBands;

// A channel's SBR state between frames.
struct SbrChannelState {
  IppsAnalysisState_SBR_32f analysis;
  IppsSynthesisState_SBR_32f synthesis;
  Ipp32fc low[kSbrOldSlots][kIppsSbrAnalysisBands];  // the last slots of the core's subbands below `kx`
  Ipp32fc high[kSbrAheadSlots][kQmfBands];           // the high band generated past the frame's end
  int highSlots;                                     // number of valid slots in `high`
  int kx;                                            // kx of the last frame
  SbrEnvelopeMemory envelope;
  SbrChirp chirp;
  SbrAdjusterState adjuster;
};

// An element's SBR state between frames. The header survives a reset of the signal: it is part of the
// stream's configuration, and where headers are rare, keeping it avoids a long search for the next one.
struct SbrElementState {
  bool headerKnown;
  SbrHeader header;
  SbrFrequencyTables tables;  // derived from the header
  bool headerSeen;            // a header has been received since the decoder's Reset
  // State of the signal since its start.
  bool started;            // a block has been read
  bool noisePhaseUnknown;  // the noise phase may differ from that of a signal that started a multiple of 16
                           // blocks earlier: the first block did not begin at its start, or the header came
                           // only in a later one
};

// Whether the element's block, with a payload of `bits` bits, was decoded as by a decoder that has processed
// the entire stream, apart from the history of its filters.
bool IsSbrComplete(const SbrElementState& element, std::uint32_t bits, bool hasHighBand);

// Work area for one call.
struct SbrScratch {
  SbrData data;
  SbrLevels levels[2];
  alignas(kIppsAlignment) Ipp32fc rows[kSbrRows][kQmfBands];
  alignas(kIppsAlignment) float work[kQmfWorkFloats];
  alignas(kIppsAlignment) Ipp32fc right[kIppsSbrSlots][kQmfBands];  // second channel of parametric stereo
  PsScratch ps;
};

// Consecutive complete blocks after which earlier blocks have decayed from all recursive filters and smoothed
// factors.
inline constexpr int kSbrConvergenceBlocks = 16;

// The SBR state of a decoder: a separate block, since streams without SBR do not need it.
struct SbrArea {
  SbrElementState elements[kMaxChannels];    // by element of the layout
  SbrChannelState channels[kMaxChannels];    // by channel of the layout
  SbrChannelState couplings[kMaxCouplings];  // coupling channels in the time domain: only delayed
  PsData psData;                             // for a layout of one channel only
  PsState ps;
  int completeBlocks;  // consecutive ones up to and including the last, at most kSbrConvergenceBlocks
  SbrScratch scratch;
  alignas(kIppsAlignment) float output[kMaxChannels][kMaxSbrFrameLength];
  alignas(kIppsAlignment) float coupled[kMaxSbrFrameLength];
};
static_assert(std::is_trivially_copyable_v<SbrArea>);

// Resets the signal, but keeps the elements' headers.
void ResetSbr(SbrArea& sbr);

// From here on the headers are treated as those of another position, until new ones arrive.
void InvalidateSbrHeaders(SbrArea& sbr);

// Forgets the headers, as before the first block of a stream.
void ForgetSbrHeaders(SbrArea& sbr);

// The filter banks, shared by all decoders.
struct SbrFilterBanks;

// Created on first use; null if memory was exhausted.
const SbrFilterBanks* SharedSbrFilterBanks();

struct SbrFormat {
  std::uint32_t coreFrequency;  // hertz
  int coreFrameLength;          // 1024 or 960
  bool downSampled;             // the output has the core's sampling frequency
  bool numbered = false;        // `block` determines the noise phase; otherwise it continues from payload to
                                // payload
  std::uint64_t block = 0;      // number of the payload's block in its track
};

// Reads the payload, whose position counts from the stream's start, into `scratch.data` and `scratch.levels`.
// False if the frame has no high band: no payload, no header yet, or damage. After damage, decoding resumes
// with the next header.
bool ReadSbrPayload(const SbrFormat& format, fmp4::BitWindow& stream, const SbrPayload& payload,
                    int channelCount, SbrElementState& element, SbrChannelState* channels,
                    SbrScratch& scratch);

// True if a payload in a stream without any so far shows that the stream has SBR from here on: it contains a
// header, and all data after it are valid.
bool StartsSbr(const SbrFormat& format, fmp4::BitWindow& stream, const SbrPayload& payload, int channelCount,
               SbrScratch& scratch);

// Decodes the element's channel `index` from its core samples: with the high band that ReadSbrPayload has
// left in `scratch`, or (`hasHighBand` false) the core's band alone.
void DecodeSbrChannel(const SbrFormat& format, const SbrElementState& element, bool hasHighBand, int index,
                      const float* core, SbrChannelState& channel, SbrScratch& scratch, float* output);

// The same for an element of one channel that parametric stereo expands to two. The second channel's state is
// for its synthesis.
void DecodeSbrStereo(const SbrFormat& format, const SbrElementState& element, bool hasHighBand,
                     const float* core, const PsData& psData, PsState& ps, SbrChannelState* channels,
                     SbrScratch& scratch, float* left, float* right);

}  // namespace UMC::aac
