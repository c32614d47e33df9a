// The fragments of a media file and when they play: what finds any frame's time, and cuts the file into
// segments, without reading it from its start again.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "tool/host/movie_file.h"
#include "tool/source/sample_source.h"

namespace fmp4 {

// A movie fragment with samples of the table's track.
struct TimedFragment {
  std::uint64_t offset = 0;       // of its "moof", bytes
  std::uint64_t decodeTicks = 0;  // of its first sample
  std::uint64_t firstSample = 0;  // its number in the track
  std::uint32_t samples = 0;
  std::uint32_t sequenceNumber = 0;
  bool key = false;            // whether its first sample can be decoded alone
  bool startsSegment = false;  // whether a segment index is between it and the fragment before, in the file
};

// A sample as it is presented.
struct PresentedSample {
  std::uint64_t sample = 0;           // its number as the plug-in delivers it
  std::int64_t compositionTicks = 0;  // decode time and composition offset
  double presentationSeconds = 0;     // composition time with the edit list applied
  bool key = false;
};

class FragmentTable {
 public:
  // Of the file's first video track that the plug-in reads, without any of its first such audio track, with
  // the fragments that are complete now. Walks the whole file. Throws UserError when it has no such track or
  // fragments, or they are damaged.
  // `most`: reads no further than so many fragments of the track take, from the start of the file.
  explicit FragmentTable(const std::string& file, std::size_t most = std::numeric_limits<std::size_t>::max());

  bool isVideo() const { return isVideo_; }
  std::uint32_t timescale() const { return track_.timescale; }
  std::uint64_t samples() const { return samples_; }
  // In the order of their sequence numbers, as the plug-in counts frames.
  const std::vector<TimedFragment>& fragments() const { return fragments_; }
  // Whether every fragment states when it is decoded ("tfdt"), which players need.
  bool statesTimes() const { return statesTimes_; }
  // Whether any fragment gives the place of its data from the start of the file, which players do not accept.
  bool placesInFile() const { return placesInFile_; }
  // The decode time after the last sample, ticks.
  std::uint64_t endTicks() const { return endTicks_; }
  // Bytes up to the end of the movie box, and of the media.
  std::uint64_t movieEnd() const { return movieEnd_; }
  std::uint64_t mediaEnd() const { return mediaEnd_; }

  // The samples that are presented as number `from` and on, at most `count`, counted in the order of their
  // presentation. Reads their fragments again. Throws UserError when they are not there any more.
  std::vector<PresentedSample> presented(std::uint64_t from, std::uint32_t count) const;

  // The number of the first sample in the fragment that is decoded at `seconds` of composition time.
  std::uint64_t sampleNear(double seconds) const;

 private:
  void findTrack(MovieFile& movie);
  void walk(MovieFile& movie, std::size_t most);
  void add(MovieFile& movie, Mp4Box* moof);
  void numberSamples();
  void dropIncomplete();

  std::string file_;
  bool isVideo_ = false;
  bool statesTimes_ = true;
  bool placesInFile_ = false;
  bool passedSegmentIndex_ = false;  // since the last fragment
  SourceTrack track_;                // without samples
  std::vector<TimedFragment> fragments_;
  std::uint64_t samples_ = 0;
  std::uint64_t endTicks_ = 0;
  std::uint64_t movieEnd_ = 0;
  std::uint64_t mediaEnd_ = 0;
};

}  // namespace fmp4
