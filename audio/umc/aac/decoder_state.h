// The state that a decoder keeps from call to call, and its work area: plain data without pointers into
// itself, as the memory blocks may move between calls.
#pragma once

#include <cstdint>
#include <type_traits>

#include "audio/umc/aac/core/filter_bank.h"
#include "audio/umc/aac/core/mixdown.h"
#include "audio/umc/aac/decoder_options.h"
#include "audio/umc/aac/raw_data_block.h"
#include "base/aac/audio_specific_config.h"
#include "base/aac/layout.h"
#include "dsp/ipps_memory.h"

namespace UMC::aac {

// Maximum number of output samples per block and channel.
inline constexpr int kMaxOutputLength = 2 * kMaxFrameLength;

// kUnsupported: the stream is known but unsupported; its frames are not decoded.
enum class StreamForm : std::uint8_t { kUnknown = 0, kRaw = 1, kAdts = 2, kUnsupported = 3 };

struct DecoderState {
  StreamForm form;
  bool configured;                    // by parameters: the caller supplies complete access units
  bool signalled;                     // `config` is the container's and overrides the headers
  bool formatKnown;                   // GetInfo can answer
  bool patternProven;                 // more than one header has `pattern`, so it is certainly the stream's
  std::uint32_t pattern;              // ADTS header bits under kAdtsPatternMask
  AudioSpecificConfig config;         // the container's, or from the stream's first header
  std::uint32_t unsupportedChannels;  // number of channels of an unsupported stream
  DecoderOptions options;
  int outputChannels;             // requested; 0: as in the stream
  std::uint32_t outputFrequency;  // requested, hertz: the core's frequency keeps SBR from doubling it, twice
                                  // that doubles it before the first payload; 0: unspecified

  bool numbered;        // `block` is valid; otherwise the noise phase counts from the signal's start
  std::uint64_t block;  // number of the next block in its track

  // A block was lost since Reset, after all headers had been received: earlier blocks have no influence.
  bool blank;

  // A block carried SBR data since Init, also before Reset: where its payload is missing, earlier blocks
  // matter.
  bool sbrKnown;

  // Learned from the signal since its start.
  bool started;          // a block has been decoded
  bool sbrSeen;          // a block carried SBR data
  bool psSeen;           // a block of one channel carried parametric stereo
  bool placedByProgram;  // the last block's elements were identified by the program, not by their order
  Layout program;        // from the configuration or an earlier block; otherwise without channels
  Layout layout;         // of the last block, or from the configuration; otherwise without channels
  MixMatrix mix;         // from `layout` to the output
  int couplingsInUse;    // coupling channels in the last block

  FilterBankState channels[kMaxChannels];
  FilterBankState couplings[kMaxCouplings];
};
static_assert(std::is_trivially_copyable_v<DecoderState>);

// The samples come first, aligned for vector instructions.
struct WorkArea {
  FilterBankScratch scratch;
  alignas(kIppsAlignment) float mixed[kMaxChannels][kMaxOutputLength];
  RawDataBlock block;
};
static_assert(std::is_trivially_copyable_v<WorkArea>);

// The total for an LC stream without SBR.
static_assert(sizeof(DecoderState) + sizeof(WorkArea) < 400 * 1024);

// A channel's prediction state. No object type has both kinds.
union PredictionMemory {
  LtpState ltp;
  PredictionState prediction;
};

// For streams of the object types Main and LTP, in a separate block that others do not need.
struct PredictionArea {
  PredictionMemory channels[kMaxChannels];
  PredictionMemory couplings[kMaxCouplings];
};
static_assert(std::is_trivially_copyable_v<PredictionArea>);

}  // namespace UMC::aac
