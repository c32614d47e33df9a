// Streams with parametric stereo, whole, against the witness.
#include <gtest/gtest.h>

#include <cmath>

#include "aac_generator.h"
#include "aac_streams.h"
#include "ps_generator.h"
#include "sbr_carrier.h"

namespace {

using std::filesystem::path;

// Decodes at the doubled sampling frequency.
Samples Decode(const Bytes& stream, std::uint32_t channels = 0) {
  TestDecoder decoder(channels);
  UMC::AACDecoderParams params;
  params.m_sbrDownSampled = 0;
  params.m_output.channels = channels;
  EXPECT_EQ(0, decoder.Decoder().SetParams(&params));
  return decoder.DecodeAll(stream);
}

// Of the difference to the witness, over one channel of two.
double Rms(const Samples& ours, const std::vector<float>& witness, std::size_t channel) {
  EXPECT_EQ(witness.size(), ours.size());
  double sum = 0;
  const std::size_t count = std::min(ours.size(), witness.size());
  for (std::size_t i = channel; i < count; i += 2) {
    const double difference = ours[i] - std::clamp(witness[i], -32768.0f, 32767.0f);
    sum += difference * difference;
  }
  return std::sqrt(2 * sum / static_cast<double>(count));
}

void ExpectLikeFfmpeg(const Bytes& stream, double limit = 1.0) {
  TempFolder folder;
  writeFile(folder.file("a.aac"), stream);
  const std::vector<float> witness = FfmpegDecode(folder.file("a.aac"), {"-c:a", "aac"});
  const Samples ours = Decode(stream);
  for (std::size_t channel = 0; channel < 2; ++channel)
    EXPECT_LT(Rms(ours, witness, channel), limit) << channel;
}

TEST(StereoStream, DecodesAnEncodersLikeFfmpeg) {
  const path file = path(VL_TEST_DATA) / "he_v2_48k.aac";
  ExpectLikeFfmpeg(readFile(file));
}

TEST(StereoStream, DecodesAccessUnitsOfAConfigurationThatSignalsIt) {
  const path file = path(VL_TEST_DATA) / "he_v2_48k_explicit.mp4";
  TempFolder folder;
  runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-i", file.string(), "-c", "copy", folder.file("a.aac")});
  // Parametric stereo, 24 kHz, one channel, 48 kHz, AAC-LC.
  TestDecoder decoder(Bytes{0xEB, 0x09, 0x88});
  UMC::AACDecoderParams params;
  params.m_sbrDownSampled = 0;
  ASSERT_EQ(0, decoder.Decoder().SetParams(&params));
  Samples ours;
  for (const Bytes& frame : SplitAdts(readFile(folder.file("a.aac")))) {
    ASSERT_EQ(0, decoder.Decode(Bytes(frame.begin() + 7, frame.end())));
    ours.insert(ours.end(), decoder.Last().begin(), decoder.Last().end());
  }
  const std::vector<float> witness = FfmpegDecode(folder.file("a.aac"), {"-c:a", "aac"});
  for (std::size_t channel = 0; channel < 2; ++channel)
    EXPECT_LT(Rms(ours, witness, channel), 1.0) << channel;
}

constexpr int kBlocks = 60;

struct Generated {
  Bytes stream;
  std::vector<std::string> seen;
};

// Random blocks; `options(i)` are those of block i's payload.
template <class Options>
Generated Generate(unsigned seed, Options options, bool withPs = true) {
  PsGenerator ps(seed);
  int block = 0;
  GeneratorOptions aac;
  aac.samplingIndex = 6;
  aac.elements = {{GeneratedElement::kSce, 0}};
  aac.tns = true;
  aac.extension = [&](BitWriter& bits) {
    BitWriter payload;
    ps.Write(options(block++), payload);
    SbrCarrier().Write(withPs ? payload : BitWriter(), bits);
  };
  AacGenerator generator(seed, aac);
  Generated generated;
  for (int i = 0; i < kBlocks; ++i) {
    generated.stream =
        generated.stream + WrapAdts({generator.NextBlock()}, {.samplingIndex = 6, .channelConfiguration = 1});
  }
  generated.seen = ps.Seen();
  return generated;
}

class Modes : public testing::TestWithParam<std::tuple<int, int>> {};

TEST_P(Modes, DecodeLikeFfmpeg) {
  const auto [iid, icc] = GetParam();
  const PsGeneratorOptions options{.iidMode = iid,
                                   .iccMode = icc,
                                   .otherExtension = true,
                                   .variableBorders = true,
                                   .emptyFrames = true,
                                   .headerPeriod = 5};
  ExpectLikeFfmpeg(Generate(1, [&](int) { return options; }).stream);
}

TEST_P(Modes, DecodeWithPhasesLikeFfmpeg) {
  const auto [iid, icc] = GetParam();
  const PsGeneratorOptions options{
      .iidMode = iid, .iccMode = icc, .phases = true, .variableBorders = true, .headerPeriod = 5};
  ExpectLikeFfmpeg(Generate(2, [&](int) { return options; }).stream);
}

INSTANTIATE_TEST_SUITE_P(All, Modes, testing::Combine(testing::Range(-1, 6), testing::Range(-1, 6)));

TEST(StereoStream, ModesThatChangeDecodeLikeFfmpeg) {
  ExpectLikeFfmpeg(Generate(3, [](int block) {
                     return PsGeneratorOptions{.iidMode = block / 3 % 7 - 1,
                                               .iccMode = block / 5 % 7 - 1,
                                               .phases = block % 4 < 2,
                                               .variableBorders = true};
                   }).stream);
}

TEST(StereoStream, StaysOutWhereOneChannelIsAskedFor) {
  const auto options = [](int) { return PsGeneratorOptions{.phases = true}; };
  const Samples with = Decode(Generate(4, options).stream, 1);
  EXPECT_EQ(2048u * kBlocks, with.size());
  EXPECT_EQ(Decode(Generate(4, options, false).stream, 1), with);
}

TEST(StereoStream, ChannelsAreAlikeAheadOfTheFirstHeader) {
  const auto options = [](int) { return PsGeneratorOptions{}; };
  const Bytes without = Generate(5, options, false).stream, with = Generate(5, options).stream;
  TestDecoder decoder(2);
  const Samples mono = decoder.DecodeAll(without);
  for (std::size_t i = 0; i < mono.size(); i += 2) ASSERT_EQ(mono[i], mono[i + 1]);
  // One that asks for as many channels as there are finds two from the first payload on.
  TestDecoder open;
  ASSERT_EQ(0, open.Decode(SplitAdts(without)[0]));
  EXPECT_EQ(1024u, open.Last().size());
  ASSERT_EQ(0, open.Decode(SplitAdts(with)[1]));
  EXPECT_EQ(2048u, open.Last().size());
  UMC::AACDecoderParams info;
  ASSERT_EQ(0, open.Decoder().GetInfo(&info));
  EXPECT_EQ(2u, info.m_output.channels);
  EXPECT_EQ(3u, info.m_output.channelMask);
  EXPECT_EQ(1u, info.m_input.channels);
}

}  // namespace
