#include "mp4box/read_ahead.h"

#include <algorithm>

#include "mp4box/box_header.h"

namespace fmp4 {

std::uint64_t Mp4ReadAhead::bytes() const {
  // How many bytes larger than expected a fragment may be and still be read in one go: a few samples more,
  // because equal durations do not always hold the same number of audio samples.
  constexpr std::uint64_t kFragmentSizeTolerance = 32;
  // After more than a few consecutive small boxes, as many bytes as they took.
  constexpr std::uint64_t kFew = 256, kMost = 64 << 10;
  const std::uint64_t fragment = fragmentBytes_ > 0 ? fragmentBytes_ + kFragmentSizeTolerance : 0;
  const std::uint64_t small = smallBoxBytes_ < kFew ? 0 : std::min(smallBoxBytes_, kMost);
  // Together with the next header.
  return std::max(fragment, small) + kMaxBoxHeaderBytes;
}

void Mp4ReadAhead::passed(const Mp4Box& box) {
  constexpr std::uint64_t kSmall = 256;
  const bool isFragment = box.type == Mp4FourCc("moof");
  if (isFragment) expectFragment(box.size);
  smallBoxBytes_ = isFragment || box.size > kSmall ? 0 : smallBoxBytes_ + box.size;
}

void Mp4ReadAhead::expectFragment(std::uint64_t bytes) {
  constexpr std::uint64_t kMaxExpected = 64 << 10;
  fragmentBytes_ = std::min({bytes, lastFragmentBytes_, kMaxExpected});
  lastFragmentBytes_ = bytes;
}

}  // namespace fmp4
