// Everything that a decoder keeps from call to call, and the room it works in. Both are plain data without
// pointers into themselves: they live in blocks that may lie elsewhere at every call.
#pragma once

#include <cstdint>
#include <type_traits>

#include "audio_specific_config.h"
#include "decoder_options.h"
#include "filter_bank.h"
#include "layout.h"
#include "mixdown.h"
#include "raw_data_block.h"

namespace UMC::aac {

// Samples that a block becomes at most, by channel.
inline constexpr int kMaxOutputLength = 2 * kMaxFrameLength;

// ALS streams are known, but their frames are not served.
enum class StreamForm : std::uint8_t { kUnknown = 0, kRaw = 1, kAdts = 2, kAls = 3 };

// What a channel is predicted from. No object type has both kinds.
union PredictionMemory {
  LtpState ltp;
  PredictionState prediction;
};

struct DecoderState {
  StreamForm form;
  bool configured;        // by parameters: the caller frames the access units
  bool formatKnown;       // GetInfo can answer
  std::uint32_t pattern;  // of ADTS headers, under kAdtsPatternMask
  int objectType;
  int containerObjectType;  // that of the container, which counts for ADTS headers' profile; 0: none told
  int samplingIndex;
  std::uint32_t frequency;  // hertz
  int frameLength;          // samples a block and channel: 1024 or 960
  DecoderOptions options;
  int outputChannels;             // asked for; 0: those of the stream
  std::uint32_t outputFrequency;  // asked for, hertz: that of the core keeps SBR from doubling it; 0: no wish
  Layout program;                 // of the last program config element; without channels when there was none
  Layout layout;                  // of the last frame
  bool placedByProgram;           // the last block's elements were found in the program, not by their order
  int carriedChannels;            // of a frame at most, coupling channels included, while the layout lasts
  MixMatrix mix;                  // from `layout` to the output
  FilterBankState channels[kMaxChannels];
  FilterBankState couplings[kMaxCouplings];
  PredictionMemory predictions[kMaxChannels + kMaxCouplings];  // of the channels, then of the couplings
  int couplingsInUse;                                          // of the last block
  bool sbrSignalled;                                           // by the configuration
  bool sbrSeen;                                                // a block carried its data
  bool psSeen;  // a block of one channel carried parametric stereo
};
static_assert(std::is_trivially_copyable_v<DecoderState>);

// Samples come first, which keeps them aligned for wide vectors.
struct WorkArea {
  FilterBankScratch scratch;
  alignas(16) float mixed[kMaxChannels][kMaxOutputLength];
  RawDataBlock block;
};
static_assert(std::is_trivially_copyable_v<WorkArea>);

// Both together, for a stereo stream or any other.
static_assert(sizeof(DecoderState) + sizeof(WorkArea) < 448 * 1024);

}  // namespace UMC::aac
