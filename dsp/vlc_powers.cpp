#include "dsp/vlc_powers.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <new>

#include "dsp/ipps_vector.h"
#include "dsp/vlc_lookup.h"

namespace UMC {

namespace {

// For a pair, indexed by the set of its non-zero values and two bits of the stream that end with its sign
// bits: the sign bit of every value that these make negative.
struct PairSigns {
  Ipp32u lanes[4][4][2];
};

constexpr PairSigns kPairSigns = [] {
  PairSigns signs{};
  for (unsigned bits = 0; bits < 4; ++bits) {
    const Ipp32u last = (bits & 1) << 31, lastButOne = (bits >> 1) << 31;
    signs.lanes[1][bits][1] = last;
    signs.lanes[2][bits][0] = last;
    signs.lanes[3][bits][0] = lastButOne;
    signs.lanes[3][bits][1] = last;
  }
  return signs;
}();

// A pair of floats as one word.
template <class Value>
inline std::uint64_t LoadPair(const Value* values) {
  std::uint64_t pair;
  std::memcpy(&pair, values, sizeof pair);
  return pair;
}

// The parts of a prepared code that a loop needs; a copy of its own stays in registers.
struct Tables {
  explicit Tables(const VlcPowers& powers)
      : entries(powers.entries.data()),
        links(powers.links.data()),
        nonZero(powers.nonZero.data()),
        tuples(powers.tuples.data()),
        primaryBits(powers.primaryBits) {}

  const Ipp16u* entries;
  const VlcPowers::Link* links;
  const Ipp8u* nonZero;
  const Ipp32f* tuples;
  unsigned primaryBits;
};

constexpr unsigned kLengthMask = (1u << VlcPowers::kLengthBits) - 1;

inline unsigned LookUp(const fmp4::BitWindow& window, const Tables& tables) {
  const unsigned entry = tables.entries[window.Peek(tables.primaryBits)];
  if ((entry & kLengthMask) != 0) [[likely]]
    return entry;
  const VlcPowers::Link link = tables.links[entry >> VlcPowers::kLengthBits];
  const std::uint64_t pattern =
      window.Peek(tables.primaryBits + link.bits) & ((std::uint64_t{1} << link.bits) - 1);
  return tables.entries[link.first + pattern];
}

// Decodes the next tuple, and its signs if there are any, from the window, which holds enough bits for both.
// Code word and signs are consumed in one step: the next look-up waits for nothing but the entry's length.
template <int kDimension, bool kSigns>
inline void TakeTuple(fmp4::BitWindow& window, const Tables& tables, Ipp32f* lines) {
  const unsigned entry = LookUp(window, tables);
  const unsigned length = entry & kLengthMask, symbol = entry >> VlcPowers::kLengthBits;
  const Ipp32f* tuple = tables.tuples + std::size_t{symbol} * kDimension;
  if constexpr (kSigns) {
    unsigned nonZero = tables.nonZero[symbol];
    std::uint64_t bits = window.Peek(length);
    for (int i = kDimension - 2; i >= 0; i -= 2) {
      const std::uint64_t pair = LoadPair(tuple + i) ^ LoadPair(kPairSigns.lanes[nonZero & 3][bits & 3]);
      std::memcpy(lines + i, &pair, sizeof pair);
      bits >>= kVlcBitCount[nonZero & 3];
      nonZero >>= 2;
    }
  } else {
    std::memcpy(lines, tuple, kDimension * sizeof *lines);
  }
  window.Skip(length);
}

template <int kDimension, bool kSigns>
void DecodeTuples(fmp4::BitWindow* stream, Ipp32f* lines, std::size_t length, Tables tables) {
  fmp4::BitWindow window = *stream;
  ForVlcTuples<kDimension>(window, length,
                           [&](std::size_t i) { TakeTuple<kDimension, kSigns>(window, tables, lines + i); });
  *stream = window;
}

IppStatus DecodeEscapedPairs(fmp4::BitWindow* stream, Ipp32f* lines, std::size_t length, Tables tables) {
  const Ipp32f* powers = Pow43Powers();
  const Ipp32f escape = powers[kVlcEscape];
  fmp4::BitWindow window = *stream;
  for (std::size_t i = 0; i < length; i += 2) {
    window.Refill();
    TakeTuple<2, true>(window, tables, lines + i);
    for (Ipp32f* line = lines + i; line != lines + i + 2; ++line) {
      if (std::fabs(*line) != escape) continue;
      const Ipp32s magnitude = TakeEscapeSequence(window);
      if (magnitude == 0) return ippStsVLCInputDataErr;
      *line = std::copysign(powers[std::min(magnitude, kPow43Limit)], *line);
    }
  }
  *stream = window;
  return ippStsNoErr;
}

// Takes the entries of a code over; false if it has too many symbols or links.
bool TakeEntries(const IppsVLCDecodeSpec_32s& code, VlcPowers& made) {
  using Entry = IppsVLCDecodeSpec_32s::Entry;
  const std::size_t symbols = code.tuples.size() / static_cast<std::size_t>(code.dimension);
  if (symbols > VlcPowers::kMaxNumber) return false;
  made.entries.clear();
  made.links.clear();
  made.nonZero.assign(symbols, 0);
  for (const Entry& entry : code.entries) {
    auto number = static_cast<unsigned>(entry.value);
    unsigned length = 0;
    if ((entry.length & IppsVLCDecodeSpec_32s::kLink) != 0) {
      number = static_cast<unsigned>(made.links.size());
      if (number > VlcPowers::kMaxNumber) return false;
      made.links.push_back({static_cast<Ipp16u>(entry.value),
                            static_cast<Ipp16u>(entry.length - IppsVLCDecodeSpec_32s::kLink)});
    } else {
      made.nonZero[number] = entry.nonZero;
      length = entry.length + (made.signBits ? kVlcBitCount[entry.nonZero] : 0u);
    }
    made.entries.push_back(static_cast<Ipp16u>(number << VlcPowers::kLengthBits | length));
  }
  return true;
}

}  // namespace

IppStatus PrepareVlcPowers(const IppsVLCDecodeSpec_32s& code, bool signBits, bool escapes, VlcPowers* made) {
  if (made == nullptr) return ippStsNullPtrErr;
  if (code.dimension != 2 && (code.dimension != 4 || escapes)) return ippStsBadArgErr;
  if (escapes && !signBits) return ippStsBadArgErr;
  made->dimension = code.dimension;
  made->primaryBits = code.primaryBits;
  made->signBits = signBits;
  made->escapes = escapes;
  try {
    made->tuples.resize(code.tuples.size());
    if (!TakeEntries(code, *made)) return ippStsBadArgErr;
  } catch (const std::bad_alloc&) {
    return ippStsMemAllocErr;
  }
  return ippsPow43_16s32f(code.tuples.data(), made->tuples.data(), code.tuples.size());
}

IppStatus DecodeVlcPowers(fmp4::BitWindow* stream, Ipp32f* lines, std::size_t length,
                          const VlcPowers& powers) {
  if (stream == nullptr || lines == nullptr || powers.entries.empty()) return ippStsNullPtrErr;
  if (length % static_cast<std::size_t>(powers.dimension) != 0) return ippStsSizeErr;
  const Tables tables(powers);
  if (powers.escapes) return DecodeEscapedPairs(stream, lines, length, tables);
  if (powers.dimension == 4) {
    (powers.signBits ? DecodeTuples<4, true> : DecodeTuples<4, false>)(stream, lines, length, tables);
  } else {
    (powers.signBits ? DecodeTuples<2, true> : DecodeTuples<2, false>)(stream, lines, length, tables);
  }
  return ippStsNoErr;
}

}  // namespace UMC
