#include "tool/export/field_pairs.h"

#include <array>

#include "captions/cc_data.h"

namespace fmp4 {

namespace {

void addTo(std::vector<TimedPair>& pairs, std::uint32_t frame, const std::array<std::uint8_t, 2>& bytes) {
  if (!captions::isNullPair(bytes)) pairs.push_back({frame, bytes});
}

}  // namespace

void FieldPairs::add(const FrameCaptions& frame) {
  if (frame.pair.size() >= 2) addTo(pairs_, frame.frame, {frame.pair[0], frame.pair[1]});
  for (const captions::CcConstruct& construct :
       captions::parseDistributionPacket(frame.distributionPacket())) {
    if (!construct.valid || !construct.isPair()) continue;
    addTo(construct.type == captions::CcType::Field1 ? packets1_ : packets2_, frame.frame, construct.bytes);
  }
}

}  // namespace fmp4
