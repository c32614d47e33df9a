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

namespace fmp4 {

namespace {

// A file may claim any number of frames; days have fewer.
constexpr std::uint32_t kMaxOverviewFrames = 1u << 24;
constexpr std::uint64_t kMaxOverviewAudioCells = 1u << 26;  // of all channels

constexpr std::size_t kFrameBatch = 4096;
constexpr std::uint64_t kCellsABlock = kAudioCellsASecond / kBlocksASecond;

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

// Decodes audio block by block.
class AudioScan {
 public:
  AudioScan(CAMediaFile& file, const OverviewStreams& streams, Overview& overview)
      : file_(file), streams_(streams), overview_(overview) {
    block_.resize(static_cast<std::size_t>(streams.sampleRate / kBlocksASecond + 2) * streams.channels);
    cells_.resize(streams.channels);
  }

  // Adds the cells of a block from a cell on. False when nothing after it can be read.
  bool readBlock(std::uint64_t firstCell) {
    const std::uint64_t cells = std::min(kCellsABlock, streams_.audioCells() - firstCell);
    const std::uint64_t from = startOf(firstCell), to = startOf(firstCell + cells);
    const bool delivered = read(from, to);
    for (std::uint64_t cell = firstCell; cell < firstCell + cells; ++cell)
      addCell(startOf(cell) - from, startOf(cell + 1) - from);
    if (delivered) {
      note(AudioFault::Kind::Lost, from, to, descriptor_.lostUnits);
      return true;
    }
    const bool first = !pending_ || pending_->kind != AudioFault::Kind::Unread || pending_->to != from;
    note(AudioFault::Kind::Unread, from, to, std::max(descriptor_.lostUnits, 1u));
    return !first || read(streams_.samples - 1, streams_.samples);
  }
  // Nothing can be read from a cell on.
  void endAt(std::uint64_t cell) {
    note(AudioFault::Kind::Unread, startOf(cell), streams_.samples, 1);
    for (auto& channel : cells_)
      channel.resize(channel.size() + static_cast<std::size_t>(streams_.audioCells() - cell));
  }
  // Adds what was read to the overview.
  void publish() {
    overview_.addAudio(cells_);
    for (auto& channel : cells_) channel.clear();
  }
  void finish() {
    publish();
    if (pending_) overview_.addFault(*pending_);
    pending_.reset();
  }

 private:
  std::uint64_t startOf(std::uint64_t cell) const {
    return std::min(audioCellStart(cell, streams_.sampleRate), streams_.samples);
  }

  // False when none of it is delivered; what is not delivered of it is silence.
  bool read(std::uint64_t from, std::uint64_t to) {
    descriptor_.size = sizeof descriptor_;
    descriptor_.bytes = descriptor_.lostUnits = 0;
    descriptor_.data = reinterpret_cast<std::uint8_t*>(block_.data());
    descriptor_.dataCapacity = static_cast<std::uint32_t>(block_.size() * sizeof block_[0]);
    const std::uint32_t status =
        file_.Read(static_cast<std::uint32_t>(from), static_cast<std::uint32_t>(to - from), kFirstPair,
                   QVR_MODE_AUDIO, &descriptor_, nullptr);
    const std::size_t samples =
        status == VL_OK ? std::min(descriptor_.bytes / sizeof block_[0], block_.size()) : 0;
    std::fill(block_.begin() + static_cast<std::ptrdiff_t>(samples), block_.end(), std::int16_t{0});
    return samples != 0;
  }

  // PCM frames [from, to) of the block.
  void addCell(std::uint64_t from, std::uint64_t to) {
    for (std::size_t channel = 0; channel < streams_.channels; ++channel)
      cells_[channel].push_back(
          AudioCell::ofSamples(block_.data() + static_cast<std::size_t>(from) * streams_.channels + channel,
                               static_cast<std::size_t>(to - from), streams_.channels));
  }

  // Faults of neighbouring blocks are one.
  void note(AudioFault::Kind kind, std::uint64_t from, std::uint64_t to, std::uint32_t units) {
    const bool goesOn = pending_ && units != 0 && pending_->kind == kind && pending_->to == from;
    if (goesOn) {
      pending_->to = to;
      pending_->units = saturate<std::uint32_t>(std::uint64_t{pending_->units} + units);
      return;
    }
    if (pending_) overview_.addFault(*pending_);
    pending_.reset();
    if (units != 0) pending_ = {kind, from, to, units};
  }

  CAMediaFile& file_;
  const OverviewStreams& streams_;
  Overview& overview_;
  DFRAME descriptor_ = {};
  std::vector<std::int16_t> block_;
  AudioCells cells_;  // that are not published
  std::optional<AudioFault> pending_;
};

// Both return false when stopped.
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

bool scanAudio(CAMediaFile& file, const OverviewStreams& streams, Overview& overview,
               const ScanWatch& watch) {
  AudioScan scan(file, streams, overview);
  const std::uint64_t cells = streams.audioCells();
  for (std::uint64_t cell = 0; cell < cells; cell += kCellsABlock) {
    if (watch.stopped()) return false;
    const bool more = scan.readBlock(cell);
    if (!more && cell + kCellsABlock < cells) {
      scan.endAt(cell + kCellsABlock);
      break;
    }
    if (cell % kAudioCellsASecond == 0) scan.publish();
    watch.progress(streams.frames + cell, streams.frames + cells);
  }
  scan.finish();
  return true;
}

}  // namespace

OverviewStreams overviewStreams(CAMediaFile& file, const std::string& name) {
  OverviewStreams streams;
  QVRSYSTEM system{};
  QVRAUDIO audio{};
  if (file.VidChan() != 0) {
    file.GetFileInfo(kVideoChannel, &system, nullptr, nullptr, nullptr);
    streams.rate = {system.rate, system.scale};
    streams.frames = std::min(file.GetTotalFrames(), kMaxOverviewFrames);
  }
  if (file.Channels() == 0) return streams;
  file.GetFileInfo(kFirstPair, nullptr, nullptr, &audio, nullptr);
  const QVRWAVE& wave = audio.wave;
  if (wave.channels == 0 || wave.channels > kMaxOverviewChannels || wave.bitsPerSample != 16 ||
      wave.samplesPerSecond < kAudioCellsASecond)
    return streams;
  streams.sampleRate = wave.samplesPerSecond;
  streams.channels = wave.channels;
  if (streams.frames != 0) streams.audioLeadNanoseconds = std::llround(audioSkew(name) * 1e9);
  streams.samples = std::min<std::uint64_t>(
      audio.stream.length, audioCellStart(kMaxOverviewAudioCells / wave.channels, wave.samplesPerSecond));
  return streams;
}

bool scanOverview(CAMediaFile& file, const std::string& name, Overview& overview, const ScanWatch& watch) {
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
  return !watch.stopped() && scanAudio(file, streams, overview, watch);
}

}  // namespace fmp4
