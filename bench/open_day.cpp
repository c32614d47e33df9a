// Opening a day-long recording, by the plug-in's calls and by the program that also describes it: processor
// time compared with a program that reads each "moof" once, time compared with ffprobe on the same file, and
// memory per fragment.
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
  week.hasMedia = false;
  week.write(folder.file("week.mp4"));
  const long peakOfWeek = measureProgram({tool, "--quiet", "info", folder.file("week.mp4")}).peakKilobytes;
  met = report("peak memory, a week, MB", static_cast<double>(peakOfWeek) / 1024, "<=", 80) && met;

  const MediaFileEntry entry = mediaFileEntry();
  const auto openDay = [&] { return measureWork([&] { const OpenRecording recording(entry, plain); }); };
  const auto walk = [&] { return measureProgram({VL_BIN_DIR "/plain_walk", plain}); };
  std::vector<Measured> opened, walked;
  alternate(9, opened, walked, openDay, walk);
  std::printf("open and close %.3f s, plain walk %.3f s (user and system, median of 9)\n",
              medianOf(opened, &Measured::cpuSeconds), medianOf(walked, &Measured::cpuSeconds));
  met = report("processor time of opening and closing over that of a plain walk",
               ratioOf(opened, walked, &Measured::cpuSeconds), "<=", 1.5) &&
        met;
  // The program also adds up all samples, for their bit rates, from what the plug-in reads.
  std::vector<Measured> info;
  walked.clear();
  alternate(
      9, info, walked,
      [&] {
        return measureProgram({tool, "--quiet", "info", plain});
      },
      walk);
  met = report("processor time of fmp4 info over that of a plain walk",
               ratioOf(info, walked, &Measured::cpuSeconds), "<=", 1.5) &&
        met;

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
