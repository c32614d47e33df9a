// The lengths of a file's groups of pictures: how many frames there are from one key frame to the next.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace fmp4 {

// In frames, in decoding order. The last group is left out where there are others: the end of the file, or of
// what was examined, cuts it short.
struct GroupLengths {
  std::uint64_t shortest = 0;
  std::uint64_t longest = 0;
  std::uint64_t usual = 0;  // the most frequent length, the longest of several
  std::uint64_t groups = 0;
  double seconds = 0;  // of the video that were examined
  bool wholeFile = false;
};

// How much of a file is examined: enough to tell, in the time that a few thousand frames take.
inline constexpr std::uint64_t kExaminedSeconds = 300;
inline constexpr std::uint64_t kExaminedFrames = 20'000;

// Of the video that the plug-in reads in the file `media`, by what its fragments say of key frames; media
// data are not read. Nothing without video or key frames.
std::optional<GroupLengths> groupLengths(const std::string& media);

// "12 to 250 frames, mostly 250 (of the first 00:05:00.000)".
std::string groupLengthsText(const GroupLengths& lengths);

}  // namespace fmp4
