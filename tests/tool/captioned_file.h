// Files of 29.97 frames a second with captions, built frame by frame.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "tests/captions/cea608_stream.h"
#include "tests/support/box_builder.h"
#include "tests/support/fragments.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

// A caption distribution packet for each pair of field 2; null pairs up to frame `count`.
inline std::vector<Bytes> packetsOfField2(const cea608::Pairs& pairs, std::size_t count) {
  std::vector<Bytes> packets;
  for (std::size_t i = 0; i < count; ++i) {
    const cea608::Pair pair = i < pairs.size() ? pairs[i] : cea608::Pair{0x80, 0x80};
    packets.push_back({0x96, 0x69, 16, 0x4F, 0x43, 0, 0, 0x72, 0xE1, 0xFD, pair[0], pair[1], 0x74, 0, 0, 0});
  }
  return packets;
}

// What the frames of a file have: pairs of field 1, and packets, one a frame each; either may be none.
struct FrameCaptionsSpec {
  cea608::Pairs field1;
  std::vector<Bytes> packets = {};
  std::int32_t composition = 0;  // ticks by which frames are shown later
  Bytes edits = {};              // of the track with the pairs: editsBox

  std::size_t frames() const { return std::max(field1.size(), packets.size()); }
};

// The file type and movie boxes of fragments that have these captions each.
inline Bytes captionedStart(const FrameCaptionsSpec& spec) {
  std::vector<TrackSpec> tracks = {videoTrack()};
  if (!spec.field1.empty()) {
    tracks.push_back(
        {3, "clcp", 30000, captionEntry("c608"), static_cast<std::uint32_t>(1001 * spec.field1.size())});
    tracks.back().edits = spec.edits;
  }
  if (!spec.packets.empty()) tracks.push_back({4, "clcp", 30000, captionEntry("c708"), 1001});
  return join({fileTypeBox(), movieBox(tracks)});
}

// Fragment `number` of a file, from 1, whose frames are numbered from `first` on.
inline Bytes captionedFragment(std::uint32_t number, std::uint32_t first, const FrameCaptionsSpec& spec) {
  RunSpec videoRun, pairs, packets;
  if (spec.composition != 0) videoRun.flags |= kRunComposition;
  Bytes bytes;
  for (std::size_t i = 0; i < spec.frames(); ++i)
    videoRun.samples.push_back(sampleOf(10, first + static_cast<std::uint32_t>(i), 0, 0, spec.composition));
  for (const cea608::Pair& pair : spec.field1) bytes = join({bytes, u8(pair[0]), u8(pair[1])});
  pairs.samples = {{box("cdat", {bytes})}};
  for (const Bytes& packet : spec.packets) packets.samples.push_back({box("ccdp", {packet})});
  TrafSpec video, c608, c708;
  video.runs = {videoRun};
  c608.trackId = 3;
  c608.runs = {pairs};
  c708.trackId = 4;
  c708.runs = {packets};
  video.decodeTime = c608.decodeTime = c708.decodeTime = std::uint64_t{1001} * first;
  std::vector<TrafSpec> trafs = {video};
  if (!spec.field1.empty()) trafs.push_back(c608);
  if (!spec.packets.empty()) trafs.push_back(c708);
  return fragment(number, trafs);
}

// A file of one fragment.
inline Bytes captionedFile(const FrameCaptionsSpec& spec) {
  return join({captionedStart(spec), captionedFragment(1, 0, spec)});
}

// A file at 29.97 with these pairs of field 1 (from frame 0 on) and of field 2 in packets.
inline std::string captionedFile(const TempFolder& folder, const cea608::Pairs& field1,
                                 const cea608::Pairs& field2 = {}) {
  const std::string path = folder.file("clip.mp4");
  const std::size_t packets = field2.empty() ? 0 : field1.size();
  writeFile(path, captionedFile(FrameCaptionsSpec{field1, packetsOfField2(field2, packets)}));
  return path;
}

// One caption in frames 30 to 90, one from 95 to the end, frame 120.
inline cea608::Pairs twoCaptions() {
  using namespace cea608;
  const auto at = [](Pairs pairs, std::size_t frame, const Pairs& more) {
    return pairs + nulls(frame - pairs.size()) + more;
  };
  Pairs pairs = code(RCL) + code(ENM) + code(pacIndent(15, 8)) + chars("First");
  pairs = at(pairs, 30, code(EOC) + code(ENM) + code(pac(15)) + chars("Second"));
  pairs = at(pairs, 90, code(EDM));
  pairs = at(pairs, 95, code(EOC));
  return at(pairs, 120, {});
}

}  // namespace fmp4
