#include "dsp/ipps_memory.h"

#include <cstring>
#include <new>

namespace UMC {

Ipp8u* ippsMalloc_8u(std::size_t length) {
  if (length == 0) return nullptr;
  return static_cast<Ipp8u*>(::operator new (length, std::align_val_t{kIppsAlignment}, std::nothrow));
}

void ippsFree(void* block) {
  ::operator delete (block, std::align_val_t{kIppsAlignment});
}

IppStatus ippsCopy_8u(const Ipp8u* source, Ipp8u* destination, std::size_t length) {
  if (source == nullptr || destination == nullptr) return ippStsNullPtrErr;
  std::memcpy(destination, source, length);
  return ippStsNoErr;
}

}  // namespace UMC
