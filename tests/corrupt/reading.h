// Reads all of a file through the plug-in and records the result.
#pragma once

#include <algorithm>
#include <numeric>
#include <random>
#include <string>

#include "tests/corrupt/damaged_files.h"
#include "tests/plugin/loaded_plugin.h"

namespace fmp4 {

// One character per frame: the number of the intact file's frame that was read, ' ' for no bytes, '?' for
// other bytes, 'x' for a status of failure; for captions '.' if the frame brought none.
struct FramesRead {
  std::string frames;
  std::string cc608;
  std::string cc708;
  bool operator==(const FramesRead&) const = default;
};
inline void PrintTo(const FramesRead& read, std::ostream* out) {
  *out << '{' << read.frames << ", " << read.cc608 << ", " << read.cc708 << '}';
}

inline char whichFrame(const Bytes& bytes, Bytes (*ofFrame)(std::uint32_t)) {
  if (bytes.empty()) return ' ';
  for (std::uint32_t frame = 0; frame < kFrames; ++frame) {
    if (bytes == ofFrame(frame)) return static_cast<char>('0' + frame);
  }
  return '?';
}

// Reads one frame and records it at its index.
inline void readOne(CAMediaFile& file, std::uint32_t frame, FramesRead& read) {
  const VideoFrame got = readFrame(file, frame);
  if (got.status != VL_OK) {
    read.frames[frame] = 'x';
    return;
  }
  read.frames[frame] = whichFrame(got.data, videoOf);
  const DFRAME& d = got.descriptor;
  ASSERT_LE(d.captionBytes, sizeof d.captions);
  if (d.captionFlags & DFRAME_CAPTION_608) {
    read.cc608[frame] = whichFrame({d.captions, d.captions + 2}, cc608PairOf);
  }
  if (d.captionFlags & DFRAME_CAPTION_708) {
    read.cc708[frame] = whichFrame({d.captions + 7, d.captions + d.captionBytes}, cc708PacketOf);
  }
}

// Frames that are read of a file that claims billions.
inline constexpr std::uint32_t kMaxFramesRead = 8;

inline FramesRead noFramesOf(CAMediaFile& file) {
  const std::uint32_t frames = std::min(file.GetTotalFrames(), kMaxFramesRead);
  return {std::string(frames, ' '), std::string(frames, '.'), std::string(frames, '.')};
}

inline FramesRead readForward(CAMediaFile& file) {
  FramesRead read = noFramesOf(file);
  for (std::uint32_t frame = 0; frame < read.frames.size(); ++frame) readOne(file, frame, read);
  return read;
}

inline FramesRead readShuffled(CAMediaFile& file) {
  FramesRead read = noFramesOf(file);
  std::vector<std::uint32_t> order(read.frames.size());
  std::iota(order.begin(), order.end(), 0u);
  std::mt19937 random(7);
  for (std::size_t i = order.size(); i > 1; --i) std::swap(order[i - 1], order[random() % i]);
  for (const std::uint32_t frame : order) readOne(file, frame, read);
  return read;
}

}  // namespace fmp4
