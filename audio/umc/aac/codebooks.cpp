#include "codebooks.h"

#include <iterator>
#include <memory>
#include <new>

#include "huffman_codes.h"
#include "shared_object.h"

namespace UMC::aac {

namespace {

constexpr int kLargestDifference = 60;
constexpr unsigned kFirstLevelBits = 9;

struct Code {
  const IppsVLCTable_32s* words;
  std::size_t count;
  IppsVLCTuple tuple;
};

template <std::size_t kCount>
constexpr Code Describe(const IppsVLCTable_32s (&words)[kCount], const IppsVLCTuple& tuple) {
  return {words, kCount, tuple};
}

// By codebook number less 1 (ISO/IEC 14496-3, table 4.151): signed codes count from minus their largest
// value, unsigned ones from 0.
constexpr Code kSpectral[] = {Describe(kSpectralCode1, {4, 3, 1}),  Describe(kSpectralCode2, {4, 3, 1}),
                              Describe(kSpectralCode3, {4, 3, 0}),  Describe(kSpectralCode4, {4, 3, 0}),
                              Describe(kSpectralCode5, {2, 9, 4}),  Describe(kSpectralCode6, {2, 9, 4}),
                              Describe(kSpectralCode7, {2, 8, 0}),  Describe(kSpectralCode8, {2, 8, 0}),
                              Describe(kSpectralCode9, {2, 13, 0}), Describe(kSpectralCode10, {2, 13, 0}),
                              Describe(kSpectralCode11, {2, 17, 0})};

std::unique_ptr<const Codebooks> MakeCodebooks() {
  std::unique_ptr<Codebooks> made(new (std::nothrow) Codebooks);
  if (made == nullptr) return nullptr;
  const auto prepare = [](const Code& code, IppsVLCDecodeSpec_32s& table) {
    return ippsVLCDecodeInit_32s(code.words, code.count, code.tuple, kFirstLevelBits, &table) == ippStsNoErr;
  };
  if (!prepare(Describe(kScaleFactorCode, {1, 2 * kLargestDifference + 1, 0}), made->scaleFactor))
    return nullptr;
  for (std::size_t i = 0; i < std::size(kSpectral); ++i) {
    if (!prepare(kSpectral[i], made->spectral[i + 1])) return nullptr;
  }
  return made;
}

}  // namespace

const Codebooks* SharedCodebooks() {
  static SharedObject<Codebooks> shared;
  return shared.Get(MakeCodebooks);
}

int ReadScaleFactorDifference(BitWindow& stream, const Codebooks& codebooks) {
  Ipp16s symbol = 0;
  ippsVLCDecodeOne_1u16s(&stream, &symbol, &codebooks.scaleFactor);
  return symbol - kLargestDifference;
}

}  // namespace UMC::aac
