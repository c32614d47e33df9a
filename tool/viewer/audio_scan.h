// Decodes all audio of a file into its overview, in ranges that several threads read.
#pragma once

#include <cstdint>
#include <string>

#include "mediafile.h"
#include "tool/host/plugin_host.h"
#include "tool/viewer/overview.h"
#include "tool/viewer/scan_watch.h"

namespace fmp4 {

// How the audio is divided. The overview is the same for each division.
struct AudioDivision {
  static constexpr unsigned kMostReaders = 4;

  // Threads, of which each opens the file for itself; 0: as many as there are processors, up to kMostReaders.
  unsigned readers = 0;
  std::uint64_t rangeCells = std::uint64_t{60} * kAudioCellsASecond;  // a multiple of those of a block
};

// Adds the audio that `streams` describes, of an open file, `name`, range after range. Returns false when it
// was stopped. Throws what a reader throws.
bool scanAudio(const Plugin& plugin, CAMediaFile& file, const std::string& name,
               const OverviewStreams& streams, Overview& overview, const ScanWatch& watch,
               const AudioDivision& division);

}  // namespace fmp4
