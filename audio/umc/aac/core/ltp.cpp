#include "audio/umc/aac/core/ltp.h"

#include <algorithm>

#include "audio/umc/aac/core/channel_stream.h"
#include "audio/umc/aac/core/filter_bank.h"
#include "dsp/ipps_vector.h"

namespace UMC::aac {

namespace {

constexpr int kMaxLtpBands = 40;  // MAX_LTP_LONG_SFB
constexpr float kCoefficients[8] = {0.570829f, 0.696616f, 0.813004f, 0.911304f,
                                    0.984900f, 1.067894f, 1.194601f, 1.369533f};
// The signal of `lag` samples ago times the coefficient, for a complete window of the current frame. The
// history is followed by the half that overlaps the current frame, still aliased, then by silence.
void Estimate(const FilterBank& bank, const FilterBankState& overlap, const LtpState& state,
              const LtpData& ltp, int frameLength, FilterBankScratch& scratch) {
  float* half = scratch.blocks;
  WindowedTail(bank, overlap, half);
  const float coefficient = kCoefficients[ltp.coefficient];
  const int lag = ltp.lag;
  const int window = 2 * frameLength;
  const int fromHistory = std::min(lag, window);
  const int predicted = std::min(lag + frameLength, window);
  float* out = scratch.samples;
  for (int i = 0; i < fromHistory; ++i) out[i] = coefficient * state.past[kLtpHistory + i - lag];
  for (int i = fromHistory; i < predicted; ++i) out[i] = coefficient * half[i - lag];
  // Prevents unlimited growth up to infinity or NaN.
  ippsLimit_32f_I(kSampleLimit, out, static_cast<std::size_t>(predicted));
  std::fill(out + predicted, out + window, 0.0f);
}

}  // namespace

void ParseLtpData(fmp4::BitWindow& stream, int maxSfb, LtpData& ltp) {
  ltp.present = true;
  ltp.lag = static_cast<std::uint16_t>(stream.Read(11));
  ltp.coefficient = static_cast<std::uint8_t>(stream.Read(3));
  for (int sfb = 0; sfb < std::min(maxSfb, kMaxLtpBands); ++sfb) {
    ltp.used |= std::uint64_t{stream.Read(1)} << sfb;
  }
}

void ApplyLtp(const FilterBank& bank, const FilterBankState& overlap, LtpState& state,
              FilterBankScratch& scratch, ChannelStream& channel) {
  const IcsInfo& ics = channel.ics;
  const LtpData& ltp = ics.ltp;
  if (state.unpredicted < kLtpConvergenceFrames) state.unpredicted = ltp.present ? 0 : state.unpredicted + 1;
  if (!ltp.present) return;
  Estimate(bank, overlap, state, ltp, ics.WindowLines(), scratch);
  float* predicted = scratch.blocks;
  AnalyseFrame(bank, ics.sequence, ics.shape, overlap, scratch, predicted);
  ApplyTnsAnalysis(channel.tns, ics, predicted);
  const std::uint16_t* offsets = ics.bands->offsets;
  for (int sfb = 0; sfb < ics.maxSfb; ++sfb) {
    if ((ltp.used >> sfb & 1) == 0 || channel.codebook[sfb] == kNoiseCodebook) continue;
    const std::size_t count = offsets[sfb + 1] - std::size_t{offsets[sfb]};
    ippsAddProductC_32f(predicted + offsets[sfb], 1, channel.spectrum + offsets[sfb], count);
  }
}

void UpdateLtp(const float* samples, int frameLength, LtpState& state) {
  std::copy(state.past + frameLength, state.past + kLtpHistory, state.past);
  std::copy_n(samples, frameLength, state.past + kLtpHistory - frameLength);
}

}  // namespace UMC::aac
