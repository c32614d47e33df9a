// Coupling channels: a spectrum or signal that is added to other channels with individual gains (ISO/IEC
// 14496-3, 4.6.8.3).
#pragma once

#include <cstdint>

#include "audio/umc/aac/core/channel_stream.h"
#include "audio/umc/aac/core/codebooks.h"
#include "base/bit_window.h"

namespace UMC::aac {

inline constexpr int kMaxCouplings = 8;
inline constexpr int kMaxCouplingTargets = 8;

struct CouplingTarget {
  bool isPair;
  std::uint8_t tag;          // element_instance_tag of the target
  std::int8_t gainLists[2];  // of the first and second channel; -1: the channel is not coupled
};

// The stage of the target's decoding at which the coupling takes place.
enum class CouplingPoint : std::uint8_t { kBeforeTns, kAfterTns, kTimeSignal };

struct Coupling {
  CouplingPoint point;
  std::uint8_t stream;  // index of the coupling channel's stream
  std::uint8_t targetCount;
  CouplingTarget targets[kMaxCouplingTargets];
  // By gain list and IcsInfo::Band of the coupling channel; a time signal uses one gain per list, the first.
  float gains[2 * kMaxCouplingTargets][kMaxGroupedBands];
};

// Reads coupling_channel_element() after its tag. False if the syntax is invalid.
bool ParseCoupling(fmp4::BitWindow& stream, const Codebooks& codebooks, const FrameBands& bands,
                   int objectType, std::int16_t* quantised, ChannelStream& channel, Coupling& coupling);

// Adds the coupling channel's spectrum to a target channel's.
void AddCoupledSpectrum(const ChannelStream& source, const float* gains, ChannelStream& target);

}  // namespace UMC::aac
