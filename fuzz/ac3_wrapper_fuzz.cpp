// The decode wrapper on samples of AC-3, their checksums made right so that what is behind them is reached.
#include "fuzz/wrapper_fuzz.h"
#include "tests/audio/ac3_checksums.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzWrapper(VL_FCC_AC3, data, size, RepairAc3Checksums);
  return 0;
}
