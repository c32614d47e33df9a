// Parametric stereo, part by part.
#include "audio/umc/aac/ps/parametric_stereo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstring>
#include <limits>
#include <memory>
#include <numbers>

#include "tests/audio/bit_writer.h"
#include "tests/audio/ps_generator.h"

namespace fmp4 {

using namespace UMC;

namespace {

using namespace UMC::aac;

// Parses a payload from a buffer of exactly its size.
bool Parse(const BitWriter& bits, PsData& data, int slots = 32) {
  const std::vector<std::uint8_t> bytes = bits.Bytes();
  BitWindow stream(bytes.data(), bytes.size());
  return ParsePsData(stream, bits.Bits(), slots, data);
}

void ExpectEnvelopes(const PsGenerator& generator, const PsData& data) {
  ASSERT_EQ(static_cast<int>(generator.Envelopes().size()), data.envelopeCount);
  for (int i = 0; i < data.envelopeCount; ++i) {
    const PsEnvelope& expected = generator.Envelopes()[static_cast<std::size_t>(i)];
    const PsEnvelope& parsed = data.envelopes[i];
    EXPECT_EQ(expected.border, parsed.border);
    const PsResolution iid = PsResolutionOf(data.iidMode), icc = PsResolutionOf(data.iccMode);
    EXPECT_TRUE(std::equal(expected.iid, expected.iid + (data.iidEnabled ? iid.bands : 0), parsed.iid));
    EXPECT_TRUE(std::equal(expected.icc, expected.icc + (data.iccEnabled ? icc.bands : 0), parsed.icc));
    EXPECT_TRUE(std::equal(expected.ipd, expected.ipd + iid.phaseBands, parsed.ipd));
    EXPECT_TRUE(std::equal(expected.opd, expected.opd + iid.phaseBands, parsed.opd));
  }
}

TEST(PsDataParser, ReadsEveryResolutionQuantiserBorderAndDirection) {
  for (int iidMode = -1; iidMode < 6; ++iidMode) {
    for (int iccMode = -1; iccMode < 6; ++iccMode) {
      for (const int slots : {32, 30}) {
        PsGeneratorOptions options{.iidMode = iidMode,
                                   .iccMode = iccMode,
                                   .phases = (iidMode + iccMode) % 2 == 0,
                                   .otherExtension = iidMode == 2,
                                   .variableBorders = true,
                                   .emptyFrames = true,
                                   .headerPeriod = 7,
                                   .slots = slots};
        PsGenerator generator(1);
        PsData data{};
        for (int i = 0; i < 200; ++i) {
          BitWriter bits;
          generator.Write(options, bits);
          ASSERT_TRUE(Parse(bits, data, slots)) << iidMode << ' ' << iccMode << ' ' << i;
          ExpectEnvelopes(generator, data);
          EXPECT_TRUE(data.Known());
          EXPECT_EQ(static_cast<std::uint32_t>(i + 1), data.payloads);
        }
        for (int count = 0; count < 5; ++count) {
          const auto& seen = generator.Seen();
          const auto saw = [&](const char* kind) {
            return std::find(seen.begin(), seen.end(), kind + std::to_string(count)) != seen.end();
          };
          EXPECT_EQ(count != 3, saw("fixed borders "));
          EXPECT_EQ(count != 0, saw("variable borders "));
        }
      }
    }
  }
}

TEST(PsDataParser, FollowsModeChanges) {
  PsGenerator generator(2);
  PsData data{};
  for (int i = 0; i < 200; ++i) {
    const PsGeneratorOptions options{.iidMode = i / 2 % 7 - 1, .iccMode = i / 3 % 7 - 1, .phases = i % 5 < 3};
    BitWriter bits;
    generator.Write(options, bits);
    ASSERT_TRUE(Parse(bits, data)) << i;
    ExpectEnvelopes(generator, data);
  }
}

TEST(PsDataParser, RejectsATruncatedPayloadAndKeepsTheLastOne) {
  PsGenerator generator(3);
  const PsGeneratorOptions options{.iidMode = 5, .iccMode = 2, .phases = true};
  BitWriter first, second;
  generator.Write(options, first);
  generator.Write(options, second);
  PsData data{};
  ASSERT_TRUE(Parse(first, data));
  // Every bit of the extension counts except its padding.
  for (std::size_t bits = 0; bits < second.Bits(); ++bits) {
    PsData cut = data;
    BitWindow stream(second.Bytes().data(), second.Bytes().size());
    ASSERT_FALSE(ParsePsData(stream, bits, 32, cut)) << bits;
    ASSERT_EQ(data.payloads, cut.payloads);
    ASSERT_EQ(0, std::memcmp(data.envelopes, cut.envelopes, sizeof data.envelopes));
  }
  EXPECT_TRUE(Parse(second, data));
}

// A payload of 10 bands of IID in one envelope. `inTime` sets the direction, `differences` the symbols.
BitWriter CoarsePayload(bool header, bool inTime, const std::vector<int>& differences, int mode = 0) {
  BitWriter bits;
  bits.Write(header ? 1 : 0, 1);
  if (header) bits.Write(8u + static_cast<unsigned>(mode), 4);
  if (header) bits.Write(0, 2);  // neither ICC nor extension
  bits.Write(1, 3);              // fixed borders, one envelope
  bits.Write(inTime ? 1 : 0, 1);
  // Codes of the default quantiser: 0 and +-1 in both directions.
  for (const int difference : differences) {
    if (difference == 0) bits.Write(0, 1);
    if (difference == 1) bits.Write(inTime ? 6 : 4, 3);
    if (difference == -1) bits.Write(inTime ? 2 : 5, inTime ? 2 : 3);
  }
  return bits;
}

TEST(PsDataParser, IsUnusableBeforeAHeader) {
  PsData data{};
  EXPECT_FALSE(Parse(CoarsePayload(false, false, std::vector<int>(10, 0)), data));
  EXPECT_FALSE(data.headerSeen);
  EXPECT_TRUE(Parse(CoarsePayload(true, false, std::vector<int>(10, 0)), data));
  EXPECT_TRUE(Parse(CoarsePayload(false, false, std::vector<int>(10, 0)), data));
}

TEST(PsDataParser, RejectsReservedModesAndIndicesOutOfRange) {
  PsData data{};
  EXPECT_FALSE(Parse(CoarsePayload(true, false, std::vector<int>(34, 0), 6), data));
  EXPECT_FALSE(Parse(CoarsePayload(true, false, std::vector<int>(34, 0), 7), data));
  std::vector<int> rising(10, 1);
  EXPECT_FALSE(Parse(CoarsePayload(true, false, rising), data));  // up to 10
  rising[7] = rising[8] = rising[9] = 0;
  EXPECT_TRUE(Parse(CoarsePayload(true, false, rising), data));
  EXPECT_EQ(7, data.envelopes[0].iid[9]);
}

TEST(PsDataParser, MarksIndicesThatDependOnUnseenOnes) {
  PsData data{};
  const std::vector<int> still(10, 0);
  EXPECT_TRUE(Parse(CoarsePayload(true, true, still), data));
  EXPECT_FALSE(data.Known());
  EXPECT_TRUE(Parse(CoarsePayload(false, true, still), data));
  EXPECT_FALSE(data.Known());
  EXPECT_TRUE(Parse(CoarsePayload(false, false, still), data));
  EXPECT_TRUE(data.Known());
  EXPECT_TRUE(Parse(CoarsePayload(false, true, still), data));
  EXPECT_TRUE(data.Known());
}

TEST(PsDataParser, ConvertsFromTheResolutionBefore) {
  PsData data{};
  ASSERT_TRUE(Parse(CoarsePayload(true, false, {1, 1, 1, 0, 0, 0, 0, 0, 0, -1}), data));
  ASSERT_TRUE(Parse(CoarsePayload(true, true, std::vector<int>(20, 0), 1), data));
  const std::int8_t doubled[20] = {1, 1, 2, 2, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 2, 2};
  EXPECT_TRUE(std::equal(doubled, doubled + 20, data.envelopes[0].iid));
  ASSERT_TRUE(Parse(CoarsePayload(true, true, std::vector<int>(34, 0), 2), data));
  const std::int8_t wide[34] = {1, 1, 1, 2, 2, 2, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3,
                                3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 2, 2, 2, 2, 2, 2};
  EXPECT_TRUE(std::equal(wide, wide + 34, data.envelopes[0].iid));
}

TEST(PsBands, MapsIndicesByTheTables) {
  std::int8_t narrow[20], wide[34], mapped[34];
  for (int i = 0; i < 20; ++i) narrow[i] = static_cast<std::int8_t>(i - 10);
  MapPsIndices(narrow, 20, 34, mapped);
  // Means are truncated towards zero: of -10 and -9, of -8 and -7.
  const std::int8_t expected[34] = {-10, -9, -9, -8, -7, -7, -6, -6, -5, -5, -4, -3, -2, -2, -1, -1, 0,
                                    1,   2,  3,  4,  4,  5,  5,  6,  6,  7,  7,  8,  8,  8,  8,  9,  9};
  EXPECT_TRUE(std::equal(expected, expected + 34, mapped));
  for (int i = 0; i < 34; ++i) wide[i] = static_cast<std::int8_t>(i);
  MapPsIndices(wide, 34, 20, mapped);
  const std::int8_t back[20] = {0, 1, 3, 4, 6, 8, 10, 11, 12, 14, 16, 17, 18, 19, 20, 22, 24, 26, 29, 32};
  EXPECT_TRUE(std::equal(back, back + 20, mapped));
  MapPsIndices(wide, 34, 10, mapped);
  const std::int8_t coarse[10] = {0, 3, 6, 10, 12, 16, 18, 20, 24, 29};
  EXPECT_TRUE(std::equal(coarse, coarse + 10, mapped));
}

TEST(PsBands, MapsPhasesByTheTables) {
  const std::int8_t coarse[5] = {1, 2, 3, 4, 5};
  std::int8_t mapped[17];
  MapPsPhases(coarse, 5, 11, mapped);
  const std::int8_t narrow[11] = {1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 0};
  EXPECT_TRUE(std::equal(narrow, narrow + 11, mapped));
  MapPsPhases(coarse, 5, 17, mapped);
  const std::int8_t wide[17] = {1, 1, 1, 2, 2, 2, 3, 3, 3, 3, 4, 4, 5, 5, 5, 5, 0};
  EXPECT_TRUE(std::equal(wide, wide + 17, mapped));
}

TEST(PsBands, MapsCoefficientsThereAndBackWhereBandsMatch) {
  float narrow[20], wide[34], back[20];
  for (int i = 0; i < 20; ++i) narrow[i] = static_cast<float>(i) * 0.5f;
  MapPsCoefficients(narrow, 20, 34, wide);
  EXPECT_EQ(0.25f, wide[1]);
  EXPECT_EQ(1.25f, wide[4]);
  MapPsCoefficients(wide, 34, 20, back);
  for (int i = 4; i < 20; ++i) EXPECT_FLOAT_EQ(narrow[i], back[i]) << i;
  EXPECT_FLOAT_EQ((2 * 0.0f + 0.25f) / 3, back[0]);
}

TEST(PsTables, MixByBothProcedures) {
  const struct {
    int iid, icc;
    PsMixing a, b;
  } checks[] = {{0, 0, {1, 1, 0, 0}, {1, 1, 0, 0}},
                {3,
                 2,
                 {1.278372f, 0.524276f, 0.1819064f, -0.2404365f},
                 {1.2867995f, 0.5093751f, -0.1071071f, 0.2705773f}},
                {-5,
                 4,
                 {0.1338444f, 1.3754618f, 0.2421955f, -0.177572f},
                 {0.1053291f, 1.3867405f, -0.2558882f, 0.0194358f}},
                {7,
                 7,
                 {1.4061827f, -0.0790755f, 0.1278503f, -0.0071895f},
                 {1.4119828f, 0.0039826f, -0.0002237f, 0.0793017f}},
                {-2,
                 5,
                 {0.3881657f, 1.0256867f, 0.6471645f, -0.6152011f},
                 {0.0624846f, 1.1953912f, -0.7520573f, 0.0393109f}}};
  for (const auto& check : checks) {
    for (int procedure = 0; procedure < 2; ++procedure) {
      const PsMixing& expected = procedure == 0 ? check.a : check.b;
      const PsMixing& made = SharedPsTables().mixing[procedure][0][check.iid + 15][check.icc];
      EXPECT_NEAR(expected.h11, made.h11, 1e-6);
      EXPECT_NEAR(expected.h12, made.h12, 1e-6);
      EXPECT_NEAR(expected.h21, made.h21, 1e-6);
      EXPECT_NEAR(expected.h22, made.h22, 1e-6);
    }
  }
}

// For uncorrelated signals of equal power, the mix has the requested power, ratio and coherence.
TEST(PsTables, MixToTheRequestedPowerLevelAndCoherence) {
  const double coherences[] = {1, 0.937, 0.84118, 0.60092, 0.36764, 0, -0.589, -1};
  const double fine[] = {0, 2, 4, 6, 8, 10, 13, 16, 19, 22, 25, 30, 35, 40, 45, 50};
  for (int procedure = 0; procedure < 2; ++procedure) {
    for (int iid = -15; iid <= 15; ++iid) {
      for (int icc = 0; icc < 8; ++icc) {
        const PsMixing& h = SharedPsTables().mixing[procedure][1][iid + 15][icc];
        const double left = h.h11 * h.h11 + h.h21 * h.h21, right = h.h12 * h.h12 + h.h22 * h.h22;
        EXPECT_NEAR(2, left + right, 1e-5);
        EXPECT_NEAR((iid < 0 ? -1 : 1) * fine[std::abs(iid)], 10 * std::log10(left / right), 0.01);
        // Procedure B has a floor at 0.05.
        const double asked = procedure == 1 ? std::max(coherences[icc], 0.05) : coherences[icc];
        EXPECT_NEAR(asked, (h.h11 * h.h12 + h.h21 * h.h22) / std::sqrt(left * right), 2e-4)
            << procedure << ' ' << iid << ' ' << icc;
      }
    }
  }
}

constexpr int kSlots = 32;

struct Frame {
  Ipp32fc left[kSlots + kPsLookAhead][kIppsSbrBands];
  Ipp32fc right[kSlots][kIppsSbrBands];
};

// Passes a mono signal through, frame by frame.
class Stereo {
 public:
  explicit Stereo(unsigned seed) : m_random(seed) {}

  // A frame of noise; its look-ahead is the start of the next one.
  void Noise() {
    std::normal_distribution<float> normal(0, 1000);
    for (int slot = 0; slot < kPsLookAhead; ++slot)
      std::copy_n(m_ahead[slot], kIppsSbrBands, m_frame->left[slot]);
    for (int slot = kPsLookAhead; slot < kSlots + kPsLookAhead; ++slot) {
      for (Ipp32fc& value : m_frame->left[slot]) value = {normal(m_random), normal(m_random)};
    }
    for (int slot = 0; slot < kPsLookAhead; ++slot)
      std::copy_n(m_frame->left[kSlots + slot], kIppsSbrBands, m_ahead[slot]);
    *m_mono = *m_frame;
  }
  void Apply(const PsData& data) {
    ApplyParametricStereo(data, *m_state, *m_scratch, kSlots, m_frame->left, m_frame->right);
  }
  Frame& Now() { return *m_frame; }
  const Frame& Mono() const { return *m_mono; }
  PsState& State() { return *m_state; }

 private:
  std::mt19937 m_random;
  Ipp32fc m_ahead[kPsLookAhead][kIppsSbrBands] = {};
  std::unique_ptr<Frame> m_frame = std::make_unique<Frame>();
  std::unique_ptr<Frame> m_mono = std::make_unique<Frame>();
  std::unique_ptr<PsState> m_state = std::make_unique<PsState>();
  std::unique_ptr<PsScratch> m_scratch = std::make_unique<PsScratch>();
};

// One envelope with the same index in all bands.
PsData Constant(int iidMode, int iccMode, int iid, int icc) {
  PsData data{};
  data.headerSeen = data.iidEnabled = data.iccEnabled = true;
  data.iidMode = static_cast<std::uint8_t>(iidMode);
  data.iccMode = static_cast<std::uint8_t>(iccMode);
  data.payloads = 1;
  data.envelopeCount = 1;
  data.envelopes[0].border = kSlots - 1;
  std::fill_n(data.envelopes[0].iid, kMaxPsBands, static_cast<std::int8_t>(iid));
  std::fill_n(data.envelopes[0].icc, kMaxPsBands, static_cast<std::int8_t>(icc));
  return data;
}

TEST(ParametricStereo, CopiesMonoBeforeTheFirstHeader) {
  Stereo stereo(1);
  stereo.Noise();
  stereo.Apply(PsData{});
  for (int slot = 0; slot < kSlots; ++slot) {
    for (int band = 0; band < kIppsSbrBands; ++band) {
      EXPECT_EQ(stereo.Mono().left[slot][band].re, stereo.Now().left[slot][band].re);
      EXPECT_EQ(stereo.Mono().left[slot][band].im, stereo.Now().right[slot][band].im);
    }
  }
}

// With equal levels and full coherence only the hybrid filter banks act on the signal.
TEST(ParametricStereo, SplitsAndJoinsTheLowBandsPerfectly) {
  for (const int mode : {1, 2}) {
    Stereo stereo(2);
    for (int frame = 0; frame < 3; ++frame) {
      stereo.Noise();
      stereo.Apply(Constant(mode, mode, 0, 0));
      for (int slot = frame == 0 ? kPsLookAhead : 0; slot < kSlots; ++slot) {
        for (int band = 0; band < kIppsSbrBands; ++band) {
          const Ipp32fc expected = stereo.Mono().left[slot][band];
          ASSERT_NEAR(expected.re, stereo.Now().left[slot][band].re, 2e-3) << slot << ' ' << band;
          ASSERT_NEAR(expected.im, stereo.Now().left[slot][band].im, 2e-3) << slot << ' ' << band;
          ASSERT_NEAR(expected.re, stereo.Now().right[slot][band].re, 2e-3) << slot << ' ' << band;
        }
      }
    }
  }
}

// For noise, the decorrelated signal behaves as the mixing assumes.
TEST(ParametricStereo, ReachesPowerLevelAndCoherenceInEveryBandOfNoise) {
  const double coherences[] = {1, 0.937, 0.84118, 0.60092, 0.36764, 0, -0.589, -1};
  const double fine[] = {0, 2, 4, 6, 8, 10, 13, 16, 19, 22, 25, 30, 35, 40, 45, 50};
  for (const int mode : {4, 5}) {
    for (const int iccMode : {mode - 3, mode}) {
      for (const auto& [iid, icc] : {std::pair{0, 5}, {5, 3}, {-7, 4}, {2, 2}}) {
        Stereo stereo(3);
        const PsData data = Constant(mode, iccMode, iid, icc);
        double mono[kIppsSbrBands] = {}, left[kIppsSbrBands] = {}, right[kIppsSbrBands] = {},
               cross[kIppsSbrBands] = {};
        for (int frame = 0; frame < 200; ++frame) {
          stereo.Noise();
          stereo.Apply(data);
          for (int slot = 0; frame > 1 && slot < kSlots; ++slot) {
            for (int band = 0; band < kIppsSbrBands; ++band) {
              const Ipp32fc m = stereo.Mono().left[slot][band], l = stereo.Now().left[slot][band],
                            r = stereo.Now().right[slot][band];
              mono[band] += m.re * m.re + m.im * m.im;
              left[band] += l.re * l.re + l.im * l.im;
              right[band] += r.re * r.re + r.im * r.im;
              cross[band] += l.re * r.re + l.im * r.im;
            }
          }
        }
        const double rho = iccMode >= 3 ? std::max(coherences[icc], 0.05) : coherences[icc];
        for (int band = 0; band < kIppsSbrBands; ++band) {
          EXPECT_NEAR((iid < 0 ? -1 : 1) * fine[std::abs(iid)], 10 * std::log10(left[band] / right[band]),
                      1.5)
              << mode << ' ' << iccMode << ' ' << iid << ' ' << band;
          // Bands that are split are too narrow for their delays to remove all correlation; in other narrow
          // ones noise has transients, where the decorrelated signal is attenuated.
          EXPECT_NEAR(rho, cross[band] / std::sqrt(left[band] * right[band]),
                      band < kMaxPsSplitQmfBands ? 0.2 : 0.12)
              << mode << ' ' << iccMode << ' ' << iid << ' ' << band;
          EXPECT_NEAR(1, (left[band] + right[band]) / (2 * mono[band]), 0.2) << band;
        }
      }
    }
  }
}

TEST(ParametricStereo, InterpolatesLinearlyBetweenEnvelopes) {
  Stereo stereo(4);
  PsData data = Constant(1, 1, 0, 0);
  stereo.Noise();
  stereo.Apply(data);
  // Full coherence throughout: the direct signal's coefficients are all there is.
  data.payloads = 2;
  data.envelopeCount = 2;
  data.envelopes[1] = data.envelopes[0];
  data.envelopes[0].border = 9;
  std::fill_n(data.envelopes[0].iid, kMaxPsBands, std::int8_t{7});
  std::fill_n(data.envelopes[1].iid, kMaxPsBands, std::int8_t{-7});
  stereo.Noise();
  stereo.Apply(data);
  const double ratio = std::pow(10, 25 / 20.0);
  const double high = std::numbers::sqrt2 * ratio / std::hypot(1, ratio), low = high / ratio;
  for (int slot = 0; slot < kSlots; ++slot) {
    const double h = slot < 10 ? 1 + (high - 1) * (slot + 1) / 10 : high + (low - high) * (slot - 9) / 22;
    const float mono = stereo.Mono().left[slot][40].re;
    EXPECT_NEAR(h * mono, stereo.Now().left[slot][40].re, 1e-2) << slot;
  }
}

TEST(ParametricStereo, KeepsTheParametersWithoutAPayload) {
  Stereo stereo(5);
  const PsData data = Constant(1, 1, 7, 0);
  for (int frame = 0; frame < 3; ++frame) {
    stereo.Noise();
    stereo.Apply(data);
  }
  const double ratio = std::pow(10, 25 / 20.0);
  const double h = std::numbers::sqrt2 * ratio / std::hypot(1, ratio);
  for (int slot = 0; slot < kSlots; ++slot)
    EXPECT_NEAR(h * stereo.Mono().left[slot][50].re, stereo.Now().left[slot][50].re, 1e-2) << slot;
}

TEST(ParametricStereo, RotatesTheChannelsByThePhases) {
  Stereo stereo(6);
  PsData data = Constant(1, 1, 0, 0);
  data.extensionEnabled = data.phasesEnabled = true;
  std::fill_n(data.envelopes[0].opd, kMaxPsPhaseBands, std::int8_t{1});
  std::fill_n(data.envelopes[0].ipd, kMaxPsPhaseBands, std::int8_t{3});
  for (int frame = 0; frame < 5; ++frame) {
    ++data.payloads;
    stereo.Noise();
    stereo.Apply(data);
  }
  // Band 4 has phases, band 40 has none. Left is rotated by OPD, right by OPD - IPD.
  for (int slot = 0; slot < kSlots; ++slot) {
    const auto value = [slot](const Ipp32fc(*qmf)[kIppsSbrBands], int band) {
      return std::complex<double>(qmf[slot][band].re, qmf[slot][band].im);
    };
    const std::complex<double> low = value(stereo.Mono().left, 4), high = value(stereo.Mono().left, 40);
    const double eighth = std::numbers::pi / 4;
    EXPECT_NEAR(0, std::abs(low * std::polar(1.0, eighth) - value(stereo.Now().left, 4)), 1e-2);
    EXPECT_NEAR(0, std::abs(low * std::polar(1.0, -2 * eighth) - value(stereo.Now().right, 4)), 1e-2);
    EXPECT_NEAR(0, std::abs(high - value(stereo.Now().right, 40)), 1e-2);
  }
}

TEST(ParametricStereo, ConvertsItsCoefficientsWhenTheBandsChange) {
  Stereo stereo(7);
  PsData data = Constant(1, 1, 7, 0);
  stereo.Noise();
  stereo.Apply(data);
  EXPECT_FALSE(stereo.State().wide);
  data.payloads = 2;
  data.iidMode = 2;
  stereo.Noise();
  stereo.Apply(data);
  EXPECT_TRUE(stereo.State().wide);
  // The same level before and after: nothing changes in between.
  const double ratio = std::pow(10, 25 / 20.0);
  const double h = std::numbers::sqrt2 * ratio / std::hypot(1, ratio);
  for (int slot = 0; slot < kSlots; ++slot)
    EXPECT_NEAR(h * stereo.Mono().left[slot][50].re, stereo.Now().left[slot][50].re, 1e-2) << slot;
  // Neither parameter: the bands stay.
  data.payloads = 3;
  data.iidEnabled = data.iccEnabled = false;
  stereo.Noise();
  stereo.Apply(data);
  EXPECT_TRUE(stereo.State().wide);
}

// A click into the all-pass filters comes out with the same energy; a click that comes out at once is not
// decorrelated.
TEST(PsDecorrelator, KeepsTheEnergyOfEveryBand) {
  for (const bool wide : {false, true}) {
    const PsConfiguration& configuration = SharedPsTables().Of(wide);
    PsDecorrelatorState state{};
    double energy[kMaxPsHybridBands] = {};
    float in[2][kPsHybridBands] = {}, out[2][kPsHybridBands], powers[kPsHybridBands], gains[kPsHybridBands];
    std::fill_n(in[0], configuration.hybridBands, 1.0f);
    for (int slot = 0; slot < 300; ++slot) {
      Decorrelate(configuration, state, {in[0], in[1]}, {out[0], out[1]}, powers, gains);
      std::fill_n(in[0], configuration.hybridBands, 0.0f);
      for (int k = 0; k < configuration.hybridBands; ++k) {
        energy[k] += out[0][k] * out[0][k] + out[1][k] * out[1][k];
        const int delay = k < configuration.allPassBands ? 2 : k < configuration.longDelayBands ? 14 : 1;
        if (slot < delay) {
          ASSERT_EQ(0, out[0][k]) << k << " " << slot;
        }
        if (slot == delay) {
          ASSERT_NE(0, out[0][k]) << k << " " << slot;
        }
      }
    }
    for (int k = 0; k < configuration.hybridBands; ++k) EXPECT_NEAR(1, energy[k], 1e-4) << k;
  }
}

TEST(PsDecorrelator, AttenuatesTransients) {
  const PsConfiguration& configuration = SharedPsTables().Of(false);
  PsDecorrelatorState state{};
  float in[2][kPsHybridBands] = {}, out[2][kPsHybridBands], powers[kPsHybridBands], gains[kPsHybridBands];
  // A click in band 12, which alone is parameter band 10. The formulae by hand:
  double peak = 0, power = 0, difference = 0;
  for (int slot = 0; slot < 20; ++slot) {
    const double p = slot == 3 ? 10000 : 1;
    in[0][12] = static_cast<float>(std::sqrt(p));
    peak = std::max(0.76592833836465 * peak, p);
    power += 0.25 * (p - power);
    difference += 0.25 * (peak - p - difference);
    const double expected = 1.5 * difference > power ? power / (1.5 * difference) : 1;
    Decorrelate(configuration, state, {in[0], in[1]}, {out[0], out[1]}, powers, gains);
    EXPECT_NEAR(expected, gains[12], 1e-4) << slot;
    EXPECT_EQ(1, gains[13]);
    if (slot == 6) {
      EXPECT_LT(gains[12], 0.8);
    }
  }
}

TEST(PsDecorrelator, ClearsNonFiniteAndDecayedValues) {
  const PsConfiguration& configuration = SharedPsTables().Of(true);
  PsDecorrelatorState state{};
  float in[2][kPsHybridBands] = {}, out[2][kPsHybridBands], powers[kPsHybridBands], gains[kPsHybridBands];
  std::fill_n(in[0], kPsHybridBands, std::numeric_limits<float>::infinity());
  std::fill_n(in[1], kPsHybridBands, 1e-30f);
  for (int slot = 0; slot < 40; ++slot)
    Decorrelate(configuration, state, {in[0], in[1]}, {out[0], out[1]}, powers, gains);
  SweepDecorrelator(state);
  std::fill_n(in[0], kPsHybridBands, 0.0f);
  std::fill_n(in[1], kPsHybridBands, 0.0f);
  Decorrelate(configuration, state, {in[0], in[1]}, {out[0], out[1]}, powers, gains);
  for (int k = 0; k < configuration.hybridBands; ++k) {
    EXPECT_EQ(0, out[0][k]);
    EXPECT_EQ(0, out[1][k]);
    EXPECT_EQ(1, gains[k]);
  }
}

}  // namespace

}  // namespace fmp4
