// Opening a day-long recording: processor time compared with a program that reads each "moof" once, time
// compared with ffprobe on the same file, and memory per fragment.
#include <cstdio>
#include <optional>

#include "bench/host.h"
#include "bench/measure.h"
#include "tests/support/day_file.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"

using namespace fmp4;

int main() {
  const TempFolder folder;
  const std::string tool = VL_BIN_DIR "/fmp4";
  const std::string plain = folder.file("day.mp4"), indexed = folder.file("segments.mp4"),
                    tiny = folder.file("one.mp4");
  DayFile day, segments, one;
  day.write(plain);
  segments.fragmentsPerSegment = 10;
  segments.write(indexed);
  one.fragments = 1;
  one.write(tiny);
  std::printf("%u fragments, %.1f MB of \"moof\" in %.1f GB\n", day.fragments,
              static_cast<double>(day.moofBytes) / 1e6,
              static_cast<double>(std::filesystem::file_size(plain)) / 1e9);

  bool met = true;
  // Measured while this program is small, as a child process inherits its parent's peak. The memory for a
  // file of one fragment is the program's own.
  const long base = measureProgram({tool, "--quiet", "info", tiny}).peakKilobytes;
  for (const auto& [name, path] :
       {std::pair("plain", plain), std::pair("an index for every 10 fragments", indexed)}) {
    const long peak = measureProgram({tool, "--quiet", "info", path}).peakKilobytes;
    const std::string what = std::string("bytes of memory per fragment, ") + name;
    met = report(what.c_str(), static_cast<double>(peak - base) * 1024 / day.fragments, "<=", 100) && met;
    met = report("peak memory, MB", static_cast<double>(peak) / 1024, "<=", 16) && met;
  }
  DayFile week;
  week.fragments = 7 * day.fragments;
  week.write(folder.file("week.mp4"));
  const long peakOfWeek = measureProgram({tool, "--quiet", "info", folder.file("week.mp4")}).peakKilobytes;
  met = report("peak memory, a week, MB", static_cast<double>(peakOfWeek) / 1024, "<=", 80) && met;

  std::vector<Measured> info, least;
  alternate(
      9, info, least,
      [&] {
        return measureProgram({tool, "--quiet", "info", plain});
      },
      [&] {
        return measureProgram({VL_BIN_DIR "/plain_walk", plain});
      });
  const double infoTime = medianOf(info, &Measured::cpuSeconds),
               leastTime = medianOf(least, &Measured::cpuSeconds);
  std::printf("fmp4 info %.3f s, plain walk %.3f s (user and system, whole processes, median of 9)\n",
              infoTime, leastTime);
  met =
      report("processor time of fmp4 info over that of a plain walk", infoTime / leastTime, "<=", 1.5) && met;

  const MediaFileEntry entry = mediaFileEntry();
  std::vector<Measured> ours, theirs;
  alternate(
      7, ours, theirs,
      [&] {
        std::optional<OpenRecording> recording;
        return measureWork([&] { recording.emplace(entry, plain); });
      },
      [&] {
        return measureProgram({"ffprobe", "-v", "quiet", "-show_entries", "format=duration", plain});
      });
  const double open = medianOf(ours, &Measured::wallSeconds),
               probe = medianOf(theirs, &Measured::wallSeconds);
  std::printf("open %.3f s, ffprobe %.3f s (wall, median of 7, files in the page cache)\n", open, probe);
  met = report("ffprobe's time over ours", probe / open, ">=", 4) && met;
  return met ? 0 : 1;
}
