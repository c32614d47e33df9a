#include "audio/umc/aac/core/stereo.h"

#include <algorithm>

#include "dsp/ipps_vector.h"

namespace UMC::aac {

bool ParseStereoMask(fmp4::BitWindow& stream, const IcsInfo& ics, StereoMask& mask) {
  const auto present = stream.Read(2);  // ms_mask_present
  mask.sent = present == 1;
  std::fill_n(mask.used, ics.BandCount(), static_cast<std::uint8_t>(present == 2 ? 1 : 0));
  if (mask.sent) {
    for (int band = 0; band < ics.BandCount(); ++band)
      mask.used[band] = static_cast<std::uint8_t>(stream.Read(1));
  }
  return present != 3;
}

void ApplyMidSide(const StereoMask& mask, ChannelStream& left, ChannelStream& right) {
  // Adjacent bands at once.
  int start = 0, end = 0;
  const auto rotate = [&] {
    if (end == start) return;
    ippsButterfly_32f_I(left.spectrum + start, right.spectrum + start, static_cast<std::size_t>(end - start));
  };
  ForEachWindowBand(left.ics, [&](int band, int first, int count) {
    if (mask.used[band] == 0 || left.codebook[band] == kNoiseCodebook ||
        right.codebook[band] >= kNoiseCodebook) {
      return;
    }
    if (first != end) {
      rotate();
      start = first;
    }
    end = first + count;
  });
  rotate();
}

void ApplyIntensity(const StereoMask& mask, const ChannelStream& left, ChannelStream& right) {
  ForEachWindowBand(right.ics, [&](int band, int first, int count) {
    if (right.codebook[band] < kIntensityOutOfPhase) return;
    bool inPhase = right.codebook[band] == kIntensityInPhase;
    if (mask.sent && mask.used[band] != 0) inPhase = !inPhase;
    // 0.5^(position / 4)
    const auto quarters = static_cast<std::int16_t>(-right.scaleFactor[band]);
    float scale = 0;
    ippsCalcSF_16s32f(&quarters, 0, &scale, 1);
    std::copy_n(left.spectrum + first, count, right.spectrum + first);
    ippsMulC_32f_I(inPhase ? scale : -scale, right.spectrum + first, static_cast<std::size_t>(count));
  });
}

}  // namespace UMC::aac
