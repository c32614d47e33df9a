// Decoding of variable-length codes whose symbols are values or tuples of values, with two-level tables.
#pragma once

#include <cstddef>
#include <vector>

#include "base/bit_window.h"
#include "dsp/ipps_types.h"

// One code word: `length` bits, right-aligned in `code`, the most significant of them sent first.
struct IppsVLCTable_32s {
  Ipp32s value;
  Ipp32s code;
  Ipp32s length;
};

// What a code's symbols stand for: tuples of `dimension` values (1, 2 or 4). A symbol's number is the tuple
// read as a numeral of base `modulus`, first value first, every digit increased by `offset`.
struct IppsVLCTuple {
  Ipp32s dimension;
  Ipp32s modulus;
  Ipp32s offset;
};

// A prepared code.
struct IppsVLCDecodeSpec_32s {
  // Of a symbol: its number, the whole length of its code word and a bit for each non-zero value of its
  // tuple (the first value the most significant). Of a longer code's start: the place of its table of the
  // second level and, marked by kLink, the count of bits that select there.
  struct Entry {
    Ipp16s value;
    Ipp8u length;
    Ipp8u nonZero;
  };
  static constexpr Ipp8u kLink = 0x80;

  Ipp32s dimension = 0;
  unsigned primaryBits = 0;
  std::vector<Entry> entries;  // the first level, then those of the second
  std::vector<Ipp16s> tuples;  // `dimension` values a symbol
};

// Longest code word, in bits.
inline constexpr Ipp32s kMaxVLCLength = 20;

// Prepares a code of `count` words for decoding with `primaryBits` (1 to 12) bits in the first level. The
// code must be complete: ippStsVLCUsrTblCodeErr when it is not prefix free or leaves bit patterns without a
// meaning. Every symbol's number lies in the range of `tuple`.
IppStatus ippsVLCDecodeInit_32s(const IppsVLCTable_32s* words, std::size_t count, const IppsVLCTuple& tuple,
                                unsigned primaryBits, IppsVLCDecodeSpec_32s* made);

// Decodes one symbol's number. Like all below it takes zeros past the end of the stream, which the stream
// remembers.
IppStatus ippsVLCDecodeOne_1u16s(BitWindow* stream, Ipp16s* value, const IppsVLCDecodeSpec_32s* table);

// Decodes tuples with signed values until `length` values, a multiple of the dimension, are there.
IppStatus ippsVLCDecodeBlock_1u16s(BitWindow* stream, Ipp16s* values, std::size_t length,
                                   const IppsVLCDecodeSpec_32s* table);

// The same for tuples of magnitudes: behind the code word stands a sign bit (1: negative) for every value
// that is not 0.
IppStatus ippsVLCDecodeUTupleBlock_1u16s(BitWindow* stream, Ipp16s* values, std::size_t length,
                                         const IppsVLCDecodeSpec_32s* table);

// Decodes pairs with signed values until `length` values are there. A value of 16 or -16 announces an escape
// sequence after its pair's code word: N ones, a zero, a word of N + 4 bits; the magnitude is 2^(N + 4) +
// word (ISO/IEC 14496-3, 4.6.3.3). ippStsVLCInputDataErr when N exceeds 8.
IppStatus ippsVLCDecodeEscBlock_AAC_1u16s(BitWindow* stream, Ipp16s* values, std::size_t length,
                                          const IppsVLCDecodeSpec_32s* table);

// The same for pairs of magnitudes with their sign bits: the escape sequences follow those.
IppStatus ippsVLCDecodeUTupleEscBlock_AAC_1u16s(BitWindow* stream, Ipp16s* values, std::size_t length,
                                                const IppsVLCDecodeSpec_32s* table);
