// Streams with SBR against the reference decoders.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "tests/audio/aac_generator.h"
#include "tests/audio/aac_streams.h"
#include "tests/audio/bit_writer.h"
#include "tests/support/places.h"

namespace fmp4 {

namespace {

using E = GeneratedElement;

// A decoder at twice the core's rate.
struct FullRateDecoder : TestDecoder {
  FullRateDecoder() : TestDecoder(0, 0) {}
};

// One of the two channels that ffmpeg makes of every mono stream with SBR, as it might turn out to have
// parametric stereo.
std::vector<float> FirstOfTwo(const std::vector<float>& samples) {
  std::vector<float> first;
  for (std::size_t i = 0; i < samples.size(); i += 2) first.push_back(samples[i]);
  return first;
}

double RmsDifference(const Samples& ours, const std::vector<float>& reference) {
  EXPECT_EQ(reference.size(), ours.size());
  double sum = 0;
  const std::size_t count = std::min(ours.size(), reference.size());
  for (std::size_t i = 0; i < count; ++i) {
    const double difference = ours[i] - std::clamp(reference[i], -32768.0f, 32767.0f);
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
  std::vector<float> reference = FfmpegDecode(path, {"-c:a", "aac"});
  if (GetParam().mono) reference = FirstOfTwo(reference);
  EXPECT_LT(RmsDifference(FullRateDecoder().DecodeAll(readFile(path)), reference), 0.5);
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
    generated.stream =
        generated.stream + WrapAdts({generator.NextBlock()}, {.samplingIndex = options.samplingIndex,
                                                              .channelConfiguration = channelConfiguration});
  }
  generated.seen = generator.Seen();
  return generated;
}

double RmsAgainstFfmpeg(const Generated& generated, bool mono) {
  TempFolder folder;
  writeFile(folder.file("a.aac"), generated.stream);
  std::vector<float> reference = FfmpegDecode(folder.file("a.aac"), {"-c:a", "aac"});
  if (mono) reference = FirstOfTwo(reference);
  return RmsDifference(FullRateDecoder().DecodeAll(generated.stream), reference);
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

TEST(SbrStream, DecodesFivePointOneElementByElement) {
  GeneratorOptions options;
  options.samplingIndex = 6;
  options.elements = {{E::kSce, 0}, {E::kCpe, 0}, {E::kCpe, 1}, {E::kLfe, 0}};
  options.midSide = options.tns = true;
  options.sbr.emplace();
  EXPECT_LT(RmsAgainstFfmpeg(Generate(3, options, 6), false), 1);
}

// A coupling channel that is switched independently is added to the output; others to the spectra of the
// core.
TEST(SbrStream, AddsCouplingChannelsWhereTheyBelong) {
  for (const bool independent : {false, true}) {
    GeneratorOptions options;
    options.samplingIndex = 6;
    options.elements = {{E::kSce, 0}, {E::kCce, 0}};
    options.writeProgram = true;
    options.independentCoupling = independent;
    options.sbr.emplace();
    EXPECT_LT(RmsAgainstFfmpeg(Generate(12, options, 0), true), 1);
    options.elements = {{E::kCpe, 0}, {E::kCce, 0}};
    EXPECT_LT(RmsAgainstFfmpeg(Generate(13, options, 0), false), 1);
  }
}

TEST(SbrStream, DecodesPayloadsWithChecksums) {
  GeneratorOptions options;
  options.samplingIndex = 6;
  options.elements = {{E::kCpe, 0}};
  options.sbr.emplace();
  options.sbr->crc = true;
  EXPECT_LT(RmsAgainstFfmpeg(Generate(4, options, 2), false), 1);
}

// faad computes in fixed point and omits its first frame.
TEST(SbrStream, DecodesLikeFaad) {
  const auto path = std::filesystem::path(VL_TEST_DATA) / "he_v1_stereo_48k.aac";
  const RunResult result = runOrThrow({"faad", "-q", "-f", "2", "-w", path.string()});
  std::vector<float> reference;
  for (std::size_t at = 0; at + 2 <= result.out.size(); at += 2) {
    std::int16_t sample = 0;
    std::memcpy(&sample, result.out.data() + at, sizeof sample);
    reference.push_back(sample);
  }
  const Samples all = FullRateDecoder().DecodeAll(readFile(path));
  const Samples ours(all.begin() + 2 * 2048, all.end());
  EXPECT_LT(RmsDifference(ours, reference), 2);
}

// The core of generated blocks does not depend on whether payloads follow.
GeneratorOptions Core(int channels, int samplingIndex = 6, int frameLength = 1024) {
  GeneratorOptions options;
  options.samplingIndex = samplingIndex;
  options.frameLength = frameLength;
  options.elements = {{channels == 2 ? E::kCpe : E::kSce, 0}};
  return options;
}

// AudioSpecificConfig with SBR before the core's object type.
Bytes ExplicitConfig(int samplingIndex, int extensionIndex, int channels, int frameLength = 1024) {
  BitWriter bits;
  bits.Write(5, 5);
  bits.Write(static_cast<unsigned>(samplingIndex), 4);
  bits.Write(static_cast<unsigned>(channels), 4);
  bits.Write(static_cast<unsigned>(extensionIndex), 4);
  bits.Write(2, 5);
  bits.Write(frameLength == 960 ? 1 : 0, 1);
  bits.Write(0, 2);
  return bits.Bytes();
}

Samples DecodeBlocks(TestDecoder& decoder, const std::vector<GeneratedBlock>& blocks, std::size_t perBlock) {
  Samples all;
  for (const auto& block : blocks) {
    EXPECT_EQ(0, decoder.Decode(block.bytes));
    EXPECT_EQ(perBlock, decoder.Last().size());
    all.insert(all.end(), decoder.Last().begin(), decoder.Last().end());
  }
  return all;
}

// Through the filter banks alone the core is delayed by theirs and the high band's delay.
void ExpectLateCore(const Samples& ours, const Samples& core, std::size_t delay) {
  double sum = 0;
  ASSERT_EQ(core.size(), ours.size());
  for (std::size_t i = 2 * delay; i < ours.size(); ++i) {
    const double difference = ours[i] - core[i - delay];
    sum += difference * difference;
  }
  EXPECT_LT(std::sqrt(sum / static_cast<double>(ours.size())), 0.5);
  EXPECT_NE(Samples(core.size()), core);
}

constexpr std::size_t kCoreDelay = 289 + 6 * 32;

TEST(SbrStream, DownSampledWithoutPayloadIsTheDelayedCore) {
  for (const int frameLength : {1024, 960}) {
    SCOPED_TRACE(frameLength);
    const auto blocks = Blocks(5, Core(1, 6, frameLength), 40);
    const auto length = static_cast<std::size_t>(frameLength);
    TestDecoder plain(MakeConfig(6, frameLength, 1));
    TestDecoder downSampled(ExplicitConfig(6, 6, 1, frameLength), 0);
    ExpectLateCore(DecodeBlocks(downSampled, blocks, length), DecodeBlocks(plain, blocks, length),
                   kCoreDelay);
  }
}

TEST(SbrStream, WithoutAHeaderIsTheDelayedCore) {
  GeneratorOptions options = Core(1);
  const auto core = Blocks(6, options, 40);
  options.sbr.emplace();
  options.sbr->sendHeader = false;
  const auto blocks = Blocks(6, options, 40);
  Bytes stream, coreStream;
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    stream = stream + WrapAdts({blocks[i]}, {.samplingIndex = 6, .channelConfiguration = 1});
    coreStream = coreStream + WrapAdts({core[i]}, {.samplingIndex = 6, .channelConfiguration = 1});
  }
  ExpectLateCore(TestDecoder().DecodeAll(stream), TestDecoder().DecodeAll(coreStream), kCoreDelay);
  EXPECT_EQ(40u * 2048, FullRateDecoder().DecodeAll(stream).size());
}

// The part below 8 kHz of a stereo signal, at 24 kHz, `step` being 2 for one at 48 kHz: one filter sampled at
// both rates.
std::vector<double> LowBand(const std::vector<double>& samples, int step) {
  constexpr double kTruncated = 8500.0 / 48000, kHalf = 192, kBeta = 10;
  const auto bessel = [](double x) {
    double sum = 1, term = 1;
    for (int k = 1; term > sum * 1e-12; ++k) sum += term *= (x / 2 / k) * (x / 2 / k);
    return sum;
  };
  const int reach = static_cast<int>(kHalf) * step / 2;
  std::vector<double> filter;
  for (int i = -reach; i <= reach; ++i) {
    const double t = i * 2.0 / step;
    const double sinc =
        i == 0 ? 2 * kTruncated : std::sin(2 * std::numbers::pi * kTruncated * t) / (std::numbers::pi * t);
    filter.push_back(2.0 / step * sinc * bessel(kBeta * std::sqrt(1 - t * t / kHalf / kHalf)) /
                     bessel(kBeta));
  }
  std::vector<double> low;
  const auto frames = static_cast<std::ptrdiff_t>(samples.size() / 2);
  for (std::ptrdiff_t at = reach; at + reach < frames; at += step) {
    for (std::ptrdiff_t channel = 0; channel < 2; ++channel) {
      double sum = 0;
      for (std::ptrdiff_t i = -reach; i <= reach; ++i)
        sum += filter[static_cast<std::size_t>(i + reach)] *
               samples[static_cast<std::size_t>(2 * (at + i) + channel)];
      low.push_back(sum);
    }
  }
  return low;
}

TEST(SbrStream, DownSampledIsTheLowerHalfOfTheFullRate) {
  const auto path = std::filesystem::path(VL_TEST_DATA) / "he_v1_stereo_48k.aac";
  const Samples ours = TestDecoder().DecodeAll(readFile(path));
  const std::vector<float> reference = FfmpegDecode(path, {"-c:a", "aac"});
  ASSERT_EQ(reference.size(), 2 * ours.size());
  const auto low = LowBand({ours.begin(), ours.end()}, 1);
  const auto expected = LowBand({reference.begin(), reference.end()}, 2);
  ASSERT_EQ(expected.size(), low.size());
  double sum = 0;
  for (std::size_t i = 0; i < low.size(); ++i) sum += (low[i] - expected[i]) * (low[i] - expected[i]);
  EXPECT_LT(std::sqrt(sum / static_cast<double>(low.size())), 1);
}

TEST(SbrStream, OfFrames960DoublesThem) {
  GeneratorOptions options = Core(2, 6, 960);
  options.sbr.emplace();
  TestDecoder decoder(ExplicitConfig(6, 3, 2, 960), 0);
  const Samples samples = DecodeBlocks(decoder, Blocks(7, options, 60), 2 * 1920);
  EXPECT_NE(Samples(samples.size()), samples);
}

TEST(SbrStream, SignalledExplicitlyDecodesAsImplicitly) {
  const Bytes stream = readFile(std::filesystem::path(VL_TEST_DATA) / "he_v1_stereo_48k.aac");
  TestDecoder decoder(ExplicitConfig(6, 3, 2), 0);
  Samples samples;
  for (const Bytes& frame : SplitAdts(stream)) {
    ASSERT_EQ(0, decoder.Decode(Bytes(frame.begin() + 7, frame.end())));
    samples.insert(samples.end(), decoder.Last().begin(), decoder.Last().end());
  }
  EXPECT_EQ(FullRateDecoder().DecodeAll(stream), samples);
}

TEST(SbrStream, DetectedLaterDoublesTheRateFromThenOn) {
  GeneratorOptions options = Core(2);
  const Generated plain = Generate(8, options, 2, 5);
  options.sbr.emplace();
  const Generated replicated = Generate(9, options, 2, 5);
  FullRateDecoder decoder;
  decoder.SetInput(plain.stream + replicated.stream + plain.stream);
  for (int i = 0; i < 15; ++i) {
    ASSERT_EQ(0, decoder.Decode());
    EXPECT_EQ(i < 5 ? 2u * 1024 : 2u * 2048, decoder.Last().size()) << i;
  }
}

struct Description {
  std::uint32_t frequency, profile;
};

Description DescriptionOf(UMC::AACDecoder& decoder) {
  UMC::AACDecoderParams params;
  EXPECT_EQ(0, decoder.GetInfo(&params));
  EXPECT_EQ(params.m_input.sampleFrequency, params.m_output.sampleFrequency);
  return {params.m_output.sampleFrequency, params.m_input.streamSubtype};
}

TEST(SbrStream, IsDescribedOnceItIsDetectedOrSignalled) {
  const auto frames = SplitAdts(readFile(std::filesystem::path(VL_TEST_DATA) / "he_v1_stereo_48k.aac"));
  FullRateDecoder implicit;
  ASSERT_EQ(0, implicit.Decode(frames[0]));
  EXPECT_EQ(48000u, DescriptionOf(implicit.Decoder()).frequency);
  EXPECT_EQ(0x100u + 16 + 1, DescriptionOf(implicit.Decoder()).profile);
  TestDecoder downSampled;
  ASSERT_EQ(0, downSampled.Decode(frames[0]));
  EXPECT_EQ(24000u, DescriptionOf(downSampled.Decoder()).frequency);

  TestDecoder signalled(ExplicitConfig(6, 3, 2), 0);
  EXPECT_EQ(48000u, DescriptionOf(signalled.Decoder()).frequency);
  EXPECT_EQ(0x100u + 1, DescriptionOf(signalled.Decoder()).profile);
  ASSERT_EQ(0, signalled.Decode(Bytes(frames[0].begin() + 7, frames[0].end())));
  EXPECT_EQ(0x100u + 16 + 1, DescriptionOf(signalled.Decoder()).profile);
}

TEST(SbrStream, KeepsTheCoresFrequencyOnRequest) {
  const Bytes stream = readFile(std::filesystem::path(VL_TEST_DATA) / "he_v1_stereo_48k.aac");
  UMC::AACDecoderParams params;
  params.m_sbrDownSampled = 0;
  params.m_output.sampleFrequency = 24000;
  FullRateDecoder asked;
  ASSERT_EQ(0, asked.Decoder().SetParams(&params));
  EXPECT_EQ(TestDecoder().DecodeAll(stream), asked.DecodeAll(stream));
  EXPECT_EQ(24000u, DescriptionOf(asked.Decoder()).frequency);
}

TEST(SbrStream, NeedsSpaceForTwiceTheSamples) {
  auto frame = SplitAdts(readFile(std::filesystem::path(VL_TEST_DATA) / "he_v1_stereo_48k.aac"))[0];
  UMC::AACDecoder decoder;
  UMC::AACDecoderParams params;
  params.m_sbrDownSampled = 0;
  ASSERT_EQ(0, decoder.Init(&params));
  UMC::MediaData input, output;
  Bytes space(2 * 2 * 2048);
  const auto decode = [&](std::size_t bytes) {
    input.SetBufferPointer(frame.data(), frame.size());
    input.SetDataSize(frame.size());
    output.SetBufferPointer(space.data(), bytes);
    return decoder.GetFrame(&input, &output);
  };
  EXPECT_EQ(-896, decode(space.size() - 1));
  EXPECT_EQ(0, decode(space.size()));
}

TEST(SbrStream, ResetClearsTheSignal) {
  const Bytes stream = readFile(std::filesystem::path(VL_TEST_DATA) / "he_v1_51_48k.aac");
  FullRateDecoder decoder;
  const Samples first = decoder.DecodeAll(stream);
  ASSERT_EQ(0, decoder.Decoder().Reset());
  EXPECT_EQ(first, decoder.DecodeAll(stream));
}

}  // namespace

}  // namespace fmp4
