// What packaging makes of a source's numbers: its frame rate, its key-frame interval, its frames.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "tool/source/sample_source.h"

struct PackageOptions {
  std::string input;
  std::string output;
  std::optional<std::uint32_t> interval;  // frames from one key frame to the next
  bool noAudio = false;
  std::uint32_t start = 0;
  std::optional<std::uint32_t> count;
};

struct PackagePlan {
  std::uint32_t first = 0;  // of the source's frames
  std::uint32_t count = 0;
  std::uint32_t rate = 0;  // frames a second: rate / scale
  std::uint32_t scale = 1;
  std::uint32_t interval = 1;    // the host's codec option 8
  std::int64_t leastOffset = 0;  // the lowest composition offset, where it is below zero, in ticks
  double frameTicks = 1;         // ticks of the source a frame

  // That of a track's samples as the plug-in reads them: all, at the rate that most of them have. Throws
  // UserError when they have none.
  static PackagePlan asRead(const SourceTrack& video);

  double framesPerSecond() const { return static_cast<double>(rate) / scale; }
  // Takes the offsets of the chosen frames into account, once these and the rate are known.
  void chooseOffsets(const SourceTrack& video);
  // Of a frame of the source, in whole frames, counted from the lowest.
  std::int32_t compositionOffset(const SourceSample& frame) const;
};

// Throws UserError when the source cannot be packaged so; tells `warn` what the user should know.
PackagePlan planPackage(const SourceTrack& video, const PackageOptions& options,
                        const std::function<void(const std::string&)>& warn);
