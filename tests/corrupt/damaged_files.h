// The damaged files of this folder, and how each is made from an intact one.
#pragma once

#include <string>
#include <vector>

#include "tests/support/box_builder.h"

namespace fmp4 {

struct DamagedFile {
  std::string name;  // the defect, and the extension
  Bytes bytes;
};

// The intact file has one track each of video (ID 1), audio (2), CEA-608 (3) and CEA-708 captions (4), in
// three fragments of kFramesPerFragment frames.
inline constexpr std::uint32_t kFragments = 3;
inline constexpr std::uint32_t kFramesPerFragment = 2;
inline constexpr std::uint32_t kFrames = kFragments * kFramesPerFragment;

// The intact file's content of a frame.
Bytes videoOf(std::uint32_t frame);
Bytes cc608PairOf(std::uint32_t frame);
// The caption area's bytes from 4 on.
Bytes cc708PacketOf(std::uint32_t frame);

Bytes intactFile();

// All of them, the intact file first.
std::vector<DamagedFile> damagedFiles();

}  // namespace fmp4
