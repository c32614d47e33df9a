// The filter banks and the linear prediction of spectral band replication (ISO/IEC 14496-3, 4.6.18.4 and
// 4.6.18.6). Complex quadrature mirror filters of 32 or 64 subbands; QMF samples lie as
// matrix[slot][subband].
#pragma once

#include <cstddef>

#include "dsp/ipps_types.h"

inline constexpr int kIppsSbrBands = 64;
inline constexpr int kIppsSbrAnalysisBands = 32;
// Slots that one call filters at most.
inline constexpr int kIppsSbrSlots = 32;
// Slots that a filter remembers (9 are needed; as many as fill vectors are kept).
inline constexpr int kIppsSbrLag = 12;

// A prepared filter bank: plain data.
struct IppsFilterSpec_SBR_32f;

// What a filter keeps from call to call, all 0 at the start.
struct IppsAnalysisState_SBR_32f {
  Ipp32f history[kIppsSbrAnalysisBands][kIppsSbrLag];
};
struct IppsSynthesisState_SBR_32f {
  Ipp32f history[2 * kIppsSbrBands][kIppsSbrLag];
};

// Bytes of a prepared filter bank, and of a call's work area; both are aligned for floats.
std::size_t ippsFilterGetSize_SBR_32f();
std::size_t ippsFilterGetWorkSize_SBR_32f();

// Prepare the filter banks in `memory`.
IppStatus ippsAnalysisFilterInit_SBR_RToC_32f32fc(IppsFilterSpec_SBR_32f** bank, Ipp8u* memory);
IppStatus ippsSynthesisFilterInit_SBR_CToR_32fc32f(IppsFilterSpec_SBR_32f** bank, Ipp8u* memory);
IppStatus ippsSynthesisDownFilterInit_SBR_CToR_32fc32f(IppsFilterSpec_SBR_32f** bank, Ipp8u* memory);

// Splits 32 x `slots` samples into 32 subbands: writes the first 32 of every row. 1 <= slots <=
// kIppsSbrSlots, else ippStsSizeErr; the same for the synthesis.
IppStatus ippsAnalysisFilter_SBR_RToC_32f32fc_D2L(const Ipp32f* source, std::size_t slots,
                                                  Ipp32fc (*destination)[kIppsSbrBands],
                                                  IppsAnalysisState_SBR_32f* state,
                                                  const IppsFilterSpec_SBR_32f* bank, Ipp8u* work);

// Makes 64 samples a slot of 64 subbands.
IppStatus ippsSynthesisFilter_SBR_CToR_32fc32f_D2L(const Ipp32fc (*source)[kIppsSbrBands], std::size_t slots,
                                                   Ipp32f* destination, IppsSynthesisState_SBR_32f* state,
                                                   const IppsFilterSpec_SBR_32f* bank, Ipp8u* work);

// Makes 32 samples a slot of the lowest 32 subbands.
IppStatus ippsSynthesisDownFilter_SBR_CToR_32fc32f_D2L(const Ipp32fc (*source)[kIppsSbrBands],
                                                       std::size_t slots, Ipp32f* destination,
                                                       IppsSynthesisState_SBR_32f* state,
                                                       const IppsFilterSpec_SBR_32f* bank, Ipp8u* work);

// The real-valued banks, for replication at low power (ISO/IEC 14496-3, 4.6.18.8.2): QMF samples without an
// imaginary part, everything else as in the banks above.
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

// The coefficients of second-order prediction over time by the covariance method, for every subband
// k < `bands` <= 32: x[n] is predicted as -alpha0 x[n - 1] - alpha1 x[n - 2] over `length` samples behind
// the first two rows; `source` has length + 2 rows. Both are 0 where either's magnitude is 4 or more.
IppStatus ippsPredictCoef_SBR_C_32fc_D2L(const Ipp32fc (*source)[kIppsSbrBands], std::size_t length,
                                         std::size_t bands, Ipp32fc* alpha0, Ipp32fc* alpha1);
