// The CEA-608 byte pairs of a file, by field.
#pragma once

#include <span>
#include <vector>

#include "tool/export/caption_frames.h"
#include "tool/export/scenarist.h"

namespace fmp4 {

// Pairs that display nothing are left out. Field 1 comes from the pairs of the frames, or from their packets
// when the former display nothing, as the decoder takes it.
class FieldPairs {
 public:
  void add(const FrameCaptions& frame);

  std::span<const TimedPair> field1() const { return pairs_.empty() ? packets1_ : pairs_; }
  std::span<const TimedPair> field2() const { return packets2_; }

 private:
  std::vector<TimedPair> pairs_;
  std::vector<TimedPair> packets1_;
  std::vector<TimedPair> packets2_;
};

}  // namespace fmp4
