// Packaging a day of small frames.
#include <cstdio>
#include <filesystem>

#include "bench/day_source.h"
#include "bench/measure.h"
#include "tests/support/places.h"

namespace fmp4 {

namespace {

double sizeOf(const std::string& path) {
  return static_cast<double>(std::filesystem::file_size(path));
}

}  // namespace

}  // namespace fmp4

using namespace fmp4;

int main() {
  const TempFolder folder;
  const std::string source = makeDaySource(folder);
  const Measured ours =
      measureProgram({VL_BIN_DIR "/fmp4", "--quiet", "package", source, "--output", folder.file("day.mp4")});
  const Measured plain = measureProgram({"dd", "if=" + source, "of=" + folder.file("copy.mp4"), "bs=64k"});
  const double media = sizeOf(folder.file("day.m4v")) + sizeOf(folder.file("day.m4a"));
  std::printf("%.2f GB; package %.2f s, a plain loop %.2f s (user and system)\n", media / 1e9,
              ours.cpuSeconds, plain.cpuSeconds);
  // Each segment saves the whole manifest, which is half of its final size on average.
  const double segments = 86400 / 10.0, manifests = segments * sizeOf(folder.file("day.mpd")) / 2;
  std::printf("written: %.2f GB, %.2f GB of them manifests\n", ours.writtenBytes / 1e9, manifests / 1e9);
  const bool quick = report("packaging a day: seconds of user time", ours.userSeconds, "<=", 6);
  const bool small = report("packaging a day: megabytes of memory",
                            static_cast<double>(ours.peakKilobytes) / 1024, "<=", 100);
  const bool once = report("packaging a day: bytes written over those of media and manifests",
                           ours.writtenBytes / (media + manifests), "<=", 1.1);
  return quick && small && once ? 0 : 1;
}
