// Reads movie fragments again when they are needed, and keeps the last few.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "mp4box/box.h"
#include "streaming/index/read_window.h"

namespace fmp4 {

// A parsed movie fragment.
struct LoadedFragment {
  Mp4BoxPtr root;
  const Mp4Box* moof = nullptr;      // in the tree of `root`
  std::uint64_t mediaDataStart = 0;  // file offset of the first byte after the header of the box that follows
};

// The fragments of one file by their offsets. Cursors that walk a file together use the same ones.
class FragmentLoader {
 public:
  // The fragment of `size` bytes at `offset`: one of the last used, or read through `window` if that is open,
  // together with bytes after it. Null if it cannot be read; throws std::bad_alloc if memory is short.
  std::shared_ptr<const LoadedFragment> load(Mp4Stream& file, std::uint64_t fileSize, std::uint64_t offset,
                                             std::uint64_t size, ReadWindow& window);

 private:
  struct Kept {
    std::uint64_t offset = 0;
    std::shared_ptr<const LoadedFragment> fragment;
  };
  std::shared_ptr<const LoadedFragment> read(Mp4Stream& file, std::uint64_t fileSize, std::uint64_t offset,
                                             std::uint64_t size, ReadWindow& window);

  // One for each track, and as many before them. The last used comes first.
  std::array<Kept, 8> kept_;
  std::vector<std::uint8_t> bytes_;  // of the fragment being read, if no window holds it
};

}  // namespace fmp4
