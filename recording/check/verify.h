// Verifies a recording: its media against themselves, its manifest and playlists against the media.
#pragma once

#include <string>
#include <vector>

#include "recording/check/recording.h"

namespace fmp4 {

struct Verification {
  std::vector<std::string> files;  // verified files: name and extension
  std::uint64_t frames = 0;        // video frames
  std::uint64_t audioFrames = 0;   // access units
  std::uint64_t fragments = 0;     // fragments of all media files
  std::uint64_t segments = 0;
  double seconds = 0;         // duration of the video, or else of the audio
  double audioSeconds = 0;    // duration of the audio present
  bool beingWritten = false;  // another program is recording it
  ProblemList problems;
  std::vector<std::string> notes;  // what else the user should know
  // What repair would do.
  enum class Repair {
    Everything,  // all problems
    Something,   // not all of them
    Nothing,
    Refused,  // `remedy` says what to do instead
  };
  Repair repair = Repair::Everything;
  std::string remedy;

  // Adds damage that was found in the media otherwise.
  void addDamage(Problem problem) {
    if (repair == Repair::Everything) repair = problems.count() == 0 ? Repair::Nothing : Repair::Something;
    problem.repairable = false;
    problems.add(std::move(problem));
  }
};

// Throws UserError when `name` belongs to no recording, or to one that holds nothing.
Verification verifyRecording(const std::string& name, const Recording::Progress& progress = {});

}  // namespace fmp4
