// The decode wrapper with AC-3 samples, with checksums corrected to reach the code after the check.
#include "fuzz/wrapper_fuzz.h"
#include "tests/audio/ac3_checksums.h"

namespace fmp4 {

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzWrapper(VL_FCC_AC3, data, size, RepairAc3Checksums);
  return 0;
}

}  // namespace fmp4
