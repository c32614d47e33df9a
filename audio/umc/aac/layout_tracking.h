// The layout of the channels, which may change from block to block, and where in it a block's elements are.
#pragma once

#include "audio/umc/aac/decoder_memory.h"
#include "audio/umc/aac/decoder_state.h"

namespace UMC::aac {

// Determines which channels the parsed block carries: those of the program if it has all of the block's
// elements, otherwise those implied by the order of its elements. If they differ from the previous block's,
// all channels are reset. A block without channels keeps the previous layout. False if there are no channels
// at all.
[[nodiscard]] bool AdoptLayout(LockedMemory& memory);

// The layout's element with the type and tag of the block's; null if there is none.
const LayoutElement* FindElement(const Layout& layout, const BlockElement& element);

// The layout's element that corresponds to element `index` of the block, whose layout was adopted.
inline const LayoutElement& PlaceOf(const DecoderState& state, const RawDataBlock& block, int index) {
  return state.placedByProgram ? *FindElement(state.layout, block.elements[index])
                               : state.layout.elements[index];
}

// Calls visit(channel of the layout, index of its stream) for every channel in the block.
template <class Visit>
void ForEachCarried(const DecoderState& state, const RawDataBlock& block, Visit visit) {
  for (int i = 0; i < block.elementCount; ++i) {
    const BlockElement& element = block.elements[i];
    const LayoutElement& place = PlaceOf(state, block, i);
    for (int c = 0; c < ChannelsOf(element.type); ++c) visit(place.firstChannel + c, element.stream + c);
  }
}

}  // namespace UMC::aac
