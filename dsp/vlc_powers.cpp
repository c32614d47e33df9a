#include "dsp/vlc_powers.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <new>

#include "dsp/ipps_vector.h"
#include "dsp/vlc_lookup.h"

namespace UMC {

namespace {

using Entry = IppsVLCDecodeSpec_32s::Entry;

// A tuple of floats in words of two.
template <int kDimension>
using Words = std::array<std::uint64_t, kDimension / 2>;

template <int kDimension, class Value>
inline Words<kDimension> LoadWords(const Value* values) {
  Words<kDimension> words;
  std::memcpy(words.data(), values, sizeof words);
  return words;
}

// For a tuple, indexed by the set of its non-zero values and kDimension bits of the stream that end with the
// tuple's sign bits: the sign bit of every value that these make negative.
template <int kDimension>
struct SignBits {
  Ipp32u lanes[1 << kDimension][1 << kDimension][kDimension];
};

template <int kDimension>
constexpr SignBits<kDimension> MakeSignBits() {
  SignBits<kDimension> signs{};
  for (unsigned nonZero = 0; nonZero < 1u << kDimension; ++nonZero) {
    for (unsigned bits = 0; bits < 1u << kDimension; ++bits) {
      unsigned next = 0;
      for (unsigned i = 0; i < kDimension; ++i) {
        if ((nonZero >> i & 1) != 0)
          signs.lanes[nonZero][bits][kDimension - 1 - i] = (bits >> next++ & 1) << 31;
      }
    }
  }
  return signs;
}

template <int kDimension>
constexpr SignBits<kDimension> kSignBits = MakeSignBits<kDimension>();

// The parts of a prepared code that a loop needs; a copy of its own stays in registers.
struct Tables {
  explicit Tables(const VlcPowers& powers)
      : entries(powers.entries.data()), tuples(powers.tuples.data()), primaryBits(powers.primaryBits) {}

  const Entry* entries;
  const Ipp32f* tuples;
  unsigned primaryBits;
};

// Decodes the next tuple, and its signs if there are any, from the window, which holds enough bits for both.
// Code word and signs are consumed in one step: the next look-up waits for nothing but the entry's length.
template <int kDimension, bool kSigns>
inline void TakeTuple(fmp4::BitWindow& window, const Tables& tables, Ipp32f* lines) {
  const Entry entry = LookUpVlc(window, tables.entries, tables.primaryBits);
  Words<kDimension> words = LoadWords<kDimension>(tables.tuples + entry.value * kDimension);
  if constexpr (kSigns) {
    const auto lastBits = window.Peek(entry.length) & ((1u << kDimension) - 1);
    const auto signs = LoadWords<kDimension>(kSignBits<kDimension>.lanes[entry.nonZero][lastBits]);
    for (std::size_t i = 0; i < words.size(); ++i) words[i] ^= signs[i];
  }
  window.Skip(entry.length);
  std::memcpy(lines, words.data(), sizeof words);
}

template <int kDimension, bool kSigns>
void DecodeTuples(fmp4::BitWindow* stream, Ipp32f* lines, std::size_t length, Tables tables) {
  fmp4::BitWindow window = *stream;
  ForVlcTuples<kDimension>(window, length,
                           [&](std::size_t i) { TakeTuple<kDimension, kSigns>(window, tables, lines + i); });
  *stream = window;
}

template <bool kSigns>
IppStatus DecodeEscapedPairs(fmp4::BitWindow* stream, Ipp32f* lines, std::size_t length, Tables tables) {
  const Ipp32f* powers = Pow43Powers();
  const Ipp32f escape = powers[kVlcEscape];
  fmp4::BitWindow window = *stream;
  for (std::size_t i = 0; i < length; i += 2) {
    window.Refill();
    TakeTuple<2, kSigns>(window, tables, lines + i);
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

}  // namespace

IppStatus PrepareVlcPowers(const IppsVLCDecodeSpec_32s& code, bool signBits, bool escapes, VlcPowers* made) {
  if (made == nullptr) return ippStsNullPtrErr;
  if (code.dimension != 2 && (code.dimension != 4 || escapes)) return ippStsBadArgErr;
  try {
    made->entries = code.entries;
    made->tuples.resize(code.tuples.size());
  } catch (const std::bad_alloc&) {
    return ippStsMemAllocErr;
  }
  made->dimension = code.dimension;
  made->primaryBits = code.primaryBits;
  made->signBits = signBits;
  made->escapes = escapes;
  // Links have no non-zero values.
  for (Entry& entry : made->entries) {
    if (signBits) entry.length = static_cast<Ipp8u>(entry.length + std::popcount(entry.nonZero));
  }
  return ippsPow43_16s32f(code.tuples.data(), made->tuples.data(), code.tuples.size());
}

IppStatus DecodeVlcPowers(fmp4::BitWindow* stream, Ipp32f* lines, std::size_t length,
                          const VlcPowers& powers) {
  if (stream == nullptr || lines == nullptr || powers.entries.empty()) return ippStsNullPtrErr;
  if (length % static_cast<std::size_t>(powers.dimension) != 0) return ippStsSizeErr;
  const Tables tables(powers);
  if (powers.escapes) {
    return powers.signBits ? DecodeEscapedPairs<true>(stream, lines, length, tables)
                           : DecodeEscapedPairs<false>(stream, lines, length, tables);
  }
  if (powers.dimension == 4) {
    (powers.signBits ? DecodeTuples<4, true> : DecodeTuples<4, false>)(stream, lines, length, tables);
  } else {
    (powers.signBits ? DecodeTuples<2, true> : DecodeTuples<2, false>)(stream, lines, length, tables);
  }
  return ippStsNoErr;
}

}  // namespace UMC
