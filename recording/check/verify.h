// Checks a recording: its media against themselves, and its lists against the media.
#pragma once

#include <string>
#include <vector>

#include "recording/check/recording.h"

struct Verification {
  std::vector<std::string> files;  // looked at: name and extension
  std::uint64_t frames = 0;        // of video
  std::uint64_t audioFrames = 0;   // coded ones
  std::uint64_t fragments = 0;     // of all media files
  std::uint64_t segments = 0;
  double seconds = 0;         // of the video, or else of the sound
  double audioSeconds = 0;    // of the sound that there is
  bool beingWritten = false;  // somebody is recording it
  ProblemList problems;
  std::vector<std::string> notes;  // what else the user should know
};

// Throws UserError when `name` belongs to no recording, or to one that holds nothing.
Verification verifyRecording(const std::string& name, const Recording::Progress& progress = {});

// The text of a list on the disk; nothing when it is not there or too large to be one.
std::optional<std::string> readList(const std::string& path);
