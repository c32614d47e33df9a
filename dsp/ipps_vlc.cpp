#include "dsp/ipps_vlc.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <type_traits>

#include "dsp/vlc_lookup.h"

namespace UMC {

namespace {

using Entry = IppsVLCDecodeSpec_32s::Entry;

// Fills the table entries [first, first + count); false if one of them is already in use.
bool Fill(std::vector<Entry>& entries, std::size_t first, std::size_t count, const Entry& entry) {
  for (std::size_t i = first; i < first + count; ++i) {
    if (entries[i].length != 0) return false;
    entries[i] = entry;
  }
  return true;
}

// Adds the second-level tables: each is indexed by the remaining bits of its prefix's longest word.
bool AddLinks(const IppsVLCTable_32s* words, std::size_t count, unsigned primaryBits,
              std::vector<Entry>& entries) {
  std::vector<unsigned> extra(std::size_t{1} << primaryBits, 0);
  for (std::size_t i = 0; i < count; ++i) {
    const auto length = static_cast<unsigned>(words[i].length);
    if (length <= primaryBits) continue;
    unsigned& bits = extra[static_cast<Ipp32u>(words[i].code) >> (length - primaryBits)];
    bits = std::max(bits, length - primaryBits);
  }
  for (std::size_t i = 0; i < extra.size(); ++i) {
    if (extra[i] == 0) continue;
    if (entries.size() > 32767) return false;
    const auto place = static_cast<Ipp16s>(entries.size());
    const auto bits = static_cast<Ipp8u>(IppsVLCDecodeSpec_32s::kLink | extra[i]);
    if (!Fill(entries, i, 1, {bits, 0, place})) return false;
    entries.resize(entries.size() + (std::size_t{1} << extra[i]));
  }
  return true;
}

IppStatus Build(const IppsVLCTable_32s* words, std::size_t count, const IppsVLCTuple& tuple,
                unsigned primaryBits, IppsVLCDecodeSpec_32s& made) {
  Ipp32s symbols = tuple.modulus;
  for (Ipp32s i = 1; i < tuple.dimension; ++i) symbols *= tuple.modulus;

  made.dimension = tuple.dimension;
  made.primaryBits = primaryBits;
  made.tuples.clear();
  for (Ipp32s symbol = 0; symbol < symbols; ++symbol) {
    for (Ipp32s place = symbols / tuple.modulus; place > 0; place /= tuple.modulus) {
      made.tuples.push_back(static_cast<Ipp16s>(symbol / place % tuple.modulus - tuple.offset));
    }
  }
  made.entries.assign(std::size_t{1} << primaryBits, Entry{0, 0, 0});

  for (std::size_t i = 0; i < count; ++i) {
    const IppsVLCTable_32s& word = words[i];
    if (word.length < 1 || word.length > kMaxVLCLength || word.code < 0 || word.code >> word.length != 0 ||
        word.value < 0 || word.value >= symbols) {
      return ippStsVLCUsrTblCodeErr;
    }
  }
  if (!AddLinks(words, count, primaryBits, made.entries)) return ippStsVLCUsrTblCodeErr;

  for (std::size_t i = 0; i < count; ++i) {
    const auto length = static_cast<unsigned>(words[i].length);
    const auto code = static_cast<std::size_t>(words[i].code);
    Entry entry{static_cast<Ipp8u>(length), 0, static_cast<Ipp16s>(words[i].value)};
    for (Ipp32s j = 0; j < tuple.dimension; ++j) {
      const bool set = made.tuples[static_cast<std::size_t>(words[i].value * tuple.dimension + j)] != 0;
      entry.nonZero = static_cast<Ipp8u>(entry.nonZero << 1 | (set ? 1 : 0));
    }
    bool filled = false;
    if (length <= primaryBits) {
      const unsigned open = primaryBits - length;
      filled = Fill(made.entries, code << open, std::size_t{1} << open, entry);
    } else {
      const Entry link = made.entries[code >> (length - primaryBits)];
      const unsigned bits = link.length & ~IppsVLCDecodeSpec_32s::kLink & 0xFFu;
      const unsigned open = bits - (length - primaryBits);
      const std::size_t index = (code & ((std::size_t{1} << (length - primaryBits)) - 1)) << open;
      filled =
          Fill(made.entries, static_cast<std::size_t>(link.value) + index, std::size_t{1} << open, entry);
    }
    if (!filled) return ippStsVLCUsrTblCodeErr;
  }
  const bool complete =
      std::all_of(made.entries.begin(), made.entries.end(), [](const Entry& e) { return e.length != 0; });
  return complete ? ippStsNoErr : ippStsVLCUsrTblCodeErr;
}

// For a tuple of kDimension values, indexed by the set of its non-zero values and the next kDimension bits of
// the stream: all ones in the position of every value that these bits make negative.
template <int kDimension>
struct SignMasks {
  Ipp16s lanes[1 << kDimension][1 << kDimension][kDimension];
};

template <int kDimension>
constexpr SignMasks<kDimension> MakeSignMasks() {
  SignMasks<kDimension> masks{};
  for (int nonZero = 0; nonZero < 1 << kDimension; ++nonZero) {
    for (int bits = 0; bits < 1 << kDimension; ++bits) {
      int next = kDimension - 1;
      for (int i = 0; i < kDimension; ++i) {
        if ((nonZero >> (kDimension - 1 - i) & 1) == 0) continue;
        masks.lanes[nonZero][bits][i] = static_cast<Ipp16s>(-(bits >> next & 1));
        --next;
      }
    }
  }
  return masks;
}

template <int kDimension>
constexpr SignMasks<kDimension> kSignMasks = MakeSignMasks<kDimension>();

// All values of a tuple packed in one word, 16 bits each.
template <int kDimension>
using Packed = std::conditional_t<kDimension == 4, std::uint64_t, std::uint32_t>;

template <int kDimension>
inline Packed<kDimension> LoadPacked(const Ipp16s* values) {
  Packed<kDimension> packed;
  std::memcpy(&packed, values, sizeof packed);
  return packed;
}

// Negates the values where the mask is set. None of them is 0, so no carry crosses into the next value.
template <int kDimension>
inline Packed<kDimension> Negate(Packed<kDimension> packed, Packed<kDimension> mask) {
  constexpr auto kOnes = static_cast<Packed<kDimension>>(0x0001000100010001u);
  return (packed ^ mask) + (mask & kOnes);
}

template <int kDimension>
void DecodeSigned(fmp4::BitWindow* stream, Ipp16s* values, std::size_t length,
                  const IppsVLCDecodeSpec_32s& table) {
  fmp4::BitWindow window = *stream;
  const Entry* entries = table.entries.data();
  const Ipp16s* tuples = table.tuples.data();
  const unsigned primaryBits = table.primaryBits;
  ForVlcTuples<kDimension>(window, length, [&](std::size_t i) {
    const Entry entry = LookUpVlc(window, entries, primaryBits);
    window.Skip(entry.length);
    std::memcpy(values + i, tuples + entry.value * kDimension, kDimension * sizeof(Ipp16s));
  });
  *stream = window;
}

// Decodes the next tuple and its signs from the window, which holds enough bits for both.
template <int kDimension>
inline Packed<kDimension> TakeUnsigned(fmp4::BitWindow& window, const Entry* entries, const Ipp16s* tuples,
                                       unsigned primaryBits) {
  const Entry entry = LookUpVlc(window, entries, primaryBits);
  window.Skip(entry.length);
  const auto signs = window.Peek(kDimension);
  window.Skip(kVlcBitCount[entry.nonZero]);
  return Negate<kDimension>(LoadPacked<kDimension>(tuples + entry.value * kDimension),
                            LoadPacked<kDimension>(kSignMasks<kDimension>.lanes[entry.nonZero][signs]));
}

template <int kDimension>
void DecodeUnsigned(fmp4::BitWindow* stream, Ipp16s* values, std::size_t length,
                    const IppsVLCDecodeSpec_32s& table) {
  fmp4::BitWindow window = *stream;
  const Entry* entries = table.entries.data();
  const Ipp16s* tuples = table.tuples.data();
  const unsigned primaryBits = table.primaryBits;
  ForVlcTuples<kDimension>(window, length, [&](std::size_t i) {
    const auto packed = TakeUnsigned<kDimension>(window, entries, tuples, primaryBits);
    std::memcpy(values + i, &packed, sizeof packed);
  });
  *stream = window;
}

// Replaces an escape value by the magnitude of its escape sequence. False if the prefix is too long.
inline bool TakeEscape(fmp4::BitWindow& window, Ipp16s& value) {
  if (value != kVlcEscape && value != -kVlcEscape) return true;
  const Ipp32s magnitude = TakeEscapeSequence(window);
  value = static_cast<Ipp16s>(value < 0 ? -magnitude : magnitude);
  return magnitude != 0;
}

bool IsDecodable(const fmp4::BitWindow* stream, const Ipp16s* values, const IppsVLCDecodeSpec_32s* table) {
  return stream != nullptr && values != nullptr && table != nullptr && !table->entries.empty();
}

// Decodes the next pair of signed values from the window, which holds enough bits for it.
inline Packed<2> TakeSignedPair(fmp4::BitWindow& window, const Entry* entries, const Ipp16s* tuples,
                                unsigned primaryBits) {
  const Entry entry = LookUpVlc(window, entries, primaryBits);
  window.Skip(entry.length);
  return LoadPacked<2>(tuples + entry.value * 2);
}

// Decodes pairs with escape sequences; kTake decodes a pair without them.
template <auto kTake>
IppStatus DecodeEscapedPairs(fmp4::BitWindow* stream, Ipp16s* values, std::size_t length,
                             const IppsVLCDecodeSpec_32s* table) {
  if (!IsDecodable(stream, values, table)) return ippStsNullPtrErr;
  if (table->dimension != 2) return ippStsBadArgErr;
  if (length % 2 != 0) return ippStsSizeErr;
  fmp4::BitWindow window = *stream;
  const Entry* entries = table->entries.data();
  const Ipp16s* tuples = table->tuples.data();
  const unsigned primaryBits = table->primaryBits;
  IppStatus status = ippStsNoErr;
  for (std::size_t i = 0; i < length && status == ippStsNoErr; i += 2) {
    window.Refill();
    const auto packed = kTake(window, entries, tuples, primaryBits);
    std::memcpy(values + i, &packed, sizeof packed);
    if (!TakeEscape(window, values[i]) || !TakeEscape(window, values[i + 1])) status = ippStsVLCInputDataErr;
  }
  *stream = window;
  return status;
}

}  // namespace

IppStatus ippsVLCDecodeInit_32s(const IppsVLCTable_32s* words, std::size_t count, const IppsVLCTuple& tuple,
                                unsigned primaryBits, IppsVLCDecodeSpec_32s* made) {
  if (words == nullptr || made == nullptr) return ippStsNullPtrErr;
  const bool dimensionSupported = tuple.dimension == 1 || tuple.dimension == 2 || tuple.dimension == 4;
  const Ipp32s largestModulus = tuple.dimension == 1 ? 32767 : tuple.dimension == 2 ? 181 : 13;
  if (!dimensionSupported || tuple.modulus < 1 || tuple.modulus > largestModulus || primaryBits < 1 ||
      primaryBits > 12) {
    return ippStsBadArgErr;
  }
  try {
    return Build(words, count, tuple, primaryBits, *made);
  } catch (const std::bad_alloc&) {
    return ippStsMemAllocErr;
  }
}

IppStatus ippsVLCDecodeOne_1u16s(fmp4::BitWindow* stream, Ipp16s* value, const IppsVLCDecodeSpec_32s* table) {
  if (!IsDecodable(stream, value, table)) return ippStsNullPtrErr;
  *value = TakeVlc(*stream, *table);
  return ippStsNoErr;
}

IppStatus ippsVLCDecodeBlock_1u16s(fmp4::BitWindow* stream, Ipp16s* values, std::size_t length,
                                   const IppsVLCDecodeSpec_32s* table) {
  if (!IsDecodable(stream, values, table)) return ippStsNullPtrErr;
  if (length % static_cast<std::size_t>(table->dimension) != 0) return ippStsSizeErr;
  if (table->dimension == 4) {
    DecodeSigned<4>(stream, values, length, *table);
  } else if (table->dimension == 2) {
    DecodeSigned<2>(stream, values, length, *table);
  } else {
    DecodeSigned<1>(stream, values, length, *table);
  }
  return ippStsNoErr;
}

IppStatus ippsVLCDecodeUTupleBlock_1u16s(fmp4::BitWindow* stream, Ipp16s* values, std::size_t length,
                                         const IppsVLCDecodeSpec_32s* table) {
  if (!IsDecodable(stream, values, table)) return ippStsNullPtrErr;
  if (table->dimension == 1) return ippStsBadArgErr;
  if (length % static_cast<std::size_t>(table->dimension) != 0) return ippStsSizeErr;
  if (table->dimension == 4) {
    DecodeUnsigned<4>(stream, values, length, *table);
  } else {
    DecodeUnsigned<2>(stream, values, length, *table);
  }
  return ippStsNoErr;
}

IppStatus ippsVLCDecodeEscBlock_AAC_1u16s(fmp4::BitWindow* stream, Ipp16s* values, std::size_t length,
                                          const IppsVLCDecodeSpec_32s* table) {
  return DecodeEscapedPairs<TakeSignedPair>(stream, values, length, table);
}

IppStatus ippsVLCDecodeUTupleEscBlock_AAC_1u16s(fmp4::BitWindow* stream, Ipp16s* values, std::size_t length,
                                                const IppsVLCDecodeSpec_32s* table) {
  return DecodeEscapedPairs<TakeUnsigned<2>>(stream, values, length, table);
}

}  // namespace UMC
