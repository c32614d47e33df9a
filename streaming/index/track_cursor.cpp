#include "streaming/index/track_cursor.h"

#include "streaming/index/messages.h"
#include "streaming/index/run_placement.h"

namespace fmp4 {

void TrackCursor::clear() {
  fragment_.reset();
  part_ = {};
  runOffsets_.clear();
  trunIndex_ = 0;
  window_.close();
}

int TrackCursor::fail(const char* text) {
  messages::reportPlain(text);
  clear();
  return -1;
}

const FragmentEntry* TrackCursor::entryAt(FragmentIndex& index, std::uint32_t fragmentIndex) {
  const char* failure = messages::kMoofIndexBeyondEnd;
  if (fragmentIndex < index.fragmentCount()) {
    if (const FragmentEntry* entry = index.entry(fragmentIndex)) return entry;
    failure = index.empty() ? messages::kNoMoofArray : messages::kNoMoofBox;
  }
  fail(failure);
  return nullptr;
}

int TrackCursor::LoadFragment(FragmentIndex& index, std::uint32_t fragmentIndex, std::uint32_t trunIndex) {
  if (loaded() && fragmentIndex_ == fragmentIndex && trunIndex_ == trunIndex) return 0;
  const FragmentEntry* const entry = entryAt(index, fragmentIndex);
  if (!entry) return -1;
  if (!window_.open()) return fail(messages::kNoSampleMemory);
  return enter(index, *entry, trunIndex);
}

int TrackCursor::LocateFragment(FragmentIndex& index, std::uint32_t fragmentIndex, std::uint32_t trunIndex) {
  window_.close();
  const FragmentEntry* const entry = entryAt(index, fragmentIndex);
  return entry ? enter(index, *entry, trunIndex) : -1;
}

int TrackCursor::EnterFragment(FragmentIndex& index, std::uint32_t fragmentIndex) {
  const FragmentEntry* const entry = entryAt(index, fragmentIndex);
  return entry ? enter(index, *entry, 0) : -1;
}

int TrackCursor::enter(FragmentIndex& index, const FragmentEntry& entry, std::uint32_t trunIndex) {
  const std::uint32_t fragmentIndex = entry.sequenceNumber - 1;
  if (!fragment_ || fragmentIndex_ != fragmentIndex || truns().empty()) {
    // Keep nothing of the previous fragment in case memory runs out here.
    part_ = {};
    fragment_ = index.load(entry, window_);
    if (!fragment_) return fail(messages::kNoMoofBox);
    TrackFragment part = readTrackFragment(fragment_->moof, track_.trackId);
    defaults_ = SampleDefaults(part.tfhd, track_.trex);
    runOffsets_ = placeRuns(index, *fragment_, part, defaults_);
    part_ = std::move(part);
    fragmentIndex_ = fragmentIndex;
  }
  trunIndex_ = trunIndex;
  sampleIndex_ = 0;
  bytesBefore_ = 0;
  return 0;
}

void TrackCursor::seek(std::uint32_t sample) {
  sampleIndex_ = sample;
  bytesBefore_ = sizeOfSamples(run(), sample, defaults_);
}

void TrackCursor::next() {
  bytesBefore_ = addSaturated(bytesBefore_, sampleSize());
  ++sampleIndex_;
}

Advance TrackCursor::advance(FragmentIndex& index) {
  const auto load = window_.isOpen() ? &TrackCursor::LoadFragment : &TrackCursor::LocateFragment;
  while (truns().empty() || atRunEnd()) {
    if (trunIndex_ + 1 < truns().size()) {
      if ((this->*load)(index, fragmentIndex_, trunIndex_ + 1) < 0) return Advance::NoRun;
      continue;
    }
    if ((this->*load)(index, index.nextOccupied(fragmentIndex_ + 1), 0) < 0) return Advance::NoFragment;
  }
  return Advance::Ready;
}

int TrackCursor::read(FragmentIndex& index, std::uint8_t* destination) {
  return readAt(index, sampleOffset(), sampleSize(), destination);
}

int TrackCursor::readAt(FragmentIndex& index, std::uint64_t offset, std::uint64_t count,
                        std::uint8_t* destination) {
  return window_.read(index.stream(), offset, count, destination) ? 0 : -1;
}

}  // namespace fmp4
