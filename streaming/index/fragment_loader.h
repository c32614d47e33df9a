// Reads movie fragments again when they are needed, and keeps the last few.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "base/result.h"
#include "mp4box/tree.h"
#include "streaming/index/read_window.h"

namespace fmp4 {

// A parsed movie fragment.
struct LoadedFragment {
  std::unique_ptr<Mp4Tree> tree;
  const Mp4Box* moof = nullptr;      // in the tree
  std::uint64_t mediaDataStart = 0;  // file offset of the first byte after the header of the box that follows
};

// The fragments of one file by their offsets. Cursors that walk a file together use the same ones.
class FragmentLoader {
 public:
  // Where a fragment was found.
  struct Place {
    std::uint64_t offset = 0;  // file offset
    std::uint64_t size = 0;    // bytes
  };

  // The fragment at a place: one of the last used, or read through `window` if that is open, together with
  // bytes after it. `fragment` is null after a failure. Throws std::bad_alloc if memory is short.
  [[nodiscard]] Result load(Mp4Stream& file, std::uint64_t fileSize, const Place& place, ReadWindow& window,
                            std::shared_ptr<const LoadedFragment>& fragment);

 private:
  struct Kept {
    std::uint64_t offset = 0;
    std::shared_ptr<const LoadedFragment> fragment;
  };
  Result read(Mp4Stream& file, std::uint64_t fileSize, const Place& place, ReadWindow& window,
              LoadedFragment& loaded);
  static Result parse(Mp4Stream& stream, std::uint64_t fileSize, std::uint64_t offset,
                      LoadedFragment& loaded);

  // One for each track, and as many before them. The last used comes first.
  std::array<Kept, 8> kept_;
  std::vector<std::uint8_t> bytes_;  // of the fragment being read, if no window holds it
};

}  // namespace fmp4
