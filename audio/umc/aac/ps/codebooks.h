// The prepared Huffman codes of parametric stereo (ISO/IEC 14496-3, 8.B.1), shared by all decoders.
#pragma once

#include "dsp/ipps_vlc.h"

namespace UMC::aac {

// For differences between bands (index 0) and between envelopes (index 1). Symbol 0 is the smallest
// difference.
struct PsCodebooks {
  IppsVLCDecodeSpec_32s iidDefault[2];
  IppsVLCDecodeSpec_32s iidFine[2];
  IppsVLCDecodeSpec_32s icc[2];
  IppsVLCDecodeSpec_32s ipd[2];
  IppsVLCDecodeSpec_32s opd[2];
};

// Created on first use; null if memory was exhausted.
const PsCodebooks* SharedPsCodebooks();

}  // namespace UMC::aac
