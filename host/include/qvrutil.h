// The host's description library: small helpers for the descriptions in qvr.h.
#pragma once

#include "qvr.h"
#include "vlutil.h"

// Returned by findChannel for an empty mask.
inline constexpr std::uint32_t QVR_NO_CHANNEL = 0xFFFFFFFFu;

extern "C" {

// Replaces the information record that the host keeps for `owner` with a copy of `info`. Returns 0, or
// VL_FAILED for a null argument.
VLHOST_API std::uint32_t qvrInfoSet(const void* owner, const QVRINFO* info);

// Deletes the record of `owner`; deleting a missing one is not an error. Returns 0.
VLHOST_API std::uint32_t qvrInfoDelete(const void* owner);

// The picture aspect ratio (width to height, reduced) of a video description with square pixels. 0:0 if it
// has no width or height. Outputs may be null.
VLHOST_API void vidGetAspectRatio(const QVRVIDEO* video, std::uint32_t* aspectX, std::uint32_t* aspectY);

// Normalises a frame rate so that a timescale can be derived from it: NTSC rates, exact or in their decimal
// forms (2997/100, 2398/100), become n*1000 / 1001, all others become thousandths over 1000 (25/1 becomes
// 25000/1000). Left unchanged if the rate or scale is 0, or if the rate in thousandths exceeds 32 bits.
VLHOST_API void vidNormalizeRateScale(std::uint32_t* rate, std::uint32_t* scale);

// The number of channels in a mask.
VLHOST_API std::uint32_t totalChannels(std::uint32_t mask);

// The index of the first channel in a mask, or QVR_NO_CHANNEL if it is empty.
VLHOST_API std::uint32_t findChannel(std::uint32_t mask);

}  // extern "C"
