#include "recording/check/track_timeline.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "base/number_text.h"

namespace fmp4 {

namespace {

using Gap = TrackTimeline::Gap;

// Differences that are not reported, in seconds. Encoders pad the end of the audio, and video with B-frames
// is displayed later than it is decoded.
constexpr double kUsual = 0.5;
constexpr double kUsualAtEnd = 1;

std::string secondsText(double seconds) {
  return fixedText(seconds, 3) + " s";
}

// The intervals in which a track does not play, in order.
std::vector<Gap> pausesOf(const TrackTimeline& track) {
  std::vector<Gap> gaps;
  std::copy_if(track.gaps.begin(), track.gaps.end(), std::back_inserter(gaps),
               [](const Gap& gap) { return gap.to > gap.from; });
  std::sort(gaps.begin(), gaps.end(), [](const Gap& a, const Gap& b) { return a.from < b.from; });
  std::vector<Gap> pauses;
  for (const Gap& gap : gaps) {
    if (pauses.empty() || gap.from > pauses.back().to)
      pauses.push_back(gap);
    else
      pauses.back().to = std::max(pauses.back().to, gap.to);
  }
  return pauses;
}

// The pauses of a track during which the other one plays.
std::vector<Gap> pausesAlone(const TrackTimeline& track, const TrackTimeline& other) {
  const std::vector<Gap> theirs = pausesOf(other);
  std::vector<Gap> alone;
  auto next = theirs.begin();
  for (const Gap& pause : pausesOf(track)) {
    double seconds = pause.to - pause.from;
    while (next != theirs.end() && next->to <= pause.from) ++next;
    for (auto their = next; their != theirs.end() && their->from < pause.to; ++their)
      seconds -= std::min(their->to, pause.to) - std::max(their->from, pause.from);
    if (seconds > kUsual) alone.push_back(pause);
  }
  return alone;
}

void noteDifference(const char* verb, double video, double audio, double usual,
                    std::vector<std::string>& notes) {
  const double later = audio - video;
  if (std::abs(later) <= usual) return;
  notes.push_back(std::string("the audio ") + verb + " " + secondsText(std::abs(later)) +
                  (later > 0 ? " after" : " before") + " the video");
}

void notePauses(const char* name, const std::vector<Gap>& pauses, const char* otherName,
                std::vector<std::string>& notes) {
  if (pauses.empty()) return;
  const Gap& first = pauses.front();
  std::string note = std::string("the ") + name + " pauses for " + secondsText(first.to - first.from) +
                     " at " + secondsText(first.from) + ", the " + otherName + " does not";
  if (pauses.size() > 1) note += "; the first of " + std::to_string(pauses.size()) + " such pauses";
  notes.push_back(std::move(note));
}

}  // namespace

std::vector<std::string> timelineNotes(const TrackTimeline& video, const TrackTimeline& audio) {
  std::vector<std::string> notes;
  noteDifference("begins", video.begin, audio.begin, kUsual, notes);
  notePauses("video", pausesAlone(video, audio), "audio", notes);
  notePauses("audio", pausesAlone(audio, video), "video", notes);
  noteDifference("ends", video.end, audio.end, kUsualAtEnd, notes);
  return notes;
}

}  // namespace fmp4
