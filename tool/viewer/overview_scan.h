// Reads a whole file into its overview.
#pragma once

#include <string>

#include "mediafile.h"
#include "tool/host/plugin_host.h"
#include "tool/viewer/audio_scan.h"
#include "tool/viewer/overview.h"
#include "tool/viewer/scan_watch.h"

namespace fmp4 {

// The streams of an open file, `name`, that have an overview: the video, and the first audio track. Of files
// that claim more than a few days the beginning.
OverviewStreams overviewStreams(CAMediaFile& file, const std::string& name);

// Fills the overview of an open file, `name`: frames without their media data, then captions, then the audio,
// decoded on several threads, for which `plugin` opens the file again. What is read is added as it comes.
// Returns false, with the overview as far as it got, when it was stopped. What cannot be read is marked so.
bool scanOverview(const Plugin& plugin, CAMediaFile& file, const std::string& name, Overview& overview,
                  const ScanWatch& watch, const AudioDivision& division = {});

}  // namespace fmp4
