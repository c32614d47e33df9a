// Reset clears what a decoder learnt from the signal and keeps its configuration.
#include <gtest/gtest.h>

#include "tests/audio/aac_generator.h"
#include "tests/audio/aac_streams.h"
#include "tests/support/places.h"

namespace fmp4 {

namespace {

using E = GeneratedElement;

std::vector<Bytes> Frames(const char* name) {
  return SplitAdts(readFile(std::filesystem::path(VL_TEST_DATA) / name));
}

std::vector<Bytes> GenerateFrames(unsigned seed, const GeneratorOptions& options, int count,
                                  int channelConfiguration) {
  AacGenerator generator(seed, options);
  std::vector<Bytes> frames;
  for (int i = 0; i < count; ++i) {
    frames.push_back(WrapAdts({generator.NextBlock()}, {.samplingIndex = options.samplingIndex,
                                                        .channelConfiguration = channelConfiguration}));
  }
  return frames;
}

GeneratorOptions Core(E::Kind kind) {
  GeneratorOptions options;
  options.samplingIndex = 6;
  options.elements = {{kind, 0}};
  return options;
}

// Decodes `frames` in a new decoder and in one that has decoded `before` and was reset.
void ExpectAlikeAfterReset(const std::vector<Bytes>& before, const std::vector<Bytes>& frames) {
  TestDecoder fresh(0, 0), used(0, 0);
  for (const Bytes& frame : before) ASSERT_EQ(0, used.Decode(frame));
  ASSERT_EQ(0, used.Decoder().Reset());
  for (const Bytes& frame : frames) {
    ASSERT_EQ(0, fresh.Decode(frame));
    ASSERT_EQ(0, used.Decode(frame));
    ASSERT_EQ(fresh.Last(), used.Last());
  }
  UMC::AudioCodecParams freshInfo, usedInfo;
  ASSERT_EQ(0, fresh.Decoder().GetInfo(&freshInfo));
  ASSERT_EQ(0, used.Decoder().GetInfo(&usedInfo));
  EXPECT_EQ(freshInfo.m_output.sampleFrequency, usedInfo.m_output.sampleFrequency);
  EXPECT_EQ(freshInfo.m_output.channels, usedInfo.m_output.channels);
  EXPECT_EQ(freshInfo.m_input.streamSubtype, usedInfo.m_input.streamSubtype);
}

TEST(AacReset, ForgetsSpectralBandReplication) {
  ExpectAlikeAfterReset(Frames("he_v1_stereo_48k.aac"), GenerateFrames(1, Core(E::kCpe), 5, 2));
}

TEST(AacReset, ForgetsParametricStereo) {
  GeneratorOptions mono = Core(E::kSce);
  mono.sbr.emplace();
  ExpectAlikeAfterReset(Frames("he_v2_48k.aac"), GenerateFrames(2, mono, 5, 1));
}

// Before a high band that starts late there is none, whatever the decoder has worked on before.
TEST(AacReset, ForgetsHighBandsBeforeOneThatStartsLate) {
  GeneratorOptions options = Core(E::kCpe);
  options.sbr.emplace();
  options.sbr->headerChanges = false;
  options.sbr->headerPercent = 100;
  const auto frames = GenerateFrames(11, options, 40, 2);
  // Where one before that it continues is missing, a frame starts late.
  for (auto start = frames.begin() + 1; start != frames.end() - 2; ++start)
    ExpectAlikeAfterReset(Frames("he_v1_stereo_48k.aac"), {start, start + 2});
}

TEST(AacReset, ForgetsTheProgramOfABlock) {
  GeneratorOptions listed, other;
  listed.elements = {{E::kSce, 0}, {E::kSce, 1}};
  other.elements = {{E::kSce, 1}, {E::kSce, 0}};
  listed.writeProgram = true;
  ExpectAlikeAfterReset(GenerateFrames(4, listed, 3, 0), GenerateFrames(5, other, 3, 0));
}

TEST(AacReset, ForgetsTheNumberOfChannels) {
  GeneratorOptions surround = Core(E::kSce);
  surround.elements = {{E::kSce, 0}, {E::kCpe, 0}, {E::kCpe, 1}, {E::kLfe, 0}};
  ExpectAlikeAfterReset(GenerateFrames(6, surround, 3, 6), GenerateFrames(7, Core(E::kSce), 3, 1));
  ExpectAlikeAfterReset(GenerateFrames(7, Core(E::kSce), 3, 1), GenerateFrames(6, surround, 3, 6));
}

TEST(AacReset, LeavesTheDecoderUnconverged) {
  const auto frames = GenerateFrames(8, Core(E::kCpe), 2, 2);
  TestDecoder decoder;
  EXPECT_FALSE(decoder.Decoder().Converged());
  ASSERT_EQ(0, decoder.Decode(frames[0]));
  EXPECT_TRUE(decoder.Decoder().Converged());
  ASSERT_EQ(0, decoder.Decoder().Reset());
  EXPECT_FALSE(decoder.Decoder().Converged());
  ASSERT_EQ(0, decoder.Decode(frames[1]));
  EXPECT_TRUE(decoder.Decoder().Converged());
}

TEST(AacReset, KeepsThePatternOfHeaders) {
  const auto frames = GenerateFrames(9, Core(E::kCpe), 3, 2);
  GeneratorOptions otherRate = Core(E::kCpe);
  otherRate.samplingIndex = 3;
  TestDecoder decoder;
  ASSERT_EQ(0, decoder.Decode(frames[0]));
  ASSERT_EQ(0, decoder.Decode(frames[1]));
  ASSERT_EQ(0, decoder.Decoder().Reset());
  EXPECT_EQ(-996, decoder.Decode(GenerateFrames(10, otherRate, 1, 2)[0]));
  EXPECT_EQ(0, decoder.Decode(frames[2]));
}

}  // namespace

}  // namespace fmp4
