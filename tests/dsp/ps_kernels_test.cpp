// The kernels of parametric stereo, against their definitions and with every instruction set.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "tests/dsp/kernel_sets.h"

namespace fmp4 {

using namespace UMC;

namespace {

using Value = std::complex<double>;

class Noise {
 public:
  explicit Noise(unsigned seed) : m_random(seed) {}
  float operator()() { return m_uniform(m_random); }
  template <class Array>
  void Fill(Array& values) {
    constexpr std::size_t kBytes = sizeof(Array);
    std::generate_n(reinterpret_cast<float*>(&values), kBytes / sizeof(float), [this] { return (*this)(); });
  }

 private:
  std::mt19937 m_random;
  std::uniform_real_distribution<float> m_uniform{-1, 1};
};

struct Planes {
  float re[kPsHybridBands] = {};
  float im[kPsHybridBands] = {};

  PsSpectrum Spectrum() { return {re, im}; }
  Value At(std::size_t i) const { return {re[i], im[i]}; }
};

void ExpectNear(const Value& expected, const Value& actual) {
  EXPECT_NEAR(0, std::abs(expected - actual), 1e-5);
}

TEST(PsKernels, FilterAroundTheMiddleSample) {
  for (const KernelSet& set : AllKernelSets()) {
    SCOPED_TRACE(set.name);
    for (const int filters : {4, 8, 12}) {
      Noise noise(1);
      PsFilterBank bank;
      noise.Fill(bank.re);
      noise.Fill(bank.im);
      for (float& part : bank.im[0]) part = 0;  // its own conjugate
      bank.filters = filters;
      Ipp32fc samples[13];
      noise.Fill(samples);
      Planes out;
      set.kernels->ps.filter(bank, samples, out.Spectrum());
      for (std::size_t q = 0; q < static_cast<std::size_t>(filters); ++q) {
        Value sum = 0;
        for (int i = -6; i <= 6; ++i) {
          const Value tap(bank.re[std::abs(i)][q], i < 0 ? -bank.im[-i][q] : bank.im[i][q]);
          sum += tap * Value(samples[6 - i].re, samples[6 - i].im);
        }
        ExpectNear(sum, out.At(q));
      }
      EXPECT_EQ(Value(0), out.At(static_cast<std::size_t>(filters)));
    }
  }
}

TEST(PsKernels, DeinterleaveSpectraAndComputeTheirPower) {
  for (const KernelSet& set : AllKernelSets()) {
    SCOPED_TRACE(set.name);
    for (const std::size_t length : {59u, 61u, 64u, 71u, 91u}) {
      Noise noise(2);
      std::vector<Ipp32fc> in(length);
      for (Ipp32fc& value : in) value = {noise(), noise()};
      Planes out;
      float powers[kPsHybridBands] = {};
      set.kernels->ps.split(in.data(), out.Spectrum(), length);
      set.kernels->ps.power(out.Spectrum(), powers, length);
      for (std::size_t i = 0; i < length; ++i) {
        EXPECT_EQ(Value(in[i].re, in[i].im), out.At(i));
        EXPECT_FLOAT_EQ(in[i].re * in[i].re + in[i].im * in[i].im, powers[i]);
      }
      EXPECT_EQ(0, powers[length]);
      EXPECT_EQ(Value(0), out.At(length));
    }
  }
}

TEST(PsKernels, PassAllLinks) {
  for (const KernelSet& set : AllKernelSets()) {
    SCOPED_TRACE(set.name);
    for (const int bands : {32, 56}) {
      Noise noise(3);
      auto bank = std::make_unique<PsAllPassBank>();
      noise.Fill(*bank);
      bank->bands = bands;
      PsAllPassRow rows[kPsAllPassLinks], before[kPsAllPassLinks];
      noise.Fill(rows);
      std::copy_n(&rows[0][0][0], sizeof(rows) / sizeof(float), &before[0][0][0]);
      PsAllPassRow* const links[] = {&rows[0], &rows[1], &rows[2]};
      Planes in, out;
      noise.Fill(in);
      set.kernels->ps.allPass(*bank, in.Spectrum(), links, out.Spectrum());
      for (std::size_t k = 0; k < static_cast<std::size_t>(bands); ++k) {
        Value x = in.At(k) * Value(bank->phase[0][k], bank->phase[1][k]);
        for (int link = 0; link < kPsAllPassLinks; ++link) {
          const Value turned = Value(before[link][0][k], before[link][1][k]) *
                               Value(bank->rotation[link][0][k], bank->rotation[link][1][k]);
          const double feedback = bank->feedback[link][k];
          const Value held = x + feedback * turned;
          ExpectNear(held, Value(rows[link][0][k], rows[link][1][k]));
          x = turned - feedback * held;
        }
        ExpectNear(x, out.At(k));
      }
      EXPECT_EQ(Value(0), out.At(static_cast<std::size_t>(bands)));
    }
  }
}

TEST(PsKernels, ReduceTransientsAlikeInEveryBand) {
  for (const KernelSet& set : AllKernelSets()) {
    SCOPED_TRACE(set.name);
    Noise noise(5);
    PsTransients state{};
    double peak[kPsTransientBands] = {}, power[kPsTransientBands] = {}, difference[kPsTransientBands] = {};
    int reduced = 0;
    for (int slot = 0; slot < 40; ++slot) {
      float powers[kPsTransientBands], gains[kPsTransientBands];
      for (float& value : powers) value = std::abs(noise()) * (slot % 8 == 0 ? 100.0f : 1.0f);
      set.kernels->ps.transientGains(state, powers, gains, 2 * kPsTransientStep);
      for (std::size_t i = 0; i < 2 * kPsTransientStep; ++i) {
        const double now = powers[i];
        peak[i] = std::max(peak[i] * 0.76592833836465, now);
        power[i] += 0.25 * (now - power[i]);
        difference[i] += 0.25 * (peak[i] - now - difference[i]);
        const double limit = 1.5 * difference[i];
        EXPECT_NEAR(limit > power[i] ? power[i] / limit : 1, gains[i], 1e-5);
        if (gains[i] < 1) ++reduced;
      }
    }
    EXPECT_GT(reduced, 100);
    EXPECT_EQ(0, state.peak[2 * kPsTransientStep]);
  }
}

TEST(PsKernels, SweepDecayedAndNonFiniteValues) {
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  for (const KernelSet& set : AllKernelSets()) {
    SCOPED_TRACE(set.name);
    for (const std::size_t length : {1u, 7u, 29u, 112u}) {
      const std::vector<float> kinds = {1,      -2,        1e-18f,     -1e-19f, 2e-18f, 1e18f,
                                        -9e17f, kInfinity, -kInfinity, kNaN,    0,      -0.5f};
      const std::vector<float> swept = {1, -2, 0, 0, 2e-18f, 0, -9e17f, 0, 0, 0, 0, -0.5f};
      std::vector<float> values(length + 1, kNaN), expected(length);
      for (std::size_t i = 0; i < length; ++i) {
        values[i] = kinds[i % kinds.size()];
        expected[i] = swept[i % kinds.size()];
      }
      set.kernels->ps.sweep(values.data(), length, 1e-18f, 1e18f);
      EXPECT_TRUE(std::isnan(values.back()));
      values.pop_back();
      EXPECT_EQ(expected, values);
    }
  }
}

TEST(PsKernels, MixWithInterpolatedCoefficients) {
  for (const KernelSet& set : AllKernelSets()) {
    SCOPED_TRACE(set.name);
    for (const bool phases : {false, true}) {
      for (const auto& [first, end] : {std::pair<std::size_t, std::size_t>{0, 10}, {10, 71}, {32, 91}}) {
        Noise noise(4);
        auto mixer = std::make_unique<PsMixer>();
        noise.Fill(*mixer);
        const PsMixer before = *mixer;
        Planes s, d;
        noise.Fill(s);
        noise.Fill(d);
        float gains[kPsHybridBands];
        noise.Fill(gains);
        Ipp32fc left[kPsHybridBands] = {}, right[kPsHybridBands] = {};
        set.kernels->ps.mix(*mixer, phases, first, end, s.Spectrum(), d.Spectrum(), gains, left, right);
        const auto next = [&](int kind, std::size_t k) {
          const Value h(before.h[kind][k] + before.step[kind][k],
                        before.h[kind + 4][k] + before.step[kind + 4][k]);
          EXPECT_FLOAT_EQ(static_cast<float>(h.real()), mixer->h[kind][k]);
          return phases ? h : Value(h.real());
        };
        for (std::size_t k = first; k < end; ++k) {
          const Value diffuse = d.At(k) * static_cast<double>(gains[k]);
          const Ipp32fc l = left[k - first], r = right[k - first];
          ExpectNear(next(0, k) * s.At(k) + next(2, k) * diffuse, Value(l.re, l.im));
          ExpectNear(next(1, k) * s.At(k) + next(3, k) * diffuse, Value(r.re, r.im));
        }
        EXPECT_EQ(0, left[end - first].re);
        EXPECT_EQ(0, right[end - first].im);
        if (end < kPsHybridBands) {
          EXPECT_EQ(before.h[0][end], mixer->h[0][end]);
        }
      }
    }
  }
}

}  // namespace

}  // namespace fmp4
