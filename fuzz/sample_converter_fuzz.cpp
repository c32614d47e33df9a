// FFmpeg's samples in any format and number as pairs of 16 bits: nothing outside of the planes is read, and
// nothing outside of the frames that are asked for is written.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "audio/ffmpeg_abi.h"
#include "audio/sample_converter.h"
#include "base/bit_window.h"

namespace fmp4 {

namespace {

constexpr std::size_t kPairBytes = 4;

std::size_t sampleBytes(int format) {
  static constexpr std::size_t kBytes[] = {1, 2, 4, 4, 8};
  return format < 0 || format > ffmpeg57::kDoublePlanar ? 1 : kBytes[format % 5];
}

}  // namespace

// Format, counts and limits, then the samples, which repeat where they do not suffice.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  BitWindow bits(data, size);
  DecodedSamples source{};
  source.format = static_cast<int>(bits.Read(4)) - 2;
  source.channels = static_cast<int>(bits.Read(4)) - 2;
  source.frames = static_cast<int>(bits.Read(8)) - 2;
  const std::uint64_t frameLimit = bits.Read(9), byteLimit = bits.Read(14);
  const bool hasPlaneA = bits.ReadFlag(), hasPlaneB = bits.ReadFlag();
  bits.AlignToByte();
  const bool isPlanar = source.format >= ffmpeg57::kU8Planar;
  const auto channels = static_cast<std::size_t>(std::max(source.channels, 1));
  const auto frames = static_cast<std::size_t>(std::max(source.frames, 0));
  const std::size_t start = std::min(bits.Position() / 8, size), given = size - start;
  std::vector<std::uint8_t> plane(frames * sampleBytes(source.format) * (isPlanar ? 1 : channels));
  for (std::size_t i = 0; i < plane.size() && given > 0; ++i) plane[i] = data[start + i % given];
  const std::vector<std::uint8_t> second = plane;
  source.planeA = hasPlaneA ? plane.data() : nullptr;
  source.planeB = hasPlaneB ? second.data() : nullptr;
  // Blocks of exactly their size, so that the sanitizer detects any access past their ends.
  const std::size_t most = kPairBytes * static_cast<std::size_t>(std::min<std::uint64_t>(frames, frameLimit));
  const auto pairs = std::make_unique<std::uint8_t[]>(most);
  const std::uint32_t written = ConvertSamples(source, pairs.get(), byteLimit, frameLimit);
  if (written > most || written % kPairBytes != 0) std::abort();
  return 0;
}

}  // namespace fmp4
