// The prepared Huffman codes of spectral band replication, shared by all decoders.
#pragma once

#include "base/bit_window.h"
#include "dsp/ipps_vlc.h"

namespace UMC::aac {

// A code for differences between -largest and largest.
struct SbrCode {
  IppsVLCDecodeSpec_32s table;
  int largest = 0;
};

// By [balance][over time]: balance is what the second channel of a coupled pair sends instead of levels.
struct SbrCodebooks {
  SbrCode envelope[2][2][2];  // by bs_amp_res first
  SbrCode noise[2][2];
};

// Made by the first caller; null where memory was short then.
const SbrCodebooks* SharedSbrCodebooks();

int ReadSbrDifference(BitWindow& stream, const SbrCode& code);

}  // namespace UMC::aac
