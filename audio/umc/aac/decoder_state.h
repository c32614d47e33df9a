// Everything that a decoder keeps from call to call, and the room it works in. All are plain data without
// pointers into themselves: they live in blocks that may lie elsewhere at every call.
#pragma once

#include <cstdint>
#include <type_traits>

#include "audio/umc/aac/core/filter_bank.h"
#include "audio/umc/aac/core/mixdown.h"
#include "audio/umc/aac/decoder_options.h"
#include "audio/umc/aac/raw_data_block.h"
#include "base/aac/audio_specific_config.h"
#include "base/aac/layout.h"

namespace UMC::aac {

// Samples that a block becomes at most, by channel.
inline constexpr int kMaxOutputLength = 2 * kMaxFrameLength;

// kUnserved: the stream is known, but its frames are not decoded.
enum class StreamForm : std::uint8_t { kUnknown = 0, kRaw = 1, kAdts = 2, kUnserved = 3 };

struct DecoderState {
  StreamForm form;
  bool configured;             // by parameters: the caller frames the access units
  bool told;                   // `config` is the container's, and what headers say otherwise does not count
  bool formatKnown;            // GetInfo can answer
  bool patternProven;          // that `pattern` is the stream's is sure: more than one header has it
  std::uint32_t pattern;       // of ADTS headers, under kAdtsPatternMask
  AudioSpecificConfig config;  // the container's, or what the stream's first header says
  std::uint32_t unservedChannels;  // of a stream that is not served
  DecoderOptions options;
  int outputChannels;             // asked for; 0: those of the stream
  std::uint32_t outputFrequency;  // asked for, hertz: that of the core keeps SBR from doubling it, twice that
                                  // doubles it before the first payload; 0: no wish

  bool numbered;        // `block` is told; else noise goes on from where the signal starts
  std::uint64_t block;  // number of the next block in its track

  // Since Reset a block was lost after every header had come: nothing before it counts.
  bool blank;

  // Learnt from the signal since its start.
  bool started;          // a block has been decoded
  bool sbrSeen;          // a block carried data of spectral band replication
  bool psSeen;           // a block of one channel carried parametric stereo
  bool placedByProgram;  // the last block's elements were found in the program, not by their order
  Layout program;        // the configuration's, or the last one in a block; else without channels
  Layout layout;         // of the last block, or the configuration's; else without channels
  MixMatrix mix;         // from `layout` to the output
  int couplingsInUse;    // of the last block

  FilterBankState channels[kMaxChannels];
  FilterBankState couplings[kMaxCouplings];
};
static_assert(std::is_trivially_copyable_v<DecoderState>);

// Samples come first, which keeps them aligned for wide vectors.
struct WorkArea {
  FilterBankScratch scratch;
  alignas(16) float mixed[kMaxChannels][kMaxOutputLength];
  RawDataBlock block;
};
static_assert(std::is_trivially_copyable_v<WorkArea>);

// Both together, all that a stream of the object type LC without spectral band replication needs.
static_assert(sizeof(DecoderState) + sizeof(WorkArea) < 400 * 1024);

// What a channel is predicted from. No object type has both kinds.
union PredictionMemory {
  LtpState ltp;
  PredictionState prediction;
};

// For streams of the object types Main and LTP, in a block of its own: others do without.
struct PredictionArea {
  PredictionMemory channels[kMaxChannels];
  PredictionMemory couplings[kMaxCouplings];
};
static_assert(std::is_trivially_copyable_v<PredictionArea>);

}  // namespace UMC::aac
