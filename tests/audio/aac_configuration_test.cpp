// What a container specifies for access units after ADTS headers, which carry less.
#include <gtest/gtest.h>

#include "base/aac/audio_specific_config.h"
#include "tests/audio/aac_configurations.h"
#include "tests/audio/aac_generator.h"
#include "tests/audio/aac_streams.h"

namespace fmp4 {

namespace {

using namespace UMC::aac;
using E = GeneratedElement;

UMC::Status Configure(UMC::AACDecoder& decoder, const ConfigOptions& options) {
  const Bytes bytes = configurationOf(options);
  AudioSpecificConfig config;
  EXPECT_TRUE(ParseAudioSpecificConfig(bytes.data(), bytes.size(), config));
  return decoder.SetConfiguration(config);
}

// A decoder configured for twice the core's frequency if there is SBR.
struct ConfiguredDecoder : TestDecoder {
  explicit ConfiguredDecoder(const ConfigOptions& options, std::uint32_t channels = 0)
      : TestDecoder(channels, 0) {
    EXPECT_EQ(0, Configure(Decoder(), options));
  }
};

struct Info {
  UMC::AudioStreamInfo input, output;
};

Info InfoOf(UMC::AACDecoder& decoder) {
  UMC::AudioCodecParams params;
  EXPECT_EQ(0, decoder.GetInfo(&params));
  return {params.m_input, params.m_output};
}

GeneratorOptions Pair(int samplingIndex = 3, int frameLength = 1024) {
  GeneratorOptions options;
  options.samplingIndex = samplingIndex;
  options.frameLength = frameLength;
  options.elements = {{E::kCpe, 0}};
  options.midSide = options.tns = true;
  return options;
}

// The samples of access units after headers, `perBlock` of each.
Samples DecodeAfterHeaders(TestDecoder& decoder, const std::vector<GeneratedBlock>& blocks,
                           const AdtsOptions& header, std::size_t perBlock) {
  Samples all;
  for (const auto& block : blocks) {
    EXPECT_EQ(0, decoder.Decode(WrapAdts({block}, header)));
    EXPECT_EQ(perBlock, decoder.Last().size());
    all.insert(all.end(), decoder.Last().begin(), decoder.Last().end());
  }
  return all;
}

// The samples of the same access units without headers, as a configuration describes them.
Samples DecodeConfigured(const std::vector<GeneratedBlock>& blocks, const ConfigOptions& options) {
  TestDecoder decoder(configurationOf(options), 0);
  Samples all;
  for (const auto& block : blocks) {
    EXPECT_EQ(0, decoder.Decode(block.bytes));
    all.insert(all.end(), decoder.Last().begin(), decoder.Last().end());
  }
  return all;
}

TEST(AacConfiguration, CountsForTheHeadersProfile) {
  for (const unsigned type : {1u, 2u, 4u}) {
    GeneratorOptions generated = Pair();
    generated.objectType = static_cast<int>(type);
    const auto blocks = Blocks(22, generated);
    const ConfigOptions options{.objectType = type};
    ConfiguredDecoder signalled(options);
    EXPECT_EQ(DecodeConfigured(blocks, options),
              DecodeAfterHeaders(signalled, blocks, {.profile = static_cast<int>(type) & 3}, 2 * 1024));
  }
}

TEST(AacConfiguration, HasTheFrameLength) {
  const auto blocks = Blocks(1, Pair(3, 960));
  const ConfigOptions options{.frameLength = 960};
  ConfiguredDecoder signalled(options);
  EXPECT_EQ(DecodeConfigured(blocks, options), DecodeAfterHeaders(signalled, blocks, {}, 2 * 960));
}

TEST(AacConfiguration, HasAFrequencyWrittenInFull) {
  // Headers can only signal that it is; the tables are those of the nearest listed one, 44.1 kHz.
  const auto blocks = Blocks(2, Pair(4));
  ConfiguredDecoder signalled({.frequency = 44056});
  TestDecoder listed;
  EXPECT_EQ(DecodeAfterHeaders(listed, blocks, {.samplingIndex = 4}, 2 * 1024),
            DecodeAfterHeaders(signalled, blocks, {.samplingIndex = 15}, 2 * 1024));
  EXPECT_EQ(44056u, InfoOf(signalled.Decoder()).output.sampleFrequency);
}

TEST(AacConfiguration, DoublesTheFrequencyBeforeTheFirstPayload) {
  const auto core = Blocks(3, Pair(6));
  const ConfigOptions isExplicit{.samplingIndex = 6, .signalling = ConfigOptions::kExplicit};
  const Samples expected = DecodeConfigured(core, isExplicit);
  for (const auto signalling : {ConfigOptions::kExplicit, ConfigOptions::kBackwardCompatible}) {
    ConfiguredDecoder signalled({.samplingIndex = 6, .signalling = signalling});
    EXPECT_EQ(48000u, InfoOf(signalled.Decoder()).output.sampleFrequency);
    EXPECT_EQ(0x100u + 1, InfoOf(signalled.Decoder()).input.streamSubtype);
    EXPECT_EQ(expected, DecodeAfterHeaders(signalled, core, {.samplingIndex = 6}, 2 * 2048));
  }
  // Not signalled, but requested.
  UMC::AACDecoderParams params;
  params.m_sbrDownSampled = 0;
  params.m_output.sampleFrequency = 48000;
  TestDecoder asked;
  ASSERT_EQ(0, asked.Decoder().SetParams(&params));
  EXPECT_EQ(expected, DecodeAfterHeaders(asked, core, {.samplingIndex = 6}, 2 * 2048));
}

TEST(AacConfiguration, KeepsTheFrequencyOfAnExtensionAtTheCoresOwn) {
  const auto core = Blocks(4, Pair(6));
  ConfiguredDecoder signalled(
      {.samplingIndex = 6, .signalling = ConfigOptions::kExplicit, .extensionIndex = 6});
  DecodeAfterHeaders(signalled, core, {.samplingIndex = 6}, 2 * 1024);
  EXPECT_EQ(24000u, InfoOf(signalled.Decoder()).output.sampleFrequency);
}

TEST(AacConfiguration, HasTwoChannelsBeforeTheFirstParametricStereo) {
  GeneratorOptions generated;
  generated.samplingIndex = 6;
  generated.elements = {{E::kSce, 0}};
  for (const auto signalling : {ConfigOptions::kExplicit, ConfigOptions::kBackwardCompatible}) {
    const ConfigOptions options{
        .samplingIndex = 6, .channelConfiguration = 1, .signalling = signalling, .ps = true};
    ConfiguredDecoder signalled(options);
    EXPECT_EQ(1u, InfoOf(signalled.Decoder()).input.channels);
    EXPECT_EQ(2u, InfoOf(signalled.Decoder()).output.channels);
    EXPECT_EQ(3u, InfoOf(signalled.Decoder()).output.channelMask);
    const Samples samples = DecodeAfterHeaders(signalled, Blocks(5, generated, 5),
                                               {.samplingIndex = 6, .channelConfiguration = 1}, 2 * 2048);
    EXPECT_NE(Samples(samples.size()), samples);
    for (std::size_t i = 0; i < samples.size(); i += 2) ASSERT_EQ(samples[i], samples[i + 1]) << i;

    ConfiguredDecoder one(options, 1);
    EXPECT_EQ(1u, InfoOf(one.Decoder()).output.channels);
  }
}

TEST(AacConfiguration, HasTheProgram) {
  // The stream's pairs come in a different order from the program's.
  GeneratorOptions generated;
  generated.elements = {{E::kCpe, 3}, {E::kCpe, 7}, {E::kSce, 0}};
  const auto blocks = Blocks(6, generated);
  const ConfigOptions options = programOf({{false, 0}, {true, 7}, {true, 3}});
  ConfiguredDecoder signalled(options);
  EXPECT_EQ(5u, InfoOf(signalled.Decoder()).input.channels);
  const Samples expected = DecodeConfigured(blocks, options);
  EXPECT_EQ(expected, DecodeAfterHeaders(signalled, blocks, {.channelConfiguration = 0}, 5 * 1024));
  TestDecoder unsignalled;
  EXPECT_NE(expected, DecodeAfterHeaders(unsignalled, blocks, {.channelConfiguration = 0}, 5 * 1024));
}

TEST(AacConfiguration, CountsForAProgramInABlock) {
  GeneratorOptions generated;
  generated.elements = {{E::kSce, 0}, {E::kSce, 1}};
  generated.writeProgram = true;  // both in front: a centre and one at an unknown position
  const auto blocks = Blocks(7, generated, 3);
  const ConfigOptions options = programOf({{false, 1}, {false, 0}});
  ConfiguredDecoder signalled(options);
  const Samples ours = DecodeAfterHeaders(signalled, blocks, {.channelConfiguration = 0}, 2 * 1024);
  TestDecoder unsignalled;
  const Samples theirs = DecodeAfterHeaders(unsignalled, blocks, {.channelConfiguration = 0}, 2 * 1024);
  ASSERT_EQ(theirs.size(), ours.size());
  for (std::size_t i = 0; i < ours.size(); i += 2) {
    ASSERT_EQ(theirs[i], ours[i + 1]);
    ASSERT_EQ(theirs[i + 1], ours[i]);
  }
}

// A block without elements has the channels of the one before; which that was, a track's reader may not know.
TEST(AacConfiguration, WithoutOneABlockWithoutElementsIsDecodedOnlyAfterOneThatHasSome) {
  const Bytes frame = WrapAdts({Blocks(8, Pair(), 1)[0]}, {.channelConfiguration = 0});
  const Bytes empty = WrapAdts({{{0xC1, 0xC0}, {}}}, {.channelConfiguration = 0});  // fill, end
  TestDecoder stream, track;
  ASSERT_EQ(0, track.Decoder().SetBlock(0));
  for (TestDecoder* decoder : {&stream, &track}) {
    ASSERT_EQ(0, decoder->Decode(frame));
    EXPECT_EQ(0, decoder->Decode(empty));
    EXPECT_EQ(2048u, decoder->Last().size());
    ASSERT_EQ(0, decoder->Decoder().PassLostBlock());
  }
  EXPECT_EQ(0, stream.Decode(empty));
  EXPECT_EQ(-881, track.Decode(empty));
}

TEST(AacConfiguration, ReportsUnsupportedConfigurations) {
  const std::pair<unsigned, std::uint32_t> types[] = {{8, 0},  {17, 0}, {19, 0},  {20, 0}, {21, 0}, {22, 64},
                                                      {23, 0}, {34, 0}, {36, 32}, {39, 0}, {42, 0}};
  const Bytes frame = WrapAdts({Blocks(8, Pair(), 1)[0]}, {});
  for (const auto& [type, flags] : types) {
    SCOPED_TRACE(type);
    TestDecoder decoder;
    EXPECT_EQ(-899, Configure(decoder.Decoder(), {.objectType = type}));
    EXPECT_EQ(flags, InfoOf(decoder.Decoder()).input.streamSubtype);
    EXPECT_EQ(2u, InfoOf(decoder.Decoder()).input.channels);
    EXPECT_EQ(48000u, InfoOf(decoder.Decoder()).output.sampleFrequency);
    EXPECT_EQ(-899, decoder.Decode(frame));
    EXPECT_EQ(frame.size(), decoder.Left());
  }
  for (const unsigned channels : {8u, 13u, 14u}) {
    TestDecoder decoder;
    EXPECT_EQ(-899, Configure(decoder.Decoder(), {.channelConfiguration = channels}));
    EXPECT_EQ(-899, decoder.Decode(frame));
  }
  TestDecoder decoder;
  EXPECT_EQ(-899, Configure(decoder.Decoder(),
                            programOf({{true, 0}, {true, 1}, {true, 2}, {true, 3}, {false, 0}})));
}

TEST(AacConfiguration, NeedsADecoder) {
  UMC::AACDecoder decoder;
  EXPECT_EQ(-998, decoder.SetConfiguration({}));
}

}  // namespace

}  // namespace fmp4
