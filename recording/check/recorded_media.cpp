#include "recording/check/recorded_media.h"

#include <algorithm>
#include <limits>
#include <numeric>

#include "base/audio_units.h"
#include "mp4box/box_type.h"
#include "mp4box/boxes/ftyp.h"
#include "mp4box/field_reader.h"
#include "mp4box/write.h"
#include "recording/check/defect_reason.h"
#include "recording/segment_geometry.h"
#include "recording/track_number.h"

namespace fmp4 {

namespace {

using mp4::SegmentIndexBox;
using mp4::TrackKind;

std::optional<SegmentIndexBox> parseIndex(const std::vector<std::uint8_t>& bytes) {
  Mp4MemoryStream memory(bytes.data(), bytes.size());
  Mp4BoxPtr box;
  if (!Mp4ReadBox(memory, nullptr, box).ok()) return std::nullopt;
  const auto* index = Mp4PayloadOf<SegmentIndexBox>(box.get());
  if (!index) return std::nullopt;
  return *index;
}

bool isEmpty(const SegmentIndexBox& index) {
  return !index.references.empty() &&
         std::all_of(index.references.begin(), index.references.end(),
                     [](const auto& reference) { return reference.referencedSize == 0; });
}

std::string count(std::uint64_t number, const std::string& what) {
  return std::to_string(number) + ' ' + what + (number == 1 ? "" : "s");
}

}  // namespace

RecordedMedia::RecordedMedia(Mp4Stream& stream, const std::string& name, Data data, ProblemList& problems,
                             const std::function<void(std::uint64_t)>& progress)
    : stream_(stream), name_(name), data_(data), problems_(problems), size_(stream.size()) {
  readInitialisation([this](const std::string& text) { complain(0, text, false); });
  std::string stop = movie_ ? readSegments(progress) : "the movie box is truncated";
  const std::uint64_t searchFrom = end_;
  if (dropUnwrittenEnd()) stop = "the media data were never written";
  if (end_ < size_) explainRest(stop, searchFrom);
  if (!movie_) return;
  complainOfUnwritten();
  checkGeometry();
  checkIndexes();
}

void RecordedMedia::readInitialisation(const std::function<void(const std::string&)>& complain) {
  Mp4Box header;
  const auto startsHere = [&](std::uint64_t offset, std::uint32_t type) {
    return stream_.seek(offset) && Mp4ReadBoxHeader(stream_, header).ok() && header.type == type;
  };
  if (!startsHere(0, box_type::kFtyp) || header.size > size_)
    throw NotRecorded("does not begin with a complete file type box");
  Mp4BoxPtr ftyp;
  if (const Result read = Mp4ReadBox(stream_, nullptr, ftyp); !read.ok())
    throw NotRecorded("has a file type box that cannot be read: " + defectReason(read));
  const auto* brands = Mp4PayloadOf<mp4::FileTypeBox>(ftyp.get());
  if (!brands || brands->majorBrand != Mp4FourCc("iso5"))
    throw NotRecorded("has a file type other than that of recordings");
  end_ = ftyp->end();
  if (end_ == size_) return;
  if (!startsHere(end_, box_type::kMoov)) {
    // A file truncated within its header may still become a recording.
    if (size_ - end_ < 8) return;
    throw NotRecorded("has no movie box after its file type box");
  }
  if (header.size > size_ - end_) return;
  Mp4BoxPtr moov;
  if (const Result read = Mp4ReadBox(stream_, nullptr, moov); !read.ok())
    throw NotRecorded("has a movie box that cannot be read: " + defectReason(read));
  std::string reason;
  movie_ = readRecordedMovie(stream_, moov.get(), reason, complain);
  if (!movie_) throw NotRecorded("is no recording: " + reason);
  end_ = initialisationLength_ = moov->end();
}

// Reads on as long as complete fragments follow. Returns why it stopped.
std::string RecordedMedia::readSegments(const std::function<void(std::uint64_t)>& progress) {
  std::string reason;
  std::uint64_t offset = end_;
  while (offset < size_ && reason.empty()) {
    if (progress) progress(offset);
    Mp4Box header;
    const Result found = stream_.seek(offset) ? Mp4ReadBoxHeader(stream_, header) : Defect::ReadFailed;
    if (!found.ok()) {
      reason = "no box can be read here: " + defectReason(found);
    } else if (header.type == box_type::kSidx) {
      reason = readIndex(offset);
      if (reason.empty()) offset = segments_.back().indexEnd;
    } else if (segments_.empty()) {
      reason = "no segment index precedes the first fragment";
    } else {
      reason = readFragment(offset);
      offset = end_;
    }
  }
  dropEmptySegment();
  return reason.empty() ? "no fragment follows the segment index" : reason;
}

// An index without a fragment is what a recording leaves when it is interrupted right after the index.
void RecordedMedia::dropEmptySegment() {
  if (!segments_.empty() && segments_.back().fragments == 0) segments_.pop_back();
  if (segments_.empty()) fragmentsPerSegment_ = 0;
}

bool RecordedMedia::isUnwritten(std::uint64_t begin, std::uint64_t end) {
  return hasUnwrittenData(stream_, begin, end,
                          samplesPerFrame_ == kAc3FrameSamples ? kMinUnwrittenAc3 : kMinUnwritten);
}

// Drops the last fragments if their data did not reach the disk. Those of earlier segments did: each segment
// is synchronised when it ends. Returns whether any were dropped.
bool RecordedMedia::dropUnwrittenEnd() {
  const std::size_t synchronised = segments_.size() < 2 ? 0 : segments_[segments_.size() - 2].firstFragment;
  const std::size_t before = fragments_.size();
  while (fragments_.size() > synchronised && isUnwritten(fragments_.back().start, fragments_.back().end)) {
    const bool onlyOne = --segments_.back().fragments == 0;
    end_ = onlyOne ? segments_.back().start : fragments_.back().start;
    fragments_.pop_back();
    dropEmptySegment();
  }
  return fragments_.size() != before;
}

void RecordedMedia::complainOfUnwritten() {
  for (const std::size_t index : unwritten_) {
    if (index >= fragments_.size()) break;
    complain(fragments_[index].start,
             "part of the fragment's media data was never written: its frames cannot be decoded", false);
  }
}

// Reports what follows the last complete fragment. Complete ones may follow `searchFrom`.
void RecordedMedia::explainRest(const std::string& reason, std::uint64_t searchFrom) {
  constexpr std::size_t kMax = std::numeric_limits<std::uint32_t>::max();
  if (movie_)
    afterDamage_ =
        findFragment(stream_, searchFrom, static_cast<std::uint32_t>(std::min(fragments_.size(), kMax)));
  if (afterDamage_) {
    complain(end_,
             "the file is damaged (" + reason + "), and complete fragments follow the damage, from byte " +
                 std::to_string(*afterDamage_) + " on",
             false);
  } else {
    complain(end_,
             "the recording was interrupted: the last " + count(size_ - end_, "byte") +
                 " of the file contain no complete fragment (" + reason + ")",
             true);
  }
}

// Empty, or why there is no valid index here.
std::string RecordedMedia::readIndex(std::uint64_t offset) {
  if (!segments_.empty() && segments_.back().fragments == 0) return "one segment index follows another";
  Mp4BoxPtr box;
  const Result read = stream_.seek(offset) ? Mp4ReadBox(stream_, nullptr, box) : Defect::ReadFailed;
  if (!read.ok()) return "the segment index cannot be read: " + defectReason(read);
  const auto* index = Mp4PayloadOf<SegmentIndexBox>(box.get());
  if (!index) return "there is no segment index here";
  if (segments_.empty()) {
    fragmentsPerSegment_ = static_cast<std::uint32_t>(index->references.size());
    firstIndexTime_ = index->earliestPresentationTime;
  }
  segments_.push_back({offset, box->end(), fragments_.size(), 0});
  return "";
}

// Empty, or why there is no complete fragment here.
std::string RecordedMedia::readFragment(std::uint64_t offset) {
  const auto read = readRecordedFragment(stream_, offset, *movie_);
  if (const auto* reason = std::get_if<std::string>(&read)) return *reason;
  const auto& fragment = std::get<RecordedFragment>(read);
  checkFragment(fragment);
  const RecordedRun run = fragment.runs[movie_->indexedKind()].value_or(RecordedRun());
  const RecordedRun audio = fragment.runs[TrackKind::Audio].value_or(RecordedRun());
  if (data_ == Data::All && isUnwritten(fragment.start, fragment.end))
    unwritten_.push_back(fragments_.size());
  fragments_.push_back(
      {fragment.start, fragment.end, run.samples, audio.bytes, audio.samples, run.startsWithKey});
  ++segments_.back().fragments;
  end_ = fragment.end;
  return "";
}

void RecordedMedia::checkFragment(const RecordedFragment& fragment) {
  const std::uint64_t expected = fragments_.size() + 1;
  if (fragment.sequenceNumber != expected) {
    complain(fragment.start,
             "the fragment has sequence number " + std::to_string(fragment.sequenceNumber) + ", expected " +
                 std::to_string(expected),
             false);
  }
  for (const TrackKind kind : mp4::kTrackKinds) {
    if (const auto& run = fragment.runs[kind]) checkTime(kind, *run, fragment.start);
  }
  if (const auto& audio = fragment.runs[TrackKind::Audio]) takeSamplesPerFrame(*audio);
}

// Checks the decode time of a run against the runs before it. `offset` is that of its fragment.
void RecordedMedia::checkTime(TrackKind kind, const RecordedRun& run, std::uint64_t offset) {
  const bool first = !times_[kind];
  if (first) times_[kind].emplace().begin = run.decodeTime;
  RecordedTimes& times = *times_[kind];
  if (run.decodeTime != times.end) {
    complain(offset,
             "track " + std::to_string(trackNumber(kind)) + " has decode time " +
                 std::to_string(run.decodeTime) + ", expected " + std::to_string(times.end),
             false);
    if (!first) times.jumps.push_back({fragments_.size(), times.end, run.decodeTime});
  }
  times.end = run.decodeTime + run.ticks;
}

void RecordedMedia::takeSamplesPerFrame(const RecordedRun& audio) {
  if (samplesPerFrame_ != 0 || audio.bytes < 2) return;
  // AC-3 starts each frame with this word (ATSC A/52, 5.4.1.1).
  std::uint8_t word[2] = {};
  stream_.seek(audio.offset);
  stream_.peek(word, sizeof word);
  samplesPerFrame_ = word[0] == 0x0B && word[1] == 0x77 ? kAc3FrameSamples : kAacFrameSamples;
}

std::optional<TrackTimeline> RecordedMedia::timeline(TrackKind kind) const {
  if (!times_[kind]) return std::nullopt;
  const RecordedTrack& track = *movie_->tracks[kind];
  const auto seconds = [&](std::uint64_t ticks) { return static_cast<double>(ticks) / track.timescale; };
  const std::uint64_t played =
      kind == TrackKind::Audio ? audioFrames() * kAacFrameSamples : positions() * track.defaultSampleDuration;
  if (played == 0) return std::nullopt;
  TrackTimeline timeline;
  timeline.begin = seconds(times_[kind]->begin);
  timeline.end = timeline.begin + seconds(played);
  for (const RecordedTimes::Jump& jump : times_[kind]->jumps) {
    if (jump.fragment >= fragments_.size()) break;  // in a dropped fragment
    timeline.gaps.push_back({seconds(jump.from), seconds(jump.to)});
    timeline.end += timeline.gaps.back().to - timeline.gaps.back().from;
  }
  return timeline;
}

std::uint64_t RecordedMedia::audioBytes() const {
  return std::accumulate(
      fragments_.begin(), fragments_.end(), std::uint64_t{0},
      [](std::uint64_t sum, const Fragment& fragment) { return sum + fragment.audioBytes; });
}

std::uint64_t RecordedMedia::audioFrames() const {
  return std::accumulate(
      fragments_.begin(), fragments_.end(), std::uint64_t{0},
      [](std::uint64_t sum, const Fragment& fragment) { return sum + fragment.audioFrames; });
}

std::uint64_t RecordedMedia::framesPerFragment() const {
  if (fragments_.size() >= 2 && fragments_[1].samples != 0) return fragments_[0].samples;
  // The first index of audio is timed as if a segment had preceded it.
  const std::uint64_t segmentFrames = std::uint64_t{fragmentsPerSegment_} * kAacFrameSamples;
  return movie_->hasVideo() || segmentFrames == 0 ? 0 : firstIndexTime_ / segmentFrames;
}

std::uint64_t RecordedMedia::indexTicks(const Fragment& fragment) const {
  if (movie_->hasVideo()) return fragment.samples * movie_->indexedTrack().defaultSampleDuration;
  return positions(fragment);
}

// Video frames or audio samples. Intended (quirk 41): the last audio fragment, when it is not full, counts by
// its codec's frame, all others by that of AAC.
std::uint64_t RecordedMedia::positions(const Fragment& fragment) const {
  if (movie_->hasVideo()) return fragment.samples;
  const bool last = &fragment == &fragments_.back() && fragment.samples < framesPerFragment();
  return fragment.samples * (last && samplesPerFrame_ != 0 ? samplesPerFrame_ : kAacFrameSamples);
}

std::uint64_t RecordedMedia::positions(const Segment& segment) const {
  std::uint64_t sum = 0;
  for (std::size_t i = 0; i < segment.fragments; ++i) sum += positions(fragments_[segment.firstFragment + i]);
  return sum;
}

std::uint64_t RecordedMedia::positions() const {
  std::uint64_t sum = 0;
  for (const Fragment& fragment : fragments_) sum += positions(fragment);
  return sum;
}

std::uint64_t RecordedMedia::endOffset(const Segment& segment) const {
  return fragments_[segment.firstFragment + segment.fragments - 1].end;
}

void RecordedMedia::checkGeometry() {
  const std::uint64_t frames = framesPerFragment();
  for (std::size_t i = 0; frames != 0 && i + 1 < fragments_.size(); ++i) {
    const Fragment& fragment = fragments_[i];
    if (fragment.samples == frames || fragments_[i + 1].samples == 0) continue;
    complain(fragment.start,
             "the fragment holds " + count(fragment.samples, "frame") + ", the first one " +
                 std::to_string(frames),
             false);
  }
  for (std::size_t i = 0; i + 1 < segments_.size(); ++i) {
    if (segments_[i].fragments == fragmentsPerSegment_) continue;
    complain(segments_[i].start,
             "the segment holds " + count(segments_[i].fragments, "fragment") +
                 ", but its index has room for " + std::to_string(fragmentsPerSegment_),
             false);
  }
}

std::vector<std::uint8_t> RecordedMedia::indexBytes(const Segment& segment) const {
  const bool video = movie_->hasVideo();
  const std::uint64_t unit = video ? movie_->indexedTrack().defaultSampleDuration : kAacFrameSamples;
  const std::uint64_t step = framesPerFragment() * fragmentsPerSegment_ * unit;
  const auto ordinal = static_cast<std::uint64_t>(&segment - segments_.data());
  SegmentIndexBox index;
  index.referenceId = trackNumber(movie_->indexedKind());
  index.timescale = movie_->indexedTrack().timescale;
  index.earliestPresentationTime =
      (video ? kFirstVideoIndexTime : firstAudioIndexTime(step)) + ordinal * step;
  index.version = index.earliestPresentationTime > std::numeric_limits<std::uint32_t>::max() ? 1 : 0;
  // Intended (quirk 39): unused references are present too, all zero.
  index.references.resize(fragmentsPerSegment_);
  for (std::size_t i = 0; i < std::min<std::size_t>(segment.fragments, fragmentsPerSegment_); ++i) {
    const Fragment& fragment = fragments_[segment.firstFragment + i];
    SegmentIndexBox::Reference& reference = index.references[i];
    reference.referencedSize = static_cast<std::uint32_t>(fragment.end - fragment.start);
    reference.subsegmentDuration = static_cast<std::uint32_t>(indexTicks(fragment));
    reference.startsWithSap = reference.sapType = video ? 0 : 1;
  }
  Mp4MemoryOutput out;
  Mp4WriteSegmentIndex(out, index);
  return out.bytes;
}

std::optional<std::vector<std::uint8_t>> RecordedMedia::storedIndexBytes(const Segment& segment) const {
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(segment.indexEnd - segment.start));
  const auto size = static_cast<std::int64_t>(bytes.size());
  if (!stream_.seek(segment.start) || stream_.read(bytes.data(), size) != size) return std::nullopt;
  return bytes;
}

void RecordedMedia::checkIndexes() {
  for (std::size_t i = 0; i < segments_.size(); ++i) {
    const Segment& segment = segments_[i];
    const std::vector<std::uint8_t> expected = indexBytes(segment);
    const auto stored = storedIndexBytes(segment);
    if (stored == expected) continue;
    if (stored && stored->size() == expected.size()) {
      rewritableIndexes_.push_back(i);
      explainIndex(segment, *stored, expected);
    } else {
      complain(segment.start, "the index of the segment does not fit its fragments and cannot be corrected",
               false);
    }
  }
}

void RecordedMedia::explainIndex(const Segment& segment, const std::vector<std::uint8_t>& storedBytes,
                                 const std::vector<std::uint8_t>& expectedBytes) {
  const auto stored = parseIndex(storedBytes), expected = parseIndex(expectedBytes);
  if (!stored || !expected || stored->references.size() != expected->references.size())
    return complain(segment.start, "the index of the segment cannot be read", true);
  if (isEmpty(*stored)) return complain(segment.start, "the index of the segment was not completed", true);
  for (std::size_t i = 0; i < expected->references.size(); ++i) {
    const auto& actualReference = stored->references[i];
    const auto& expectedReference = expected->references[i];
    if (actualReference.referencedSize != expectedReference.referencedSize ||
        actualReference.subsegmentDuration != expectedReference.subsegmentDuration)
      return complain(segment.start,
                      "reference " + std::to_string(i) + " of the index says " +
                          count(actualReference.referencedSize, "byte") + " and " +
                          count(actualReference.subsegmentDuration, "tick") + ", but the fragment has " +
                          std::to_string(expectedReference.referencedSize) + " and " +
                          std::to_string(expectedReference.subsegmentDuration),
                      true);
  }
  if (stored->earliestPresentationTime != expected->earliestPresentationTime)
    return complain(segment.start,
                    "the index starts at tick " + std::to_string(stored->earliestPresentationTime) +
                        ", expected " + std::to_string(expected->earliestPresentationTime),
                    true);
  complain(segment.start, "the index does not match its fragments", true);
}

void RecordedMedia::complain(std::uint64_t offset, std::string text, bool repairable) {
  problems_.add({name_, offset, std::move(text), repairable});
}

}  // namespace fmp4
