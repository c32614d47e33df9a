// When a file shows flashes and plays tones, as ffmpeg decodes it.
#pragma once

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/ffmpeg.h"

namespace fmp4 {

// The times in seconds, as stored in the file, at which the values that an ffmpeg filter reports under `tag`
// rise above `threshold`.
inline std::vector<double> risingTimes(const std::filesystem::path& file, const std::string& option,
                                       const std::string& filters, const std::string& tag, double threshold) {
  const RunResult result =
      runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-copyts", "-i", file.string(), option,
                  filters + "metadata=print:key=" + tag + ":file=-", "-f", "null", "-"});
  const std::string timeKey = "pts_time:", valueKey = tag + '=';
  std::vector<double> times;
  double time = 0;
  bool above = false;
  std::istringstream lines(result.out);
  for (std::string line; std::getline(lines, line);) {
    if (const auto at = line.find(timeKey); at != std::string::npos)
      time = std::stod(line.substr(at + timeKey.size()));
    if (!line.starts_with(valueKey)) continue;
    const std::string value = line.substr(valueKey.size());
    const bool now = value != "-inf" && std::stod(value) > threshold;
    if (now && !above) times.push_back(time);
    above = now;
  }
  return times;
}

// When each frame is shown.
inline std::vector<double> frameTimes(const std::filesystem::path& file) {
  const RunResult result = runOrThrow({"ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries",
                                       "frame=pts_time", "-of", "csv=print_section=0", file.string()});
  std::vector<double> times;
  std::istringstream lines(result.out);
  for (std::string line; std::getline(lines, line);)
    if (!line.empty()) times.push_back(std::stod(line));
  return times;
}

// When frames turn white.
inline std::vector<double> flashTimes(const std::filesystem::path& file) {
  return risingTimes(file, "-vf", "signalstats,", "lavfi.signalstats.YAVG", 128);
}
// When audio turns loud, to a millisecond.
inline std::vector<double> toneTimes(const std::filesystem::path& file) {
  return risingTimes(
      file, "-af", "aformat=channel_layouts=mono:sample_fmts=flt,asetnsamples=48,astats=metadata=1:reset=1,a",
      "lavfi.astats.Overall.RMS_level", -22);
}

// Inputs: black video at `rate` frames per second with white flashes, and silence at 48000 Hz with tones,
// both for 0.2 s at each of `times`.
inline std::vector<std::string> flashAndToneInputs(double seconds, const std::vector<std::string>& times,
                                                   const std::string& rate = "25") {
  std::string when;
  for (const std::string& time : times)
    when += (when.empty() ? "between(t," : "+between(t,") + time + "," + time + "+0.19)";
  const std::string length = std::to_string(seconds);
  return {"-f",
          "lavfi",
          "-i",
          "color=black:size=160x96:rate=" + rate + ":duration=" + length +
              ",drawbox=color=white:t=fill:enable='" + when + "'",
          "-f",
          "lavfi",
          "-i",
          "aevalsrc=exprs='0.5*sin(2*PI*1000*t)*gt(" + when + ",0)':s=48000:d=" + length};
}

}  // namespace fmp4
