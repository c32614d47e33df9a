// The joint stereo tools of a channel pair with common windows: M/S and intensity (ISO/IEC 14496-3, 4.6.8).
#pragma once

#include <cstdint>

#include "audio/umc/aac/core/channel_stream.h"
#include "base/bit_window.h"

namespace UMC::aac {

struct StereoMask {
  bool sent;                            // ms_mask_present is 1: the flags are transmitted
  std::uint8_t used[kMaxGroupedBands];  // by IcsInfo::Band: 1 if the pair is coded as sum and difference
};

// Reads ms_mask_present and ms_used. False for the reserved value.
bool ParseStereoMask(fmp4::BitWindow& stream, const IcsInfo& ics, StereoMask& mask);

// Undoes M/S where it is used, except in noise and intensity bands.
void ApplyMidSide(const StereoMask& mask, ChannelStream& left, ChannelStream& right);

// Derives the right channel's intensity bands from the left channel's.
void ApplyIntensity(const StereoMask& mask, const ChannelStream& left, ChannelStream& right);

}  // namespace UMC::aac
