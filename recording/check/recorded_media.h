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

// Why a file is no recorded media file at all.
class NotRecorded : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class RecordedMedia {
 public:
  struct Fragment {
    std::uint64_t start = 0;    // file offset
    std::uint64_t end = 0;      // file offset
    std::uint64_t samples = 0;  // of the track that the indexes time
    std::uint64_t soundBytes = 0;
    std::uint64_t audioFrames = 0;
  };
  // A segment reaches from its index to the next one, or to end().
  struct Segment {
    std::uint64_t start = 0;     // file offset of its index
    std::uint64_t indexEnd = 0;  // file offset
    std::size_t firstFragment = 0;
    std::size_t fragments = 0;
  };

  // What is read of the media data: those of the last two segments, which may not have reached the disk when
  // the power failed, or all.
  enum class Data { Last, All };

  // Reads the file behind `stream` (which must outlive the object), called `name`. Adds to `problems` what is
  // wrong. Memory follows the number of fragments. Throws NotRecorded when the file starts with no file type
  // box of a recording, or its movie box is none.
  RecordedMedia(Mp4Stream& stream, const std::string& name, Data data, ProblemList& problems,
                const std::function<void(std::uint64_t)>& progress = {});

  const std::string& name() const { return name_; }
  std::uint64_t size() const { return size_; }
  // Nothing where the file ends ahead of its whole movie box: it then holds no samples.
  const std::optional<RecordedMovie>& movie() const { return movie_; }
  std::uint64_t initialisationLength() const { return initialisationLength_; }
  const std::vector<Fragment>& fragments() const { return fragments_; }
  const std::vector<Segment>& segments() const { return segments_; }
  // Behind the last fragment that is whole. What follows is left of one that was cut off.
  std::uint64_t end() const { return end_; }
  // Where a whole fragment stands behind damage: the file was not just cut off.
  const std::optional<std::uint64_t>& afterDamage() const { return afterDamage_; }
  std::uint64_t soundBytes() const;
  std::uint64_t audioFrames() const;
  // Of the video or the sound; nothing when the file has no samples of it.
  std::optional<TrackTimeline> timeline(mp4::TrackKind kind) const;

  // References that an index has room for; 0 as long as there is no segment.
  std::uint32_t fragmentsPerSegment() const { return fragmentsPerSegment_; }
  // Frames of every fragment but the last, coded ones of sound; 0 when the file does not tell.
  std::uint64_t framesPerFragment() const;
  // Frames of video, or samples of sound, of a segment and of all.
  std::uint64_t positions(const Segment& segment) const;
  std::uint64_t positions() const;
  // Behind the segment's last fragment.
  std::uint64_t endOffset(const Segment& segment) const;

  // The index that a whole segment has, as it is stored.
  std::vector<std::uint8_t> indexBytes(const Segment& segment) const;
  // Those that are stored in the file, nothing when they cannot be read.
  std::optional<std::vector<std::uint8_t>> storedIndexBytes(const Segment& segment) const;

 private:
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
  void takeSamplesPerFrame(const RecordedRun& sound);
  void checkGeometry();
  void checkIndexes();
  void explainIndex(const Segment& segment, const std::vector<std::uint8_t>& expected);
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
  std::vector<std::size_t> unwritten_;  // fragments whose data were found missing
  std::uint64_t end_ = 0;
  std::optional<std::uint64_t> afterDamage_;
  std::uint32_t fragmentsPerSegment_ = 0;
  std::uint64_t firstIndexTime_ = 0;   // ticks
  std::uint32_t samplesPerFrame_ = 0;  // of coded sound

  // Decode times of a track, in its ticks.
  struct Times {
    // A fragment that does not follow on.
    struct Jump {
      std::size_t fragment;
      std::uint64_t from;
      std::uint64_t to;
    };
    std::uint64_t begin = 0;  // of the first run
    std::uint64_t end = 0;    // of the last run
    std::vector<Jump> jumps;
  };
  mp4::PerTrack<Times> times_;
};
