// The filter banks and the linear prediction of SBR (ISO/IEC 14496-3, 4.6.18.4 and 4.6.18.6). Quadrature
// mirror filters of 32 or 64 complex subbands; QMF samples are stored as matrix[slot][subband].
#pragma once

#include <cstddef>

#include "dsp/ipps_types.h"

namespace UMC {

inline constexpr int kIppsSbrBands = 64;
inline constexpr int kIppsSbrAnalysisBands = 32;
// Maximum number of slots per call.
inline constexpr int kIppsSbrSlots = 32;
// Slots of history in a filter.
inline constexpr int kIppsSbrLag = 9;

// A prepared filter bank: plain data.
struct IppsFilterSpec_SBR_32f;

// The history of a filter from call to call, initially all 0.
struct IppsAnalysisState_SBR_32f {
  Ipp32f history[kIppsSbrLag][kIppsSbrAnalysisBands];
};
struct IppsSynthesisState_SBR_32f {
  Ipp32f history[kIppsSbrLag][2 * kIppsSbrBands];
};

// Bytes of a prepared filter bank and of a call's work buffer; both are aligned for floats.
std::size_t ippsFilterGetSize_SBR_32f();
std::size_t ippsFilterGetWorkSize_SBR_32f();

// Prepare the filter banks in `memory`.
IppStatus ippsAnalysisFilterInit_SBR_RToC_32f32fc(IppsFilterSpec_SBR_32f** bank, Ipp8u* memory);
IppStatus ippsSynthesisFilterInit_SBR_CToR_32fc32f(IppsFilterSpec_SBR_32f** bank, Ipp8u* memory);
IppStatus ippsSynthesisDownFilterInit_SBR_CToR_32fc32f(IppsFilterSpec_SBR_32f** bank, Ipp8u* memory);

// Splits 32 x `slots` samples into 32 subbands: writes the first 32 of every row. ippStsSizeErr unless 1 <=
// slots <= kIppsSbrSlots; the same holds for the synthesis.
IppStatus ippsAnalysisFilter_SBR_RToC_32f32fc_D2L(const Ipp32f* source, std::size_t slots,
                                                  Ipp32fc (*destination)[kIppsSbrBands],
                                                  IppsAnalysisState_SBR_32f* state,
                                                  const IppsFilterSpec_SBR_32f* bank, Ipp8u* work);

// Synthesises 64 samples per slot from 64 subbands.
IppStatus ippsSynthesisFilter_SBR_CToR_32fc32f_D2L(const Ipp32fc (*source)[kIppsSbrBands], std::size_t slots,
                                                   Ipp32f* destination, IppsSynthesisState_SBR_32f* state,
                                                   const IppsFilterSpec_SBR_32f* bank, Ipp8u* work);

// Synthesises 32 samples per slot from the lowest 32 subbands.
IppStatus ippsSynthesisDownFilter_SBR_CToR_32fc32f_D2L(const Ipp32fc (*source)[kIppsSbrBands],
                                                       std::size_t slots, Ipp32f* destination,
                                                       IppsSynthesisState_SBR_32f* state,
                                                       const IppsFilterSpec_SBR_32f* bank, Ipp8u* work);

// The real-valued banks of low-power SBR (ISO/IEC 14496-3, 4.6.18.8.2): QMF samples without imaginary parts,
// otherwise the same as above.
IppStatus ippsAnalysisFilterInit_SBR_RToR_32f(IppsFilterSpec_SBR_32f** bank, Ipp8u* memory);
IppStatus ippsSynthesisFilterInit_SBR_RToR_32f(IppsFilterSpec_SBR_32f** bank, Ipp8u* memory);
IppStatus ippsSynthesisDownFilterInit_SBR_RToR_32f(IppsFilterSpec_SBR_32f** bank, Ipp8u* memory);

IppStatus ippsAnalysisFilter_SBR_RToR_32f_D2L(const Ipp32f* source, std::size_t slots,
                                              Ipp32f (*destination)[kIppsSbrBands],
                                              IppsAnalysisState_SBR_32f* state,
                                              const IppsFilterSpec_SBR_32f* bank, Ipp8u* work);
IppStatus ippsSynthesisFilter_SBR_RToR_32f_D2L(const Ipp32f (*source)[kIppsSbrBands], std::size_t slots,
                                               Ipp32f* destination, IppsSynthesisState_SBR_32f* state,
                                               const IppsFilterSpec_SBR_32f* bank, Ipp8u* work);
IppStatus ippsSynthesisDownFilter_SBR_RToR_32f_D2L(const Ipp32f (*source)[kIppsSbrBands], std::size_t slots,
                                                   Ipp32f* destination, IppsSynthesisState_SBR_32f* state,
                                                   const IppsFilterSpec_SBR_32f* bank, Ipp8u* work);

// The coefficients of second-order linear prediction by the covariance method, for every subband k < `bands`
// <= 32: x[n] is predicted as -alpha0 x[n - 1] - alpha1 x[n - 2] over the `length` samples after the first
// two rows; `source` has length + 2 rows. Both are 0 where the magnitude of either is 4 or more.
IppStatus ippsPredictCoef_SBR_C_32fc_D2L(const Ipp32fc (*source)[kIppsSbrBands], std::size_t length,
                                         std::size_t bands, Ipp32fc* alpha0, Ipp32fc* alpha1);

}  // namespace UMC
