// Mantissas: quantised coefficients, some of them in groups that all channels of a block share (ATSC A/52,
// 7.3).
#pragma once

#include "bit_window.h"
#include "coded_channel.h"
#include "dither.h"

namespace UMC::ac3 {

// Reads the mantissas of one block's channels, one channel after the other.
class MantissaReader {
 public:
  explicit MantissaReader(BitWindow& stream) : m_stream(stream) {}

  // Makes the channel's coefficients from its mantissas, exponents and pointers. Bins without bits become
  // noise of `dither`, or 0 where that is null. False for codes that stand for nothing.
  bool Read(CodedChannel& channel, DitherGenerator* dither);

 private:
  BitWindow& m_stream;
  // What is left of the last groups: mantissas in a row, and how many.
  const float* m_three = nullptr;
  const float* m_five = nullptr;
  const float* m_eleven = nullptr;
  int m_threeLeft = 0, m_fiveLeft = 0, m_elevenLeft = 0;
};

}  // namespace UMC::ac3
