#include "audio/umc/aac/core/codebooks.h"

#include <array>
#include <iterator>
#include <memory>
#include <new>
#include <utility>

#include "audio/umc/aac/core/huffman_codes.h"
#include "audio/umc/aac/core/prepare_code.h"
#include "audio/umc/shared_object.h"

namespace UMC::aac {

namespace {

struct Code {
  const IppsVLCTable_32s* words;
  std::size_t count;
  IppsVLCTuple tuple;
};

template <std::size_t kCount>
constexpr Code Describe(const IppsVLCTable_32s (&words)[kCount], const IppsVLCTuple& tuple) {
  return {words, kCount, tuple};
}

// By codebook number minus 1 (ISO/IEC 14496-3, table 4.151): symbols of signed codes start at minus their
// maximum value, those of unsigned ones at 0.
constexpr Code kSpectral[] = {Describe(kSpectralCode1, {4, 3, 1}),  Describe(kSpectralCode2, {4, 3, 1}),
                              Describe(kSpectralCode3, {4, 3, 0}),  Describe(kSpectralCode4, {4, 3, 0}),
                              Describe(kSpectralCode5, {2, 9, 4}),  Describe(kSpectralCode6, {2, 9, 4}),
                              Describe(kSpectralCode7, {2, 8, 0}),  Describe(kSpectralCode8, {2, 8, 0}),
                              Describe(kSpectralCode9, {2, 13, 0}), Describe(kSpectralCode10, {2, 13, 0}),
                              Describe(kSpectralCode11, {2, 17, 0})};

// Numbers of values in a pair, without and with signs, and of pairs of these values.
constexpr int kMagnitudes = 17;
constexpr int kSignedValues = 2 * kMagnitudes - 1;
constexpr IppsVLCTuple kSignedPairs = {2, kSignedValues, kMagnitudes - 1};

// The escape codebook with the sign bits that follow its code words included in them.
constexpr auto kSignedEscapeCode = [] {
  std::array<IppsVLCTable_32s, kSignedValues * kSignedValues> words{};
  auto next = words.begin();
  for (const IppsVLCTable_32s& word : kSpectralCode11) {
    const int first = word.value / kMagnitudes, second = word.value % kMagnitudes;
    const int firstSigns = first != 0 ? 1 : 0, secondSigns = second != 0 ? 1 : 0;  // bits
    for (int signs = 0; signs < 1 << (firstSigns + secondSigns); ++signs) {
      const int signedFirst = (signs >> secondSigns & 1) != 0 ? -first : first;
      const int signedSecond = (signs & secondSigns) != 0 ? -second : second;
      *next++ = {(signedFirst + kMagnitudes - 1) * kSignedValues + signedSecond + kMagnitudes - 1,
                 word.code << (firstSigns + secondSigns) | signs, word.length + firstSigns + secondSigns};
    }
  }
  return words;
}();
constexpr unsigned kSignedFirstLevelBits = 10;

// Books 1, 2, 5 and 6 are signed.
constexpr bool HasSignBits(std::size_t book) {
  return book == 3 || book == 4 || book >= 7;
}

bool PreparePowers(Codebooks& made) {
  for (std::size_t book = 1; book <= std::size(kSpectral); ++book) {
    const bool escapes = book == std::size(kSpectral);
    if (PrepareVlcPowers(made.spectral[book], HasSignBits(book), escapes, &made.powers[book]) !=
        ippStsNoErr) {
      return false;
    }
  }
  return true;
}

std::unique_ptr<const Codebooks> MakeCodebooks() {
  std::unique_ptr<Codebooks> made(new (std::nothrow) Codebooks);
  if (made == nullptr) return nullptr;
  const auto prepare = [](const Code& code, IppsVLCDecodeSpec_32s& table) {
    return ippsVLCDecodeInit_32s(code.words, code.count, code.tuple, kFirstLevelBits, &table) == ippStsNoErr;
  };
  if (!prepare(Describe(kScaleFactorCode, {1, 2 * kMaxScaleFactorDifference + 1, 0}), made->scaleFactor))
    return nullptr;
  for (std::size_t i = 0; i < std::size(kSpectral); ++i) {
    if (!prepare(kSpectral[i], made->spectral[i + 1])) return nullptr;
  }
  if (ippsVLCDecodeInit_32s(kSignedEscapeCode.data(), kSignedEscapeCode.size(), kSignedPairs,
                            kSignedFirstLevelBits, &made->signedEscape) != ippStsNoErr) {
    return nullptr;
  }
  return PreparePowers(*made) ? std::move(made) : nullptr;
}

}  // namespace

const Codebooks* SharedCodebooks() {
  static SharedObject<Codebooks> shared;
  return shared.Get(MakeCodebooks);
}

}  // namespace UMC::aac
