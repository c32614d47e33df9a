#include "tests/recovery/live_recording.h"

#include <algorithm>

#include "base/fourcc.h"
#include "tests/support/places.h"
#include "tool/package/packager.h"
#include "tool/source/fragment_stream.h"

namespace fmp4 {

void recordLive(const Bytes& live, const std::string& output) {
  std::size_t done = 0;
  const auto read = [&](std::span<std::uint8_t> bytes) {
    const std::size_t count = std::min(bytes.size(), live.size() - done);
    std::copy_n(live.begin() + static_cast<std::ptrdiff_t>(done), count, bytes.begin());
    done += count;
    return count;
  };
  FragmentStream source("live", {read, [] { return false; }});
  // Two key-frame intervals of frames are enough to determine the interval.
  source.readFragment();
  source.readFragment();
  constexpr std::uint64_t kMaxFrames = 100'000;
  const auto ignore = [](const std::string&) {};
  PackageOptions options;
  options.output = output;
  const PackagePlan plan = planPackage(*source.trackOfHandler(Mp4FourCc("vide")), options, ignore);
  const Plugin plugin(VL_BIN_DIR "/vlx_fmp4.so");
  Packager packager(plugin, source, options, plan, kMaxFrames, ignore);
  packager.run([](std::uint64_t) {}, [] { return false; });
  packager.finish();
}

}  // namespace fmp4
