// The windows of the decoders' filter banks.
#pragma once

namespace UMC {

// The rising half of a window: w[i] for 0 <= i < half. `alpha` is the Kaiser-Bessel window's (ISO/IEC
// 14496-3, 4.6.11.3.2; ATSC A/52, 7.9.5).
void MakeSineWindow(int half, float* window);
void MakeKaiserBesselWindow(int half, double alpha, float* window);

}  // namespace UMC
