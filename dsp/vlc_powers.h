// Decoding of quantised spectral lines straight to what inverse quantisation makes of them: x^(4/3) with the
// sign of x (ISO/IEC 14496-3, 4.6.1).
#pragma once

#include <cstddef>
#include <vector>

#include "dsp/ipps_vlc.h"

namespace UMC {

// A prepared code with the powers of its tuples.
struct VlcPowers {
  Ipp32s dimension = 0;
  unsigned primaryBits = 0;
  bool signBits = false;  // symbols are magnitudes; see ippsVLCDecodeUTupleBlock_1u16s
  bool escapes = false;   // see ippsVLCDecodeEscBlock_AAC_1u16s; the dimension is 2
  std::vector<IppsVLCDecodeSpec_32s::Entry> entries;  // the code's, with lengths that include the sign bits
  std::vector<Ipp32f> tuples;                         // the code's tuples, as powers
};

// For codes of dimension 2 and 4. ippStsMemAllocErr without memory.
IppStatus PrepareVlcPowers(const IppsVLCDecodeSpec_32s& code, bool signBits, bool escapes, VlcPowers* made);

// Decodes `length` lines, a multiple of the dimension: ippsPow43_16s32f of what the functions of ipps_vlc.h
// decode from the same code. ippStsVLCInputDataErr for an invalid escape sequence.
IppStatus DecodeVlcPowers(fmp4::BitWindow* stream, Ipp32f* lines, std::size_t length,
                          const VlcPowers& powers);

}  // namespace UMC
