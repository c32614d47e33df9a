// How much of a file to read before its next top-level box is parsed.
#pragma once

#include <cstdint>

#include "mp4box/box.h"

namespace fmp4 {

// Expects of the next top-level box what those before it were like.
class Mp4ReadAhead {
 public:
  // Bytes to read at once from the start of the next box.
  std::uint64_t bytes() const;
  // Takes a box that has been read into account.
  void passed(const Mp4Box& box);

 private:
  void expectFragment(std::uint64_t bytes);

  // Expected size of the next fragment, bytes: the smaller of the last two, within limits, so that few
  // bytes are read in vain. Sizes alternate in files with one track per fragment.
  std::uint64_t fragmentBytes_ = 0;
  std::uint64_t lastFragmentBytes_ = 0;
  // Bytes of consecutive small boxes just read; a fragment or a larger box resets it.
  std::uint64_t smallBoxBytes_ = 0;
};

}  // namespace fmp4
