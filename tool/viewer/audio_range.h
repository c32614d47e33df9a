// Decodes ranges of a file's audio into the cells of its overview.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "mediafile.h"
#include "tool/viewer/overview.h"

namespace fmp4 {

// The streams of an open file without its video: the first audio track, if it can have an overview. Of a
// track that claims more than a few days the beginning.
OverviewStreams audioStreams(CAMediaFile& file);

// What a range of audio cells gives.
struct AudioRange {
  AudioCells cells;
  // That are lost or unread, by blocks, in ascending order.
  std::vector<AudioFault> faults;
  bool isLast = false;  // nothing after these cells can be read
};

// The first PCM frame of a cell, no later than the end of the audio.
inline std::uint64_t startOfCell(const OverviewStreams& streams, std::uint64_t cell) {
  return std::min(audioCellStart(cell, streams.sampleRate), streams.samples);
}

// Reads one open file. What it gives of a range does not depend on the ranges that it read before.
class AudioRangeReader {
 public:
  // Ranges begin at multiples of it.
  static constexpr std::uint64_t kCellsABlock = 10;

  // `file`, whose first audio track has the format of `streams` and its samples at least, and `streams` must
  // outlive the object.
  AudioRangeReader(CAMediaFile& file, const OverviewStreams& streams);

  // The cells [from, to); none when `stopped`, which is asked before each block.
  std::optional<AudioRange> read(std::uint64_t from, std::uint64_t to, const std::function<bool()>& stopped);

 private:
  // Adds the cells of the block that begins with a cell to the range.
  void addBlock(std::uint64_t cell, AudioRange& range);
  bool deliver(std::uint64_t from, std::uint64_t to);

  CAMediaFile& file_;
  const OverviewStreams& streams_;
  DFRAME descriptor_ = {};
  std::vector<std::int16_t> block_;
  std::uint64_t next_ = 0;  // the cell after those that were read last
};

}  // namespace fmp4
