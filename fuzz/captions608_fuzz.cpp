// CEA-608 byte pairs with hostile bytes, one a frame, through all channels of a file. The first byte chooses
// whether every byte gets its parity, without which few codes act.
#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>

#include "captions/caption_cues.h"

namespace fmp4 {

using namespace captions;

namespace {

std::uint8_t withParity(std::uint8_t byte) {
  return std::popcount(byte) % 2 == 1 ? byte : static_cast<std::uint8_t>(byte ^ 0x80);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const bool withValidParity = (data[0] & 1) != 0;
  CaptionCues cues(30);
  std::int64_t frame = 0;
  for (std::size_t at = 1; at + 2 <= size; at += 2, ++frame) {
    std::array<std::uint8_t, 2> pair = {data[at], data[at + 1]};
    if (withValidParity) pair = {withParity(pair[0]), withParity(pair[1])};
    cues.add(frame, pair, {});
  }
  for (const auto& [channel, list] : cues.finish(frame)) {
    std::int64_t end = 0;
    for (const Cue& cue : list) {
      if (cue.first < end || cue.end <= cue.first || cue.caption.empty()) std::abort();
      end = cue.end;
      for (const TextBlock& block : cue.caption.blocks)
        for (const TextRow& row : block.rows)
          if (row.row >= kCea608Rows || row.column + row.width > kCea608Columns) std::abort();
    }
  }
  return 0;
}

}  // namespace fmp4
