#include "tool/host/frame_times.h"

#include <algorithm>

#include "base/codec_code.h"
#include "base/user_error.h"
#include "mp4box/box_type.h"
#include "streaming/index/fragment_bytes.h"
#include "tool/source/source_tracks.h"

namespace fmp4 {

FrameTimes::FrameTimes(const std::string& name) : file_(openedFiles(name).media) {
  try {
    if (file_.isOpen()) openVideo();
  } catch (const UserError&) {
    video_.clear();
  }
}

void FrameTimes::openVideo() {
  for (SourceTrack& track : readMovie(file_.movie(), file_.root()->size)) {
    const bool isVideo = track.codec == kAvc1 || track.codec == kHvc1;
    if (!isVideo || !video_.empty()) continue;
    track.samples.clear();  // the plug-in reads fragments alone
    video_.push_back(std::move(track));
  }
  if (!video_.empty() && video_.front().timescale == 0) video_.clear();
  for (Mp4Box* box = file_.root()->first; box && !video_.empty(); box = box->next)
    if (box->type == box_type::kMoof) addFragment(box);
}

void FrameTimes::addFragment(Mp4Box* moof) {
  readFragment(file_.movie(), moof, file_.root()->size, video_);
}

bool FrameTimes::readOn() {
  first_ += video_.front().samples.size();
  video_.front().samples.clear();
  bool readable = true;
  const auto visit = [&](Mp4Stream& stream, const Mp4Box& box) {
    if (box.type != box_type::kMoof) return;
    std::unique_ptr<Mp4Tree> tree;
    readable = FragmentBytes(stream, box, file_.root()->size).readTree(tree).ok();
    if (readable) addFragment(tree->root()->first);
  };
  while (readable && video_.front().samples.empty()) {
    if (!file_.boxes().passNext(visit).ok()) return false;
  }
  return readable;
}

std::optional<FrameTime> FrameTimes::of(std::uint32_t frame, std::uint32_t size) {
  try {
    while (!video_.empty() && frame >= first_ + video_.front().samples.size())
      if (!readOn()) video_.clear();
  } catch (const UserError&) {
    video_.clear();
  }
  if (video_.empty() || frame < first_) return std::nullopt;
  const SourceTrack& video = video_.front();
  const SourceSample sample = video.samples[static_cast<std::size_t>(frame - first_)];
  if (sample.size != size) return std::nullopt;
  return FrameTime{video.timescale, sample.decodeTime, sample.presentationTime(), video.present(sample)};
}

}  // namespace fmp4
