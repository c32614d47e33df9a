#include "audio/umc/aac/output_format.h"

namespace UMC::aac {

namespace {

// Whether the output has twice the core's sampling frequency.
bool IsDoubled(const DecoderState& state) {
  const bool coreAskedFor = state.outputFrequency == state.config.frequency;
  return HasSbr(state) && state.options.sbrDownSampled == 0 && !coreAskedFor;
}

}  // namespace

bool HasSbr(const DecoderState& state) {
  const bool doubleAskedFor = state.options.sbrDownSampled == 0 && state.config.frequency != 0 &&
                              state.outputFrequency == 2 * state.config.frequency;
  return state.config.sbrSignalled || state.sbrSeen || doubleAskedFor;
}

bool IsMono(const Layout& layout) {
  return layout.elementCount == 1 && layout.elements[0].type == ElementType::kSingle;
}

bool HasParametricStereo(const DecoderState& state) {
  return (state.psSeen || state.config.psSignalled) && state.outputChannels != 1 && IsMono(state.layout);
}

SbrFormat SbrFormatOf(const DecoderState& state) {
  return {state.config.frequency, state.config.frameLength, !IsDoubled(state), state.numbered, state.block};
}

int RenderedChannels(const DecoderState& state) {
  return HasParametricStereo(state) ? 2 : state.layout.channelCount;
}

void UpdateMix(DecoderState& state) {
  const Layout layout = HasParametricStereo(state) ? LayoutOfConfiguration(2) : state.layout;
  const int outputs = state.outputChannels != 0 ? state.outputChannels : layout.channelCount;
  if (outputs > 0) state.mix = MakeMixMatrix(layout, outputs);
}

std::uint32_t OutputFrequency(const DecoderState& state) {
  return IsDoubled(state) ? 2 * state.config.frequency : state.config.frequency;
}

int OutputLength(const DecoderState& state) {
  return IsDoubled(state) ? 2 * state.config.frameLength : state.config.frameLength;
}

std::size_t OutputBytes(const DecoderState& state) {
  return static_cast<std::size_t>(state.mix.outputs * OutputLength(state)) * sizeof(std::int16_t);
}

std::size_t LargestOutputBytes(const DecoderState& state, const RawDataBlock& block) {
  const bool mayWiden = state.outputChannels == 0 && !HasParametricStereo(state) && IsMono(state.layout) &&
                        block.elementCount == 1 && block.elements[0].sbr.bits > 0;
  return OutputBytes(state) * (mayWiden ? 2 : 1);
}

}  // namespace UMC::aac
