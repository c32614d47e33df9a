// Decoding of quantised spectral lines straight to what inverse quantisation makes of them: x^(4/3) with the
// sign of x (ISO/IEC 14496-3, 4.6.1).
#pragma once

#include <cstddef>
#include <vector>

#include "dsp/ipps_vlc.h"

namespace UMC {

// A prepared code with the powers of its tuples. Decoders use many codes in turn, so that the tables are made
// to take little of the cache.
struct VlcPowers {
  // The second-level table of a prefix: its offset among the entries and the number of bits that index it.
  struct Link {
    Ipp16u first;
    Ipp16u bits;
  };
  static constexpr unsigned kLengthBits = 6;
  static constexpr unsigned kMaxNumber = (1u << (16 - kLengthBits)) - 1;

  Ipp32s dimension = 0;
  unsigned primaryBits = 0;
  bool signBits = false;  // symbols are magnitudes; see ippsVLCDecodeUTupleBlock_1u16s
  bool escapes = false;   // see ippsVLCDecodeUTupleEscBlock_AAC_1u16s
  // In the lower kLengthBits the length of a code word and its sign bits, above them the symbol's number. For
  // the prefix of longer codes: 0 and the number of its link.
  std::vector<Ipp16u> entries;
  std::vector<Link> links;
  std::vector<Ipp8u> nonZero;  // by symbol: see IppsVLCDecodeSpec_32s::Entry
  std::vector<Ipp32f> tuples;  // by symbol: the powers of its values
};

// For codes of dimension 2 and 4 of at most kMaxNumber symbols; with escape sequences only for pairs with
// sign bits. ippStsMemAllocErr without memory.
IppStatus PrepareVlcPowers(const IppsVLCDecodeSpec_32s& code, bool signBits, bool escapes, VlcPowers* made);

// Decodes `length` lines, a multiple of the dimension: ippsPow43_16s32f of what the functions of ipps_vlc.h
// decode from the same code. ippStsVLCInputDataErr for an invalid escape sequence.
IppStatus DecodeVlcPowers(fmp4::BitWindow* stream, Ipp32f* lines, std::size_t length,
                          const VlcPowers& powers);

}  // namespace UMC
