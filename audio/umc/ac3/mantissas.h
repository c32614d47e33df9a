// Mantissas: quantised coefficients, some of them in groups that all channels of a block share (ATSC A/52,
// 7.3).
#pragma once

#include <cstddef>
#include <cstdint>

#include "bit_window.h"
#include "coded_channel.h"
#include "dither.h"

namespace UMC::ac3 {

inline constexpr std::size_t kPointers = 16;
// Pointers below this one have symmetric quantisers, those from it on two's complement.
inline constexpr std::size_t kFirstAsymmetric = 6;

// Reads the mantissas of one block's channels, one channel after the other.
class MantissaReader {
 public:
  explicit MantissaReader(BitWindow& stream) : m_stream(stream) {}

  // Makes the channel's coefficients from its mantissas, exponents and pointers. Bins without bits become
  // noise of `dither`, or 0 where that is null. False for codes that stand for nothing.
  bool Read(CodedChannel& channel, DitherGenerator* dither);

 private:
  // By pointer: the code word of the last group, and how many of its mantissas are still to come.
  struct Groups {
    std::uint32_t code[kPointers];
    std::uint32_t left[kPointers];
  };

  template <class Reader>
  bool ReadWith(Reader& reader, CodedChannel& channel);

  BitWindow& m_stream;
  Groups m_groups = {};
};

}  // namespace UMC::ac3
