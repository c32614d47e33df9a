// The prepared Huffman codes (ISO/IEC 14496-3, 4.6.3), shared by all decoders.
#pragma once

#include "base/bit_window.h"
#include "dsp/vlc_lookup.h"
#include "dsp/vlc_powers.h"

namespace UMC::aac {

struct Codebooks {
  IppsVLCDecodeSpec_32s scaleFactor;
  IppsVLCDecodeSpec_32s spectral[12];  // by codebook number, 1 to 11
  // The escape codebook again, with code words that include the sign bits.
  IppsVLCDecodeSpec_32s signedEscape;
  VlcPowers powers[12];  // by codebook number, with the powers of the lines
};

// Created on first use; null if memory was exhausted.
const Codebooks* SharedCodebooks();

inline constexpr int kMaxScaleFactorDifference = 60;

// Reads the next scale factor difference, at most kMaxScaleFactorDifference either way.
inline int ReadScaleFactorDifference(fmp4::BitWindow& stream, const Codebooks& codebooks) {
  return TakeVlc(stream, codebooks.scaleFactor) - kMaxScaleFactorDifference;
}

}  // namespace UMC::aac
