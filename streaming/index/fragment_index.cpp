#include "streaming/index/fragment_index.h"

#include <algorithm>
#include <new>

#include "mp4box/box_header.h"
#include "mp4box/box_type.h"
#include "mp4box/boxes/sidx.h"
#include "streaming/index/fragment_bytes.h"
#include "streaming/index/messages.h"

namespace fmp4 {

FragmentIndex::FragmentIndex(Mp4TopLevelReader& file, const std::array<IndexedTrack, kTrackRoles>& tracks,
                             FrameRate frameRate)
    : file_(file), tracks_(tracks), frameRate_(frameRate), counter_(tracks, frameRate) {}

std::size_t FragmentIndex::countAudio(const IndexedTrack& track, const AudioClock& start) {
  audio_.emplace_back();
  return counter_.addAudio(track, start);
}

// ---- Adding fragments -------------------------------------------------------------------------------

Result FragmentIndex::AddFragment(const Mp4Box* moof) {
  return orOutOfMemory([&] {
    addTree(moof);
    return Result();
  });
}

Result FragmentIndex::AddFragmentsFromSidx(const Mp4Box* sidx) {
  return orOutOfMemory([&] { return addReferences(sidx); });
}

Result FragmentIndex::AddFragmentsAt(std::uint64_t fileOffset) {
  return orOutOfMemory([&] {
    if (!indexOffsets_.insert(fileOffset)) return Result();
    IndexBox index;
    const Result found = indexAt(fileOffset, index);
    return found.ok() ? addReferences(index.get()) : found;
  });
}

Result FragmentIndex::build() {
  return orOutOfMemory([&] {
    addIndexes();
    if (empty()) addAllFragments();
    return Result();
  });
}

template <class Work>
Result FragmentIndex::orOutOfMemory(Work work) try {
  return work();
} catch (const std::bad_alloc&) {
  entries_.clear();
  for (auto& amounts : audio_) amounts.clear();
  order_.clear();
  ascending_ = true;
  converged_ = false;
  messages::reportIndexError(messages::kNoMoofArrayMemory);
  return Defect::OutOfMemory;
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
    if (!order_.empty() && entries_[order_.back()].sequenceNumber >= entry.sequenceNumber) ascending_ = false;
    order_.push_back(number);
    largestVideoSample_ = std::max(largestVideoSample_, entry.largestVideoSample);
  }
  fragmentCount_ = entry.sequenceNumber;
}

void FragmentIndex::addIndexes() {
  // An index that cannot be read adds nothing.
  for (const Mp4Box* box = file_.root()->first; box; box = box->next) {
    if (box->type == box_type::kSidx) static_cast<void>(addReferences(box));
  }
  for (std::size_t i = 0;; ++i) {
    while (i == passedIndexes_.size()) {
      if (!walkOn()) return;
    }
    IndexBox index;
    if (indexAt(passedIndexes_[i], index).ok()) static_cast<void>(addReferences(index.get()));
  }
}

void FragmentIndex::addAllFragments() {
  // Without any fragment of the index, those walked over are all that have been read.
  const auto walked = static_cast<std::uint32_t>(entries_.size());
  for (const Mp4Box* box = file_.root()->first; box; box = box->next) {
    if (box->type == box_type::kMoof) addTree(box);
  }
  for (std::uint32_t i = 0; i < walked; ++i) addEntry(i);
}

Result FragmentIndex::addReferences(const Mp4Box* sidx) {
  const auto* index = Mp4PayloadOf<mp4::SegmentIndexBox>(sidx);
  if (!index) return Defect::BoxTypeUnexpected;
  walked_.add(sidx->position, sidx->end());
  std::uint64_t start = addSaturated(sidx->end(), index->firstOffset);
  for (const auto& reference : index->references) {
    const std::uint64_t end = addSaturated(start, reference.referencedSize);
    if (!addFragmentsInRange(start, end)) break;
    start = end;
  }
  return {};
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
    if (found->entry) addEntry(*found->entry);
    walked_.add(position, found->end);
    position = found->end;
  }
  return true;
}

// ---- Finding boxes ----------------------------------------------------------------------------------

bool FragmentIndex::walkOn() {
  last_.reset();
  const Result passed = file_.passNext([this](Mp4Stream& stream, const Mp4Box& header) {
    Found found{header.position, header.end()};
    if (header.type == box_type::kMoof) found.entry = countFragment(stream, header);
    if (header.type == box_type::kSidx) {
      file_.note(header, readIndex(stream, header, ownIndex_));
      passedIndexes_.push_back(header.position);
    }
    last_ = found;
  });
  return passed.ok();
}

void FragmentIndex::walkTo(std::uint64_t offset) {
  while (file_.nextOffset() <= offset && walkOn()) {
  }
}

std::optional<FragmentIndex::Found> FragmentIndex::boxAt(std::uint64_t offset) {
  walkTo(offset);
  if (last_ && last_->start == offset) return last_;
  if (const Mp4Box* box = file_.boxAt(offset)) {
    return Found{offset, box->end(), box->type == box_type::kMoof ? box : nullptr};
  }
  Mp4Box header;
  if (!readSeparately(offset, header).ok()) return std::nullopt;
  Found found{offset, header.end()};
  if (header.type == box_type::kMoof) found.entry = countFragment(stream(), header);
  return found;
}

Result FragmentIndex::indexAt(std::uint64_t offset, IndexBox& index) {
  walkTo(offset);
  if (ownIndex_ && ownIndex_->position == offset) {
    index.own = std::move(ownIndex_);
    return {};
  }
  index.inTree = file_.boxAt(offset);
  if (index.inTree) return {};
  Mp4Box header;
  if (const Result read = readSeparately(offset, header); !read.ok()) return read;
  if (header.type != box_type::kSidx) return Defect::BoxTypeUnexpected;
  const Result read = readIndex(stream(), header, index.own);
  if (read.kind() == DefectKind::NoMemory) throw std::bad_alloc();
  return read;
}

// The header of a box that is not at hand. Fails if there is none, or after the bytes of all these boxes add
// up to more than the file.
Result FragmentIndex::readSeparately(std::uint64_t offset, Mp4Box& header) {
  const Result missing = offset < fileSize() ? Defect::ReadFailed : Defect::BoxPastFile;
  if (!stream().seek(offset)) return missing;
  const Result read = Mp4ReadBoxHeader(stream(), header);
  if (!read.ok()) return read == Defect::EndOfData ? missing : read;
  if (header.size == 0) return Defect::BoxSizeZero;
  header.father = file_.root();
  header.tree = &file_;
  const bool isRead = header.type == box_type::kMoof || header.type == box_type::kSidx;
  ownBytes_ = addSaturated(ownBytes_, std::max<std::uint64_t>(isRead ? header.size : 0, kMaxBoxHeaderBytes));
  return ownBytes_ <= fileSize() ? Result() : Defect::TooManyBoxes;
}

Result FragmentIndex::readIndex(Mp4Stream& stream, const Mp4Box& header, Mp4BoxPtr& index) {
  index.reset(new Mp4Box(header));
  const Result read = Mp4ReadLeaf(stream, *index);
  if (!read.ok()) index.reset();
  return read;
}

std::optional<std::uint32_t> FragmentIndex::countFragment(Mp4Stream& stream, const Mp4Box& header) {
  FragmentBytes bytes(stream, header, fileSize());
  const FragmentCounts* counts = counter_.countBytes(bytes.whole());
  if (!counts) {
    std::unique_ptr<Mp4Tree> tree;
    const Result read = bytes.readTree(tree);
    file_.note(header, read);
    if (!read.ok()) return std::nullopt;
    file_.noteAll(tree->defects());
    counts = &counter_.count(tree->root()->first);
  }
  if (!counts->hasHeader) return std::nullopt;
  return keep(header, *counts);
}

std::uint64_t FragmentIndex::mdatSize(const FragmentEntry& entry) {
  Mp4Box header;
  return stream().seek(entry.mdatOffset()) && Mp4ReadBoxHeader(stream(), header).ok() ? header.size : 0;
}

Result FragmentIndex::load(const FragmentEntry& entry, ReadWindow& window,
                           std::shared_ptr<const LoadedFragment>& fragment) {
  return loader_.load(stream(), fileSize(), {entry.moofOffset, entry.moofSize}, window, fragment);
}

const mp4::TrackExtendsBox* FragmentIndex::trackDefaults(std::uint32_t trackId) {
  for (const IndexedTrack& track : tracks_) {
    if (track.present() && track.trackId == trackId) return track.trex;
  }
  if (!movieDefaults_) movieDefaults_ = readTrackDefaults(Mp4BoxChild(file_.root(), box_type::kMoov));
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
  if (!ascending_) sortByNumber();
  reachable_ = rankAtOrAfter(fragmentCount_);
  for (unsigned role = 0; role < kTrackRoles; ++role) sumUp(static_cast<TrackRole>(role));
}

void FragmentIndex::sortByNumber() {
  std::stable_sort(order_.begin(), order_.end(), [this](std::uint32_t a, std::uint32_t b) {
    return entries_[a].sequenceNumber < entries_[b].sequenceNumber;
  });
  // Of entries with the same number, the last one added is kept.
  const auto sameNumber = [this](std::uint32_t a, std::uint32_t b) {
    return entries_[a].sequenceNumber == entries_[b].sequenceNumber;
  };
  order_.erase(order_.begin(), std::unique(order_.rbegin(), order_.rend(), sameNumber).base());
  ascending_ = true;
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
