#include "streaming/index/fragment_index.h"

#include <algorithm>
#include <new>

#include "mp4box/boxes/mfhd.h"
#include "mp4box/boxes/sidx.h"
#include "streaming/index/messages.h"

namespace {

constexpr std::uint32_t kMoof = Mp4FourCc("moof");
constexpr std::uint32_t kMfhd = Mp4FourCc("mfhd");

}  // namespace

FragmentIndex::FragmentIndex(Mp4Stream& stream, Mp4Box* root,
                             const std::array<IndexedTrack, kTrackRoles>& tracks, FrameRate frameRate)
    : stream_(stream), root_(root), tracks_(tracks), frameRate_(frameRate) {}

int FragmentIndex::AddFragment(Mp4Box* moof) {
  const auto* header = Mp4PayloadOf<mp4::MovieFragmentHeaderBox>(Mp4BoxChild(moof, kMfhd));
  if (!header) return 0;
  converged_ = false;
  if (header->sequenceNumber == 0) {
    fragmentCount_ = 0;
    return 0;
  }
  Slot slot{header->sequenceNumber, {}};
  slot.entry.moof = moof;
  locateMediaData(slot.entry);
  countSamples(slot.entry);
  try {
    entries_.push_back(slot);
  } catch (const std::bad_alloc&) {
    entries_ = {};
    messages::reportIndexError(messages::kNoMoofArrayMemory);
    return -1;
  }
  fragmentCount_ = slot.sequence;
  return 0;
}

// The box after the `moof` is its media data. If the tree ends here, reading the next box provides both.
void FragmentIndex::locateMediaData(FragmentEntry& entry) {
  const std::uint64_t end = entry.moof->end();
  entry.mdatOffset = end;
  Mp4Box header;
  if (entry.moof->next) {
    entry.mdatSize = entry.moof->next->size;
  } else if (const Mp4Box* box = Mp4BoxAt(stream_, root_, end)) {
    entry.mdatSize = box->size;
  } else if (stream_.seek(end) && Mp4ReadBoxHeader(stream_, header)) {
    entry.mdatSize = header.size;
  }
}

std::uint64_t FragmentIndex::mediaDataStart(const FragmentEntry& entry) {
  Mp4Box header;
  const Mp4Box* box = entry.moof->next;
  if (!box && stream_.seek(entry.mdatOffset) && Mp4ReadBoxHeader(stream_, header)) box = &header;
  return box ? addSaturated(entry.mdatOffset, Mp4BoxHeaderSize(*box)) : entry.mdatOffset;
}

const mp4::TrackExtendsBox* FragmentIndex::trackDefaults(std::uint32_t trackId) {
  for (const IndexedTrack& track : tracks_) {
    if (track.present() && track.trackId == trackId) return track.trex;
  }
  if (!movieDefaults_) movieDefaults_ = readTrackDefaults(Mp4BoxChild(root_, Mp4FourCc("moov")));
  const auto found = movieDefaults_->find(trackId);
  return found != movieDefaults_->end() ? found->second : nullptr;
}

void FragmentIndex::countSamples(FragmentEntry& entry) {
  std::array<std::uint64_t, kTrackRoles> counts{};
  for (unsigned role = 0; role < kTrackRoles; ++role) {
    const IndexedTrack& track = tracks_[role];
    if (!track.present()) continue;
    const Mp4Box* traf = findTrackFragment(entry.moof, track.trackId);
    if (!traf) continue;
    const SampleDefaults defaults(trackFragmentHeader(traf, track.trackId), track.trex);
    for (const Mp4Box* child = traf->first; child; child = child->next) {
      const auto* run = trackRun(child);
      if (!run) continue;
      switch (role) {
        case kVideoTrack:
          counts[role] += run->sampleCount;
          largestVideoSample_ = std::max(largestVideoSample_, largestSampleOf(*run, defaults));
          break;
        case kAudioTrack:
          counts[role] = addSaturated(counts[role], durationOfSamples(*run, run->sampleCount, defaults));
          break;
        default:
          counts[role] =
              addSaturated(counts[role], captionFramesOf(*run, defaults, track.timescale, frameRate_));
          break;
      }
    }
  }
  entry.videoSamples = saturate<std::uint32_t>(counts[kVideoTrack]);
  entry.audioTicks = saturate<std::uint32_t>(counts[kAudioTrack]);
  entry.cc608Frames = saturate<std::uint32_t>(counts[kCc608Track]);
  entry.cc708Frames = saturate<std::uint32_t>(counts[kCc708Track]);
}

Mp4Box* FragmentIndex::boxAt(std::uint64_t offset) {
  if (Mp4Box* box = Mp4BoxAt(stream_, root_, offset)) return box;
  if (const auto own = ownBoxes_.find(offset); own != ownBoxes_.end()) return own->second.get();
  Mp4Box header;
  if (!stream_.seek(offset) || !Mp4ReadBoxHeader(stream_, header)) return nullptr;
  const std::uint64_t size = stream_.size();
  ownBytes_ = addSaturated(ownBytes_, std::min(header.end(), size) - std::min(offset, size));
  if (ownBytes_ > size) return nullptr;
  Mp4BoxPtr box(Mp4ReadBox(stream_, root_));
  if (!box) return nullptr;
  return (ownBoxes_[offset] = std::move(box)).get();
}

// `readable` receives whether a box could be read at `start`. Returns false if memory is short.
bool FragmentIndex::addFragmentsInRange(std::uint64_t start, std::uint64_t end, bool& readable) {
  readable = true;
  std::uint64_t position = start;
  while (position < end) {
    // Several indexes of one file (one per track) refer to the same fragments: skip those already walked.
    if (const std::uint64_t walked = walked_.endOf(position); walked > position) {
      position = walked;
      continue;
    }
    Mp4Box* box = boxAt(position);
    if (!box) {
      readable = position != start;
      break;
    }
    if (box->type == kMoof && AddFragment(box) < 0) return false;
    walked_.add(position, box->end());
    position = box->end();
  }
  return true;
}

int FragmentIndex::AddFragmentsFromSidx(const Mp4Box* sidx) {
  const auto* index = Mp4PayloadOf<mp4::SegmentIndexBox>(sidx);
  if (!index) return -1;
  std::uint64_t start = addSaturated(sidx->end(), index->firstOffset);
  for (const auto& reference : index->references) {
    const std::uint64_t end = addSaturated(start, reference.referencedSize);
    bool readable = true;
    if (!addFragmentsInRange(start, end, readable)) return -1;
    if (!readable) break;
    start = end;
  }
  return 0;
}

int FragmentIndex::AddFragmentsAt(std::uint64_t fileOffset) {
  if (!indexOffsets_.insert(fileOffset).second) return 0;
  const Mp4Box* box = boxAt(fileOffset);
  return box ? AddFragmentsFromSidx(box) : -1;
}

int FragmentIndex::build() {
  for (const Mp4Box* box = root_->first; box; box = nextTopLevel(box)) {
    if (Mp4PayloadOf<mp4::SegmentIndexBox>(box) && AddFragmentsFromSidx(box) < 0) return -1;
  }
  if (!empty()) return 0;
  for (Mp4Box* box = root_->first; box; box = nextTopLevel(box)) {
    if (box->type == kMoof && AddFragment(box) < 0) return -1;
  }
  return 0;
}

// The top-level box after `box`, read from the file if it is not in the tree yet.
Mp4Box* FragmentIndex::nextTopLevel(const Mp4Box* box) {
  if (!box->next) Mp4ReadNextBox(stream_, root_);
  return box->next;
}

void FragmentIndex::settle() {
  if (converged_) return;
  converged_ = true;
  const auto byNumber = [](const Slot& a, const Slot& b) { return a.sequence < b.sequence; };
  if (!std::is_sorted(entries_.begin(), entries_.end(), byNumber)) {
    std::stable_sort(entries_.begin(), entries_.end(), byNumber);
  }
  // Of entries with the same number, the last one added is kept.
  const auto sameNumber = [](const Slot& a, const Slot& b) { return a.sequence == b.sequence; };
  entries_.erase(entries_.begin(), std::unique(entries_.rbegin(), entries_.rend(), sameNumber).base());
  reachable_ = slotAtOrAfter(fragmentCount_);
  for (unsigned role = 0; role < kTrackRoles; ++role) {
    std::vector<std::uint64_t>& sums = sums_[role];
    sums.clear();
    if (!tracks_[role].present()) continue;
    sums.reserve(reachable_);
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < reachable_; ++i) {
      const FragmentEntry& entry = entries_[i].entry;
      const std::uint32_t fields[kTrackRoles] = {entry.videoSamples, entry.audioTicks, entry.cc608Frames,
                                                 entry.cc708Frames};
      sums.push_back(sum += fields[role]);
    }
  }
}

// The first slot whose fragment index is at least `fragmentIndex`.
std::size_t FragmentIndex::slotAtOrAfter(std::uint32_t fragmentIndex) const {
  const auto found =
      std::lower_bound(entries_.begin(), entries_.end(), fragmentIndex,
                       [](const Slot& slot, std::uint32_t wanted) { return slot.sequence - 1 < wanted; });
  return static_cast<std::size_t>(found - entries_.begin());
}

const FragmentEntry* FragmentIndex::entry(std::uint32_t fragmentIndex) {
  settle();
  const std::size_t slot = slotAtOrAfter(fragmentIndex);
  if (slot >= reachable_ || entries_[slot].sequence - 1 != fragmentIndex) return nullptr;
  return &entries_[slot].entry;
}

std::uint32_t FragmentIndex::nextOccupied(std::uint32_t fragmentIndex) {
  settle();
  const std::size_t slot = slotAtOrAfter(fragmentIndex);
  return slot < reachable_ ? entries_[slot].sequence - 1 : fragmentCount_;
}

std::uint32_t FragmentIndex::previousOccupied(std::uint32_t fragmentIndex) {
  settle();
  const std::size_t slot = std::min(slotAtOrAfter(fragmentIndex), reachable_);
  return slot > 0 ? entries_[slot - 1].sequence - 1 : fragmentCount_;
}

FragmentIndex::Place FragmentIndex::find(TrackRole role, std::uint64_t target) {
  settle();
  const std::vector<std::uint64_t>& sums = sums_[role];
  const auto found = std::upper_bound(sums.begin(), sums.end(), target);
  if (found == sums.end()) return {fragmentCount_, sums.empty() ? 0 : sums.back()};
  const auto slot = static_cast<std::size_t>(found - sums.begin());
  return {entries_[slot].sequence - 1, slot ? sums[slot - 1] : 0};
}

std::uint32_t FragmentIndex::nextCarrying(TrackRole role, std::uint32_t fragmentIndex) {
  settle();
  if (!tracks_[role].present()) return fragmentCount_;
  const std::size_t slot = std::min(slotAtOrAfter(fragmentIndex), reachable_);
  return find(role, slot > 0 ? sums_[role][slot - 1] : 0).fragmentIndex;
}

std::uint64_t FragmentIndex::total(TrackRole role) {
  settle();
  return sums_[role].empty() ? 0 : sums_[role].back();
}
