// Mantissas: quantised coefficients, some of them in groups that all channels of a block share (ATSC A/52,
// 7.3).
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/ac3/coded_channel.h"
#include "base/bit_window.h"

namespace UMC::ac3 {

class CodeWords;

// Sorts the bins of a channel with new pointers by the kind of their mantissas.
void SortMantissas(CodedChannel& channel);

// Reads the mantissas of one block's channels, one channel after the other.
class MantissaReader {
 public:
  explicit MantissaReader(BitWindow& stream) : m_stream(stream) {}

  // Sets the mantissas, -1 to 1, of the channel's bins with bits. False for codes that stand for nothing and
  // where the stream ends too early.
  bool Read(const CodedChannel& channel, float* mantissas);

 private:
  // What is left of a code word for the channels to come.
  struct Rest {
    const float* next;
    std::size_t count;
  };

  void Locate(const CodedChannel& channel, CodeWords& words) const;
  template <std::size_t kSize>
  bool ReadGroups(const CodedChannel& channel, std::size_t kind, const CodeWords& words, float* mantissas);

  BitWindow& m_stream;
  Rest m_rests[kGroupKinds] = {};
};

}  // namespace UMC::ac3
