// The prepared Huffman codes (ISO/IEC 14496-3, 4.6.3), shared by all decoders.
#pragma once

#include "base/bit_window.h"
#include "dsp/ipps_vlc.h"

namespace UMC::aac {

struct Codebooks {
  IppsVLCDecodeSpec_32s scaleFactor;
  IppsVLCDecodeSpec_32s spectral[12];  // by codebook number, 1 to 11
  // The escape codebook again, with code words that include the sign bits.
  IppsVLCDecodeSpec_32s signedEscape;
};

// Created on first use; null if memory was exhausted.
const Codebooks* SharedCodebooks();

// Reads the next scale factor difference, -60 to 60.
int ReadScaleFactorDifference(BitWindow& stream, const Codebooks& codebooks);

}  // namespace UMC::aac
