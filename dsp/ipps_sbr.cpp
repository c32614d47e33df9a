#include "dsp/ipps_sbr.h"

#include <cmath>
#include <complex>
#include <numbers>

#include "dsp/fft_plan.h"
#include "dsp/kernels/kernels.h"
#include "dsp/qmf_plan.h"
#include "dsp/qmf_window.h"

namespace UMC {

namespace {

// Prepares the DCT-IV that underlies a bank, with its result scaled by `scale`.
void PrepareTransform(Ipp32s bands, double scale, IppsFilterSpec_SBR_32f& bank) {
  bank = {};
  bank.bands = bands;
  Ipp32s values = 0;
  bank.passCount = LayOutFftPasses(bands / 2, 0, bank.passes, &values);
  for (Ipp32s i = 0; i < bank.passCount; ++i) FillTwiddles(bank.passes[i], bank.twiddles);
  for (Ipp32s i = 0; i < bands / 2; ++i) {
    const double angle = std::numbers::pi / bands * (i + 0.125);
    bank.after[0][i] = static_cast<Ipp32f>(std::cos(angle));
    bank.after[1][i] = static_cast<Ipp32f>(std::sin(angle));
    bank.before[0][i] = static_cast<Ipp32f>(scale * std::cos(angle));
    bank.before[1][i] = static_cast<Ipp32f>(scale * std::sin(angle));
  }
}

// Rotates subband k clockwise by step * (k + 1/2).
void PrepareRotation(double step, IppsFilterSpec_SBR_32f& bank) {
  bank.rotates = 1;
  for (Ipp32s k = 0; k < kIppsSbrBands; ++k) {
    bank.rotation[0][k] = static_cast<Ipp32f>(std::cos(step * (k + 0.5)));
    bank.rotation[1][k] = static_cast<Ipp32f>(std::sin(step * (k + 0.5)));
  }
}

// The analysis window by lag and n < 32: n and 63 - n alternate between lags; even lags are reversed.
void PrepareAnalysisTaps(IppsFilterSpec_SBR_32f& bank) {
  for (Ipp32s n = 0; n < 32; ++n) {
    for (Ipp32s lag = 0; lag < kQmfTaps; ++lag) {
      const Ipp32s at = lag % 2 == 0 ? n : 63 - n;
      bank.taps[lag][lag % 2 == 0 ? 31 - n : n] = kQmfWindow[2 * (at + 32 * (lag - lag % 2))];
    }
  }
}

// Banks with half the bands use every other value of the window.
void PrepareSynthesisTaps(IppsFilterSpec_SBR_32f& bank) {
  const Ipp32s stride = kIppsSbrBands / bank.bands;
  for (Ipp32s k = 0; k < bank.bands; ++k) {
    for (Ipp32s lag = 0; lag < kQmfTaps; ++lag)
      bank.taps[lag][k] = kQmfWindow[stride * (bank.bands * lag + k)];
  }
}

bool IsSupported(std::size_t slots) {
  return slots >= 1 && slots <= kIppsSbrSlots;
}

IppStatus Synthesise(const Ipp32fc (*source)[kIppsSbrBands], std::size_t slots, Ipp32f* destination,
                     IppsSynthesisState_SBR_32f* state, const IppsFilterSpec_SBR_32f* bank, Ipp8u* work) {
  if (source == nullptr || destination == nullptr || state == nullptr || bank == nullptr || work == nullptr) {
    return ippStsNullPtrErr;
  }
  if (!IsSupported(slots)) return ippStsSizeErr;
  ActiveKernels().qmfSynthesis(*bank, source, slots, destination, *state, reinterpret_cast<Ipp32f*>(work));
  return ippStsNoErr;
}

IppStatus SynthesiseReal(const Ipp32f (*source)[kIppsSbrBands], std::size_t slots, Ipp32f* destination,
                         IppsSynthesisState_SBR_32f* state, const IppsFilterSpec_SBR_32f* bank, Ipp8u* work) {
  if (source == nullptr || bank == nullptr) return ippStsNullPtrErr;
  if (!IsSupported(slots)) return ippStsSizeErr;
  Ipp32fc rows[kIppsSbrSlots][kIppsSbrBands];
  for (std::size_t slot = 0; slot < slots; ++slot) {
    for (Ipp32s k = 0; k < bank->bands; ++k) rows[slot][k] = {source[slot][k], 0};
  }
  return Synthesise(rows, slots, destination, state, bank, work);
}

using WideComplex = std::complex<double>;

WideComplex Wide(const Ipp32fc& value) {
  return {value.re, value.im};
}

Ipp32fc Narrow(const WideComplex& value) {
  return {static_cast<Ipp32f>(value.real()), static_cast<Ipp32f>(value.imag())};
}

}  // namespace

std::size_t ippsFilterGetSize_SBR_32f() {
  return sizeof(IppsFilterSpec_SBR_32f);
}

std::size_t ippsFilterGetWorkSize_SBR_32f() {
  return kQmfWorkFloats * sizeof(Ipp32f);
}

// X[k] = 2 sum u[n] e^(i pi / 64 (k + 1/2) (2n - 1/2)): since 2n - 1/2 = 2 (n + 1/2) - 3/2, this is the type
// IV kernel rotated by 3/2 pi / 64.
IppStatus ippsAnalysisFilterInit_SBR_RToC_32f32fc(IppsFilterSpec_SBR_32f** bank, Ipp8u* memory) {
  if (bank == nullptr || memory == nullptr) return ippStsNullPtrErr;
  *bank = reinterpret_cast<IppsFilterSpec_SBR_32f*>(memory);
  PrepareTransform(kIppsSbrAnalysisBands, 2, **bank);
  PrepareRotation(1.5 * std::numbers::pi / 64, **bank);
  PrepareAnalysisTaps(**bank);
  return ippStsNoErr;
}

// v[n] = 1 / 64 sum Re(X[k] e^(i pi / 128 (k + 1/2) (2n - 255))): 2n - 255 = 2 (n + 1/2) - 256, where the
// last term inverts the sign.
IppStatus ippsSynthesisFilterInit_SBR_CToR_32fc32f(IppsFilterSpec_SBR_32f** bank, Ipp8u* memory) {
  if (bank == nullptr || memory == nullptr) return ippStsNullPtrErr;
  *bank = reinterpret_cast<IppsFilterSpec_SBR_32f*>(memory);
  PrepareTransform(kIppsSbrBands, 1.0 / 64, **bank);
  PrepareSynthesisTaps(**bank);
  return ippStsNoErr;
}

// v[n] = 1 / 64 sum Re(X[k] e^(i pi / 64 (k + 1/2) (2n - 127.5))): the same, rotated by 1/2 pi / 64.
IppStatus ippsSynthesisDownFilterInit_SBR_CToR_32fc32f(IppsFilterSpec_SBR_32f** bank, Ipp8u* memory) {
  if (bank == nullptr || memory == nullptr) return ippStsNullPtrErr;
  *bank = reinterpret_cast<IppsFilterSpec_SBR_32f*>(memory);
  PrepareTransform(kIppsSbrAnalysisBands, 1.0 / 64, **bank);
  PrepareRotation(0.5 * std::numbers::pi / 64, **bank);
  PrepareSynthesisTaps(**bank);
  return ippStsNoErr;
}

IppStatus ippsAnalysisFilter_SBR_RToC_32f32fc_D2L(const Ipp32f* source, std::size_t slots,
                                                  Ipp32fc (*destination)[kIppsSbrBands],
                                                  IppsAnalysisState_SBR_32f* state,
                                                  const IppsFilterSpec_SBR_32f* bank, Ipp8u* work) {
  if (source == nullptr || destination == nullptr || state == nullptr || bank == nullptr || work == nullptr) {
    return ippStsNullPtrErr;
  }
  if (!IsSupported(slots)) return ippStsSizeErr;
  ActiveKernels().qmfAnalysis(*bank, source, slots, destination, *state, reinterpret_cast<Ipp32f*>(work));
  return ippStsNoErr;
}

IppStatus ippsSynthesisFilter_SBR_CToR_32fc32f_D2L(const Ipp32fc (*source)[kIppsSbrBands], std::size_t slots,
                                                   Ipp32f* destination, IppsSynthesisState_SBR_32f* state,
                                                   const IppsFilterSpec_SBR_32f* bank, Ipp8u* work) {
  return Synthesise(source, slots, destination, state, bank, work);
}

IppStatus ippsSynthesisDownFilter_SBR_CToR_32fc32f_D2L(const Ipp32fc (*source)[kIppsSbrBands],
                                                       std::size_t slots, Ipp32f* destination,
                                                       IppsSynthesisState_SBR_32f* state,
                                                       const IppsFilterSpec_SBR_32f* bank, Ipp8u* work) {
  return Synthesise(source, slots, destination, state, bank, work);
}

// The real-valued banks are complex ones with other rotation angles: the analysis yields the real parts of
// complex subband samples, and the input of the synthesis has no imaginary parts.

// X[k] = 2 sum u[n] cos(pi / 64 (k + 1/2) (2n - 96)): 2n - 96 = 2 (n + 1/2) - 97.
IppStatus ippsAnalysisFilterInit_SBR_RToR_32f(IppsFilterSpec_SBR_32f** bank, Ipp8u* memory) {
  if (bank == nullptr || memory == nullptr) return ippStsNullPtrErr;
  *bank = reinterpret_cast<IppsFilterSpec_SBR_32f*>(memory);
  PrepareTransform(kIppsSbrAnalysisBands, 2, **bank);
  PrepareRotation(97 * std::numbers::pi / 64, **bank);
  PrepareAnalysisTaps(**bank);
  return ippStsNoErr;
}

// v[n] = 1 / 32 sum X[k] cos(pi / 128 (k + 1/2) (2n - 64)): except for the sign, 2n - 64 = 2 (n + 1/2) - 256
// + 191.
IppStatus ippsSynthesisFilterInit_SBR_RToR_32f(IppsFilterSpec_SBR_32f** bank, Ipp8u* memory) {
  if (bank == nullptr || memory == nullptr) return ippStsNullPtrErr;
  *bank = reinterpret_cast<IppsFilterSpec_SBR_32f*>(memory);
  PrepareTransform(kIppsSbrBands, 1.0 / 32, **bank);
  PrepareRotation(-191 * std::numbers::pi / 128, **bank);
  PrepareSynthesisTaps(**bank);
  return ippStsNoErr;
}

// v[n] = 1 / 32 sum X[k] cos(pi / 64 (k + 1/2) (2n - 32)): likewise, 2n - 32 = 2 (n + 1/2) - 128 + 95.
IppStatus ippsSynthesisDownFilterInit_SBR_RToR_32f(IppsFilterSpec_SBR_32f** bank, Ipp8u* memory) {
  if (bank == nullptr || memory == nullptr) return ippStsNullPtrErr;
  *bank = reinterpret_cast<IppsFilterSpec_SBR_32f*>(memory);
  PrepareTransform(kIppsSbrAnalysisBands, 1.0 / 32, **bank);
  PrepareRotation(-95 * std::numbers::pi / 64, **bank);
  PrepareSynthesisTaps(**bank);
  return ippStsNoErr;
}

IppStatus ippsAnalysisFilter_SBR_RToR_32f_D2L(const Ipp32f* source, std::size_t slots,
                                              Ipp32f (*destination)[kIppsSbrBands],
                                              IppsAnalysisState_SBR_32f* state,
                                              const IppsFilterSpec_SBR_32f* bank, Ipp8u* work) {
  if (destination == nullptr) return ippStsNullPtrErr;
  Ipp32fc rows[kIppsSbrSlots][kIppsSbrBands];
  const IppStatus status = ippsAnalysisFilter_SBR_RToC_32f32fc_D2L(source, slots, rows, state, bank, work);
  if (status != ippStsNoErr) return status;
  for (std::size_t slot = 0; slot < slots; ++slot) {
    for (Ipp32s k = 0; k < kIppsSbrAnalysisBands; ++k) destination[slot][k] = rows[slot][k].re;
  }
  return ippStsNoErr;
}

IppStatus ippsSynthesisFilter_SBR_RToR_32f_D2L(const Ipp32f (*source)[kIppsSbrBands], std::size_t slots,
                                               Ipp32f* destination, IppsSynthesisState_SBR_32f* state,
                                               const IppsFilterSpec_SBR_32f* bank, Ipp8u* work) {
  return SynthesiseReal(source, slots, destination, state, bank, work);
}

IppStatus ippsSynthesisDownFilter_SBR_RToR_32f_D2L(const Ipp32f (*source)[kIppsSbrBands], std::size_t slots,
                                                   Ipp32f* destination, IppsSynthesisState_SBR_32f* state,
                                                   const IppsFilterSpec_SBR_32f* bank, Ipp8u* work) {
  return SynthesiseReal(source, slots, destination, state, bank, work);
}

IppStatus ippsPredictCoef_SBR_C_32fc_D2L(const Ipp32fc (*source)[kIppsSbrBands], std::size_t length,
                                         std::size_t bands, Ipp32fc* alpha0, Ipp32fc* alpha1) {
  if (source == nullptr || alpha0 == nullptr || alpha1 == nullptr) return ippStsNullPtrErr;
  if (length < 2 || bands > kIppsSbrAnalysisBands) return ippStsSizeErr;
  Covariance covariance;
  ActiveKernels().covariance(source, length, bands, covariance);
  for (std::size_t k = 0; k < bands; ++k) {
    const auto at = [&](const Ipp32f(&parts)[2][kIppsSbrAnalysisBands]) {
      return WideComplex(parts[0][k], parts[1][k]);
    };
    // The complete sums: the kernel leaves out the terms at the ends where they differ.
    const WideComplex first = Wide(source[0][k]), second = Wide(source[1][k]);
    const WideComplex lastButOne = Wide(source[length][k]), last = Wide(source[length + 1][k]);
    const WideComplex phi01 = at(covariance.lag1) + last * std::conj(lastButOne);
    const WideComplex phi12 = at(covariance.lag1) + second * std::conj(first);
    const WideComplex phi02 = at(covariance.lag2);
    const double phi11 = covariance.power[k] + std::norm(lastButOne);
    const double phi22 = covariance.power[k] + std::norm(first);

    const double d = phi22 * phi11 - std::norm(phi12) / (1 + 1e-6);
    const WideComplex a1 = d == 0 ? WideComplex() : (phi01 * phi12 - phi02 * phi11) / d;
    const WideComplex a0 = phi11 == 0 ? WideComplex() : -(phi01 + a1 * std::conj(phi12)) / phi11;
    const bool stable = std::norm(a0) < 16 && std::norm(a1) < 16;
    alpha0[k] = stable ? Narrow(a0) : Ipp32fc{};
    alpha1[k] = stable ? Narrow(a1) : Ipp32fc{};
  }
  return ippStsNoErr;
}

}  // namespace UMC
