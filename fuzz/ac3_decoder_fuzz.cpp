// The AC-3 decoder with hostile bytes. The first byte selects the output mode, the LFE flag, and whether the
// checksums of apparent frames are corrected first, to reach the code after the check.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "audio/umc/ac3/ac3_decoder.h"
#include "tests/audio/ac3_checksums.h"

namespace fmp4 {

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  std::vector<std::uint8_t> bytes(data + 1, data + size);
  bytes.shrink_to_fit();
  if ((data[0] & 0x80) != 0) RepairAc3Checksums(bytes);

  UMC::AC3DecoderParams params;
  params.m_outputMode = data[0] & 0x0F;
  params.m_outputLfe = data[0] >> 4 & 1;
  UMC::AC3Decoder decoder;
  if (decoder.Init(&params) != UMC::UMC_OK) return 0;

  constexpr std::size_t kChannelBytes = 3072;
  static std::vector<std::uint8_t> space(6 * kChannelBytes);
  UMC::MediaData input, output;
  input.SetBufferPointer(bytes.data(), bytes.size());
  input.SetDataSize(bytes.size());
  for (std::uint64_t left = bytes.size() + 1; input.GetDataSize() < left;) {
    left = input.GetDataSize();
    output.SetBufferPointer(space.data(), space.size());
    const UMC::Status status = decoder.GetFrame(&input, &output);
    if (status < UMC::UMC_OK) continue;
    const std::uint64_t made = output.GetDataSize();
    if (made == 0 || made % kChannelBytes != 0) std::abort();
    const bool silent = space[0] == 0 && std::memcmp(space.data(), space.data() + 1, made - 1) == 0;
    if (status == UMC::UMC_WRN_CRC_MISMATCH && !silent) std::abort();
  }
  return 0;
}

}  // namespace fmp4
