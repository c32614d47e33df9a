// Decoding of variable-length codes for values or tuples of values, with two-level tables.
#pragma once

#include <cstddef>
#include <vector>

#include "base/bit_window.h"
#include "dsp/ipps_types.h"

namespace UMC {

// One code word: `length` bits, right-aligned in `code`, transmitted most significant bit first.
struct IppsVLCTable_32s {
  Ipp32s value;
  Ipp32s code;
  Ipp32s length;
};

// The meaning of a code's symbols: tuples of `dimension` values (1, 2 or 4). A symbol's number is the tuple
// read as a numeral of base `modulus`, first value first, with `offset` added to every digit.
struct IppsVLCTuple {
  Ipp32s dimension;
  Ipp32s modulus;
  Ipp32s offset;
};

// A prepared code.
struct IppsVLCDecodeSpec_32s {
  // For a symbol: its number, the full length of its code word and one bit per non-zero value of its tuple
  // (the first value is the most significant bit). For the prefix of longer codes: the offset of its
  // second-level table and, flagged by kLink, the number of bits that index it.
  // The length is what the next look-up waits for: it comes first, to be shifted by as it is loaded.
  struct Entry {
    Ipp8u length;
    Ipp8u nonZero;
    Ipp16s value;
  };
  static constexpr Ipp8u kLink = 0x80;

  Ipp32s dimension = 0;
  unsigned primaryBits = 0;
  std::vector<Entry> entries;  // the first level, then the second-level tables
  std::vector<Ipp16s> tuples;  // `dimension` values per symbol
};

// Maximum length of a code word, in bits.
inline constexpr Ipp32s kMaxVLCLength = 20;

// Prepares a code of `count` words for decoding with `primaryBits` (1 to 12) bits in the first level. The
// code must be complete: ippStsVLCUsrTblCodeErr if it is not prefix-free or leaves bit patterns unassigned.
// Every symbol's number is within the range of `tuple`.
IppStatus ippsVLCDecodeInit_32s(const IppsVLCTable_32s* words, std::size_t count, const IppsVLCTuple& tuple,
                                unsigned primaryBits, IppsVLCDecodeSpec_32s* made);

// Decodes one symbol's number. Like all functions below, it reads zeros past the end of the stream; the
// stream records the overrun.
IppStatus ippsVLCDecodeOne_1u16s(fmp4::BitWindow* stream, Ipp16s* value, const IppsVLCDecodeSpec_32s* table);

// Decodes tuples of signed values until `length` values, a multiple of the dimension, have been written.
IppStatus ippsVLCDecodeBlock_1u16s(fmp4::BitWindow* stream, Ipp16s* values, std::size_t length,
                                   const IppsVLCDecodeSpec_32s* table);

// Decodes tuples of magnitudes: after the code word comes one sign bit (1: negative) for every non-zero
// value.
IppStatus ippsVLCDecodeUTupleBlock_1u16s(fmp4::BitWindow* stream, Ipp16s* values, std::size_t length,
                                         const IppsVLCDecodeSpec_32s* table);

// Decodes pairs of signed values until `length` values have been written. A value of 16 or -16 announces an
// escape sequence after its pair's code word: N ones, a zero, a word of N + 4 bits; the magnitude is 2^(N +
// 4) + word (ISO/IEC 14496-3, 4.6.3.3). ippStsVLCInputDataErr when N exceeds 8.
IppStatus ippsVLCDecodeEscBlock_AAC_1u16s(fmp4::BitWindow* stream, Ipp16s* values, std::size_t length,
                                          const IppsVLCDecodeSpec_32s* table);

// Decodes pairs of magnitudes with sign bits: the escape sequences follow the sign bits.
IppStatus ippsVLCDecodeUTupleEscBlock_AAC_1u16s(fmp4::BitWindow* stream, Ipp16s* values, std::size_t length,
                                                const IppsVLCDecodeSpec_32s* table);

}  // namespace UMC
