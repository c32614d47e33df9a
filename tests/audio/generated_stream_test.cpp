// Random valid blocks against the reference decoders.
#include <gtest/gtest.h>

#include "tests/audio/aac_generator.h"
#include "tests/audio/aac_streams.h"

namespace fmp4 {

namespace {

using E = GeneratedElement;
using testing::Test;

constexpr int kBlocks = 150;

struct Generated {
  Bytes stream;
  std::vector<GeneratedBlock> blocks;
  std::vector<std::string> seen;
};

Generated Generate(unsigned seed, const GeneratorOptions& options, AdtsOptions adts) {
  AacGenerator generator(seed, options);
  Generated generated;
  adts.samplingIndex = options.samplingIndex;
  for (int i = 0; i < kBlocks; ++i) {
    generated.blocks.push_back(generator.NextBlock());
    generated.stream = generated.stream + WrapAdts({generated.blocks.back()}, adts);
  }
  generated.seen = generator.Seen();
  return generated;
}

bool Saw(const Generated& generated, const std::string& what) {
  return std::find(generated.seen.begin(), generated.seen.end(), what) != generated.seen.end();
}

void ExpectLikeFfmpeg(const Generated& generated) {
  TempFolder folder;
  writeFile(folder.file("a.aac"), generated.stream);
  EXPECT_LE(LargestDifference(TestDecoder().DecodeAll(generated.stream),
                              FfmpegDecode(folder.file("a.aac"), {"-c:a", "aac"})),
            1);
}

class SamplingIndex : public testing::TestWithParam<int> {};

TEST_P(SamplingIndex, DecodesEveryCodebookAndWindowInASingleChannel) {
  GeneratorOptions options;
  options.samplingIndex = GetParam();
  options.elements = {{E::kSce, 0}};
  options.pulse = true;
  options.otherElements = true;
  const Generated generated = Generate(1, options, {.channelConfiguration = 1});
  for (int codebook = 0; codebook <= 11; ++codebook) {
    EXPECT_TRUE(Saw(generated, "codebook " + std::to_string(codebook)));
  }
  for (int prefix = 0; prefix <= 8; ++prefix) EXPECT_TRUE(Saw(generated, "escape " + std::to_string(prefix)));
  for (int sequence = 0; sequence <= 3; ++sequence) {
    for (int shape = 0; shape <= 1; ++shape) {
      EXPECT_TRUE(Saw(generated, "sequence " + std::to_string(sequence) + " shape " + std::to_string(shape)));
    }
  }
  for (int count = 1; count <= 4; ++count) EXPECT_TRUE(Saw(generated, "pulse " + std::to_string(count)));
  for (const char* what : {"data", "long data", "fill", "long fill", "long section"})
    EXPECT_TRUE(Saw(generated, what));
  ExpectLikeFfmpeg(generated);
}

TEST_P(SamplingIndex, DecodesTnsOfEveryOrder) {
  GeneratorOptions options;
  options.samplingIndex = GetParam();
  options.elements = {{E::kSce, 0}};
  options.tns = true;
  const Generated generated = Generate(2, options, {.channelConfiguration = 1});
  for (int order = 1; order <= 12; ++order)
    EXPECT_TRUE(Saw(generated, "long tns order " + std::to_string(order)));
  for (int order = 1; order <= 7; ++order)
    EXPECT_TRUE(Saw(generated, "short tns order " + std::to_string(order)));
  ExpectLikeFfmpeg(generated);
}

TEST_P(SamplingIndex, DecodesJointStereoWithAllTools) {
  GeneratorOptions options;
  options.samplingIndex = GetParam();
  options.elements = {{E::kCpe, 0}};
  options.midSide = options.intensity = options.pulse = options.tns = true;
  const Generated generated = Generate(3, options, {});
  for (const char* what :
       {"ms mask 0", "ms mask 1", "ms mask 2", "separate windows", "codebook 14", "codebook 15"}) {
    EXPECT_TRUE(Saw(generated, what)) << what;
  }
  ExpectLikeFfmpeg(generated);
}

TEST_P(SamplingIndex, DecodesLongTermPrediction) {
  GeneratorOptions options;
  options.objectType = UMC::aac::kObjectLtp;
  options.samplingIndex = GetParam();
  options.elements = {{E::kCpe, 0}};
  options.midSide = options.intensity = options.pulse = options.tns = true;
  const Generated generated = Generate(21, options, {.profile = 3});
  for (int coefficient = 0; coefficient < 8; ++coefficient)
    EXPECT_TRUE(Saw(generated, "ltp coefficient " + std::to_string(coefficient)));
  for (const char* what : {"ltp sequence 0", "ltp sequence 1", "ltp sequence 3"})
    EXPECT_TRUE(Saw(generated, what)) << what;
  ExpectLikeFfmpeg(generated);
}

TEST_P(SamplingIndex, DecodesPrediction) {
  GeneratorOptions options;
  options.objectType = UMC::aac::kObjectMain;
  options.samplingIndex = GetParam();
  options.elements = {{E::kCpe, 0}};
  options.midSide = options.intensity = options.pulse = options.tns = true;
  const Generated generated = Generate(22, options, {.profile = 0});
  EXPECT_TRUE(Saw(generated, "predicted"));
  EXPECT_TRUE(Saw(generated, "predictor reset"));
  for (int order = 1; order <= 20; ++order)
    EXPECT_TRUE(Saw(generated, "long tns order " + std::to_string(order)));
  // The predictors hold eight bits of mantissa: where two decoders differ in a float's last bit, one of many
  // values is truncated to a neighbour.
  TempFolder folder;
  writeFile(folder.file("a.aac"), generated.stream);
  EXPECT_LT(RootMeanSquare(TestDecoder().DecodeAll(generated.stream),
                           FfmpegDecode(folder.file("a.aac"), {"-c:a", "aac"})),
            1.0);
}

INSTANTIATE_TEST_SUITE_P(All, SamplingIndex, testing::Range(0, 13));

TEST(GeneratedStream, DecodesFramesOf960Samples) {
  for (const int samplingIndex : {0, 2, 3, 5, 7, 8, 11}) {
    GeneratorOptions options;
    options.samplingIndex = samplingIndex;
    options.frameLength = 960;
    options.elements = {{E::kCpe, 0}};
    options.midSide = options.intensity = options.pulse = options.tns = true;
    AacGenerator generator(4, options);
    TestDecoder decoder(MakeConfig(samplingIndex, 960, 2));
    Bytes loas;
    Samples ours;
    for (int i = 0; i < 60; ++i) {
      const GeneratedBlock block = generator.NextBlock();
      loas = loas + WrapLoas(block.bytes, samplingIndex, 960, 2);
      ASSERT_EQ(0, decoder.Decode(block.bytes));
      ASSERT_EQ(2u * 960, decoder.Last().size());
      ours.insert(ours.end(), decoder.Last().begin(), decoder.Last().end());
    }
    TempFolder folder;
    writeFile(folder.file("a.loas"), loas);
    EXPECT_LE(LargestDifference(ours, FfmpegDecode(folder.file("a.loas"), {"-f", "loas"})), 1)
        << samplingIndex;
  }
}

TEST(GeneratedStream, CouplesSpectraBeforeAndAfterTns) {
  GeneratorOptions options;
  options.elements = {{E::kSce, 0}, {E::kCpe, 0}, {E::kCce, 0}};
  options.writeProgram = true;
  options.tns = true;
  const Generated generated = Generate(5, options, {.channelConfiguration = 0});
  for (const char* what : {"domain 0 sign 0", "domain 0 sign 1", "domain 1 sign 0", "domain 1 sign 1",
                           "common gain", "coupled to 0", "coupled to 1", "coupled to 2", "coupled to 3"}) {
    EXPECT_TRUE(Saw(generated, what)) << what;
  }
  ExpectLikeFfmpeg(generated);
}

TEST(GeneratedStream, SkipsGainControl) {
  GeneratorOptions options;
  options.elements = {{E::kCpe, 0}};
  options.midSide = options.intensity = options.pulse = options.tns = true;
  const Generated plain = Generate(23, options, {.profile = 1});
  options.objectType = UMC::aac::kObjectSsr;
  const Generated controlled = Generate(23, options, {.profile = 2});
  for (int sequence = 0; sequence <= 3; ++sequence)
    EXPECT_TRUE(Saw(controlled, "gain control sequence " + std::to_string(sequence)));
  EXPECT_GT(controlled.stream.size(), plain.stream.size());
  EXPECT_EQ(TestDecoder().DecodeAll(plain.stream), TestDecoder().DecodeAll(controlled.stream));
}

TEST(GeneratedStream, CouplesSignals) {
  GeneratorOptions options;
  options.elements = {{E::kSce, 0}, {E::kCpe, 0}, {E::kCce, 0}};
  options.writeProgram = true;
  options.independentCoupling = true;
  ExpectLikeFfmpeg(Generate(6, options, {.channelConfiguration = 0}));
}

TEST(GeneratedStream, DecodesSevenPointOneWithAllTools) {
  GeneratorOptions options;
  options.elements = {{E::kSce, 0}, {E::kCpe, 0}, {E::kCpe, 1}, {E::kCpe, 2}, {E::kLfe, 0}};
  options.midSide = options.intensity = options.pulse = options.tns = options.otherElements = true;
  ExpectLikeFfmpeg(Generate(7, options, {.channelConfiguration = 7}));
}

}  // namespace

}  // namespace fmp4
