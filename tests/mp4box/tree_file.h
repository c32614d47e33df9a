// A file of given bytes, opened as a stream that counts its host reads.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>

#include "mp4box/stream.h"
#include "tests/support/box_builder.h"
#include "tests/support/file_tree.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

class CountingStream : public Mp4Stream {
 public:
  std::int64_t read(void* buffer, std::int64_t count) override {
    ++reads;
    largestRead = std::max(largestRead, count);
    return Mp4Stream::read(buffer, count);
  }

  int reads = 0;
  std::int64_t largestRead = 0;
};

class TreeFile {
 public:
  explicit TreeFile(const Bytes& bytes) {
    writeFile(path(), bytes);
    stream.open(path().c_str(), MP4_MODE_READ);
  }
  std::string path() const { return folder_.file("boxes"); }
  FileTree root(bool readAll = true) { return FileTree(stream, readAll); }

 private:
  TempFolder folder_;

 public:
  CountingStream stream;
};

inline std::string typeName(const Mp4Box& box) {
  std::string name;
  for (int shift = 24; shift >= 0; shift -= 8) name += static_cast<char>(box.type >> shift);
  return name;
}

// The boxes in `box` as a text: "ftyp moov(mvhd trak(tkhd))".
inline std::string childrenOf(const Mp4Box& box) {
  std::string names;
  for (const Mp4Box* child = box.first; child; child = child->next) {
    if (!names.empty()) names += ' ';
    names += typeName(*child);
    if (child->first) names += '(' + childrenOf(*child) + ')';
  }
  return names;
}

inline std::size_t childCount(const Mp4Box& box) {
  std::size_t count = 0;
  for (const Mp4Box* child = box.first; child; child = child->next) ++count;
  return count;
}

// ---- Small boxes that fill their fields with zeros --------------------------------------------------

inline Bytes ftypBox() {
  return box("ftyp", {text("iso5"), u32(0)});
}  // 16 bytes
inline Bytes mvhdBox() {
  return fullBox("mvhd", 0, 0, {zeros(96)});
}  // 108 bytes
inline Bytes tkhdBox() {
  return fullBox("tkhd", 0, 3, {zeros(80)});
}  // 92 bytes
inline Bytes mfhdBox(std::uint32_t sequence) {
  return fullBox("mfhd", 0, 0, {u32(sequence)});
}  // 16 bytes

// A fragment of 72 bytes.
inline Bytes moofBox(std::uint32_t sequence) {
  return box("moof", {mfhdBox(sequence), box("traf", {fullBox("tfhd", 0, 0, {u32(1)}),
                                                      fullBox("trun", 0, 0, {u32(0)}), box("free")})});
}

}  // namespace fmp4
