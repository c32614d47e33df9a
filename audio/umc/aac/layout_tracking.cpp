#include "audio/umc/aac/layout_tracking.h"

#include <algorithm>

#include "audio/umc/aac/decoder_history.h"
#include "audio/umc/aac/output_format.h"
#include "audio/umc/aac/sbr/sbr_decoder.h"

namespace UMC::aac {

namespace {

// True if the block has elements and each of them is in the layout exactly once.
bool HasAllElements(const Layout& layout, const RawDataBlock& block) {
  unsigned seen = 0;
  for (int i = 0; i < block.elementCount; ++i) {
    const LayoutElement* element = FindElement(layout, block.elements[i]);
    if (element == nullptr) return false;
    const unsigned bit = 1u << (element - layout.elements);
    if ((seen & bit) != 0) return false;
    seen |= bit;
  }
  return seen != 0;
}

// Whether the block's program applies to it and to the blocks after it. In a track, which reading may enter
// anywhere, only the first block's is, and the container's description of the program, or its channel
// configuration, takes precedence (ISO/IEC 14496-3, 4.5.1.2).
bool IsProgramTaken(const DecoderState& state, const RawDataBlock& block) {
  return block.hasProgram && !state.signalled && (!state.numbered || state.block == 0);
}

}  // namespace

const LayoutElement* FindElement(const Layout& layout, const BlockElement& element) {
  const LayoutElement* end = layout.elements + layout.elementCount;
  const LayoutElement* found = std::find_if(layout.elements, end, [&](const LayoutElement& other) {
    return other.type == element.type && other.tag == element.tag;
  });
  return found == end ? nullptr : found;
}

bool AdoptLayout(LockedMemory& memory) {
  DecoderState& state = memory.State();
  const RawDataBlock& block = memory.Work().block;
  const bool taken = IsProgramTaken(state, block);
  if (taken) state.program = LayoutOfProgram(block.program);
  Layout layout = state.layout;
  state.placedByProgram = state.program.channelCount > 0 && HasAllElements(state.program, block);
  if (state.placedByProgram) {
    layout = state.program;
  } else if (block.elementCount > 0) {
    ElementType types[kMaxChannels];
    for (int i = 0; i < block.elementCount; ++i) types[i] = block.elements[i].type;
    layout = LayoutOfElements(types, block.elementCount);
  }
  if (layout != state.layout) {
    state.layout = layout;
    ResetChannels(memory);
    if (memory.Sbr() != nullptr) std::fill_n(memory.Sbr()->elements, kMaxChannels, SbrElementState{});
    UpdateMix(state);
  }
  if (layout.channelCount == 0) return false;
  if (taken && state.numbered) state.config.layout = state.program;  // beyond a restart
  return true;
}

}  // namespace UMC::aac
