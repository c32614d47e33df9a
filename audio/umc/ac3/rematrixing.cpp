#include "audio/umc/ac3/rematrixing.h"

#include <algorithm>

#include "dsp/ipps_vector.h"

namespace UMC::ac3 {

namespace {

// First bins of the bands, and the end of the last (table 7.25).
constexpr int kOffsets[kRematrixingBands + 1] = {13, 25, 37, 61, 253};

// Number of bands below the coupling channel (tables 7.25 to 7.28).
int BandCount(const CouplingStrategy& coupling) {
  if (!coupling.inUse || coupling.beginCode > 2) return 4;
  return coupling.beginCode == 0 ? 2 : 3;
}

}  // namespace

bool ParseRematrixing(fmp4::BitWindow& stream, const CouplingStrategy& coupling, Rematrixing& rematrixing) {
  if (!stream.ReadFlag()) return rematrixing.known;
  rematrixing.known = true;
  for (int band = 0; band < BandCount(coupling); ++band) rematrixing.flags[band] = stream.ReadFlag();
  return true;
}

void ApplyRematrixing(const Rematrixing& rematrixing, int end, float* left, float* right) {
  for (int band = 0; band < kRematrixingBands; ++band) {
    const int first = kOffsets[band], last = std::min(kOffsets[band + 1], end);
    if (!rematrixing.flags[band] || first >= last) continue;
    ippsButterfly_32f_I(left + first, right + first, static_cast<std::size_t>(last - first));
  }
}

}  // namespace UMC::ac3
