#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <numbers>
#include <random>
#include <utility>
#include <vector>

#include "dsp/ipps_sbr.h"
#include "dsp/qmf_plan.h"
#include "dsp/qmf_window.h"
#include "tests/dsp/kernel_sets.h"

namespace fmp4 {

using namespace UMC;

namespace {

using Complex = std::complex<double>;
using Row = Ipp32fc[kIppsSbrBands];

struct Bank {
  using Init = IppStatus (*)(IppsFilterSpec_SBR_32f**, Ipp8u*);
  explicit Bank(Init init) : memory(ippsFilterGetSize_SBR_32f()), work(ippsFilterGetWorkSize_SBR_32f()) {
    EXPECT_EQ(ippStsNoErr, init(&prepared, memory.data()));
  }
  float* Work() { return reinterpret_cast<float*>(work.data()); }
  std::vector<Ipp8u> memory, work;
  IppsFilterSpec_SBR_32f* prepared = nullptr;
};

std::vector<float> UnitNoise(std::size_t count) {
  std::mt19937 random(3);
  std::uniform_real_distribution<float> uniform(-1, 1);
  std::vector<float> values(count);
  for (auto& value : values) value = uniform(random);
  return values;
}

std::vector<Ipp32fc> NoiseRows(std::size_t rows) {
  const auto values = UnitNoise(2 * rows * kIppsSbrBands);
  std::vector<Ipp32fc> samples;
  for (std::size_t i = 0; i < values.size(); i += 2) samples.push_back({values[i], values[i + 1]});
  return samples;
}

Complex At(const Ipp32fc& value) {
  return {value.re, value.im};
}

// 4.6.18.4.1
std::vector<Complex> AnalysisDefinition(const std::vector<float>& samples) {
  std::vector<double> x(320);
  std::vector<Complex> result;
  for (std::size_t slot = 0; slot < samples.size() / 32; ++slot) {
    for (std::size_t i = 319; i >= 32; --i) x[i] = x[i - 32];
    for (std::size_t i = 0; i < 32; ++i) x[31 - i] = samples[32 * slot + i];
    std::vector<double> u(64);
    for (std::size_t n = 0; n < 320; ++n) u[n % 64] += x[n] * kQmfWindow[2 * n];
    for (int k = 0; k < 32; ++k) {
      Complex sum;
      for (int n = 0; n < 64; ++n) {
        sum += u[static_cast<std::size_t>(n)] *
               std::polar(1.0, std::numbers::pi / 64 * (k + 0.5) * (2 * n - 0.5));
      }
      result.push_back(2.0 * sum);
    }
  }
  return result;
}

// 4.6.18.4.2, and with 32 bands 4.6.18.4.3
std::vector<double> SynthesisDefinition(const std::vector<Ipp32fc>& samples, std::size_t bands) {
  const double offset = bands == 64 ? 255 : 127.5;
  std::vector<double> v(20 * bands), result;
  for (std::size_t slot = 0; slot < samples.size() / kIppsSbrBands; ++slot) {
    for (std::size_t i = v.size() - 1; i >= 2 * bands; --i) v[i] = v[i - 2 * bands];
    for (std::size_t n = 0; n < 2 * bands; ++n) {
      Complex sum;
      for (std::size_t k = 0; k < bands; ++k) {
        const double angle = std::numbers::pi / (2 * static_cast<double>(bands)) *
                             (static_cast<double>(k) + 0.5) * (2 * static_cast<double>(n) - offset);
        sum += At(samples[slot * kIppsSbrBands + k]) / 64.0 * std::polar(1.0, angle);
      }
      v[n] = sum.real();
    }
    for (std::size_t k = 0; k < bands; ++k) {
      double sum = 0;
      for (std::size_t n = 0; n < 10; ++n) {
        const double g = n % 2 == 0 ? v[2 * bands * n + k] : v[2 * bands * n + bands + k];
        sum += g * kQmfWindow[64 / bands * (bands * n + k)];
      }
      result.push_back(sum);
    }
  }
  return result;
}

TEST(SbrFilterBank, AnalysisEqualsItsDefinitionWithEveryInstructionSet) {
  for (const KernelSet& set : AllKernelSets()) {
    for (const std::size_t slots : {32u, 30u, 1u, 5u}) {
      SCOPED_TRACE(set.name + " " + std::to_string(slots));
      const auto samples = UnitNoise(32 * slots * 3);
      const auto expected = AnalysisDefinition(samples);
      Bank bank(ippsAnalysisFilterInit_SBR_RToC_32f32fc);
      IppsAnalysisState_SBR_32f state{};
      std::vector<Ipp32fc> rows(slots * kIppsSbrBands);
      double largest = 0;
      for (std::size_t call = 0; call < 3; ++call) {
        auto* matrix = reinterpret_cast<Row*>(rows.data());
        set.kernels->qmfAnalysis(*bank.prepared, &samples[32 * slots * call], slots, matrix, state,
                                 bank.Work());
        for (std::size_t i = 0; i < slots * 32; ++i) {
          const Complex wanted = expected[slots * 32 * call + i];
          largest = std::max(largest, std::abs(wanted - At(matrix[i / 32][i % 32])));
        }
      }
      EXPECT_LT(largest, 2e-5);
    }
  }
}

TEST(SbrFilterBank, SynthesisEqualsItsDefinitionWithEveryInstructionSet) {
  for (const KernelSet& set : AllKernelSets()) {
    for (const std::size_t bands : {64u, 32u}) {
      for (const std::size_t slots : {32u, 30u, 1u, 5u}) {
        SCOPED_TRACE(set.name + " " + std::to_string(bands) + " " + std::to_string(slots));
        const auto samples = NoiseRows(slots * 3);
        const auto expected = SynthesisDefinition(samples, bands);
        Bank bank(bands == 64 ? ippsSynthesisFilterInit_SBR_CToR_32fc32f
                              : ippsSynthesisDownFilterInit_SBR_CToR_32fc32f);
        IppsSynthesisState_SBR_32f state{};
        std::vector<float> output(bands * slots);
        double largest = 0;
        for (std::size_t call = 0; call < 3; ++call) {
          const auto* matrix = reinterpret_cast<const Row*>(&samples[call * slots * kIppsSbrBands]);
          set.kernels->qmfSynthesis(*bank.prepared, matrix, slots, output.data(), state, bank.Work());
          for (std::size_t i = 0; i < output.size(); ++i) {
            largest = std::max(largest, std::abs(output[i] - expected[call * output.size() + i]));
          }
        }
        EXPECT_LT(largest, 2e-6);
      }
    }
  }
}

TEST(SbrFilterBank, ReconstructsTheSignalDelayed) {
  constexpr std::size_t kSlots = 32, kDelay = 289;
  const auto samples = UnitNoise(32 * kSlots * 4);
  Bank analysis(ippsAnalysisFilterInit_SBR_RToC_32f32fc);
  Bank down(ippsSynthesisDownFilterInit_SBR_CToR_32fc32f);
  IppsAnalysisState_SBR_32f analysisState{};
  IppsSynthesisState_SBR_32f downState{};
  std::vector<float> output(samples.size());
  for (std::size_t at = 0; at < samples.size(); at += 32 * kSlots) {
    Row rows[kSlots] = {};
    ASSERT_EQ(ippStsNoErr, ippsAnalysisFilter_SBR_RToC_32f32fc_D2L(&samples[at], kSlots, rows, &analysisState,
                                                                   analysis.prepared, analysis.work.data()));
    ASSERT_EQ(ippStsNoErr, ippsSynthesisDownFilter_SBR_CToR_32fc32f_D2L(rows, kSlots, &output[at], &downState,
                                                                        down.prepared, down.work.data()));
  }
  double largest = 0;
  for (std::size_t i = 700; i < output.size(); ++i)
    largest = std::max(largest, std::abs(double{output[i]} - samples[i - kDelay]));
  EXPECT_LT(largest, 3e-3);
}

// The same with real-valued subbands (4.6.18.8.2): other angles, and no imaginary part.
std::vector<double> RealAnalysisDefinition(const std::vector<float>& samples) {
  std::vector<double> x(320), result;
  for (std::size_t slot = 0; slot < samples.size() / 32; ++slot) {
    for (std::size_t i = 319; i >= 32; --i) x[i] = x[i - 32];
    for (std::size_t i = 0; i < 32; ++i) x[31 - i] = samples[32 * slot + i];
    std::vector<double> u(64);
    for (std::size_t n = 0; n < 320; ++n) u[n % 64] += x[n] * kQmfWindow[2 * n];
    for (int k = 0; k < 32; ++k) {
      double sum = 0;
      for (int n = 0; n < 64; ++n)
        sum +=
            u[static_cast<std::size_t>(n)] * 2 * std::cos(std::numbers::pi / 64 * (k + 0.5) * (2 * n - 96));
      result.push_back(sum);
    }
  }
  return result;
}

std::vector<double> RealSynthesisDefinition(const std::vector<float>& samples, std::size_t bands) {
  const double size = static_cast<double>(bands);
  std::vector<double> v(20 * bands), result;
  for (std::size_t slot = 0; slot < samples.size() / kIppsSbrBands; ++slot) {
    for (std::size_t i = v.size() - 1; i >= 2 * bands; --i) v[i] = v[i - 2 * bands];
    for (std::size_t n = 0; n < 2 * bands; ++n) {
      v[n] = 0;
      for (std::size_t k = 0; k < bands; ++k) {
        const double angle = std::numbers::pi / (2 * size) * (static_cast<double>(k) + 0.5) *
                             (2 * static_cast<double>(n) - size);
        v[n] += samples[slot * kIppsSbrBands + k] / 32.0 * std::cos(angle);
      }
    }
    for (std::size_t k = 0; k < bands; ++k) {
      double sum = 0;
      for (std::size_t n = 0; n < 10; ++n) {
        const double g = n % 2 == 0 ? v[2 * bands * n + k] : v[2 * bands * n + bands + k];
        sum += g * kQmfWindow[64 / bands * (bands * n + k)];
      }
      result.push_back(sum);
    }
  }
  return result;
}

using RealRow = Ipp32f[kIppsSbrBands];

TEST(RealSbrFilterBank, AnalysisEqualsItsDefinition) {
  for (const std::size_t slots : {32u, 30u, 1u, 5u}) {
    const auto samples = UnitNoise(32 * slots * 3);
    const auto expected = RealAnalysisDefinition(samples);
    Bank bank(ippsAnalysisFilterInit_SBR_RToR_32f);
    IppsAnalysisState_SBR_32f state{};
    double largest = 0;
    for (std::size_t call = 0; call < 3; ++call) {
      RealRow rows[kIppsSbrSlots];
      ASSERT_EQ(ippStsNoErr, ippsAnalysisFilter_SBR_RToR_32f_D2L(&samples[32 * slots * call], slots, rows,
                                                                 &state, bank.prepared, bank.work.data()));
      for (std::size_t i = 0; i < slots * 32; ++i) {
        largest = std::max(largest, std::abs(expected[slots * 32 * call + i] - rows[i / 32][i % 32]));
      }
    }
    EXPECT_LT(largest, 2e-5) << slots;
  }
}

TEST(RealSbrFilterBank, SynthesisEqualsItsDefinition) {
  for (const std::size_t bands : {64u, 32u}) {
    const auto filter =
        bands == 64 ? ippsSynthesisFilter_SBR_RToR_32f_D2L : ippsSynthesisDownFilter_SBR_RToR_32f_D2L;
    for (const std::size_t slots : {32u, 30u, 1u, 5u}) {
      const auto samples = UnitNoise(slots * 3 * kIppsSbrBands);
      const auto expected = RealSynthesisDefinition(samples, bands);
      Bank bank(bands == 64 ? ippsSynthesisFilterInit_SBR_RToR_32f
                            : ippsSynthesisDownFilterInit_SBR_RToR_32f);
      IppsSynthesisState_SBR_32f state{};
      std::vector<float> output(bands * slots);
      double largest = 0;
      for (std::size_t call = 0; call < 3; ++call) {
        const auto* rows = reinterpret_cast<const RealRow*>(&samples[call * slots * kIppsSbrBands]);
        ASSERT_EQ(ippStsNoErr, filter(rows, slots, output.data(), &state, bank.prepared, bank.work.data()));
        for (std::size_t i = 0; i < output.size(); ++i) {
          largest = std::max(largest, std::abs(output[i] - expected[call * output.size() + i]));
        }
      }
      EXPECT_LT(largest, 4e-6) << bands << " " << slots;
    }
  }
}

TEST(RealSbrFilterBank, ReconstructsTheSignalDelayed) {
  constexpr std::size_t kSlots = 32, kDelay = 289;
  const auto samples = UnitNoise(32 * kSlots * 4);
  Bank analysis(ippsAnalysisFilterInit_SBR_RToR_32f);
  Bank down(ippsSynthesisDownFilterInit_SBR_RToR_32f);
  IppsAnalysisState_SBR_32f analysisState{};
  IppsSynthesisState_SBR_32f downState{};
  std::vector<float> output(samples.size());
  for (std::size_t at = 0; at < samples.size(); at += 32 * kSlots) {
    RealRow rows[kSlots] = {};
    ASSERT_EQ(ippStsNoErr, ippsAnalysisFilter_SBR_RToR_32f_D2L(&samples[at], kSlots, rows, &analysisState,
                                                               analysis.prepared, analysis.work.data()));
    ASSERT_EQ(ippStsNoErr, ippsSynthesisDownFilter_SBR_RToR_32f_D2L(rows, kSlots, &output[at], &downState,
                                                                    down.prepared, down.work.data()));
  }
  double largest = 0;
  for (std::size_t i = 700; i < output.size(); ++i)
    largest = std::max(largest, std::abs(double{output[i]} - samples[i - kDelay]));
  EXPECT_LT(largest, 3e-3);
}

TEST(RealSbrFilterBank, RejectsInvalidArguments) {
  Bank analysis(ippsAnalysisFilterInit_SBR_RToR_32f), synthesis(ippsSynthesisFilterInit_SBR_RToR_32f);
  IppsAnalysisState_SBR_32f analysisState{};
  IppsSynthesisState_SBR_32f state{};
  RealRow rows[1] = {};
  float samples[64] = {};
  const auto synthesise = [&](const RealRow* source, std::size_t slots) {
    return ippsSynthesisFilter_SBR_RToR_32f_D2L(source, slots, samples, &state, synthesis.prepared,
                                                synthesis.work.data());
  };
  const auto analyse = [&](RealRow* target, std::size_t slots) {
    return ippsAnalysisFilter_SBR_RToR_32f_D2L(samples, slots, target, &analysisState, analysis.prepared,
                                               analysis.work.data());
  };
  EXPECT_EQ(ippStsSizeErr, synthesise(rows, 0));
  EXPECT_EQ(ippStsSizeErr, synthesise(rows, 33));
  EXPECT_EQ(ippStsNullPtrErr, synthesise(nullptr, 1));
  EXPECT_EQ(ippStsSizeErr, analyse(rows, 0));
  EXPECT_EQ(ippStsSizeErr, analyse(rows, 33));
  EXPECT_EQ(ippStsNullPtrErr, analyse(nullptr, 1));
}

TEST(SbrFilterBank, RejectsInvalidArguments) {
  Bank bank(ippsSynthesisFilterInit_SBR_CToR_32fc32f);
  IppsSynthesisState_SBR_32f state{};
  Row rows[1] = {};
  float output[64];
  EXPECT_EQ(ippStsSizeErr, ippsSynthesisFilter_SBR_CToR_32fc32f_D2L(rows, 0, output, &state, bank.prepared,
                                                                    bank.work.data()));
  EXPECT_EQ(ippStsSizeErr, ippsSynthesisFilter_SBR_CToR_32fc32f_D2L(rows, 33, output, &state, bank.prepared,
                                                                    bank.work.data()));
  EXPECT_EQ(ippStsNullPtrErr, ippsSynthesisFilter_SBR_CToR_32fc32f_D2L(nullptr, 1, output, &state,
                                                                       bank.prepared, bank.work.data()));
}

TEST(SbrPrediction, SumsProductsOverTime) {
  constexpr std::size_t kLength = 38;
  const auto samples = NoiseRows(kLength + 2);
  const auto* x = reinterpret_cast<const Row*>(samples.data());
  for (const KernelSet& set : AllKernelSets()) {
    for (const std::size_t bands : {32u, 13u, 5u, 1u}) {
      SCOPED_TRACE(set.name + " " + std::to_string(bands));
      Covariance sums;
      set.kernels->covariance(x, kLength, bands, sums);
      for (std::size_t k = 0; k < bands; ++k) {
        double power = 0;
        Complex lag1, lag2 = At(x[2][k]) * std::conj(At(x[0][k]));
        for (std::size_t n = 1; n < kLength; ++n) {
          power += std::norm(At(x[n][k]));
          lag1 += At(x[n + 1][k]) * std::conj(At(x[n][k]));
          lag2 += At(x[n + 2][k]) * std::conj(At(x[n][k]));
        }
        EXPECT_NEAR(power, sums.power[k], 1e-4);
        EXPECT_LT(std::abs(lag1 - Complex(sums.lag1[0][k], sums.lag1[1][k])), 1e-4);
        EXPECT_LT(std::abs(lag2 - Complex(sums.lag2[0][k], sums.lag2[1][k])), 1e-4);
      }
    }
  }
}

// x[n] = a x[n - 1] + b x[n - 2] is predicted by its own coefficients.
TEST(SbrPrediction, FindsTheCoefficientsOfARecursion) {
  const Complex pole1 = std::polar(1.0, 0.9), pole2 = std::polar(1.0, -1.3);
  const Complex a = pole1 + pole2, b = -pole1 * pole2;
  std::vector<Ipp32fc> samples(40 * kIppsSbrBands);
  auto* rows = reinterpret_cast<Row*>(samples.data());
  for (std::size_t k = 0; k < 32; ++k) {
    Complex before2(1, static_cast<double>(k)), before1(2, -1);
    for (auto* row = rows; row != rows + 40; ++row) {
      row[0][k] = {static_cast<float>(before2.real()), static_cast<float>(before2.imag())};
      const Complex next = a * before1 + b * before2;
      before2 = before1;
      before1 = next;
    }
  }
  Ipp32fc alpha0[32], alpha1[32];
  ASSERT_EQ(ippStsNoErr, ippsPredictCoef_SBR_C_32fc_D2L(rows, 38, 32, alpha0, alpha1));
  for (std::size_t k = 0; k < 32; ++k) {
    EXPECT_LT(std::abs(At(alpha0[k]) + a), 1e-3);
    EXPECT_LT(std::abs(At(alpha1[k]) + b), 1e-3);
  }
}

// x[n] = 5 x[n - 2], of which the first coefficient is 0.
TEST(SbrPrediction, IsZeroWhereTheSecondCoefficientAloneIsTooLarge) {
  std::vector<Ipp32fc> samples(40 * kIppsSbrBands);
  auto* rows = reinterpret_cast<Row*>(samples.data());
  double before2 = 1e-12, before1 = 2e-12;
  for (auto* row = rows; row != rows + 40; ++row) {
    row[0][0] = {static_cast<float>(before2), 0};
    before2 = std::exchange(before1, 5 * before2);
  }
  Ipp32fc alpha0, alpha1;
  ASSERT_EQ(ippStsNoErr, ippsPredictCoef_SBR_C_32fc_D2L(rows, 38, 1, &alpha0, &alpha1));
  EXPECT_EQ(Complex(), At(alpha0));
  EXPECT_EQ(Complex(), At(alpha1));
}

TEST(SbrPrediction, IsZeroForSilenceAndForGrowingSignals) {
  std::vector<Ipp32fc> samples(40 * kIppsSbrBands);
  auto* rows = reinterpret_cast<Row*>(samples.data());
  for (std::size_t n = 0; n < 40; ++n) rows[n][1] = {static_cast<float>(std::pow(5.0, n) * 1e-12), 0};
  Ipp32fc alpha0[2], alpha1[2];
  ASSERT_EQ(ippStsNoErr, ippsPredictCoef_SBR_C_32fc_D2L(rows, 38, 2, alpha0, alpha1));
  for (const auto* alpha : {alpha0, alpha1}) {
    for (std::size_t k = 0; k < 2; ++k) EXPECT_EQ(Complex(), At(alpha[k]));
  }
  EXPECT_EQ(ippStsSizeErr, ippsPredictCoef_SBR_C_32fc_D2L(rows, 38, 33, alpha0, alpha1));
}

TEST(HighBand, FiltersMeasuresAndShapesWithEveryInstructionSet) {
  constexpr std::size_t kCount = 6, kSource = 3, kTarget = 30;
  const auto samples = NoiseRows(kCount + 2), noise = NoiseRows((kNoisePeriod + kNoiseRepeat) / 64 + 1);
  const auto gains = UnitNoise(64), noiseGains = UnitNoise(64);
  PatchFilter filter;
  const auto coefficients = UnitNoise(256);
  std::memcpy(&filter, coefficients.data(), sizeof filter);
  for (const KernelSet& set : AllKernelSets()) {
    for (std::size_t bands = 1; bands <= 26; ++bands) {
      SCOPED_TRACE(set.name + " " + std::to_string(bands));
      auto made = samples;
      auto* rows = reinterpret_cast<Row*>(made.data());
      const auto* x = reinterpret_cast<const Row*>(samples.data());
      set.kernels->extendPatch(rows, kCount, kSource, kTarget, bands, filter);
      std::vector<Complex> expected(kCount * bands);
      std::vector<double> powers(bands);
      for (std::size_t slot = 0; slot < kCount; ++slot) {
        for (std::size_t i = 0; i < bands; ++i) {
          const Complex first(filter.first[0][kTarget + i], filter.first[1][kTarget + i]);
          const Complex second(filter.second[0][kTarget + i], filter.second[1][kTarget + i]);
          Complex& y = expected[slot * bands + i];
          y = At(x[slot + 2][kSource + i]) + first * At(x[slot + 1][kSource + i]) +
              second * At(x[slot][kSource + i]);
          powers[i] += std::norm(y);
          EXPECT_LT(std::abs(y - At(rows[slot + 2][kTarget + i])), 1e-6);
        }
        EXPECT_EQ(At(x[slot + 2][kTarget + bands]), At(rows[slot + 2][kTarget + bands]));
      }
      float energies[64];
      set.kernels->bandEnergies(rows + 2, kCount, kTarget, bands, energies);
      for (std::size_t i = 0; i < bands; ++i) EXPECT_NEAR(powers[i], energies[i], 1e-4);

      constexpr std::size_t kStart = 500;
      set.kernels->shapeBands(rows + 2, kCount, kTarget, bands, gains.data(), noiseGains.data(), noise.data(),
                              kStart);
      for (std::size_t slot = 0; slot < kCount; ++slot) {
        for (std::size_t i = 0; i < bands; ++i) {
          const Complex v = At(noise[(kStart + slot * bands) % kNoisePeriod + i]);
          const Complex y = expected[slot * bands + i] * double{gains[i]} + v * double{noiseGains[i]};
          EXPECT_LT(std::abs(y - At(rows[slot + 2][kTarget + i])), 1e-5);
        }
        EXPECT_EQ(At(x[slot + 2][kTarget + bands]), At(rows[slot + 2][kTarget + bands]));
      }
    }
  }
}

}  // namespace

}  // namespace fmp4
