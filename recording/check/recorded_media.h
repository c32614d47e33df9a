// A recorded media file, walked from its first box to its last: initialisation part, segments, fragments.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "mp4box/boxes/sidx.h"
#include "recording/check/problems.h"
#include "recording/check/recorded_fragment.h"
#include "recording/check/recorded_movie.h"
#include "recording/check/track_timeline.h"

namespace fmp4 {

// Why a file is no recorded media file.
class NotRecorded : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Decode times of a track, in its ticks.
struct RecordedTimes {
  // A fragment that does not continue where the previous one ended.
  struct Jump {
    std::size_t fragment;
    std::uint64_t from;
    std::uint64_t to;
  };
  std::uint64_t begin = 0;  // ticks, of the first run
  std::uint64_t end = 0;    // ticks, after the last run
  std::vector<Jump> jumps;
};

class RecordedMedia {
 public:
  struct Fragment {
    std::uint64_t start = 0;    // file offset
    std::uint64_t end = 0;      // file offset
    std::uint64_t samples = 0;  // of the track that the segment indexes time
    std::uint64_t audioBytes = 0;
    std::uint64_t audioFrames = 0;
    bool startsWithKey = false;  // of the track that the segment indexes time
  };
  // A segment extends from its index to the next one, or to end().
  struct Segment {
    std::uint64_t start = 0;     // file offset of its index
    std::uint64_t indexEnd = 0;  // file offset
    std::size_t firstFragment = 0;
    std::size_t fragments = 0;
  };

  // How much media data to read: that of the last two segments, which may not have reached the disk when the
  // power failed, or all.
  enum class Data { Last, All };

  // Reads the file of `stream` (which must outlive the object), called `name`. Adds problems to `problems`.
  // Memory grows with the number of fragments. Throws NotRecorded when the file does not start with the file
  // type box of a recording, or when its movie box is not that of one.
  RecordedMedia(Mp4Stream& stream, const std::string& name, Data data, ProblemList& problems,
                const std::function<void(std::uint64_t)>& progress = {});

  const std::string& name() const { return name_; }
  std::uint64_t size() const { return size_; }
  // Nothing when the file ends before its movie box is complete: it then holds no samples.
  const std::optional<RecordedMovie>& movie() const { return movie_; }
  std::uint64_t initialisationLength() const { return initialisationLength_; }
  const std::vector<Fragment>& fragments() const { return fragments_; }
  const std::vector<Segment>& segments() const { return segments_; }
  // File offset after the last complete fragment. What follows is the rest of an interrupted one.
  std::uint64_t end() const { return end_; }
  // File offset of a complete fragment that follows damage: the file was not just interrupted.
  const std::optional<std::uint64_t>& afterDamage() const { return afterDamage_; }
  std::uint64_t audioBytes() const;
  std::uint64_t audioFrames() const;
  // Decode times of the video or audio track; nothing when the file has no samples of it.
  std::optional<TrackTimeline> timeline(mp4::TrackKind kind) const;

  // References that an index has space for; 0 while there is no segment.
  std::uint32_t fragmentsPerSegment() const { return fragmentsPerSegment_; }
  // Video frames or access units of every fragment but the last; 0 when the file does not show it.
  std::uint64_t framesPerFragment() const;
  // Duration of a segment and of the file: video frames or audio samples.
  std::uint64_t positions(const Segment& segment) const;
  std::uint64_t positions() const;
  // File offset after the segment's last fragment.
  std::uint64_t endOffset(const Segment& segment) const;

  // The expected index of a complete segment, as it is stored.
  std::vector<std::uint8_t> indexBytes(const Segment& segment) const;
  // The segments whose index differs from the expected one and has its size, so that it can be rewritten in
  // place.
  const std::vector<std::size_t>& rewritableIndexes() const { return rewritableIndexes_; }

 private:
  // The actual references in the file; nothing when they cannot be read.
  std::optional<std::vector<std::uint8_t>> storedIndexBytes(const Segment& segment) const;
  void readInitialisation(const std::function<void(const std::string&)>& complain);
  std::string readSegments(const std::function<void(std::uint64_t)>& progress);
  std::string readIndex(std::uint64_t offset);
  std::string readFragment(std::uint64_t offset);
  void dropEmptySegment();
  bool isUnwritten(std::uint64_t begin, std::uint64_t end);
  bool dropUnwrittenEnd();
  void complainOfUnwritten();
  void explainRest(const std::string& reason, std::uint64_t searchFrom);
  void checkFragment(const RecordedFragment& fragment);
  void checkTime(mp4::TrackKind kind, const RecordedRun& run, std::uint64_t offset);
  void takeSamplesPerFrame(const RecordedRun& audio);
  void checkGeometry();
  void checkIndexes();
  void explainIndex(const Segment& segment, const std::vector<std::uint8_t>& stored,
                    const std::vector<std::uint8_t>& expected);
  std::uint64_t positions(const Fragment& fragment) const;
  std::uint64_t indexTicks(const Fragment& fragment) const;
  void complain(std::uint64_t offset, std::string text, bool repairable);

  Mp4Stream& stream_;
  std::string name_;
  Data data_;
  ProblemList& problems_;
  std::uint64_t size_ = 0;
  std::optional<RecordedMovie> movie_;
  std::uint64_t initialisationLength_ = 0;
  std::vector<Fragment> fragments_;
  std::vector<Segment> segments_;
  std::vector<std::size_t> rewritableIndexes_;
  std::vector<std::size_t> unwritten_;  // fragments whose data never reached the disk
  std::uint64_t end_ = 0;
  std::optional<std::uint64_t> afterDamage_;
  std::uint32_t fragmentsPerSegment_ = 0;
  std::uint64_t firstIndexTime_ = 0;   // ticks
  std::uint32_t samplesPerFrame_ = 0;  // audio samples of an access unit

  mp4::PerTrack<RecordedTimes> times_;
};

}  // namespace fmp4
