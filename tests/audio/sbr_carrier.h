// The simplest spectral band replication of one channel, to carry parametric stereo: one envelope, flat, with
// little noise (ISO/IEC 14496-3, 4.4.2.8).
#pragma once

#include <algorithm>
#include <cstdint>

#include "bit_writer.h"
#include "sbr_frequency_tables.h"
#include "sbr_huffman_codes.h"

struct SbrCarrier {
  std::uint32_t coreFrequency = 24000;
  bool hasHeader = true;
  bool overTime = false;  // the envelope as differences, all 0, to that of the frame before

  // Appends an extension_payload() with `ps`, a ps_data(), in it; without bits there is none.
  void Write(const BitWriter& ps, BitWriter& bits) const {
    const UMC::aac::SbrHeader header = {.ampRes = 1,
                                        .startFreq = 5,
                                        .stopFreq = 9,
                                        .xoverBand = 0,
                                        .freqScale = 2,
                                        .alterScale = 1,
                                        .noiseBands = 2,
                                        .limiterBands = 2,
                                        .limiterGains = 2,
                                        .interpolFreq = true,
                                        .smoothingOff = true};
    UMC::aac::SbrFrequencyTables tables{};
    UMC::aac::MakeSbrFrequencyTables(header, 2 * coreFrequency, tables);
    bits.Write(13, 4);  // EXT_SBR_DATA
    bits.Write(hasHeader ? 1 : 0, 1);
    if (hasHeader) {
      bits.Write(header.ampRes, 1);
      bits.Write(header.startFreq, 4);
      bits.Write(header.stopFreq, 4);
      bits.Write(header.xoverBand, 3);
      bits.Write(0, 4);  // reserved, and no other field differs from its default
    }
    bits.Write(0, 1);                        // bs_data_extra
    bits.Write(0, 4);                        // FIXFIX, one envelope
    bits.Write(1, 1);                        // of high resolution
    bits.Write(overTime ? 3 : 0, 2);         // its direction, and that of its noise
    bits.Write(0, 2u * tables.noise.count);  // bs_invf_mode
    if (!overTime) bits.Write(24, 7);
    WriteZeros(overTime ? UMC::aac::kSbrTimeLevel15[60] : UMC::aac::kSbrFrequencyLevel15[60],
               tables.bands[1].count - (overTime ? 0 : 1), bits);
    if (!overTime) bits.Write(12, 5);
    WriteZeros(overTime ? UMC::aac::kSbrTimeNoise[31] : UMC::aac::kSbrFrequencyLevel30[31],
               tables.noise.count - (overTime ? 0 : 1), bits);
    bits.Write(0, 1);  // bs_add_harmonic_flag
    const std::size_t psBits = ps.Bits();
    bits.Write(psBits > 0 ? 1 : 0, 1);  // bs_extended_data
    if (psBits > 0) {
      const std::size_t bytes = (2 + psBits + 7) / 8;
      bits.Write(std::min<std::size_t>(bytes, 15), 4);
      if (bytes >= 15) bits.Write(bytes - 15, 8);
      bits.Write(2, 2);  // EXTENSION_ID_PS
      for (std::size_t i = 0; i < psBits; ++i) bits.Write(ps.Bytes()[i / 8] >> (7 - i % 8) & 1u, 1);
      bits.Write(0, static_cast<unsigned>(8 * bytes - 2 - psBits));
    }
    bits.Align();
  }

 private:
  static void WriteZeros(const IppsVLCTable_32s& word, int count, BitWriter& bits) {
    for (int i = 0; i < count; ++i)
      bits.Write(static_cast<std::uint64_t>(word.code), static_cast<unsigned>(word.length));
  }
};
