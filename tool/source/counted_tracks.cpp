#include "tool/source/counted_tracks.h"

#include <utility>

#include "base/bytes.h"
#include "base/user_error.h"
#include "mp4box/box_header.h"
#include "mp4box/box_type.h"
#include "streaming/index/fragment_bytes.h"
#include "tool/source/source_tracks.h"

namespace fmp4 {

namespace {

// Adds a fragment met in `stream`. Returns whether it can be read.
bool addFragment(Mp4Stream& stream, const Mp4Box& moof, std::uint64_t fileSize, SampleSums& sums) {
  FragmentBytes bytes(stream, moof, fileSize);
  if (sums.addBytes(bytes.whole())) return true;
  std::unique_ptr<Mp4Tree> tree;
  if (!bytes.readTree(tree).ok()) return false;
  sums.addTree(tree->root()->first);
  return true;
}

// Whether the counts contradict the size of the file.
bool countsTooMany(const SampleSums& sums, std::uint64_t fileSize) {
  for (const SampleSums::Sum& sum : sums.sums())
    if (sum.samples > fileSize) return true;
  return false;
}

Mp4Box* movieOf(Mp4TopLevelReader& file) {
  Mp4Box* const moov = Mp4BoxChild(file.root(), box_type::kMoov);
  if (!moov) throw UserError("the source holds no movie box; give an MP4 file");
  return moov;
}

// The samples of all boxes that have been read.
SampleSums sumsOfBoxesRead(Mp4TopLevelReader& file, const std::vector<SourceTrack>& tracks) {
  SampleSums sums(movieOf(file), tracks);
  for (Mp4Box* box = file.root()->first; box; box = box->next)
    if (box->type == box_type::kMoof) sums.addTree(box);
  return sums;
}

std::vector<CountedTrack> withSums(std::vector<SourceTrack> tracks, const SampleSums& sums) {
  std::vector<CountedTrack> counted;
  for (std::size_t i = 0; i < tracks.size(); ++i) {
    const SampleSums::Sum& sum = sums.sums()[i];
    counted.push_back({std::move(tracks[i]), sum.samples, sum.bytes, sum.ticks});
  }
  return counted;
}

}  // namespace

std::vector<CountedTrack> countTracks(Mp4TopLevelReader& file) {
  const std::uint64_t fileSize = file.root()->size;
  std::vector<SourceTrack> tracks = readMovie(movieOf(file), fileSize);
  SampleSums sums = sumsOfBoxesRead(file, tracks);
  bool readable = true;
  const auto visit = [&](Mp4Stream& stream, const Mp4Box& box) {
    if (box.type == box_type::kMoof) readable = addFragment(stream, box, fileSize, sums);
  };
  do {
    if (countsTooMany(sums, fileSize)) damagedSource("it counts more samples than it has bytes");
  } while (file.passNext(visit).ok() && readable);
  return withSums(std::move(tracks), sums);
}

TrackCounter::TrackCounter(Mp4TopLevelReader& file)
    : file_(file),
      size_(file.root()->size),
      next_(file.nextOffset()),
      tracks_(readMovie(movieOf(file), size_)),
      sums_(sumsOfBoxesRead(file, tracks_)) {}

void TrackCounter::take(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
  while (!lost_ && next_ < size_ && next_ >= offset && next_ - offset < bytes.size()) {
    if (!takeBox(bytes.subspan(static_cast<std::size_t>(next_ - offset)))) return;
  }
}

// Takes the next box, of which these are the first bytes. Returns false if they are too few to tell.
bool TrackCounter::takeBox(std::span<const std::uint8_t> bytes) {
  if (bytes.size() < kBoxHeaderBytes) return false;
  std::uint64_t size = Mp4LoadU32(bytes.data());
  const bool isLarge = size == 1;
  if (isLarge && bytes.size() < kBoxHeaderBytes + 8) return false;
  if (isLarge) size = Mp4LoadU64(bytes.data() + kBoxHeaderBytes);
  const std::uint32_t type = Mp4LoadU32(bytes.data() + 4);
  const std::uint64_t smallest = kBoxHeaderBytes + (isLarge ? 8 : 0) + (type == Mp4FourCc("uuid") ? 16 : 0);
  lost_ = size < smallest || size > size_ - next_ || (type == box_type::kMoof && !takeFragment(bytes, size));
  next_ += size;
  return true;
}

bool TrackCounter::takeFragment(std::span<const std::uint8_t> bytes, std::uint64_t size) {
  constexpr std::size_t kMaxMissed = 64;  // more are not worth remembering
  if (size > bytes.size()) {
    missed_.push_back({.position = next_, .size = size});
    return missed_.size() <= kMaxMissed;
  }
  return sums_.addBytes(bytes.first(static_cast<std::size_t>(size))) && !countsTooMany(sums_, size_);
}

// Reads the fragments of which only the beginning was read.
bool TrackCounter::addMissed() {
  for (const Mp4Box& moof : missed_)
    if (!addFragment(file_.stream(), moof, size_, sums_)) return false;
  return true;
}

std::vector<CountedTrack> TrackCounter::count() {
  const bool all = !lost_ && next_ == size_ && addMissed() && !countsTooMany(sums_, size_);
  return all ? withSums(std::move(tracks_), sums_) : countTracks(file_);
}

}  // namespace fmp4
