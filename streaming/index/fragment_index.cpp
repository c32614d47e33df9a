#include "streaming/index/fragment_index.h"

#include <algorithm>
#include <new>

#include "mp4box/boxes/sidx.h"
#include "mp4box/file_bytes.h"
#include "mp4box/fragment_tree.h"
#include "streaming/index/messages.h"

namespace fmp4 {

namespace {

constexpr std::uint32_t kMoof = Mp4FourCc("moof");
constexpr std::uint32_t kSidx = Mp4FourCc("sidx");

// Size, type, 64-bit size and extended type.
constexpr std::uint64_t kMaxHeader = 32;

}  // namespace

FragmentIndex::FragmentIndex(Mp4Stream& stream, Mp4Box* root,
                             const std::array<IndexedTrack, kTrackRoles>& tracks, FrameRate frameRate)
    : stream_(stream), root_(root), tracks_(tracks), frameRate_(frameRate), counter_(tracks, frameRate) {}

std::size_t FragmentIndex::countAudio(const IndexedTrack& track, const AudioClock& start) {
  audio_.emplace_back();
  return counter_.addAudio(track, start);
}

// ---- Adding fragments -------------------------------------------------------------------------------

int FragmentIndex::AddFragment(const Mp4Box* moof) {
  return orOutOfMemory([&] { return addTree(moof), 0; });
}

int FragmentIndex::AddFragmentsFromSidx(const Mp4Box* sidx) {
  return orOutOfMemory([&] { return addReferences(sidx) ? 0 : -1; });
}

int FragmentIndex::AddFragmentsAt(std::uint64_t fileOffset) {
  return orOutOfMemory([&] {
    if (!indexOffsets_.insert(fileOffset).second) return 0;
    return addReferences(indexAt(fileOffset).get()) ? 0 : -1;
  });
}

int FragmentIndex::build() {
  return orOutOfMemory([&] {
    addIndexes();
    if (empty()) addAllFragments();
    return 0;
  });
}

template <class Work>
int FragmentIndex::orOutOfMemory(Work work) try {
  return work();
} catch (const std::bad_alloc&) {
  entries_.clear();
  for (auto& amounts : audio_) amounts.clear();
  order_.clear();
  converged_ = false;
  messages::reportIndexError(messages::kNoMoofArrayMemory);
  return -1;
}

void FragmentIndex::addTree(const Mp4Box* moof) {
  const FragmentCounts& counts = counter_.count(moof);
  if (!counts.hasHeader) return;
  addEntry(keep(*moof, counts));
}

std::uint32_t FragmentIndex::keep(const Mp4Box& moof, const FragmentCounts& counts) {
  const auto& amounts = counts.amounts;
  const auto number = static_cast<std::uint32_t>(entries_.size());
  for (std::size_t i = 0; i < audio_.size(); ++i) audio_[i].push_back(counts.audio[i]);
  entries_.push_back({moof.position, moof.size, counts.sequenceNumber, amounts[kVideoTrack],
                      amounts[kCc608Track], amounts[kCc708Track], amounts[kAudioTrack],
                      counts.largestVideoSample});
  return number;
}

void FragmentIndex::addEntry(std::uint32_t number) {
  const FragmentEntry& entry = entries_[number];
  converged_ = false;
  if (entry.sequenceNumber != 0) {
    order_.push_back(number);
    largestVideoSample_ = std::max(largestVideoSample_, entry.largestVideoSample);
  }
  fragmentCount_ = entry.sequenceNumber;
}

void FragmentIndex::addIndexes() {
  for (const Mp4Box* box = root_->first; box; box = box->next) {
    if (box->type == kSidx) addReferences(box);
  }
  for (std::size_t i = 0;; ++i) {
    while (i == passedIndexes_.size()) {
      if (!walkOn()) return;
    }
    addReferences(indexAt(passedIndexes_[i]).get());
  }
}

void FragmentIndex::addAllFragments() {
  // Without any fragment of the index, those walked over are all that have been read.
  const auto walked = static_cast<std::uint32_t>(entries_.size());
  for (const Mp4Box* box = root_->first; box; box = box->next) {
    if (box->type == kMoof) addTree(box);
  }
  for (std::uint32_t i = 0; i < walked; ++i) addEntry(i);
}

bool FragmentIndex::addReferences(const Mp4Box* sidx) {
  const auto* index = Mp4PayloadOf<mp4::SegmentIndexBox>(sidx);
  if (!index) return false;
  walked_.add(sidx->position, sidx->end());
  std::uint64_t start = addSaturated(sidx->end(), index->firstOffset);
  for (const auto& reference : index->references) {
    const std::uint64_t end = addSaturated(start, reference.referencedSize);
    if (!addFragmentsInRange(start, end)) break;
    start = end;
  }
  return true;
}

// Returns whether a box could be read at `start`.
bool FragmentIndex::addFragmentsInRange(std::uint64_t start, std::uint64_t end) {
  std::uint64_t position = start;
  while (position < end) {
    // Several indexes of one file (one per track) refer to the same fragments: skip those already walked.
    if (const std::uint64_t walked = walked_.endOf(position); walked > position) {
      position = walked;
      continue;
    }
    const std::optional<Found> found = boxAt(position);
    if (!found) return position != start;
    if (found->moof) addTree(found->moof);
    if (found->entry != kNoEntry) addEntry(found->entry);
    walked_.add(position, found->end);
    position = found->end;
  }
  return true;
}

// ---- Finding boxes ----------------------------------------------------------------------------------

bool FragmentIndex::walkOn() {
  last_.reset();
  Mp4PassNextBox(stream_, root_, [this](Mp4Stream& stream, const Mp4Box& header) {
    Found found{header.position, header.end()};
    if (header.type == kMoof) found.entry = countFragment(stream, header);
    if (header.type == kSidx) {
      ownIndex_ = readIndex(stream, header);
      passedIndexes_.push_back(header.position);
    }
    last_ = found;
  });
  return last_.has_value();
}

void FragmentIndex::walkTo(std::uint64_t offset) {
  const auto* top = Mp4PayloadOf<Mp4RootState>(root_);
  while (top && top->nextOffset <= offset && walkOn()) {
  }
}

std::optional<FragmentIndex::Found> FragmentIndex::boxAt(std::uint64_t offset) {
  walkTo(offset);
  if (last_ && last_->start == offset) return last_;
  if (const Mp4Box* box = Mp4BoxAt(stream_, root_, offset)) {
    return Found{offset, box->end(), box->type == kMoof ? box : nullptr};
  }
  Mp4Box header;
  if (!readSeparately(offset, header)) return std::nullopt;
  Found found{offset, header.end()};
  if (header.type == kMoof) found.entry = countFragment(stream_, header);
  return found;
}

FragmentIndex::IndexBox FragmentIndex::indexAt(std::uint64_t offset) {
  walkTo(offset);
  if (ownIndex_ && ownIndex_->position == offset) return {std::move(ownIndex_), nullptr};
  if (const Mp4Box* box = Mp4BoxAt(stream_, root_, offset)) return {nullptr, box};
  Mp4Box header;
  if (!readSeparately(offset, header) || header.type != kSidx) return {};
  return {readIndex(stream_, header), nullptr};
}

// The header of a box that is not at hand. Returns false if there is none, or after the bytes of all these
// boxes add up to more than the file.
bool FragmentIndex::readSeparately(std::uint64_t offset, Mp4Box& header) {
  if (!stream_.seek(offset) || !Mp4ReadBoxHeader(stream_, header) || header.size == 0) return false;
  header.father = root_;
  const bool isRead = header.type == kMoof || header.type == kSidx;
  ownBytes_ = addSaturated(ownBytes_, isRead ? std::max(header.size, kMaxHeader) : kMaxHeader);
  return ownBytes_ <= root_->size;
}

Mp4BoxPtr FragmentIndex::readIndex(Mp4Stream& stream, const Mp4Box& header) {
  Mp4BoxPtr box(new Mp4Box(header));
  return Mp4ReadLeaf(stream, *box) ? std::move(box) : nullptr;
}

std::uint32_t FragmentIndex::countFragment(Mp4Stream& stream, const Mp4Box& header) {
  const std::uint64_t left = root_->size - std::min(header.position, root_->size);
  const std::uint64_t held = std::min(header.size, left);
  Mp4FileBytes bytes;
  const std::uint8_t* data = bytes.get(stream, header.position, std::min(held + kMaxHeader, left));
  const FragmentCounts* counts =
      data && held == header.size ? counter_.countBytes({data, static_cast<std::size_t>(held)}) : nullptr;
  if (!counts) {
    Mp4BoxPtr tree;
    if (data) {
      Mp4MemoryStream memory(data, held, header.position);
      tree = Mp4ReadFragmentTree(memory, header.position, root_->size);
    } else {
      tree = Mp4ReadFragmentTree(stream, header.position, root_->size);
    }
    if (!tree) return kNoEntry;
    counts = &counter_.count(tree->first);
  }
  return counts->hasHeader ? keep(header, *counts) : kNoEntry;
}

std::uint64_t FragmentIndex::mdatSize(const FragmentEntry& entry) {
  Mp4Box header;
  return stream_.seek(entry.mdatOffset()) && Mp4ReadBoxHeader(stream_, header) ? header.size : 0;
}

std::shared_ptr<const LoadedFragment> FragmentIndex::load(const FragmentEntry& entry, ReadWindow& window) {
  return loader_.load(stream_, root_->size, entry.moofOffset, entry.moofSize, window);
}

const mp4::TrackExtendsBox* FragmentIndex::trackDefaults(std::uint32_t trackId) {
  for (const IndexedTrack& track : tracks_) {
    if (track.present() && track.trackId == trackId) return track.trex;
  }
  if (!movieDefaults_) movieDefaults_ = readTrackDefaults(Mp4BoxChild(root_, Mp4FourCc("moov")));
  const auto found = movieDefaults_->find(trackId);
  return found != movieDefaults_->end() ? found->second : nullptr;
}

// ---- Looking up -------------------------------------------------------------------------------------

std::uint32_t FragmentIndex::amount(const FragmentEntry& entry, TrackRole role) {
  switch (role) {
    case kVideoTrack:
      return entry.videoSamples;
    case kAudioTrack:
      return entry.audioTicks;
    case kCc608Track:
      return entry.cc608Frames;
    default:
      return entry.cc708Frames;
  }
}

void FragmentIndex::settle() {
  if (converged_) return;
  converged_ = true;
  const auto byNumber = [this](std::uint32_t a, std::uint32_t b) {
    return entries_[a].sequenceNumber < entries_[b].sequenceNumber;
  };
  if (!std::is_sorted(order_.begin(), order_.end(), byNumber)) {
    std::stable_sort(order_.begin(), order_.end(), byNumber);
  }
  // Of entries with the same number, the last one added is kept.
  const auto sameNumber = [this](std::uint32_t a, std::uint32_t b) {
    return entries_[a].sequenceNumber == entries_[b].sequenceNumber;
  };
  order_.erase(order_.begin(), std::unique(order_.rbegin(), order_.rend(), sameNumber).base());
  reachable_ = rankAtOrAfter(fragmentCount_);
  for (unsigned role = 0; role < kTrackRoles; ++role) sumUp(static_cast<TrackRole>(role));
}

void FragmentIndex::sumUp(TrackRole role) {
  std::vector<std::uint64_t>& sums = sums_[role];
  sums.clear();
  if (!tracks_[role].present()) return;
  sums.reserve(reachable_ / kSumInterval + 2);
  std::uint64_t sum = 0;
  for (std::size_t rank = 0; rank < reachable_; ++rank) {
    if (rank % kSumInterval == 0) sums.push_back(sum);
    sum += amount(at(rank), role);
  }
  sums.push_back(sum);
}

std::uint64_t FragmentIndex::sumBefore(TrackRole role, std::size_t rank) const {
  std::uint64_t sum = sums_[role][rank / kSumInterval];
  for (std::size_t i = rank / kSumInterval * kSumInterval; i < rank; ++i) sum += amount(at(i), role);
  return sum;
}

// The first entry whose fragment index is at least `fragmentIndex`.
std::size_t FragmentIndex::rankAtOrAfter(std::uint32_t fragmentIndex) const {
  const auto found = std::lower_bound(order_.begin(), order_.end(), fragmentIndex,
                                      [this](std::uint32_t number, std::uint32_t wanted) {
                                        return entries_[number].sequenceNumber - 1 < wanted;
                                      });
  return static_cast<std::size_t>(found - order_.begin());
}

const FragmentEntry* FragmentIndex::entry(std::uint32_t fragmentIndex) {
  settle();
  const std::size_t rank = rankAtOrAfter(fragmentIndex);
  if (rank >= reachable_ || fragmentIndexAt(rank) != fragmentIndex) return nullptr;
  return &at(rank);
}

std::uint32_t FragmentIndex::nextOccupied(std::uint32_t fragmentIndex) {
  settle();
  const std::size_t rank = rankAtOrAfter(fragmentIndex);
  return rank < reachable_ ? fragmentIndexAt(rank) : fragmentCount_;
}

std::uint32_t FragmentIndex::previousOccupied(std::uint32_t fragmentIndex) {
  settle();
  const std::size_t rank = std::min(rankAtOrAfter(fragmentIndex), reachable_);
  return rank > 0 ? fragmentIndexAt(rank - 1) : fragmentCount_;
}

FragmentIndex::Place FragmentIndex::find(TrackRole role, std::uint64_t target) {
  const std::uint64_t sumOfAll = total(role);
  if (target >= sumOfAll) return {fragmentCount_, sumOfAll};
  // The total, which comes last, is larger: the entry lies before it.
  const std::vector<std::uint64_t>& sums = sums_[role];
  const auto block = std::upper_bound(sums.begin(), sums.end(), target) - sums.begin() - 1;
  std::size_t rank = static_cast<std::size_t>(block) * kSumInterval;
  std::uint64_t sum = sums[static_cast<std::size_t>(block)];
  for (; sum + amount(at(rank), role) <= target; ++rank) sum += amount(at(rank), role);
  return {fragmentIndexAt(rank), sum};
}

std::uint32_t FragmentIndex::nextCarrying(TrackRole role, std::uint32_t fragmentIndex) {
  settle();
  if (!tracks_[role].present()) return fragmentCount_;
  const std::size_t rank = std::min(rankAtOrAfter(fragmentIndex), reachable_);
  return find(role, sumBefore(role, rank)).fragmentIndex;
}

std::uint64_t FragmentIndex::total(TrackRole role) {
  settle();
  return sums_[role].empty() ? 0 : sums_[role].back();
}

std::size_t FragmentIndex::occupied() {
  settle();
  return reachable_;
}

}  // namespace fmp4
