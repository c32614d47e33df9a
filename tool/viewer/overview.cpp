#include "tool/viewer/overview.h"

#include <algorithm>
#include <utility>

namespace fmp4 {

namespace {

using Lock = std::lock_guard<std::mutex>;

// The parts of `all`, which ascend, that are in part within [from, to). Parts that are closer to each other
// than a share of the range become one by join(part, next).
template <class Part, class Place, class Start, class End, class Join>
std::vector<Part> within(const std::vector<Part>& all, Place from, Place to, std::uint32_t most,
                         Start startOf, End endOf, Join join) {
  std::vector<Part> parts;
  std::size_t count = 0;
  for (const Part& part : all) count += endOf(part) > from && startOf(part) < to ? 1 : 0;
  const Place room =
      count > most && to > from ? (to - from) / std::max<Place>(static_cast<Place>(most), 1) : 0;
  for (const Part& part : all) {
    if (endOf(part) <= from || startOf(part) >= to) continue;
    const bool joins = count > most && !parts.empty() &&
                       startOf(part) - std::min(startOf(part), endOf(parts.back())) <= room;
    if (joins)
      join(parts.back(), part);
    else
      parts.push_back(part);
  }
  return parts;
}

}  // namespace

void Overview::begin(const OverviewStreams& streams) {
  const Lock lock(mutex_);
  streams_ = streams;
  audio_.resize(streams.channels);
}

void Overview::addFrames(std::span<const FrameValue> frames) {
  const Lock lock(mutex_);
  frames_.append(frames);
}

void Overview::addAudio(const AudioCells& channels) {
  const Lock lock(mutex_);
  for (std::size_t i = 0; i < audio_.size(); ++i) audio_[i].append(channels[i]);
}

void Overview::addFault(const AudioFault& fault) {
  const Lock lock(mutex_);
  if (faults_.size() == kMaxFaults) return;
  const auto later = [](const AudioFault& a, const AudioFault& b) { return a.from < b.from; };
  faults_.insert(std::upper_bound(faults_.begin(), faults_.end(), fault, later), fault);
}

void Overview::setCaptions(CuesByChannel captions) {
  const Lock lock(mutex_);
  captions_ = std::move(captions);
}

void Overview::complete() {
  const Lock lock(mutex_);
  state_ = State::Complete;
}

void Overview::fail(const std::string& why) {
  const Lock lock(mutex_);
  state_ = State::Failed;
  why_ = why;
}

Overview::Progress Overview::progress() const {
  const Lock lock(mutex_);
  Progress progress{
      state_,         why_, streams_, frames_.count(0), audio_.empty() ? 0 : audio_.front().count(0),
      faults_.size(), {}};
  for (const auto& [channel, cues] : captions_) progress.captions.push_back(channel);
  return progress;
}

std::vector<FrameCell> Overview::frames(std::size_t level, std::size_t from, std::size_t count) const {
  const Lock lock(mutex_);
  return frames_.cells(level, from, count);
}

AudioCells Overview::audio(std::size_t level, std::size_t from, std::size_t count) const {
  const Lock lock(mutex_);
  AudioCells cells;
  for (const auto& channel : audio_) cells.push_back(channel.cells(level, from, count));
  return cells;
}

std::vector<AudioFault> Overview::faults(std::uint64_t from, std::uint64_t to, std::uint32_t most) const {
  const Lock lock(mutex_);
  return within(
      faults_, from, to, most, [](const AudioFault& fault) { return fault.from; },
      [](const AudioFault& fault) { return fault.to; },
      [](AudioFault& fault, const AudioFault& next) {
        fault.kind = std::max(fault.kind, next.kind);
        fault.to = std::max(fault.to, next.to);
        fault.units = saturate<std::uint32_t>(std::uint64_t{fault.units} + next.units);
      });
}

CuesByChannel Overview::captions(std::int64_t from, std::int64_t to, std::uint32_t most) const {
  const Lock lock(mutex_);
  CuesByChannel result;
  for (const auto& [channel, cues] : captions_)
    result[channel] = within(
        cues, from, to, most, [](const TextCue& cue) { return cue.first; },
        [](const TextCue& cue) { return cue.end; },
        [](TextCue& cue, const TextCue& next) {
          cue.end = std::max(cue.end, next.end);
          cue.text.clear();
        });
  return result;
}

Overview::Finest Overview::finest() const {
  const Lock lock(mutex_);
  Finest finest{streams_, {frames_.finest().begin(), frames_.finest().end()}, {}, faults_, captions_};
  for (const auto& channel : audio_)
    finest.audio.emplace_back(channel.finest().begin(), channel.finest().end());
  return finest;
}

void Overview::restore(Finest finest) {
  begin(finest.streams);
  addFrames(finest.frames);
  addAudio(finest.audio);
  setCaptions(std::move(finest.captions));
  const Lock lock(mutex_);
  faults_ = std::move(finest.faults);
  state_ = State::Complete;
}

}  // namespace fmp4
