// Reads a whole file into its overview.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "mediafile.h"
#include "tool/viewer/overview.h"

namespace fmp4 {

struct ScanWatch {
  std::function<bool()> stopped = [] { return false; };
  // The frames and audio cells that have been read, and all.
  std::function<void(std::uint64_t done, std::uint64_t total)> progress = [](std::uint64_t, std::uint64_t) {};
};

// The streams of an open file, `name`, that have an overview: the video, and the first audio track. Of files
// that claim more than a few days the beginning.
OverviewStreams overviewStreams(CAMediaFile& file, const std::string& name);

// Fills the overview of an open file, `name`: frames without their media data, then captions, then the audio,
// decoded. What is read is added about every second of the file. Returns false, with the overview as far as
// it got, when it was stopped. What cannot be read is marked so.
bool scanOverview(CAMediaFile& file, const std::string& name, Overview& overview, const ScanWatch& watch);

}  // namespace fmp4
