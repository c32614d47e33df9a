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

Result TrackCursor::fail(const char* text, Result result) {
  messages::reportPlain(text);
  clear();
  return result;
}

Result TrackCursor::entryAt(FragmentIndex& index, std::uint32_t fragmentIndex, const FragmentEntry*& entry) {
  if (fragmentIndex >= index.fragmentCount()) return fail(messages::kMoofIndexBeyondEnd, Defect::EndOfData);
  entry = index.entry(fragmentIndex);
  if (entry) return {};
  return fail(index.empty() ? messages::kNoMoofArray : messages::kNoMoofBox, Defect::FragmentMissing);
}

Result TrackCursor::LoadFragment(FragmentIndex& index, std::uint32_t fragmentIndex, std::uint32_t trunIndex) {
  if (loaded() && fragmentIndex_ == fragmentIndex && trunIndex_ == trunIndex) return {};
  const FragmentEntry* entry = nullptr;
  if (const Result found = entryAt(index, fragmentIndex, entry); !found.ok()) return found;
  if (!window_.open()) return fail(messages::kNoSampleMemory, Defect::OutOfMemory);
  return enter(index, *entry, trunIndex);
}

Result TrackCursor::locateFragment(FragmentIndex& index, std::uint32_t fragmentIndex,
                                   std::uint32_t trunIndex) {
  window_.close();
  const FragmentEntry* entry = nullptr;
  const Result found = entryAt(index, fragmentIndex, entry);
  return found.ok() ? enter(index, *entry, trunIndex) : found;
}

Result TrackCursor::enterFragment(FragmentIndex& index, std::uint32_t fragmentIndex) {
  const FragmentEntry* entry = nullptr;
  const Result found = entryAt(index, fragmentIndex, entry);
  return found.ok() ? enter(index, *entry, 0) : found;
}

Result TrackCursor::enter(FragmentIndex& index, const FragmentEntry& entry, std::uint32_t trunIndex) {
  const std::uint32_t fragmentIndex = entry.sequenceNumber - 1;
  if (!fragment_ || fragmentIndex_ != fragmentIndex || truns().empty()) {
    // Keep nothing of the previous fragment in case memory runs out here.
    part_ = {};
    if (const Result loaded = index.load(entry, window_, fragment_); !loaded.ok())
      return fail(messages::kNoMoofBox, loaded);
    TrackFragment part = readTrackFragment(fragment_->moof, track_.trackId);
    defaults_ = SampleDefaults(part.tfhd, track_.trex);
    runOffsets_ = placeRuns(index, *fragment_, part, defaults_);
    part_ = std::move(part);
    fragmentIndex_ = fragmentIndex;
  }
  trunIndex_ = trunIndex;
  sampleIndex_ = 0;
  bytesBefore_ = 0;
  return {};
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
  const auto load = window_.isOpen() ? &TrackCursor::LoadFragment : &TrackCursor::locateFragment;
  while (truns().empty() || atRunEnd()) {
    const bool sameFragment = trunIndex_ + 1 < truns().size();
    const Result loaded = sameFragment ? (this->*load)(index, fragmentIndex_, trunIndex_ + 1)
                                       : (this->*load)(index, index.nextOccupied(fragmentIndex_ + 1), 0);
    if (leftUnread(loaded)) return Advance::Unread;
    if (!loaded.ok()) return sameFragment ? Advance::NoRun : Advance::NoFragment;
  }
  return Advance::Ready;
}

Result TrackCursor::read(FragmentIndex& index, std::uint8_t* destination) {
  return readAt(index, sampleOffset(), sampleSize(), destination);
}

Result TrackCursor::readAt(FragmentIndex& index, std::uint64_t offset, std::uint64_t count,
                           std::uint8_t* destination) {
  const std::uint64_t failures = index.stream().readFailures();
  if (window_.read(index.stream(), offset, count, destination)) return {};
  return index.stream().readFailures() == failures ? Defect::SamplePastFile : Defect::ReadFailed;
}

}  // namespace fmp4
