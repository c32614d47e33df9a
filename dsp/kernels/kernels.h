// The inner loops, implemented once per instruction set, and the selection among them.
#pragma once

#include <cstddef>

#include "base/instruction_set.h"
#include "dsp/block_float.h"
#include "dsp/high_band.h"
#include "dsp/ipps_sbr.h"
#include "dsp/ipps_types.h"
#include "dsp/kernels/ps_kernels.h"

namespace UMC {

// One pass of a mixed-radix fast Fourier transform (Stockham's autosort form): radix x span transforms of
// `radix` points, with results in natural order.
struct FftPass {
  Ipp32s radix;          // 2, 3, 4 or 5
  Ipp32s span;           // points that share a twiddle factor: the product of the earlier radices
  Ipp32s groups;         // points / (radix x span)
  Ipp32s twiddleOffset;  // index of the factors among the plan's values: for each power from 1 to
                         // radix - 1, `groups` real parts, then `groups` imaginary parts
};

inline constexpr int kMaxFftPasses = 8;

// The prepared constants of an MDCT in either direction. The values follow the record in memory, so that a
// plan may be moved as a block of bytes.
struct MdctPlan {
  Ipp32s length;  // samples of the window, twice the coefficients
  Ipp32s points;  // length / 4: size of the underlying complex transform
  Ipp32s passCount;
  FftPass passes[kMaxFftPasses];
  Ipp32s reserved[13];  // so that the values start a cache line when the record does

  // Values: cosine and sine of the rotation before the transform (scale included), then those of the rotation
  // after it, `points` each, then the twiddle factors.
  [[nodiscard]] const Ipp32f* Values() const { return reinterpret_cast<const Ipp32f*>(this + 1); }
};

struct IppsMDCTInvSpec_32f : MdctPlan {};
struct IppsMDCTFwdSpec_32f : MdctPlan {};

// Sums over time of products of the QMF samples x[1] to x[length - 1], out of `length` + 2, by subband; real
// and imaginary parts are stored separately.
struct Covariance {
  Ipp32f power[kIppsSbrAnalysisBands];    // |x[n]|^2
  Ipp32f lag1[2][kIppsSbrAnalysisBands];  // x[n + 1] conj(x[n])
  Ipp32f lag2[2][kIppsSbrAnalysisBands];  // x[n + 2] conj(x[n]), x[0] and x[length - 1] included
};

// Sizes are in elements; pointers need no particular alignment.
struct Kernels {
  // See ippsMDCTInv_32f; `work` holds length / 2 values.
  void (*mdctInverse)(const MdctPlan& plan, const Ipp32f* source, Ipp32f* destination, Ipp32f* work);
  // See ippsMDCTInvOverlap_32f; `work` holds length values.
  void (*mdctOverlap)(const MdctPlan& plan, const Ipp32f* source, const Ipp32f* rise, Ipp32f* tail,
                      Ipp32f* destination, Ipp32f* work);
  // See ippsMDCTFwd_32f; `work` holds length values.
  void (*mdctForward)(const MdctPlan& plan, const Ipp32f* source, Ipp32f* destination, Ipp32f* work);
  // See ippsOverlapAdd_32f.
  void (*overlapAdd)(const Ipp32f* tail, const Ipp32f* head, const Ipp32f* rise, Ipp32f* destination,
                     std::size_t length);
  // See ippsScale_32f_I.
  void (*scaleBands)(Ipp32f* values, const Ipp32f* factors, const Ipp16u* offsets, std::size_t bands);
  // values[i] *= factor
  void (*mulC)(Ipp32f* values, Ipp32f factor, std::size_t length);
  // destination[i] = a[i] * b[i]
  void (*mul)(const Ipp32f* a, const Ipp32f* b, Ipp32f* destination, std::size_t length);
  // sums[i] += a[i] * b[i]
  void (*addProduct)(const Ipp32f* a, const Ipp32f* b, Ipp32f* sums, std::size_t length);
  // See ippsLimit_32f_I.
  void (*limit)(Ipp32f* values, Ipp32f limit, std::size_t length);
  // sums[i] += source[i] * factor
  void (*addProductC)(const Ipp32f* source, Ipp32f factor, Ipp32f* sums, std::size_t length);
  // (a, b) becomes (a + b, a - b)
  void (*butterfly)(Ipp32f* a, Ipp32f* b, std::size_t length);
  // See ippsDeinterleave_32f.
  void (*deinterleave)(const Ipp32f* source, std::size_t channels, std::size_t length,
                       Ipp32f* const* destination);
  // See ippsJoin_32f16s_D2L.
  void (*join)(const Ipp32f* const* source, std::size_t channels, std::size_t length, Ipp16s* destination);
  // See ApplyExponents.
  void (*applyExponents)(const Ipp32f* mantissas, const Ipp8u* exponents, const Ipp8u* bits,
                         const NoiseSource& noise, Ipp32f* destination, std::size_t length);
  // See ippsAnalysisFilter_SBR_RToC_32f32fc_D2L; `work` holds kQmfWorkFloats values.
  void (*qmfAnalysis)(const IppsFilterSpec_SBR_32f& bank, const Ipp32f* source, std::size_t slots,
                      Ipp32fc (*destination)[kIppsSbrBands], IppsAnalysisState_SBR_32f& state, Ipp32f* work);
  // See ippsSynthesisFilter_SBR_CToR_32fc32f_D2L.
  void (*qmfSynthesis)(const IppsFilterSpec_SBR_32f& bank, const Ipp32fc (*source)[kIppsSbrBands],
                       std::size_t slots, Ipp32f* destination, IppsSynthesisState_SBR_32f& state,
                       Ipp32f* work);
  void (*covariance)(const Ipp32fc (*source)[kIppsSbrBands], std::size_t length, std::size_t bands,
                     Covariance& sums);
  // See high_band.h for these.
  void (*extendPatch)(Ipp32fc (*rows)[kIppsSbrBands], std::size_t count, std::size_t source,
                      std::size_t target, std::size_t bands, const PatchFilter& filter);
  void (*bandEnergies)(const Ipp32fc (*rows)[kIppsSbrBands], std::size_t count, std::size_t first,
                       std::size_t bands, Ipp32f* energies);
  void (*shapeBands)(Ipp32fc (*rows)[kIppsSbrBands], std::size_t count, std::size_t first, std::size_t bands,
                     const Ipp32f* gains, const Ipp32f* noiseGains, const Ipp32fc* noise,
                     std::size_t noiseStart);
  PsKernels ps;
};

// The plain C++ kernels.
const Kernels& PlainKernels();

// The vector kernels for an instruction set; null if it has no vectors or the library was built without them.
const Kernels* SimdKernels(fmp4::InstructionSet set);

// The active kernels, selected once: vector kernels if available.
const Kernels& ActiveKernels();

}  // namespace UMC
