#include "tool/viewer/overview_scan.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "base/user_error.h"
#include "captions/caption_cues.h"
#include "tool/export/audio_skew.h"
#include "tool/export/caption_frames.h"
#include "tool/export/edited_captions.h"
#include "tool/host/captions.h"
#include "tool/host/fragment_table.h"
#include "tool/host/movie_file.h"
#include "tool/host/plugin_host.h"
#include "tool/viewer/audio_gaps.h"
#include "tool/viewer/audio_range.h"

namespace fmp4 {

namespace {

// A file may claim any number of frames; days have fewer.
constexpr std::uint32_t kMaxOverviewFrames = 1u << 24;

constexpr std::size_t kFrameBatch = 4096;

// The first frames of fragments, in ascending order; none when the file's fragments have other frames than
// the plug-in delivers.
std::vector<TimedFragment> fragmentsOf(const std::string& media, std::uint32_t frames) {
  try {
    const FragmentTable table(media);
    if (table.isVideo() && table.samples() == frames) return table.fragments();
  } catch (const UserError&) {
    // Damaged: without marks.
  }
  return {};
}

std::unique_ptr<EditedCaptions> editsOf(const std::string& name) {
  try {
    return EditedCaptions::of(name);
  } catch (const UserError&) {
    return nullptr;  // damaged: as the plug-in delivers them
  }
}

std::string textOf(const captions::Caption& caption) {
  std::string text;
  for (const captions::TextBlock& block : caption.blocks)
    for (const captions::TextRow& row : block.rows) {
      if (!text.empty()) text += '\n';
      text += row.text();
    }
  return text;
}

// Reads frames one after another.
class VideoScan {
 public:
  VideoScan(CAMediaFile& file, const std::string& name, const OverviewStreams& streams)
      : file_(file),
        streams_(streams),
        fragments_(fragmentsOf(openedFiles(name).media, file.GetTotalFrames())) {
    descriptor_.size = sizeof descriptor_;
    QVRINFO info{};
    file.GetFileInfo(kVideoChannel, nullptr, nullptr, nullptr, &info);
    if (info.captions == 0 || !streams.rate.known()) return;
    cues_.emplace(streams.rate.value());
    edited_ = editsOf(name);
  }

  FrameValue read(std::uint32_t frame) {
    const FrameValue marks{marksOf(frame)};
    descriptor_.data = nullptr;  // without its bytes
    descriptor_.bytes = 0;
    if (file_.Read(frame, 1, kVideoChannel, QVR_MODE_VIDEO, &descriptor_, nullptr) != VL_OK)
      return {marks.bits | FrameValue::kUnread};
    addCaptions(frame);
    const std::uint32_t key = (descriptor_.flags & DFRAME_KEY) != 0 ? FrameValue::kKey : 0;
    return {marks.bits | key | std::min(descriptor_.bytes, FrameValue::kMaxBytes)};
  }

  CuesByChannel captions() {
    CuesByChannel texts;
    if (!cues_) return texts;
    for (const auto& [channel, cues] : cues_->finish(streams_.frames))
      for (const captions::Cue& cue : cues)
        texts[channel.name()].push_back({cue.first, cue.end, textOf(cue.caption)});
    return texts;
  }

 private:
  std::uint32_t marksOf(std::uint32_t frame) {
    std::uint32_t marks = 0;
    for (; next_ < fragments_.size() && fragments_[next_].firstSample <= frame; ++next_) {
      marks |= FrameValue::kFragment;
      if (fragments_[next_].startsSegment) marks |= FrameValue::kSegment;
    }
    return marks;
  }
  void addCaptions(std::uint32_t frame) {
    if (!cues_) return;
    if (edited_) edited_->replaceIn(descriptor_, frame);
    const FrameCaptions captions{frame, captionPair(descriptor_), captionPacket(descriptor_)};
    cues_->add(frame, captions.pair, captions.distributionPacket());
  }

  CAMediaFile& file_;
  const OverviewStreams& streams_;
  std::vector<TimedFragment> fragments_;
  std::size_t next_ = 0;  // of the fragments that begin later
  DFRAME descriptor_ = {};
  std::optional<captions::CaptionCues> cues_;
  std::unique_ptr<EditedCaptions> edited_;
};

// False when stopped.
bool scanVideo(CAMediaFile& file, const std::string& name, const OverviewStreams& streams, Overview& overview,
               const ScanWatch& watch) {
  VideoScan scan(file, name, streams);
  std::vector<FrameValue> batch;
  for (std::uint32_t frame = 0; frame < streams.frames; ++frame) {
    batch.push_back(scan.read(frame));
    if (batch.size() < kFrameBatch && frame + 1 < streams.frames) continue;
    overview.addFrames(batch);
    batch.clear();
    if (watch.stopped()) return false;
    watch.progress(frame + 1, streams.frames + streams.audioCells());
  }
  overview.setCaptions(scan.captions());
  return true;
}

}  // namespace

OverviewStreams overviewStreams(CAMediaFile& file, const std::string& name) {
  OverviewStreams streams = audioStreams(file);
  if (file.VidChan() == 0) return streams;
  QVRSYSTEM system{};
  file.GetFileInfo(kVideoChannel, &system, nullptr, nullptr, nullptr);
  streams.rate = {system.rate, system.scale};
  streams.frames = std::min(file.GetTotalFrames(), kMaxOverviewFrames);
  if (streams.frames != 0 && streams.channels != 0)
    streams.audioLeadNanoseconds = std::llround(audioSkew(name) * 1e9);
  return streams;
}

bool scanOverview(const Plugin& plugin, CAMediaFile& file, const std::string& name, Overview& overview,
                  const ScanWatch& watch, const AudioDivision& division) {
  const OverviewStreams streams = overviewStreams(file, name);
  overview.begin(streams);
  if (streams.frames != 0 && !scanVideo(file, name, streams, overview, watch)) return false;
  if (streams.channels == 0) return true;
  const OpenedFiles files = openedFiles(name);
  forEachAudioGap(files.companion.empty() ? files.media : files.companion, streams.sampleRate, watch.stopped,
                  [&](std::uint64_t from, std::uint64_t to) {
                    to = std::min(to, streams.samples);
                    if (from < to) overview.addFault({AudioFault::Kind::Gap, from, to, 0});
                  });
  return !watch.stopped() && scanAudio(plugin, file, name, streams, overview, watch, division);
}

}  // namespace fmp4
