// Looking up the symbols of variable-length codes, for loops that keep the bit window to themselves.
#pragma once

#include <cstddef>

#include "dsp/ipps_vlc.h"

namespace UMC {

// The next symbol in the window, which holds at least kMaxVLCLength bits; they are not consumed.
inline IppsVLCDecodeSpec_32s::Entry LookUpVlc(const fmp4::BitWindow& window,
                                              const IppsVLCDecodeSpec_32s::Entry* entries,
                                              unsigned primaryBits) {
  const IppsVLCDecodeSpec_32s::Entry entry = entries[window.Peek(primaryBits)];
  if ((entry.length & IppsVLCDecodeSpec_32s::kLink) == 0) [[likely]]
    return entry;
  const unsigned bits = entry.length & ~unsigned{IppsVLCDecodeSpec_32s::kLink};
  const std::uint64_t pattern = window.Peek(primaryBits + bits) & ((std::uint64_t{1} << bits) - 1);
  return entries[static_cast<std::size_t>(entry.value) + pattern];
}

// Decodes one symbol's number.
inline Ipp16s TakeVlc(fmp4::BitWindow& window, const IppsVLCDecodeSpec_32s& table) {
  window.Refill();
  const IppsVLCDecodeSpec_32s::Entry entry = LookUpVlc(window, table.entries.data(), table.primaryBits);
  window.Skip(entry.length);
  return entry.value;
}

// Calls take(i) for the offset of every tuple in `length` values. The window always holds enough bits: one
// refill provides for two tuples with their signs.
template <int kDimension, class Take>
inline void ForVlcTuples(fmp4::BitWindow& window, std::size_t length, Take take) {
  static_assert(2 * (kMaxVLCLength + kDimension) <= 56);
  std::size_t i = 0;
  for (; i + 2 * kDimension <= length; i += 2 * kDimension) {
    window.Refill();
    take(i);
    take(i + kDimension);
  }
  if (i < length) {
    window.Refill();
    take(i);
  }
}

// Number of bits set in a four-bit number.
inline constexpr Ipp8u kVlcBitCount[16] = {0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4};

// The magnitude that announces an escape sequence, and the longest prefix of one.
inline constexpr Ipp32s kVlcEscape = 16;
inline constexpr unsigned kMaxVlcEscapePrefix = 8;

// Consumes an escape sequence and returns its magnitude, or 0 if the prefix is too long.
inline Ipp32s TakeEscapeSequence(fmp4::BitWindow& window) {
  window.Refill();
  unsigned prefix = 0;
  while (prefix <= kMaxVlcEscapePrefix && window.Peek(1) != 0) {
    window.Skip(1);
    ++prefix;
  }
  if (prefix > kMaxVlcEscapePrefix) return 0;
  window.Skip(1);
  const unsigned bits = prefix + 4;
  const auto magnitude = static_cast<Ipp32s>((1u << bits) + window.Peek(bits));
  window.Skip(bits);
  return magnitude;
}

}  // namespace UMC
