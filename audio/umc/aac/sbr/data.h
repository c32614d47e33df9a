// sbr_data() of an element: a frame's data about its SBR high band (ISO/IEC 14496-3, 4.4.2.8).
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/aac/sbr/envelope.h"
#include "audio/umc/aac/sbr/frequency_tables.h"
#include "audio/umc/aac/sbr/grid.h"
#include "audio/umc/aac/sbr/header.h"
#include "base/bit_window.h"

namespace UMC::aac {

// The bit range of an element's sbr_extension_data() in its raw data block.
struct SbrPayload {
  std::size_t position;  // of its first bit
  std::uint32_t bits;    // including fill bits; 0: no payload
  bool hasCrc;
};

struct SbrChannelData {
  SbrGrid grid;
  SbrEnvelopeData envelope;
  std::uint8_t inverseFiltering[kMaxSbrNoiseBands];  // bs_invf_mode
  bool sinusoids[kMaxSbrBands];                      // bs_add_harmonic, by high-resolution band
};

struct SbrData {
  bool coupled;
  // The bit range of ps_data() in the block, as in SbrPayload; 0 bits: none.
  std::size_t psPosition;
  std::size_t psBits;
  SbrChannelData channels[2];
};

// True if the payload's checksum, if any, matches; the stream is then positioned after it.
bool CheckSbrCrc(fmp4::BitWindow& stream, const SbrPayload& payload);

// Reads the data of `channels` channels, up to the payload's end at bit position `end`. False if the data
// exceed it or their syntax is invalid.
bool ParseSbrData(fmp4::BitWindow& stream, std::size_t end, const SbrHeader& header,
                  const SbrFrequencyTables& tables, int slots, int channels, SbrData& data);

}  // namespace UMC::aac
