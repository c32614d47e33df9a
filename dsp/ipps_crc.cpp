#include "dsp/ipps_crc.h"

namespace UMC {

IppStatus ippsCRC32_8u(const Ipp8u* source, std::size_t bitOffset, std::size_t bitCount, Ipp32u polynomial,
                       Ipp32u* crc) {
  if (crc == nullptr) return ippStsNullPtrErr;
  Ipp32u state = *crc;
  for (std::size_t bit = bitOffset; bit < bitOffset + bitCount; ++bit) {
    const Ipp32u input = source == nullptr ? 0 : (source[bit / 8] >> (7 - bit % 8)) & 1u;
    const Ipp32u feedback = (state >> 31) ^ input;
    state = (state << 1) ^ (feedback != 0 ? polynomial : 0);
  }
  *crc = state;
  return ippStsNoErr;
}

}  // namespace UMC
