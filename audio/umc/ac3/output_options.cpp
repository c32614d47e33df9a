#include "audio/umc/ac3/output_options.h"

namespace UMC::ac3 {

namespace {

template <class T>
void TakeWithin(T value, T lowest, T highest, T& option) {
  if (value >= lowest && value <= highest) option = value;
}

}  // namespace

void ApplyOptions(const AC3DecoderParams& params, OutputOptions& options) {
  TakeWithin(params.m_option1, 0, 3, options.option1);
  TakeWithin(params.m_outputMode, 0, 8, options.mode);
  TakeWithin(params.m_outputLfe, 0, 1, options.lfe);
  TakeWithin(params.m_option4, 0, 3, options.option4);
  TakeWithin(params.m_option5, -1, 3, options.option5);
  TakeWithin(params.m_option6, 0, 1, options.option6);
  TakeWithin(params.m_scale1, 0.0f, 1.0f, options.scale1);
  TakeWithin(params.m_scale2, 0.0f, 1.0f, options.scale2);
  if (params.m_gain >= 0.0f) options.gain = params.m_gain;
}

}  // namespace UMC::ac3
