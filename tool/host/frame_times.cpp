#include "tool/host/frame_times.h"

#include <algorithm>

#include "base/fourcc.h"
#include "base/user_error.h"
#include "tool/host/movie_file.h"

namespace fmp4 {

FrameTimes::FrameTimes(const std::string& name) {
  try {
    file_.emplace(openedFiles(name).media);
  } catch (const UserError&) {
    return;
  }
  const auto& tracks = file_->tracks();
  const auto video = std::find_if(tracks.begin(), tracks.end(), [](const SourceTrack& track) {
    return track.codec == Mp4FourCc("avc1") || track.codec == Mp4FourCc("hvc1");
  });
  if (video != tracks.end() && video->timescale != 0) video_ = &*video;
}

std::optional<FrameTime> FrameTimes::of(std::uint32_t frame, std::uint32_t size) const {
  const std::size_t index = video_ ? video_->tableSamples + frame : 0;
  if (!video_ || index >= video_->samples.size()) return std::nullopt;
  const SourceSample sample = video_->samples[index];
  if (sample.size != size) return std::nullopt;
  return FrameTime{video_->timescale, sample.decodeTime, sample.presentationTime(), video_->present(sample)};
}

}  // namespace fmp4
