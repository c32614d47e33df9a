// ps_data(): what the stream says about parametric stereo (ISO/IEC 14496-3, 8.4.2 and 8.5.2).
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/aac/ps/bands.h"
#include "base/bit_window.h"

namespace UMC::aac {

// Four that are sent and one that goes on with the last of them to the frame's end.
inline constexpr int kMaxPsEnvelopes = 5;

// Largest magnitude of an IID index of the default and the fine quantiser, and largest ICC index.
inline constexpr int kLargestIid[2] = {7, 15};
inline constexpr int kLargestIcc = 7;

// Indices, as many as their resolution has bands; 0 of what is not sent.
struct PsEnvelope {
  int border;                         // its last QMF slot
  std::int8_t iid[kMaxPsBands];       // intensity differences
  std::int8_t icc[kMaxPsBands];       // coherences
  std::int8_t ipd[kMaxPsPhaseBands];  // phase differences in eighths of a turn, 0 to 7
  std::int8_t opd[kMaxPsPhaseBands];  // overall phases, likewise
};

// The last header, and the envelopes of the last payload.
struct PsData {
  bool headerSeen;
  bool iidEnabled, iccEnabled, extensionEnabled;
  std::uint8_t iidMode, iccMode;
  bool phasesEnabled;  // by the last payload
  // False while indices may rest on differences to those of a payload that was not seen.
  bool iidKnown, iccKnown, phasesKnown;
  std::uint32_t payloads;  // counted modulo 2^32
  int envelopeCount;
  PsEnvelope envelopes[kMaxPsEnvelopes];  // their borders rise to the frame's last slot

  [[nodiscard]] bool FineIid() const { return iidMode >= 3; }
  [[nodiscard]] bool MixingB() const { return iccMode >= 3; }
  // Whether this is what a decoder has that has seen all of the stream.
  [[nodiscard]] bool Known() const { return headerSeen && iidKnown && iccKnown && phasesKnown; }
};

// Reads a payload of up to `bits` bits, for a frame of `slots` QMF slots (32 or 30), and takes it over.
// False, with nothing taken over, for one that has no meaning, goes on behind its bits or comes ahead of any
// header. `stream` is left anywhere.
bool ParsePsData(BitWindow& stream, std::size_t bits, int slots, PsData& data);

}  // namespace UMC::aac
