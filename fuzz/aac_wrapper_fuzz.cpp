// The decode wrapper with AAC samples.
#include "fuzz/wrapper_fuzz.h"

namespace fmp4 {

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::uint32_t kMp4a = 0x6D703461;
  FuzzWrapper(kMp4a, data, size, [](const std::vector<std::uint8_t>&) {});
  return 0;
}

}  // namespace fmp4
