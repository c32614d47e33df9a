// CEA-608 byte pairs, frame by frame.
#pragma once

#include <cstdint>
#include <vector>

#include "streaming/index/track_cursor.h"

// The byte pairs of one caption track: one pair a frame, taken from samples that hold a run of them.
struct Cc608Reader {
  TrackCursor cursor;
  std::vector<std::uint8_t> buffer;
  std::size_t consumed = 0;          // bytes of `buffer` already played or skipped
  std::size_t pending = 0;           // bytes behind them still to play
  std::uint64_t ccFrame = kNoFrame;  // the frame at which the first pending pair plays
  std::uint64_t ccBaseFrame = 0;     // the video frame of the first caption fragment

  static constexpr std::uint64_t kNoFrame = ~std::uint64_t{0};

  bool hasPair() const { return pending >= 2; }
  const std::uint8_t* pair() const { return buffer.data() + consumed; }
  // Drops the first pair; the next plays one frame later.
  void dropPair();
  // Nothing pending, no frame known.
  void forget();
};

// Takes the byte pairs from `frame` on. Where the sample has none left for that frame, the next sample's are
// taken, and ccFrame tells when they start. Returns 0, or -1 after reporting why.
int SeekCc608Frame(FragmentIndex& index, std::uint64_t frame, Cc608Reader& reader);

// The video frame at which a fragment's decode time lies: baseMediaDecodeTime in frames, truncated.
std::uint64_t FrameOfDecodeTime(const FragmentIndex& index, const TrackCursor& cursor);
