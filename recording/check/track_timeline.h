// When the video and the audio of a recording play, and how far they are apart.
#pragma once

#include <string>
#include <vector>

namespace fmp4 {

// When a track plays by its decode times, in seconds.
struct TrackTimeline {
  // Where a fragment does not continue the previous one.
  struct Gap {
    double from = 0;
    double to = 0;  // before `from` when the times jump back
  };
  double begin = 0;
  double end = 0;
  std::vector<Gap> gaps;  // in the order of the fragments
};

// What the user should know of video and audio that do not begin, pause and end together; empty when they do.
// This is not a problem in itself: the source may be like that.
std::vector<std::string> timelineNotes(const TrackTimeline& video, const TrackTimeline& audio);

}  // namespace fmp4
