#include "tool/host/frame_times.h"

#include "base/codec_code.h"
#include "tool/host/movie_file.h"

namespace fmp4 {

FrameTimes::FrameTimes(const std::string& name) : video_(openedFiles(name).media) {
  video_.choose({kAvc1, kHvc1});
}

std::optional<FrameTime> FrameTimes::of(std::uint32_t frame, std::uint32_t size) {
  for (; passed_ <= frame; ++passed_)
    if (!video_.next()) return std::nullopt;
  if (passed_ != frame + std::uint64_t{1} || video_.track()->timescale == 0) return std::nullopt;
  const SourceSample& sample = video_.sample();
  if (sample.size != size) return std::nullopt;
  const SourceTrack& track = *video_.track();
  return FrameTime{track.timescale, sample.decodeTime, sample.presentationTime(), track.present(sample)};
}

}  // namespace fmp4
