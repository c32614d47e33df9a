#include "audio/umc/aac/ps/codebooks.h"

#include <memory>
#include <new>

#include "audio/umc/aac/core/prepare_code.h"
#include "audio/umc/aac/ps/huffman_codes.h"
#include "audio/umc/shared_object.h"

namespace UMC::aac {

namespace {

std::unique_ptr<const PsCodebooks> MakePsCodebooks() {
  std::unique_ptr<PsCodebooks> made(new (std::nothrow) PsCodebooks);
  const bool prepared =
      made != nullptr && PrepareCode(kIidFrequencyDefaultCode, made->iidDefault[0]) &&
      PrepareCode(kIidTimeDefaultCode, made->iidDefault[1]) &&
      PrepareCode(kIidFrequencyFineCode, made->iidFine[0]) &&
      PrepareCode(kIidTimeFineCode, made->iidFine[1]) && PrepareCode(kIccFrequencyCode, made->icc[0]) &&
      PrepareCode(kIccTimeCode, made->icc[1]) && PrepareCode(kIpdFrequencyCode, made->ipd[0]) &&
      PrepareCode(kIpdTimeCode, made->ipd[1]) && PrepareCode(kOpdFrequencyCode, made->opd[0]) &&
      PrepareCode(kOpdTimeCode, made->opd[1]);
  return prepared ? std::move(made) : nullptr;
}

}  // namespace

const PsCodebooks* SharedPsCodebooks() {
  static SharedObject<PsCodebooks> shared;
  return shared.Get(MakePsCodebooks);
}

}  // namespace UMC::aac
