// The state that a decoder keeps from call to call, and its work area: plain data without pointers into
// itself, as its memory block may move between calls.
#pragma once

#include <cstdint>
#include <type_traits>

#include "audio/umc/ac3/audio_block.h"
#include "audio/umc/ac3/bit_stream_information.h"
#include "audio/umc/ac3/output_options.h"
#include "audio/umc/ac3/sync_frame.h"
#include "audio/umc/ac3/transform.h"
#include "dsp/ipps_memory.h"

namespace UMC::ac3 {

struct DecoderState {
  OutputOptions options;
  bool formatKnown;                // a good frame has been decoded
  SyncInfo sync;                   // last good frame
  BitStreamInformation info;       // last good frame
  bool atFrame;                    // the next input begins where the last frame ended
  std::uint32_t frequency;         // hertz, last frame
  double endTime;                  // seconds, last frame
  Overlap overlaps[kMaxChannels];  // by output channel
  AudioBlock block;
  TransformScratch scratch;
  alignas(kIppsAlignment) float sums[2][kBins];  // one output channel's coefficients, without and with block
                                                 // switching
};
static_assert(std::is_trivially_copyable_v<DecoderState>);
static_assert(sizeof(DecoderState) < 64 * 1024);

// Before the first frame.
inline constexpr std::uint32_t kDefaultFrequency = 48000;

}  // namespace UMC::ac3
