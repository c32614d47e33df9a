// ps_data(): the parametric stereo data of a stream (ISO/IEC 14496-3, 8.4.2 and 8.5.2).
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/aac/ps/bands.h"
#include "base/bit_window.h"

namespace UMC::aac {

// Up to four transmitted envelopes, and one that repeats the last of them up to the frame's end.
inline constexpr int kMaxPsEnvelopes = 5;

// Maximum magnitude of an IID index for the default and the fine quantiser, and maximum ICC index.
inline constexpr int kMaxIid[2] = {7, 15};
inline constexpr int kMaxIcc = 7;

// Indices, one per band of their resolution; 0 if not transmitted.
struct PsEnvelope {
  int border;                         // its last QMF slot
  std::int8_t iid[kMaxPsBands];       // intensity differences
  std::int8_t icc[kMaxPsBands];       // coherences
  std::int8_t ipd[kMaxPsPhaseBands];  // phase differences in eighths of a turn, 0 to 7
  std::int8_t opd[kMaxPsPhaseBands];  // overall phases, same units
};

// The last header, and the envelopes of the last payload.
struct PsData {
  bool headerSeen;
  bool iidEnabled, iccEnabled, extensionEnabled;
  std::uint8_t iidMode, iccMode;
  bool phasesEnabled;  // as of the last payload
  // False while indices may depend on differences from a payload that was not received.
  bool iidKnown, iccKnown, phasesKnown;
  std::uint32_t payloads;  // number of payloads, modulo 2^32
  int envelopeCount;
  PsEnvelope envelopes[kMaxPsEnvelopes];  // their borders ascend to the frame's last slot

  [[nodiscard]] bool FineIid() const { return iidMode >= 3; }
  [[nodiscard]] bool MixingB() const { return iccMode >= 3; }
  // Whether the data equal those of a decoder that has processed the entire stream.
  [[nodiscard]] bool Known() const { return headerSeen && iidKnown && iccKnown && phasesKnown; }
};

// Reads and adopts a payload of up to `bits` bits, for a frame of `slots` QMF slots (32 or 30). False, with
// nothing adopted, if it is invalid, overruns its bits or precedes the first header. The position of `stream`
// is then undefined, as it is after success.
bool ParsePsData(fmp4::BitWindow& stream, std::size_t bits, int slots, PsData& data);

}  // namespace UMC::aac
