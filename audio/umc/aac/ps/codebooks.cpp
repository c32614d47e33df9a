#include "audio/umc/aac/ps/codebooks.h"

#include <memory>
#include <new>

#include "audio/umc/aac/ps/huffman_codes.h"
#include "audio/umc/shared_object.h"

namespace UMC::aac {

namespace {

constexpr unsigned kFirstLevelBits = 9;

template <std::size_t kCount>
bool Prepare(const IppsVLCTable_32s (&words)[kCount], IppsVLCDecodeSpec_32s& table) {
  return ippsVLCDecodeInit_32s(words, kCount, {1, kCount, 0}, kFirstLevelBits, &table) == ippStsNoErr;
}

std::unique_ptr<const PsCodebooks> MakeCodebooks() {
  std::unique_ptr<PsCodebooks> made(new (std::nothrow) PsCodebooks);
  const bool prepared = made != nullptr && Prepare(kIidFrequencyDefaultCode, made->iidDefault[0]) &&
                        Prepare(kIidTimeDefaultCode, made->iidDefault[1]) &&
                        Prepare(kIidFrequencyFineCode, made->iidFine[0]) &&
                        Prepare(kIidTimeFineCode, made->iidFine[1]) &&
                        Prepare(kIccFrequencyCode, made->icc[0]) && Prepare(kIccTimeCode, made->icc[1]) &&
                        Prepare(kIpdFrequencyCode, made->ipd[0]) && Prepare(kIpdTimeCode, made->ipd[1]) &&
                        Prepare(kOpdFrequencyCode, made->opd[0]) && Prepare(kOpdTimeCode, made->opd[1]);
  return prepared ? std::move(made) : nullptr;
}

}  // namespace

const PsCodebooks* SharedPsCodebooks() {
  static SharedObject<PsCodebooks> shared;
  return shared.Get(MakeCodebooks);
}

}  // namespace UMC::aac
