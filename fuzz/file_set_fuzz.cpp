// A manifest with the two files that it names, video and audio apart: frames and audio do not depend on the
// order in which they are read.
#include <algorithm>
#include <span>

#include "fuzz/memory_file.h"
#include "fuzz/reading_order.h"
#include "vlhost.h"

namespace fmp4 {

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  vlSetLogSink([](void*, std::uint32_t, const char*) {}, nullptr);
  return 0;
}

// The input: the size of the manifest and of the video, 16 bits each, big-endian, what sets the order, then
// the manifest, the video and the audio.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kHeader = 5;
  if (size < kHeader) return 0;
  static const MemoryFile manifest("clip.mpd"), video("clip.m4v"), audio("clip.m4a");
  const auto number = [data](std::size_t at) { return std::size_t{data[at]} * 256 + data[at + 1]; };
  std::span<const std::uint8_t> rest(data + kHeader, size - kHeader);
  const auto take = [&rest](std::size_t count) {
    const auto part = rest.first(std::min(count, rest.size()));
    rest = rest.subspan(part.size());
    return part;
  };
  manifest.set(take(number(0)));
  video.set(take(number(2)));
  audio.set(rest);
  expectSameInAnyOrder(manifest.path(), data[4]);
  return 0;
}

}  // namespace fmp4
