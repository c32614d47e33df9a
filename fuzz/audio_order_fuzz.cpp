// A stream of AAC in ADTS or of AC-3 as the audio of a file: what a position sounds like does not depend on
// where decoding began.
#include <span>

#include "fuzz/memory_file.h"
#include "fuzz/reading_order.h"
#include "tests/support/fragments.h"
#include "vlhost.h"

namespace fmp4 {

namespace {

constexpr std::size_t kMaxUnits = 48;
constexpr std::size_t kAdtsHeader = 7;  // bytes, without a checksum

// The AudioSpecificConfig that an ADTS header implies (ISO/IEC 14496-3, 1.6.2.1 and 1.A.2.2).
std::uint16_t configurationOf(std::span<const std::uint8_t> header) {
  const unsigned objectType = (header[2] >> 6) + 1u, frequency = header[2] >> 2 & 15u;
  const unsigned channels = (header[2] & 1u) << 2 | header[3] >> 6;
  return static_cast<std::uint16_t>(objectType << 11 | frequency << 7 | channels << 3);
}

// Access units end where ADTS headers say so, but may be cut off.
RunSpec aacRun(std::span<const std::uint8_t> stream) {
  RunSpec run{kRunDataOffset | kRunSize};
  while (stream.size() > kAdtsHeader && run.samples.size() < kMaxUnits) {
    const std::size_t stated = (stream[3] & 3u) << 11 | unsigned{stream[4]} << 3 | unsigned{stream[5]} >> 5;
    const std::size_t length = std::clamp(stated, kAdtsHeader + 1, stream.size());
    run.samples.push_back(
        {{stream.begin() + kAdtsHeader, stream.begin() + static_cast<std::ptrdiff_t>(length)}});
    stream = stream.subspan(length);
  }
  return run;
}

// Sync frames start with their sync word.
RunSpec ac3Run(std::span<const std::uint8_t> stream) {
  RunSpec run{kRunDataOffset | kRunSize};
  constexpr std::uint8_t kSyncWord[] = {0x0B, 0x77};
  while (stream.size() > 2 && run.samples.size() < kMaxUnits) {
    const auto next =
        std::search(stream.begin() + 2, stream.end(), std::begin(kSyncWord), std::end(kSyncWord));
    run.samples.push_back({{stream.begin(), next}});
    stream = {next, stream.end()};
  }
  return run;
}

Bytes fileOf(std::span<const std::uint8_t> stream) {
  const bool isAc3 = stream[0] == 0x0B;
  const std::uint32_t unitFrames = isAc3 ? 1536 : 1024;
  const Bytes entry =
      isAc3 ? audioEntry("ac-3", 2, 16, 48000)
            : audioEntry("mp4a", 2, 16, 48000, elementaryStreamBox(0x40, configurationOf(stream)));
  TrafSpec traf;
  traf.runs = {isAc3 ? ac3Run(stream) : aacRun(stream)};
  return join({fileTypeBox(), movieBox({{1, "soun", 48000, entry, unitFrames}}), fragment(1, {traf})});
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  vlSetLogSink([](void*, std::uint32_t, const char*) {}, nullptr);
  return 0;
}

// The last byte determines the order.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size <= kAdtsHeader) return 0;
  static const MemoryFile file;
  file.set(fileOf({data, size}));
  expectSameInAnyOrder(file.path(), data[size - 1]);
  return 0;
}

}  // namespace fmp4
