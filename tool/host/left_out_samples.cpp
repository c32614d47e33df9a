#include "tool/host/left_out_samples.h"

#include "tool/host/movie_file.h"
#include "tool/host/refusal_reason.h"

namespace fmp4 {

namespace {

std::string counted(std::uint64_t count, const std::string& thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string describe(const MovieSamples& samples) {
  std::string audioText = samples.audioSamples == 0 ? "" : counted(samples.audioSamples, "audio sample");
  if (samples.frames == 0) return audioText;
  return counted(samples.frames, "frame") + (audioText.empty() ? "" : " and " + audioText);
}

}  // namespace

std::string leftOutSamples(const std::string& file) {
  const OpenedFiles files = openedFiles(file);
  for (const std::string& path : {files.media, files.companion}) {
    if (path.empty()) continue;
    MovieFile movie(path);
    const std::string samples = movie.isOpen() ? describe(movie.movieSamples()) : std::string();
    if (!samples.empty())
      return "'" + path + "' holds " + samples +
             " in its movie box, before its fragments; they are left out. All come into fragments by\n  " +
             fragmentingCommand(path);
  }
  return {};
}

}  // namespace fmp4
