// The prepared Huffman codes of SBR, shared by all decoders.
#pragma once

#include "base/bit_window.h"
#include "dsp/ipps_vlc.h"

namespace UMC::aac {

// A code for differences from -largest to largest.
struct SbrCode {
  IppsVLCDecodeSpec_32s table;
  int largest = 0;
};

// By [balance][over time]: the second channel of a coupled pair transmits balance instead of levels.
struct SbrCodebooks {
  SbrCode envelope[2][2][2];  // indexed first by bs_amp_res
  SbrCode noise[2][2];
};

// Created on first use; null if memory was exhausted.
const SbrCodebooks* SharedSbrCodebooks();

int ReadSbrDifference(fmp4::BitWindow& stream, const SbrCode& code);

}  // namespace UMC::aac
