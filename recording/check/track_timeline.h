// When the picture and the sound of a recording play, and how far the two are apart.
#pragma once

#include <string>
#include <vector>

// When a track plays by its decode times, in seconds.
struct TrackTimeline {
  // Where a fragment does not follow on from the one before it.
  struct Gap {
    double from = 0;
    double to = 0;  // before `from` where the times go back
  };
  double begin = 0;
  double end = 0;
  std::vector<Gap> gaps;  // in the order of the fragments
};

// What the user should know of a picture and a sound that do not begin together, pause together and end
// together; empty when they do. It is no problem in itself: the source may be so.
std::vector<std::string> timelineNotes(const TrackTimeline& picture, const TrackTimeline& sound);
