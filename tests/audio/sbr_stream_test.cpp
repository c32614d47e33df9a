// Streams with spectral band replication against the witnesses.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "aac_generator.h"
#include "aac_streams.h"

namespace {

using E = GeneratedElement;

// A decoder for twice the core's rate.
struct FullRateDecoder : TestDecoder {
  FullRateDecoder() : TestDecoder(0, 0) {}
};

// One of two channels that ffmpeg makes of every mono stream with SBR, which might turn out to have parametric
// stereo.
std::vector<float> FirstOfTwo(const std::vector<float>& samples) {
  std::vector<float> first;
  for (std::size_t i = 0; i < samples.size(); i += 2) first.push_back(samples[i]);
  return first;
}

double RmsDifference(const Samples& ours, const std::vector<float>& witness) {
  EXPECT_EQ(witness.size(), ours.size());
  double sum = 0;
  const std::size_t count = std::min(ours.size(), witness.size());
  for (std::size_t i = 0; i < count; ++i) {
    const double difference = ours[i] - std::clamp(witness[i], -32768.0f, 32767.0f);
    sum += difference * difference;
  }
  return std::sqrt(sum / static_cast<double>(std::max<std::size_t>(count, 1)));
}

struct NamedStream {
  const char* name;
  bool mono;
};

class SbrSample : public testing::TestWithParam<NamedStream> {};

TEST_P(SbrSample, DecodesLikeFfmpeg) {
  const auto path = std::filesystem::path(VL_TEST_DATA) / GetParam().name;
  std::vector<float> witness = FfmpegDecode(path, {"-c:a", "aac"});
  if (GetParam().mono) witness = FirstOfTwo(witness);
  EXPECT_LT(RmsDifference(FullRateDecoder().DecodeAll(readFile(path)), witness), 0.5);
}

INSTANTIATE_TEST_SUITE_P(All, SbrSample,
                         testing::Values(NamedStream{"he_v1_stereo_48k.aac", false},
                                         NamedStream{"he_v1_mono_48k.aac", true},
                                         NamedStream{"he_v1_51_48k.aac", false}));

struct Generated {
  Bytes stream;
  std::vector<std::string> seen;
};

Generated Generate(unsigned seed, const GeneratorOptions& options, int channelConfiguration,
                   int blocks = 200) {
  AacGenerator generator(seed, options);
  Generated generated;
  for (int i = 0; i < blocks; ++i) {
    generated.stream = generated.stream +
                       WrapAdts({generator.NextBlock()}, {.samplingIndex = options.samplingIndex,
                                                          .channelConfiguration = channelConfiguration});
  }
  generated.seen = generator.Seen();
  return generated;
}

double RmsAgainstFfmpeg(const Generated& generated, bool mono) {
  TempFolder folder;
  writeFile(folder.file("a.aac"), generated.stream);
  std::vector<float> witness = FfmpegDecode(folder.file("a.aac"), {"-c:a", "aac"});
  if (mono) witness = FirstOfTwo(witness);
  return RmsDifference(FullRateDecoder().DecodeAll(generated.stream), witness);
}

class SbrSamplingIndex : public testing::TestWithParam<int> {};

TEST_P(SbrSamplingIndex, DecodesASingleChannel) {
  GeneratorOptions options;
  options.samplingIndex = GetParam();
  options.elements = {{E::kSce, 0}};
  options.sbr.emplace();
  EXPECT_LT(RmsAgainstFfmpeg(Generate(1, options, 1), true), 1);
}

TEST_P(SbrSamplingIndex, DecodesAPair) {
  GeneratorOptions options;
  options.samplingIndex = GetParam();
  options.elements = {{E::kCpe, 0}};
  options.sbr.emplace();
  EXPECT_LT(RmsAgainstFfmpeg(Generate(2, options, 2), false), 1);
}

INSTANTIATE_TEST_SUITE_P(All, SbrSamplingIndex, testing::Values(3, 4, 5, 6, 7, 8, 9, 10, 11));

}  // namespace
