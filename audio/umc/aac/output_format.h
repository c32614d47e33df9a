// The format of the output: its channels, sampling frequency and size, as they follow from the stream and
// from what the caller requests.
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/aac/decoder_state.h"
#include "audio/umc/aac/sbr/sbr_decoder.h"

namespace UMC::aac {

// Whether SBR is active, even if only to maintain the sampling frequency: it is signalled, a block carried
// it, or twice the core's frequency is requested.
bool HasSbr(const DecoderState& state);

// Whether the layout is a single channel element alone, which may carry parametric stereo.
bool IsMono(const Layout& layout);

// Whether one channel is expanded to two: unless mono output is requested, if parametric stereo is signalled,
// else from its first data on.
bool HasParametricStereo(const DecoderState& state);

// What SBR is to make of the next block.
SbrFormat SbrFormatOf(const DecoderState& state);

// The number of channels before mixing.
int RenderedChannels(const DecoderState& state);

// Updates `state.mix` for the layout and the requested channels.
void UpdateMix(DecoderState& state);

// Sampling frequency of the output, in hertz.
std::uint32_t OutputFrequency(const DecoderState& state);

// PCM frames that a block decodes to.
int OutputLength(const DecoderState& state);

// Output bytes of a block. LargestOutputBytes is the maximum for the parsed block before it is decoded: it
// may be the first one with parametric stereo.
std::size_t OutputBytes(const DecoderState& state);
std::size_t LargestOutputBytes(const DecoderState& state, const RawDataBlock& block);

}  // namespace UMC::aac
