// The decoder's operations, statuses, times and options.
#include "audio/umc/ac3/ac3_decoder.h"

#include <gtest/gtest.h>

#include "audio/umc/audio_data.h"
#include "tests/audio/ac3_generator.h"
#include "tests/audio/ac3_streams.h"
#include "tests/audio/codec_contract.h"
#include "tests/audio/test_allocators.h"

namespace fmp4 {

namespace {

std::vector<Bytes> Frames(int count, Ac3GeneratorOptions options = {}, unsigned seed = 1) {
  Ac3Generator generator(seed, options);
  std::vector<Bytes> frames;
  for (int i = 0; i < count; ++i) frames.push_back(generator.NextFrame());
  return frames;
}

Bytes Part(const Bytes& bytes, std::size_t start, std::size_t end) {
  return {bytes.begin() + static_cast<std::ptrdiff_t>(start),
          bytes.begin() + static_cast<std::ptrdiff_t>(end)};
}

Samples Silence(std::size_t channels = 2) {
  return Samples(channels * kAc3FrameSamples, 0);
}

TEST(Ac3Decoder, ReportsMissingArgumentsAndState) {
  ExpectMissingArgumentsAndStateToBeReported<UMC::AC3Decoder, UMC::AC3DecoderParams>();
}

TEST(Ac3Decoder, ReportsThatItIsNotInitialisedFirst) {
  UMC::AC3Decoder decoder;
  UMC::MediaData data(64);
  EXPECT_EQ(-998, decoder.GetFrame(nullptr, &data));
  EXPECT_EQ(-998, decoder.GetFrame(&data, nullptr));
}

TEST(Ac3Decoder, StartsWithDefaultOptionsWhereNoneAreGiven) {
  const Bytes frame = Frames(1)[0];
  UMC::AC3Decoder decoder;
  ASSERT_EQ(0, decoder.Init(nullptr));
  Bytes bytes = frame;
  UMC::MediaData input, output(6 * 3072);
  input.SetBufferPointer(bytes.data(), bytes.size());
  input.SetDataSize(bytes.size());
  EXPECT_EQ(0, decoder.GetFrame(&input, &output));
  EXPECT_EQ(2u * 3072, output.GetDataSize());
}

TEST(Ac3Decoder, RejectsInvalidOptions) {
  UMC::AC3Decoder decoder;
  UMC::BaseCodecParams base;
  UMC::AudioCodecParams audio;
  EXPECT_EQ(-995, decoder.Init(&base));
  EXPECT_EQ(-995, decoder.Init(&audio));
  EXPECT_EQ(-998, decoder.Reset()) << "nothing was initialised";
}

TEST(Ac3Decoder, ReportsMissingMemory) {
  ScarceAllocator allocator(0);
  UMC::AC3Decoder decoder;
  UMC::AC3DecoderParams params;
  params.m_allocator = &allocator;
  EXPECT_EQ(-883, decoder.Init(&params));
  EXPECT_EQ(-998, decoder.Reset());
}

TEST(Ac3Decoder, LivesInABlockThatMoves) {
  Bytes stream = Joined(Frames(4));
  const Samples expected = TestAc3Decoder().DecodeAll(stream);
  MovingAllocator allocator;
  UMC::AC3DecoderParams params;
  params.m_allocator = &allocator;
  UMC::AC3Decoder decoder;
  ASSERT_EQ(0, decoder.Init(&params));
  UMC::MediaData input, output(3072 * 2);
  input.SetBufferPointer(stream.data(), stream.size());
  input.SetDataSize(stream.size());
  Samples samples;
  while (decoder.GetFrame(&input, &output) == 0) {
    const auto* made = static_cast<const std::int16_t*>(output.GetDataPointer());
    samples.insert(samples.end(), made, made + output.GetDataSize() / 2);
  }
  EXPECT_EQ(expected, samples);
  EXPECT_EQ(4u * 2 * 1536, samples.size());
  EXPECT_EQ(0, allocator.Locks());
  EXPECT_GT(allocator.Moves(), 4);
}

TEST(Ac3Decoder, DescribesBothStreams) {
  Ac3GeneratorOptions options;
  options.frequencyCode = 1;
  options.sizeCode = 30;
  TestAc3Decoder decoder(3, true);
  ASSERT_EQ(0, decoder.Decode(Frames(1, options)[0]));
  UMC::AudioCodecParams params;
  ASSERT_EQ(0, decoder.Decoder().GetInfo(&params));
  EXPECT_EQ(6u, params.m_input.channels);
  EXPECT_EQ(44100u, params.m_input.sampleFrequency);
  EXPECT_EQ(448000u, params.m_input.bitRate);
  EXPECT_EQ(UMC::UMC_STREAM_AC3, params.m_input.streamType);
  EXPECT_EQ(0x3Fu, params.m_input.channelMask);
  EXPECT_EQ(4u, params.m_output.channels);
  EXPECT_EQ(44100u, params.m_output.sampleFrequency);
  EXPECT_EQ(16u, params.m_output.bitsPerSample);
  EXPECT_EQ(1u, params.m_output.streamType);
  EXPECT_EQ(0x0Fu, params.m_output.channelMask);
}

TEST(Ac3Decoder, ReportsTheStreamsInformation) {
  const auto describe = [](const Ac3GeneratorOptions& options) {
    TestAc3Decoder decoder;
    EXPECT_EQ(0, decoder.Decode(Frames(1, options)[0]));
    UMC::AC3StreamParams params;
    EXPECT_EQ(0, decoder.Decoder().GetInfo(&params));
    return std::vector<std::uint32_t>{params.m_version,           params.m_serviceType,
                                      params.m_codingMode,        params.m_lfe,
                                      params.m_surroundMode,      params.m_dialogueLevels[0],
                                      params.m_dialogueLevels[1], params.m_input.bitRate};
  };
  Ac3GeneratorOptions options;
  options.version = 6;
  options.serviceType = 4;
  options.mode = 2;
  options.lfe = false;
  options.surroundMode = 1;
  options.dialogueLevel = 27;
  EXPECT_EQ((std::vector<std::uint32_t>{6, 4, 2, 0, 1, 27, 0, 640000}), describe(options));
  options.mode = 0;
  options.lfe = true;
  options.sizeCode = 30;
  EXPECT_EQ((std::vector<std::uint32_t>{6, 4, 0, 1, 0, 27, 27, 448000}), describe(options));
}

TEST(Ac3Decoder, ReportsTheFormatWithTheSamples) {
  Bytes stream = Joined(Frames(2));
  UMC::AC3Decoder decoder;
  UMC::AC3DecoderParams params;
  ASSERT_EQ(0, decoder.Init(&params));
  UMC::MediaData input;
  input.SetBufferPointer(stream.data(), stream.size());
  input.SetDataSize(stream.size());
  UMC::AudioData output(2 * 3072);
  output.m_info.duration = 1.5;
  output.m_info.streamSubtype = 7;
  for (int i = 0; i < 2; ++i) {
    output.m_isSigned = 0;
    ASSERT_EQ(0, decoder.GetFrame(&input, &output));
    EXPECT_EQ(2u * 3072, output.GetDataSize());
    EXPECT_EQ(2u, output.m_info.channels);
    EXPECT_EQ(48000u, output.m_info.sampleFrequency);
    EXPECT_EQ(16u, output.m_info.bitsPerSample);
    EXPECT_EQ(1u, output.m_isSigned);
    EXPECT_EQ(1.5, output.m_info.duration) << "fields unknown to the decoder are kept";
    EXPECT_EQ(7u, output.m_info.streamSubtype);
  }
}

TEST(Ac3Decoder, OutputsAsManyChannelsAsTheModeHas) {
  const std::size_t channels[9] = {2, 1, 2, 3, 3, 4, 4, 5, 5};
  for (int mode = 0; mode <= 8; ++mode) {
    for (const bool lfe : {false, true}) {
      for (int streamMode = 0; streamMode < 8; ++streamMode) {
        Ac3GeneratorOptions options;
        options.mode = streamMode;
        TestAc3Decoder decoder(mode, lfe);
        ASSERT_EQ(0, decoder.Decode(Frames(1, options)[0]));
        EXPECT_EQ((channels[mode] + (lfe ? 1 : 0)) * 1536, decoder.Last().size());
      }
    }
  }
}

TEST(Ac3Decoder, AcceptsOnlyOptionsWithinTheirRanges) {
  const Bytes frame = Frames(1)[0];
  UMC::AC3DecoderParams params;
  TestAc3Decoder decoder;
  const auto channelsWith = [&](int mode, int lfe) {
    params.m_outputMode = mode;
    params.m_outputLfe = lfe;
    EXPECT_EQ(0, decoder.Decoder().SetParams(&params));
    EXPECT_EQ(0, decoder.Decode(frame));
    return decoder.Last().size() / 1536;
  };
  EXPECT_EQ(5u, channelsWith(8, 0));
  EXPECT_EQ(6u, channelsWith(9, 1)) << "the mode stays, the LFE flag is taken";
  EXPECT_EQ(6u, channelsWith(-1, 2));
  EXPECT_EQ(3u, channelsWith(3, 0));
}

TEST(Ac3Decoder, KeepsTheTimeLine) {
  const auto frames = Frames(3);
  const double duration = static_cast<double>(1536.0f / 48000.0f);
  TestAc3Decoder decoder;
  double start = 0, end = 0;
  ASSERT_EQ(0, decoder.Decode(frames[0]));
  decoder.Output().GetTime(&start, &end);
  EXPECT_EQ(0, start);
  EXPECT_EQ(duration, end);
  Bytes damaged = frames[1];
  damaged[100] ^= 1;
  ASSERT_EQ(4, decoder.Decode(damaged));
  decoder.Output().GetTime(&start, &end);
  EXPECT_EQ(duration, start);
  EXPECT_EQ(duration + duration, end);
  decoder.SetInput(frames[2]);
  decoder.Input().SetTime(10, 11);
  ASSERT_EQ(0, decoder.Decode());
  decoder.Output().GetTime(&start, &end);
  EXPECT_EQ(10, start);
  EXPECT_EQ(10 + duration, end);
  ASSERT_EQ(0, decoder.Decode(frames[2]));
  decoder.Output().GetTime(&start, &end);
  EXPECT_EQ(10 + duration, start);
  Ac3GeneratorOptions slow;
  slow.frequencyCode = 1;
  slow.version = 9;
  ASSERT_EQ(0, decoder.Decode(Frames(1, slow)[0]));
  decoder.Output().GetTime(&start, &end);
  EXPECT_EQ(start + static_cast<double>(1536.0f / 22050.0f), end);
}

TEST(Ac3Decoder, NeedsSpaceForTheSamples) {
  auto frames = Frames(2);
  UMC::AC3Decoder decoder;
  UMC::AC3DecoderParams params;
  ASSERT_EQ(0, decoder.Init(&params));
  UMC::MediaData input, small(2 * 3072 - 1), enough(2 * 3072);
  const auto decode = [&](Bytes& frame, UMC::MediaData& output) {
    input.SetBufferPointer(frame.data(), frame.size());
    input.SetDataSize(frame.size());
    return decoder.GetFrame(&input, &output);
  };
  EXPECT_EQ(-896, decode(frames[0], small));
  EXPECT_EQ(frames[0].size(), input.GetDataSize());
  EXPECT_EQ(0u, small.GetDataSize());
  EXPECT_EQ(0, decode(frames[0], enough));
  EXPECT_EQ(0u, input.GetDataSize());
  // A damaged frame without output space resets the decoder: its time starts again.
  Bytes damaged = frames[1];
  damaged[200] ^= 0x10;
  EXPECT_EQ(-896, decode(damaged, small));
  EXPECT_EQ(damaged.size(), input.GetDataSize());
  EXPECT_EQ(4, decode(damaged, enough));
  EXPECT_EQ(0, enough.GetTime());
}

TEST(Ac3Decoder, ConvergesAfterOneFrameOfPreRoll) {
  Ac3GeneratorOptions options;
  options.dither = true;
  options.sizeCode = 20;
  const auto frames = Frames(6, options, 5);
  TestAc3Decoder linear;
  for (const Bytes& frame : frames) ASSERT_EQ(0, linear.Decode(frame));
  TestAc3Decoder sought;
  ASSERT_EQ(0, sought.Decode(frames[1]));
  ASSERT_EQ(0, sought.Decoder().Reset());
  ASSERT_EQ(0, sought.Decode(frames[4]));
  ASSERT_EQ(0, sought.Decode(frames[5]));
  EXPECT_EQ(linear.Last(), sought.Last());
  EXPECT_NE(Silence(), sought.Last());
  TestAc3Decoder without;
  ASSERT_EQ(0, without.Decode(frames[5]));
  EXPECT_NE(linear.Last(), without.Last()) << "the overlap with the frame before is missing";
}

TEST(Ac3Decoder, DithersDifferentlyInEveryChannel) {
  // No bits at all: only noise is audible.
  Ac3GeneratorOptions options;
  options.mode = 2;
  options.dither = true;
  const Bytes frame = Frames(1, options)[0];
  TestAc3Decoder decoder(2);
  ASSERT_EQ(0, decoder.Decode(frame));
  Samples left, right;
  for (std::size_t i = 0; i < 1536; ++i) {
    left.push_back(decoder.Last()[2 * i]);
    right.push_back(decoder.Last()[2 * i + 1]);
  }
  EXPECT_NE(Samples(1536, 0), left);
  EXPECT_NE(Samples(1536, 0), right);
  EXPECT_NE(left, right);
}

TEST(Ac3Decoder, WaitsForTheCompleteFrame) {
  const Bytes stream = Joined(Frames(3));
  EXPECT_EQ(TestAc3Decoder().DecodeAll(stream), TestAc3Decoder().DecodeByteByByte(stream));
}

TEST(Ac3Decoder, SkipsWhatPrecedesTheFirstFrame) {
  const auto frames = Frames(2);
  TestAc3Decoder decoder;
  EXPECT_EQ(0, decoder.Decode(Bytes(100, 0x0B) + frames[1]));
  EXPECT_EQ(0u, decoder.Left());
  TestAc3Decoder other;
  EXPECT_EQ(-996, other.Decode(Bytes(100, 0x55) + Bytes{0x0B}));
  EXPECT_EQ(1u, other.Left());
  EXPECT_EQ(-996, other.Decode(Bytes(100, 0x55)));
  EXPECT_EQ(0u, other.Left());
}

TEST(Ac3Decoder, IgnoresASyncWordAfterGarbageWithoutValidChecksums) {
  const Bytes frame = Frames(2)[1];
  Bytes imposter = frame;
  imposter[200] ^= 1;
  TestAc3Decoder decoder, plain;
  ASSERT_EQ(0, plain.Decode(frame));
  EXPECT_EQ(0, decoder.Decode(Bytes(10, 0x55) + Part(imposter, 0, 300) + frame));
  EXPECT_EQ(plain.Last(), decoder.Last());
  EXPECT_EQ(0u, decoder.Left());
}

TEST(Ac3Decoder, RejectsOtherVersions) {
  const auto frames = Frames(2);
  for (int version = 11; version < 32; ++version) {
    Bytes other = frames[0];
    other[5] = static_cast<std::uint8_t>(version << 3 | (other[5] & 7));
    TestAc3Decoder decoder;
    EXPECT_EQ(-879, decoder.Decode(other + frames[1]));
    EXPECT_LE(decoder.Left(), frames[1].size() + frames[0].size() - 2);
    EXPECT_EQ(-879, TestAc3Decoder().Decode(other));
  }
}

}  // namespace

}  // namespace fmp4
