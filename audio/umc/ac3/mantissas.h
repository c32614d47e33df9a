// Mantissas: quantised coefficients, some of them in groups shared by all channels of a block (ATSC A/52,
// 7.3).
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/ac3/coded_channel.h"
#include "base/bit_window.h"

namespace UMC::ac3 {

class CodeWords;

// Sorts a channel's bins by the kind of their mantissas, after its pointers have changed.
void SortMantissas(CodedChannel& channel);

// Reads the mantissas of one block's channels, in channel order.
class MantissaReader {
 public:
  explicit MantissaReader(fmp4::BitWindow& stream) : m_stream(stream) {}

  // Sets the mantissas, -1 to 1, of the channel's bins with bits. False for invalid codes and if the stream
  // ends too early.
  bool Read(const CodedChannel& channel, float* mantissas);

 private:
  // The unused mantissas of a group, for the following channels.
  struct Rest {
    const float* next;
    std::size_t count;
  };

  void Locate(const CodedChannel& channel, CodeWords& words) const;
  template <std::size_t kSize>
  bool ReadGroups(const CodedChannel& channel, std::size_t kind, const CodeWords& words, float* mantissas);

  fmp4::BitWindow& m_stream;
  Rest m_rests[kGroupKinds] = {};
};

}  // namespace UMC::ac3
