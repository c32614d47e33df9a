// The tools one by one, against their definitions.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <numbers>

#include "audio/umc/aac/aac_decoder.h"
#include "audio/umc/aac/core/filter_bank.h"
#include "audio/umc/aac/core/gain_control.h"
#include "audio/umc/aac/core/ltp.h"
#include "audio/umc/aac/core/mixdown.h"
#include "audio/umc/aac/core/noise.h"
#include "audio/umc/aac/core/prediction.h"
#include "audio/umc/aac/core/scale_factors.h"
#include "audio/umc/aac/core/stereo.h"
#include "audio/umc/aac/core/tns.h"
#include "audio/umc/aac/decoder_options.h"
#include "audio/umc/aac/decoder_state.h"
#include "audio/umc/mdct_windows.h"
#include "base/aac/audio_specific_config.h"
#include "tests/audio/bit_writer.h"

namespace fmp4 {

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

TEST(Tns, AnalysisIsTheInverse) {
  IcsInfo ics{};
  ics.bands = &BandsOf(3, 1024).longWindow;
  TnsData tns{};
  tns.count = 1;
  tns.filters[0] = {0, 5, 30, 4, false, 4, {2, -3, 1, -1}};
  for (const bool downward : {false, true}) {
    tns.filters[0].downward = downward;
    std::vector<float> spectrum(1024), lines;
    for (std::size_t i = 0; i < 1024; ++i) spectrum[i] = static_cast<float>(i * 37 % 101) - 50;
    lines = spectrum;
    ApplyTns(tns, ics, lines.data());
    EXPECT_NE(spectrum, lines);
    ApplyTnsAnalysis(tns, ics, lines.data());
    for (std::size_t i = 0; i < 1024; ++i) ASSERT_NEAR(spectrum[i], lines[i], 1e-3) << i;
  }
}

// A long window of one channel with all its bands coded.
std::unique_ptr<ChannelStream> LongChannel(int samplingIndex) {
  auto channel = std::make_unique<ChannelStream>();
  *channel = {};
  channel->ics.bands = &BandsOf(samplingIndex, 1024).longWindow;
  channel->ics.maxSfb = static_cast<std::uint8_t>(channel->ics.bands->bands);
  channel->ics.groups = channel->ics.groupLength[0] = 1;
  std::fill_n(channel->codebook, channel->ics.maxSfb, std::uint8_t{1});
  return channel;
}

TEST(PredictionTest, ReadsTheFlagsOfBandsThatAreSentAndPredicted) {
  const BandTable& bands = BandsOf(3, 1024).longWindow;
  for (const int maxSfb : {3, 40, 49}) {
    BitWriter bits;
    bits.Write(1, 1);
    bits.Write(17, 5);
    for (int i = 0; i < 60; ++i) bits.Write(1, 1);
    BitWindow stream(bits.Bytes().data(), bits.Bytes().size());
    PredictionData prediction{};
    ASSERT_TRUE(ParsePredictionData(stream, bands, maxSfb, prediction));
    const int sent = std::min(maxSfb, 40);
    EXPECT_EQ(17, prediction.resetGroup);
    EXPECT_EQ((std::uint64_t{1} << sent) - 1, prediction.used);
    EXPECT_EQ(6u + static_cast<std::size_t>(sent), stream.Position());
  }
  for (const unsigned group : {0u, 31u}) {
    BitWriter bits;
    bits.Write(1, 1);
    bits.Write(group, 5);
    BitWindow stream(bits.Bytes().data(), bits.Bytes().size());
    PredictionData prediction{};
    EXPECT_FALSE(ParsePredictionData(stream, bands, 0, prediction));
  }
}

TEST(PredictionTest, FollowsASteadyLineUntilItIsReset) {
  const auto channel = LongChannel(3);
  PredictionState state;
  StartPrediction(state);
  const auto predict = [&](std::uint64_t used) {
    std::fill_n(channel->spectrum, 1024, used != 0 ? 0.0f : 1000.0f);
    channel->ics.prediction.used = used;
    ApplyPrediction(state, *channel);
  };
  for (int i = 0; i < 30; ++i) predict(0);
  PredictionState learnt = state;
  predict(~std::uint64_t{0});
  EXPECT_NEAR(1000, channel->spectrum[0], 100);
  EXPECT_NEAR(1000, channel->spectrum[671], 100);
  EXPECT_EQ(0, channel->spectrum[672]);

  // Only bands that are flagged, and none of noise or intensity.
  state = learnt;
  channel->codebook[1] = kNoiseCodebook;
  channel->codebook[2] = kIntensityInPhase;
  predict(0b0110'1111);
  const std::uint16_t* offsets = channel->ics.bands->offsets;
  for (int band = 0; band < 8; ++band) {
    const bool predicted = band == 0 || band == 3 || band == 5 || band == 6;
    EXPECT_EQ(predicted, channel->spectrum[offsets[band]] != 0) << band;
  }
  EXPECT_EQ(0x3F80, state.predictors.variance1[offsets[1]]) << "noise resets its lines";
  EXPECT_NE(0x3F80, state.predictors.variance1[offsets[2]]);

  // A group's lines are 30 apart, and are reset after the prediction.
  state = learnt;
  channel->ics.prediction.resetGroup = 30;
  predict(~std::uint64_t{0});
  EXPECT_NE(0, channel->spectrum[29]);
  for (std::size_t line = 0; line < 672; ++line) {
    EXPECT_EQ(line % 30 == 29 || (line >= offsets[1] && line < offsets[2]),
              state.predictors.variance1[line] == 0x3F80)
        << line;
  }

  state = learnt;
  channel->ics.sequence = WindowSequence::kEightShort;
  ApplyPrediction(state, *channel);
  for (const std::uint16_t variance : state.predictors.variance1) EXPECT_EQ(0x3F80, variance);
}

TEST(PredictionTest, ResetsWhereASignalOverflows) {
  const auto channel = LongChannel(3);
  PredictionState state;
  StartPrediction(state);
  std::fill_n(channel->spectrum, 1024, 1e30f);
  ApplyPrediction(state, *channel);
  EXPECT_EQ(0x3F80, state.predictors.variance1[0]);
  EXPECT_EQ(0, state.predictors.r0[0]);
}

TEST(LongTermPrediction, ReadsTheFlagsOfSentBands) {
  BitWriter bits;
  bits.Write(1234, 11);
  bits.Write(5, 3);
  for (int i = 0; i < 60; ++i) bits.Write(static_cast<unsigned>(i & 1), 1);
  BitWindow stream(bits.Bytes().data(), bits.Bytes().size());
  LtpData ltp{};
  ParseLtpData(stream, 49, ltp);
  EXPECT_TRUE(ltp.present);
  EXPECT_EQ(1234, ltp.lag);
  EXPECT_EQ(5, ltp.coefficient);
  EXPECT_EQ(0xAAAAAAAAAAu, ltp.used);
  EXPECT_EQ(14u + 40, stream.Position());
}

// With a signal whose period is the lag, the prediction of a complete frame continues the signal.
TEST(LongTermPrediction, ContinuesAPeriodicSignal) {
  const auto sine = [](int i) {
    return static_cast<float>(10000 * std::sin(2 * std::numbers::pi * i / 128));
  };
  const FilterBank& bank = *SharedFilterBank(1024);
  const auto channel = LongChannel(3);
  auto state = std::make_unique<LtpState>();
  for (int i = 0; i < kLtpHistory; ++i) state->past[i] = sine(i);
  const auto overlap = std::make_unique<FilterBankState>();
  *overlap = {};
  // As the last frame's transform leaves it: a half and its mirror, each windowed.
  std::vector<float> rise(1024);
  UMC::MakeSineWindow(1024, rise.data());
  for (int i = 0; i < 1024; ++i) {
    overlap->tail[i] = sine(i) * rise[static_cast<std::size_t>(1023 - i)] +
                       sine(1023 - i) * rise[static_cast<std::size_t>(i)];
  }
  channel->ics.ltp = {true, 4, 15 * 128, 0xFFFFFFFFFF};
  FilterBankScratch scratch;
  ApplyLtp(bank, *overlap, *state, scratch, *channel);
  SynthesiseFrame(bank, WindowSequence::kOnlyLong, kSineShape, *overlap, scratch, channel->spectrum);
  for (int i = 0; i < 1024; ++i) {
    // The tail's share is unscaled, the prediction's is multiplied by its coefficient.
    const double w = rise[static_cast<std::size_t>(i)], fall = rise[static_cast<std::size_t>(1023 - i)];
    const double predicted = w * (w * sine(i) - fall * sine(1023 - i));
    const double tail = fall * (fall * sine(i) + w * sine(1023 - i));
    EXPECT_NEAR(0.9849 * predicted + tail, channel->spectrum[i], 2) << i;
  }
}

TEST(LongTermPrediction, KeepsTheLastSamples) {
  auto state = std::make_unique<LtpState>();
  *state = {};
  std::vector<float> first(960, 1.0f), second(960, 2.0f);
  UpdateLtp(first.data(), 960, *state);
  UpdateLtp(second.data(), 960, *state);
  EXPECT_EQ(0, state->past[kLtpHistory - 1921]);
  EXPECT_EQ(1, state->past[kLtpHistory - 1920]);
  EXPECT_EQ(1, state->past[kLtpHistory - 961]);
  EXPECT_EQ(2, state->past[kLtpHistory - 960]);
  EXPECT_EQ(2, state->past[kLtpHistory - 1]);
}

TEST(GainControl, HasFieldsByTheWindowSequence) {
  // Two bands of one adjustment per window.
  const std::size_t windows[4] = {1, 2, 8, 2};
  const unsigned firstBits[4] = {5, 4, 2, 4}, otherBits[4] = {0, 2, 2, 5};
  for (std::size_t sequence = 0; sequence < 4; ++sequence) {
    BitWriter bits;
    bits.Write(2, 2);
    for (std::size_t i = 0; i < 2 * windows[sequence]; ++i) {
      bits.Write(1, 3);
      bits.Write(15, 4);
      const unsigned placeBits = i % windows[sequence] == 0 ? firstBits[sequence] : otherBits[sequence];
      bits.Write((1u << placeBits) - 1, placeBits);
    }
    const std::size_t written = bits.Bits();
    BitWindow stream(bits.Bytes().data(), bits.Bytes().size());
    SkipGainControlData(stream, static_cast<WindowSequence>(sequence));
    EXPECT_EQ(written, stream.Position());
  }
}

TEST(Noise, HasTheSentEnergyAndDependsOnTheBytesAlone) {
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

TEST(Mixdown, CopiesMonoToBothChannelsOfStereo) {
  const MixMatrix mix = MakeMixMatrix(LayoutOfConfiguration(1), 2);
  EXPECT_EQ(1.0f, mix.gains[0][0]);
  EXPECT_EQ(1.0f, mix.gains[1][0]);
}

TEST(Mixdown, OrdersEqualChannelCountsAsInWave) {
  const MixMatrix mix = MakeMixMatrix(LayoutOfConfiguration(6), 6);
  // Left, right, centre, LFE, surround pair, from: centre, left, right, surround pair, LFE.
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

TEST(Options, AreTakenOnlyWhereTheyAreKnown) {
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

TEST(AudioSpecificConfigTest, ReadsEverySignallingOfSbr) {
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

TEST(Mixdown, DoesNotAmplifyQuietLayouts) {
  Layout layout{};
  layout.mixdownIndex = -1;
  ASSERT_TRUE(layout.Add(ElementType::kSingle, 0, Speaker::kFrontCentre));
  ASSERT_TRUE(layout.Add(ElementType::kLfe, 0, Speaker::kLfe));
  ASSERT_TRUE(layout.Add(ElementType::kLfe, 1, Speaker::kLfe));
  const MixMatrix mix = MakeMixMatrix(layout, 2);
  EXPECT_NEAR(std::sqrt(0.5f), mix.gains[0][0], 1e-6);
  EXPECT_NEAR(std::sqrt(0.5f), mix.gains[1][0], 1e-6);
}

TEST(FilterBankTest, ALongWindowAfterShortOnesTakesTheirSlope) {
  const FilterBank& bank = *SharedFilterBank(1024);
  for (const bool endsShort : {true, false}) {
    const auto state = std::make_unique<FilterBankState>();
    const auto scratch = std::make_unique<FilterBankScratch>();
    std::fill_n(state->tail, 1024, 1.0f);
    state->shape = 0;
    state->endsShort = endsShort;
    std::vector<float> lines(1024, 0.0f);
    SynthesiseFrame(bank, WindowSequence::kOnlyLong, 0, *state, *scratch, lines.data());
    // A short slope is in the middle of the frame, 128 samples long.
    EXPECT_EQ(endsShort, lines[447] == 1.0f);
    EXPECT_EQ(endsShort, lines[576] == 0.0f);
    EXPECT_GT(lines[512], 0.6f);
    EXPECT_FALSE(state->endsShort);
  }
}

TEST(ScaleFactors, AreWithin0And255) {
  const auto channel = LongChannel(3);
  channel->ics.maxSfb = 1;
  for (const auto& [gain, valid] : {std::pair{255, true}, {256, false}, {0, true}, {-1, false}}) {
    const std::uint8_t noDifference[8] = {};  // one bit of 0
    BitWindow stream(noDifference, sizeof noDifference);
    EXPECT_EQ(valid, ParseScaleFactorData(stream, *SharedCodebooks(), gain, *channel)) << gain;
  }
}

// Left and right, each with all lines of one value.
struct LeftAndRight {
  std::unique_ptr<ChannelStream> left = LongChannel(3), right = LongChannel(3);
  StereoMask mask{};

  LeftAndRight() {
    left->ics.maxSfb = right->ics.maxSfb = 1;
    std::fill_n(left->spectrum, 1024, 3.0f);
    std::fill_n(right->spectrum, 1024, 1.0f);
    mask.used[0] = 1;
  }
};

TEST(Stereo, IntensityChangesItsPhaseOnlyByTransmittedFlags) {
  for (const bool sent : {true, false}) {
    LeftAndRight pair;
    pair.mask.sent = sent;
    pair.right->codebook[0] = kIntensityInPhase;
    ApplyIntensity(pair.mask, *pair.left, *pair.right);
    EXPECT_EQ(sent ? -3.0f : 3.0f, pair.right->spectrum[0]);
    EXPECT_EQ(3.0f, pair.left->spectrum[0]);
  }
}

TEST(Stereo, MidAndSideLeaveNoiseAlone) {
  for (const auto& [left, right, applied] :
       {std::tuple{1, 1, true}, {kNoiseCodebook, 1, false}, {1, kNoiseCodebook, false}}) {
    LeftAndRight pair;
    pair.left->codebook[0] = static_cast<std::uint8_t>(left);
    pair.right->codebook[0] = static_cast<std::uint8_t>(right);
    ApplyMidSide(pair.mask, *pair.left, *pair.right);
    EXPECT_EQ(applied ? 4.0f : 3.0f, pair.left->spectrum[0]);
    EXPECT_EQ(applied ? 2.0f : 1.0f, pair.right->spectrum[0]);
  }
}

}  // namespace

}  // namespace fmp4
