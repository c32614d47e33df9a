// Derives a recording's numbers from its source: frame rate, key-frame interval, frames.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "tool/source/sample_source.h"

namespace fmp4 {

// Where the captions of a recording come from: the source's caption tracks, its video (supplemental
// enhancement information of H.264), or the first of these that has any.
enum class CaptionSource { Auto, Track, Sei, None };

struct PackageOptions {
  std::string input;
  std::string output;
  std::optional<std::uint32_t> interval;    // key-frame interval
  std::optional<std::uint32_t> videoTrack;  // track IDs; the first track of a kind by default
  std::optional<std::uint32_t> audioTrack;
  bool noAudio = false;
  CaptionSource captions = CaptionSource::Auto;
  std::uint32_t start = 0;
  std::optional<std::uint32_t> count;
  bool force = false;  // replace a recording of the same name
  bool json = false;
};

struct PackagePlan {
  std::uint32_t first = 0;  // index in the source
  std::uint32_t count = 0;
  std::uint32_t rate = 0;  // frames a second: rate / scale
  std::uint32_t scale = 1;
  std::uint32_t interval = 1;    // the host's codec option 8
  std::int64_t leastOffset = 0;  // minimum composition offset, if negative, in ticks
  double frameTicks = 1;         // ticks of the source for each frame

  // The plan for all samples of a track as the plug-in reads them, at the rate of most of them. Throws
  // UserError when there are none.
  static PackagePlan asRead(const SourceTrack& video);

  double framesPerSecond() const { return static_cast<double>(rate) / scale; }
  // Applies the composition offsets of the chosen frames, once these and the rate are known.
  void chooseOffsets(const SourceTrack& video);
  // Composition offset of a source frame, in whole frames above the minimum.
  std::int32_t compositionOffset(const SourceSample& frame) const;
};

// Throws UserError when the source cannot be packaged this way; passes warnings for the user to `warn`.
PackagePlan planPackage(const SourceTrack& video, const PackageOptions& options,
                        const std::function<void(const std::string&)>& warn);

}  // namespace fmp4
