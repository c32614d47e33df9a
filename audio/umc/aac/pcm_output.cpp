#include "audio/umc/aac/pcm_output.h"

#include <algorithm>

#include "audio/umc/aac/decoder_state.h"
#include "audio/umc/aac/output_format.h"
#include "dsp/ipps_vector.h"

namespace UMC::aac {

void WritePcm(LockedMemory& memory, const float* const* samples, std::int16_t* output) {
  const DecoderState& state = memory.State();
  WorkArea& work = memory.Work();
  const auto length = static_cast<std::size_t>(OutputLength(state));
  const int channels = RenderedChannels(state);
  const float* outputs[kMaxChannels];
  for (int i = 0; i < state.mix.outputs; ++i) {
    const float* gains = state.mix.gains[i];
    const float* end = gains + channels;
    const float* first = std::find_if(gains, end, [](float gain) { return gain != 0; });
    const bool alone =
        first != end && *first == 1 && std::all_of(first + 1, end, [](float gain) { return gain == 0; });
    if (alone) {
      outputs[i] = samples[first - gains];
      continue;
    }
    outputs[i] = work.mixed[i];
    std::fill_n(work.mixed[i], length, 0.0f);
    for (const float* gain = first; gain != end; ++gain) {
      if (*gain != 0) ippsAddProductC_32f(samples[gain - gains], *gain, work.mixed[i], length);
    }
  }
  ippsJoin_32f16s_D2L(outputs, static_cast<std::size_t>(state.mix.outputs), length, output);
}

}  // namespace UMC::aac
