#include "audio/umc/aac/sbr/codebooks.h"

#include <memory>
#include <new>

#include "audio/umc/aac/sbr/huffman_codes.h"
#include "audio/umc/shared_object.h"

namespace UMC::aac {

namespace {

constexpr unsigned kFirstLevelBits = 9;

template <std::size_t kCount>
bool Prepare(const IppsVLCTable_32s (&words)[kCount], SbrCode& code) {
  code.largest = static_cast<int>(kCount / 2);
  const IppsVLCTuple single = {1, static_cast<Ipp32s>(kCount), 0};
  return ippsVLCDecodeInit_32s(words, kCount, single, kFirstLevelBits, &code.table) == ippStsNoErr;
}

std::unique_ptr<const SbrCodebooks> MakeCodebooks() {
  std::unique_ptr<SbrCodebooks> made(new (std::nothrow) SbrCodebooks);
  if (made == nullptr) return nullptr;
  auto& [envelope, noise] = *made;
  const bool prepared =
      Prepare(kSbrFrequencyLevel15, envelope[0][0][0]) && Prepare(kSbrTimeLevel15, envelope[0][0][1]) &&
      Prepare(kSbrFrequencyBalance15, envelope[0][1][0]) && Prepare(kSbrTimeBalance15, envelope[0][1][1]) &&
      Prepare(kSbrFrequencyLevel30, envelope[1][0][0]) && Prepare(kSbrTimeLevel30, envelope[1][0][1]) &&
      Prepare(kSbrFrequencyBalance30, envelope[1][1][0]) && Prepare(kSbrTimeBalance30, envelope[1][1][1]) &&
      Prepare(kSbrFrequencyLevel30, noise[0][0]) && Prepare(kSbrTimeNoise, noise[0][1]) &&
      Prepare(kSbrFrequencyBalance30, noise[1][0]) && Prepare(kSbrTimeNoiseBalance, noise[1][1]);
  return prepared ? std::move(made) : nullptr;
}

}  // namespace

const SbrCodebooks* SharedSbrCodebooks() {
  static SharedObject<SbrCodebooks> shared;
  return shared.Get(MakeCodebooks);
}

int ReadSbrDifference(fmp4::BitWindow& stream, const SbrCode& code) {
  Ipp16s symbol = 0;
  ippsVLCDecodeOne_1u16s(&stream, &symbol, &code.table);
  return symbol - code.largest;
}

}  // namespace UMC::aac
