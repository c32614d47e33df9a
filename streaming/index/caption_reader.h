// Reads CEA-608 byte pairs, frame by frame.
#pragma once

#include <cstdint>
#include <vector>

#include "streaming/index/track_cursor.h"

namespace fmp4 {

// The byte pairs of one caption track: one pair per frame, from samples that contain runs of pairs.
struct Cc608Reader {
  TrackCursor cursor;
  std::vector<std::uint8_t> buffer;
  std::size_t consumed = 0;          // bytes of `buffer` already played or skipped
  std::size_t pending = 0;           // bytes still to play, after the consumed ones
  std::uint64_t ccFrame = kNoFrame;  // frame of the first pending pair
  std::uint64_t ccBaseFrame = 0;     // video frame of the first caption fragment

  static constexpr std::uint64_t kNoFrame = ~std::uint64_t{0};

  bool hasPair() const { return pending >= 2; }
  const std::uint8_t* pair() const { return buffer.data() + consumed; }
  // Drops the first pair; the next one plays one frame later.
  void dropPair();
  // Resets: nothing pending, frame unknown.
  void forget();
};

// Seeks to the byte pairs at `frame`. If the sample has none left for that frame, reads the next sample, and
// ccFrame is the frame at which it starts. A failure has been reported.
[[nodiscard]] Result SeekCc608Frame(FragmentIndex& index, std::uint64_t frame, Cc608Reader& reader);

// The video frame at a fragment's decode time: baseMediaDecodeTime in frames, truncated.
std::uint64_t frameOfDecodeTime(const FragmentIndex& index, const TrackCursor& cursor);

}  // namespace fmp4
