// Everything that a decoder keeps from call to call, and the room it works in: plain data without pointers
// into itself, for it lives in a block that may lie elsewhere at every call.
#pragma once

#include <cstdint>
#include <type_traits>

#include "audio/umc/ac3/audio_block.h"
#include "audio/umc/ac3/bit_stream_information.h"
#include "audio/umc/ac3/output_options.h"
#include "audio/umc/ac3/sync_frame.h"
#include "audio/umc/ac3/transform.h"

namespace UMC::ac3 {

struct DecoderState {
  OutputOptions options;
  bool formatKnown;                // a good frame has been decoded
  SyncInfo sync;                   // of the last good frame
  BitStreamInformation info;       // likewise
  bool atFrame;                    // the next input begins where the last frame ended
  std::uint32_t frequency;         // hertz, of the last frame
  double endTime;                  // seconds, of the last frame
  Overlap overlaps[kMaxChannels];  // by output channel
  AudioBlock block;
  TransformScratch scratch;
  alignas(16) float sums[2][kBins];  // of one output channel's coefficients, without and with block switching
};
static_assert(std::is_trivially_copyable_v<DecoderState>);
static_assert(sizeof(DecoderState) < 64 * 1024);

// Until the first frame tells.
inline constexpr std::uint32_t kDefaultFrequency = 48000;

}  // namespace UMC::ac3
