// How long the time line of a day takes until it is complete: all frames, then the wave form,
// for which the audio is decoded.
#include <cstdio>
#include <stdexcept>

#include "bench/day_source.h"
#include "bench/measure.h"
#include "tool/host/plugin_host.h"
#include "tool/viewer/overview_scan.h"

using namespace fmp4;

int main() {
  const TempFolder folder;
  const std::string source = makeDaySource(folder);
  const Plugin plugin("vlx_fmp4");
  Overview overview;
  double framesSeconds = 0;
  const auto start = std::chrono::steady_clock::now();
  const auto since = [start] {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  };
  const Measured ours = measureWork([&] {
    const MediaFile file = plugin.openQuietly(source);
    ScanWatch watch;
    watch.progress = [&](std::uint64_t, std::uint64_t) {
      const Overview::Progress known = overview.progress();
      if (framesSeconds == 0 && known.frames == known.streams.frames) framesSeconds = since();
    };
    if (!scanOverview(plugin, *file, source, overview, watch))
      throw std::runtime_error("the day was not read");
  });
  const Measured ffmpeg = measureProgram({"ffmpeg", "-i", source, "-map", "0:a", "-f", "null", "-"});
  std::printf(
      "all frames after %.2f s; ffmpeg decodes the audio in %.2f s of processor time, %.2f s elapsed\n",
      framesSeconds, ffmpeg.cpuSeconds, ffmpeg.wallSeconds);
  const bool quick =
      report("the time line of a day: seconds until it is complete", ours.wallSeconds, "<=", 20);
  const bool light = report("the time line of a day: processor time over ffmpeg's for the audio",
                            ours.cpuSeconds / ffmpeg.cpuSeconds, "<=", 1);
  return quick && light ? 0 : 1;
}
