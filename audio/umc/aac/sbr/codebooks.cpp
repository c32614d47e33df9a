#include "audio/umc/aac/sbr/codebooks.h"

#include <memory>
#include <new>

#include "audio/umc/aac/core/prepare_code.h"
#include "audio/umc/aac/sbr/huffman_codes.h"
#include "audio/umc/shared_object.h"
#include "dsp/vlc_lookup.h"

namespace UMC::aac {

namespace {

template <std::size_t kCount>
bool PrepareSbrCode(const IppsVLCTable_32s (&words)[kCount], SbrCode& code) {
  code.largest = static_cast<int>(kCount / 2);
  return PrepareCode(words, code.table);
}

std::unique_ptr<const SbrCodebooks> MakeSbrCodebooks() {
  std::unique_ptr<SbrCodebooks> made(new (std::nothrow) SbrCodebooks);
  if (made == nullptr) return nullptr;
  auto& [envelope, noise] = *made;
  const bool prepared = PrepareSbrCode(kSbrFrequencyLevel15, envelope[0][0][0]) &&
                        PrepareSbrCode(kSbrTimeLevel15, envelope[0][0][1]) &&
                        PrepareSbrCode(kSbrFrequencyBalance15, envelope[0][1][0]) &&
                        PrepareSbrCode(kSbrTimeBalance15, envelope[0][1][1]) &&
                        PrepareSbrCode(kSbrFrequencyLevel30, envelope[1][0][0]) &&
                        PrepareSbrCode(kSbrTimeLevel30, envelope[1][0][1]) &&
                        PrepareSbrCode(kSbrFrequencyBalance30, envelope[1][1][0]) &&
                        PrepareSbrCode(kSbrTimeBalance30, envelope[1][1][1]) &&
                        PrepareSbrCode(kSbrFrequencyLevel30, noise[0][0]) &&
                        PrepareSbrCode(kSbrTimeNoise, noise[0][1]) &&
                        PrepareSbrCode(kSbrFrequencyBalance30, noise[1][0]) &&
                        PrepareSbrCode(kSbrTimeNoiseBalance, noise[1][1]);
  return prepared ? std::move(made) : nullptr;
}

}  // namespace

const SbrCodebooks* SharedSbrCodebooks() {
  static SharedObject<SbrCodebooks> shared;
  return shared.Get(MakeSbrCodebooks);
}

int ReadSbrDifference(fmp4::BitWindow& stream, const SbrCode& code) {
  return TakeVlc(stream, code.table) - code.largest;
}

}  // namespace UMC::aac
