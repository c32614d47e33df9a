// sbr_data() of an element: everything a frame says about its replicated band (ISO/IEC 14496-3, 4.4.2.8).
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/aac/sbr/envelope.h"
#include "audio/umc/aac/sbr/frequency_tables.h"
#include "audio/umc/aac/sbr/grid.h"
#include "audio/umc/aac/sbr/header.h"
#include "base/bit_window.h"

namespace UMC::aac {

// Where an element's sbr_extension_data() lies in the bits of its raw data block.
struct SbrPayload {
  std::size_t position;  // of its first bit
  std::uint32_t bits;    // fill bits included; 0: there is none
  bool hasCrc;
};

struct SbrChannelData {
  SbrGrid grid;
  SbrEnvelopeData envelope;
  std::uint8_t inverseFiltering[kMaxSbrNoiseBands];  // bs_invf_mode
  bool sinusoids[kMaxSbrBands];                      // bs_add_harmonic, by band of high resolution
};

struct SbrData {
  bool coupled;
  // Where ps_data() lies in the block, as SbrPayload tells; 0 bits: there is none.
  std::size_t psPosition;
  std::size_t psBits;
  SbrChannelData channels[2];
};

// True when the payload's checksum, if it has one, matches; the stream stands behind the checksum then.
bool CheckSbrCrc(BitWindow& stream, const SbrPayload& payload);

// Reads the data of `channels` channels, up to the payload's end at bit position `end`. False when it goes
// beyond or says what no stream may say.
bool ParseSbrData(BitWindow& stream, std::size_t end, const SbrHeader& header,
                  const SbrFrequencyTables& tables, int slots, int channels, SbrData& data);

}  // namespace UMC::aac
