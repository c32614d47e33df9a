// What repair would do to a recording, or why it refuses. Verification asks the same, so that its advice
// holds.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "recording/check/recording.h"

namespace fmp4 {

enum class AudioLoss {
  Refused,   // audio that the lists name and that is gone must come back first
  Accepted,  // the recording goes on without it
};

struct RepairPlan {
  // A segment index to be written over the present one, which has the same size.
  struct Index {
    std::uint64_t offset = 0;  // in the file
    std::vector<std::uint8_t> bytes;
  };
  struct Media {
    std::string path;
    std::vector<Index> indexes;
    std::uint64_t end = 0;      // file offset after the last complete fragment
    std::uint64_t surplus = 0;  // bytes after it, to be removed
  };
  struct List {
    std::string path;
    std::string text;
  };

  // Why nothing may be changed, and what to do instead; empty when repair goes ahead.
  std::string refusal;
  std::string remedy;
  // In the order in which they are to be done.
  std::vector<Media> media;
  std::vector<List> lists;           // to be rewritten
  std::vector<std::string> removed;  // files to be removed

  bool refused() const { return !refusal.empty(); }
  bool empty() const { return media.empty() && lists.empty() && removed.empty(); }
};

// `lists`: those of `recording`. Reads the existing lists; changes nothing.
RepairPlan planRepair(const Recording& recording, const Recording::Lists& lists, AudioLoss loss);

// The temporary files that an interrupted run left beside the lists of a recording.
std::vector<std::string> leftoversOf(const RecordingPaths& paths);

}  // namespace fmp4
