// Decoding tables of Huffman codes with one value a code word.
#pragma once

#include <cstddef>

#include "dsp/ipps_vlc.h"

namespace UMC::aac {

// Bits that the first level of a decoding table resolves.
inline constexpr unsigned kFirstLevelBits = 9;

// Makes the decoding table of a code whose words have the values 0, 1, ...; false if memory is short.
template <std::size_t kCount>
[[nodiscard]] bool PrepareCode(const IppsVLCTable_32s (&words)[kCount], IppsVLCDecodeSpec_32s& table) {
  return ippsVLCDecodeInit_32s(words, kCount, {1, kCount, 0}, kFirstLevelBits, &table) == ippStsNoErr;
}

}  // namespace UMC::aac
