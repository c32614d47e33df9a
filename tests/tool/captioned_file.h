// Files with captions.
#pragma once

#include <string>

#include "tests/captions/cea608_stream.h"
#include "tests/support/box_builder.h"
#include "tests/support/fragments.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

// A file at 29.97 with these pairs of field 1 (from frame 0 on) and of field 2 in packets.
inline std::string captionedFile(const TempFolder& folder, const cea608::Pairs& field1,
                                 const cea608::Pairs& field2 = {}) {
  RunSpec videoRun, packets;
  Bytes bytes;
  for (std::size_t i = 0; i < field1.size(); ++i) {
    videoRun.samples.push_back(sampleOf(10, static_cast<std::uint32_t>(i)));
    bytes = join({bytes, u8(field1[i][0]), u8(field1[i][1])});
    const cea608::Pair pair = i < field2.size() ? field2[i] : cea608::Pair{0x80, 0x80};
    packets.samples.push_back({box("ccdp", {Bytes{0x96, 0x69, 16, 0x4F, 0x43, 0, 0, 0x72, 0xE1, 0xFD, pair[0],
                                                  pair[1], 0x74, 0, 0, 0}})});
  }
  TrafSpec video, c608, c708;
  video.runs = {videoRun};
  c608.trackId = 3;
  RunSpec pairs;
  pairs.samples = {{box("cdat", {bytes})}};
  c608.runs = {pairs};
  c708.trackId = 4;
  c708.runs = {packets};
  std::vector<TrackSpec> tracks = {
      videoTrack(),
      {3, "clcp", 30000, captionEntry("c608"), static_cast<std::uint32_t>(1001 * field1.size())}};
  std::vector<TrafSpec> trafs = {video, c608};
  if (!field2.empty()) {
    tracks.push_back({4, "clcp", 30000, captionEntry("c708"), 1001});
    trafs.push_back(c708);
  }
  const std::string path = folder.file("clip.mp4");
  writeFile(path, join({fileTypeBox(), movieBox(tracks), fragment(1, trafs)}));
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
