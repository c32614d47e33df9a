// The tools alone, against their definitions.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "aac_decoder.h"
#include "audio_specific_config.h"
#include "bit_writer.h"
#include "decoder_options.h"
#include "decoder_state.h"
#include "filter_bank.h"
#include "mixdown.h"
#include "noise.h"
#include "tns.h"

namespace {

using namespace UMC::aac;

TEST(FilterBankTest, AnswersAnImpulseInTheFirstFrame) {
  FilterBankState state{};
  FilterBankScratch scratch;
  alignas(16) float spectrum[1024] = {};
  spectrum[0] = 1;
  SynthesiseFrame(*SharedFilterBank(1024), WindowSequence::kOnlyLong, kSineShape, state, scratch, spectrum);
  for (int i = 0; i < 1024; ++i) {
    const double sample = 2.0 / 2048 * std::cos(std::numbers::pi / 1024 * (i + 512.5) * 0.5);
    EXPECT_NEAR(sample * std::sin(std::numbers::pi / 2048 * (i + 0.5)), spectrum[i], 1e-9);
  }
}

TEST(Tns, StepsUpReflectionCoefficients) {
  TnsFilter filter{};
  filter.order = 3;
  filter.resolutionBits = 4;
  filter.coefficients[0] = 3;
  filter.coefficients[1] = -2;
  filter.coefficients[2] = 1;
  float predictor[kMaxTnsOrderLong];
  TnsPredictor(filter, predictor);
  EXPECT_NEAR(0.3003463628, predictor[0], 1e-6);
  EXPECT_NEAR(-0.2831806546, predictor[1], 1e-6);
  EXPECT_NEAR(0.2079116908, predictor[2], 1e-6);
}

TEST(Tns, FiltersUpAndDown) {
  IcsInfo ics{};
  ics.bands = &BandsOf(3, 1024).longWindow;
  TnsData tns{};
  tns.count = 1;
  TnsFilter& filter = tns.filters[0];
  filter.startBand = 2;
  filter.endBand = 40;
  filter.order = 2;
  filter.resolutionBits = 3;
  filter.coefficients[0] = -3;
  filter.coefficients[1] = 2;
  float a[kMaxTnsOrderLong];
  TnsPredictor(filter, a);
  const int start = ics.bands->offsets[2], end = ics.bands->offsets[40];
  for (const bool downward : {false, true}) {
    filter.downward = downward;
    std::vector<float> spectrum(1024), expected(1024);
    for (std::size_t i = 0; i < 1024; ++i) spectrum[i] = static_cast<float>((i * 37 % 101)) - 50;
    expected = spectrum;
    double last = 0, beforeLast = 0;
    for (int i = 0; i < end - start; ++i) {
      float& line = expected[static_cast<std::size_t>(downward ? end - 1 - i : start + i)];
      const double y = line - a[0] * last - a[1] * beforeLast;
      beforeLast = last;
      last = y;
      line = static_cast<float>(y);
    }
    ApplyTns(tns, ics, spectrum.data());
    for (std::size_t i = 0; i < 1024; ++i) ASSERT_NEAR(expected[i], spectrum[i], 1e-3) << i;
  }
}

TEST(Noise, HasTheEnergyThatWasSentAndDependsOnTheBytesAlone) {
  const std::uint8_t bytes[20] = {1, 2, 3}, others[20] = {1, 2, 4};
  for (const int energy : {-10, 0, 40, 101}) {
    std::vector<float> noise(32), again(32), other(32);
    NoiseGenerator(bytes, 20).Fill(energy, 32, noise.data());
    NoiseGenerator(bytes, 20).Fill(energy, 32, again.data());
    NoiseGenerator(others, 20).Fill(energy, 32, other.data());
    double sum = 0;
    for (const float x : noise) sum += static_cast<double>(x) * x;
    const double expected = std::exp2(0.5 * energy);
    EXPECT_NEAR(expected, sum, expected * 1e-5);
    EXPECT_EQ(noise, again);
    EXPECT_NE(noise, other);
  }
}

TEST(Mixdown, CopiesMonoToBothOfTwo) {
  const MixMatrix mix = MakeMixMatrix(LayoutOfConfiguration(1), 2);
  EXPECT_EQ(1.0f, mix.gains[0][0]);
  EXPECT_EQ(1.0f, mix.gains[1][0]);
}

TEST(Mixdown, PutsAsManyChannelsInWaveOrder) {
  const MixMatrix mix = MakeMixMatrix(LayoutOfConfiguration(6), 6);
  // Left, right, centre, low frequencies, surround pair, out of: centre, left, right, surround pair, low.
  const int from[6] = {1, 2, 0, 5, 3, 4};
  for (int i = 0; i < 6; ++i) {
    for (int j = 0; j < 6; ++j) EXPECT_EQ(j == from[i] ? 1.0f : 0.0f, mix.gains[i][j]);
  }
}

TEST(Mixdown, FoldsFivePointOneByTheStandardsRule) {
  const MixMatrix mix = MakeMixMatrix(LayoutOfConfiguration(6), 2);
  const float h = std::sqrt(0.5f), k = 1 / (1 + 2 * h);
  const float left[6] = {k * h, k, 0, k * h, 0, 0}, right[6] = {k * h, 0, k, 0, k * h, 0};
  for (int j = 0; j < 6; ++j) {
    EXPECT_NEAR(left[j], mix.gains[0][j], 1e-6) << j;
    EXPECT_NEAR(right[j], mix.gains[1][j], 1e-6) << j;
  }
}

TEST(Mixdown, UsesTheMixdownIndexOfTheProgram) {
  Layout layout = LayoutOfConfiguration(5);
  const float gains[4] = {std::sqrt(0.5f), 0.5f, std::sqrt(0.125f), 0};
  for (std::int8_t index = 0; index < 4; ++index) {
    layout.mixdownIndex = index;
    const float a = gains[index], h = std::sqrt(0.5f);
    const MixMatrix stereo = MakeMixMatrix(layout, 2), mono = MakeMixMatrix(layout, 1);
    EXPECT_NEAR(a / (1 + h + a), stereo.gains[0][3], 1e-6);
    EXPECT_NEAR(1 / (3 + 2 * a), mono.gains[0][0], 1e-6);
    EXPECT_NEAR(a / (3 + 2 * a), mono.gains[0][4], 1e-6);
  }
}

TEST(Mixdown, NeverExceedsFullScale) {
  for (const int configuration : {1, 2, 3, 4, 5, 6, 7, 11, 12}) {
    const Layout layout = LayoutOfConfiguration(configuration);
    for (int outputs = 1; outputs <= kMaxChannels; ++outputs) {
      const MixMatrix mix = MakeMixMatrix(layout, outputs);
      EXPECT_EQ(outputs, mix.outputs);
      float most = 0;
      for (int i = 0; i < outputs; ++i) {
        float sum = 0;
        for (const float gain : mix.gains[i]) sum += std::abs(gain);
        EXPECT_LE(sum, 1.000001f);
        most = std::max(most, sum);
      }
      EXPECT_GT(most, 0.99f);
    }
  }
}

TEST(Options, AreTakenOverOnlyWhereTheyAreKnown) {
  DecoderOptions options;
  UMC::AACDecoderParams params;
  const auto apply = [&](int mode, int flag, int level, int stereo, int layer) {
    params.m_sbrMode = mode;
    params.m_sbrDownSampled = flag;
    params.m_sbrLevel = level;
    params.m_stereoExtensionLevel = stereo;
    params.m_layer = layer;
    ApplyOptions(params, options);
    return std::vector<int>{options.sbrMode, options.sbrDownSampled, options.sbrLevel,
                            options.stereoExtensionLevel, options.layer};
  };
  EXPECT_EQ((std::vector<int>{28, 0, 5, 1, 2}), apply(28, 0, 5, 1, 2));
  EXPECT_EQ((std::vector<int>{28, 0, 5, 1, 3}), apply(19, 1, 6, 0, 3));
  EXPECT_EQ((std::vector<int>{28, 0, 5, 1, 4}), apply(18, 2, 6, 0, 4));
  EXPECT_EQ((std::vector<int>{18, 1, 6, 0, 5}), apply(18, 1, 6, 7, 5));
  EXPECT_EQ((std::vector<int>{18, 0, 7, 111, 5}), apply(28, 1, 7, 111, 5));
  EXPECT_EQ((std::vector<int>{18, 0, 8, 411, 5}), apply(28, 1, 8, 411, 5));
  EXPECT_EQ((std::vector<int>{28, 1, 8, 0, 5}), apply(28, 1, 8, 0, 5));
}

TEST(AudioSpecificConfigTest, ReadsEveryWayToSignalSbr) {
  AudioSpecificConfig config;
  const std::uint8_t plain[] = {0x11, 0x90};
  ASSERT_TRUE(ParseAudioSpecificConfig(plain, 2, config));
  EXPECT_EQ(kObjectLc, config.objectType);
  EXPECT_EQ(48000u, config.frequency);
  EXPECT_EQ(2, config.channelConfiguration);
  EXPECT_EQ(2, config.layout.channelCount);
  EXPECT_EQ(1024, config.frameLength);
  EXPECT_FALSE(config.sbrSignalled);

  BitWriter explicitly;
  explicitly.Write(29, 5);
  explicitly.Write(6, 4);
  explicitly.Write(1, 4);
  explicitly.Write(15, 4);
  explicitly.Write(48000, 24);
  explicitly.Write(2, 5);
  explicitly.Write(4, 3);  // 960 samples
  ASSERT_TRUE(ParseAudioSpecificConfig(explicitly.Bytes().data(), explicitly.Bytes().size(), config));
  EXPECT_EQ(kObjectLc, config.objectType);
  EXPECT_EQ(24000u, config.frequency);
  EXPECT_EQ(48000u, config.extensionFrequency);
  EXPECT_EQ(960, config.frameLength);
  EXPECT_TRUE(config.sbrSignalled);
  EXPECT_TRUE(config.psSignalled);

  const std::uint8_t trailing[] = {0x13, 0x08, 0x56, 0xE5, 0x9D, 0x48, 0x80};
  ASSERT_TRUE(ParseAudioSpecificConfig(trailing, 7, config));
  EXPECT_EQ(24000u, config.frequency);
  EXPECT_TRUE(config.sbrSignalled);
  EXPECT_EQ(48000u, config.extensionFrequency);
  EXPECT_TRUE(config.psSignalled);
}

TEST(SamplingIndex, FollowsTheTableOfRanges) {
  EXPECT_EQ(0, SamplingIndexOf(100000));
  EXPECT_EQ(0, SamplingIndexOf(92017));
  EXPECT_EQ(1, SamplingIndexOf(92016));
  EXPECT_EQ(4, SamplingIndexOf(44100));
  EXPECT_EQ(10, SamplingIndexOf(9391));
  EXPECT_EQ(11, SamplingIndexOf(9390));
  EXPECT_EQ(11, SamplingIndexOf(0));
}

TEST(DecoderMemory, StaysBelow400Kilobytes) {
  EXPECT_LT(sizeof(DecoderState) + sizeof(WorkArea), 400u * 1024);
}

}  // namespace
