// The decoder's operations, statuses and transports.
#include "audio/umc/aac/aac_decoder.h"

#include <gtest/gtest.h>

#include "audio/umc/audio_data.h"
#include "tests/audio/aac_generator.h"
#include "tests/audio/aac_streams.h"
#include "tests/audio/codec_contract.h"
#include "tests/audio/test_allocators.h"

namespace fmp4 {

namespace {

using E = GeneratedElement;

std::vector<GeneratedBlock> Blocks(const GeneratorOptions& options, int count, unsigned seed = 1) {
  AacGenerator generator(seed, options);
  std::vector<GeneratedBlock> blocks;
  for (int i = 0; i < count; ++i) blocks.push_back(generator.NextBlock());
  return blocks;
}

GeneratorOptions StereoPair() {
  GeneratorOptions options;
  options.elements = {{E::kCpe, 0}};
  options.midSide = options.tns = true;
  return options;
}

Bytes Stream(const std::vector<GeneratedBlock>& blocks, const AdtsOptions& adts = {}) {
  Bytes stream;
  for (const auto& block : blocks) stream = stream + WrapAdts({block}, adts);
  return stream;
}

Samples DecodeBlocks(const std::vector<GeneratedBlock>& blocks) {
  return TestDecoder().DecodeAll(Stream(blocks));
}

TEST(AacDecoder, ReportsMissingArgumentsAndState) {
  ExpectMissingArgumentsAndStateToBeReported<UMC::AACDecoder, UMC::AACDecoderParams>();
}

TEST(AacDecoder, NeedsParametersOfAnyClass) {
  UMC::AACDecoder decoder;
  UMC::BaseCodecParams base;
  UMC::AudioCodecParams audio;
  EXPECT_EQ(-995, decoder.Init(nullptr));
  EXPECT_EQ(0, decoder.Init(&base));
  EXPECT_EQ(0, decoder.Init(&audio));
}

TEST(AacDecoder, RejectsUnsupportedConfigurations) {
  const auto init = [](Bytes config) {
    UMC::AACDecoder decoder;
    UMC::AACDecoderParams params;
    UMC::MediaData data;
    data.SetBufferPointer(config.data(), config.size());
    data.SetDataSize(config.size());
    params.m_input.streamType = 2065;
    params.m_configuration = &data;
    return decoder.Init(&params);
  };
  EXPECT_EQ(-876, init({}));
  UMC::AACDecoder decoder;
  UMC::AACDecoderParams params;
  params.m_input.streamType = 2065;
  EXPECT_EQ(-876, decoder.Init(&params));
  EXPECT_EQ(0, init({0x11, 0x90}));              // LC, 48 kHz, stereo
  EXPECT_EQ(-899, init({0x11}));                 // truncated
  EXPECT_EQ(-899, init({0x16, 0x90}));           // a reserved frequency
  EXPECT_EQ(-899, init({0x11, 0xC0}));           // a reserved channel configuration
  EXPECT_EQ(-899, init({0xB1, 0x90, 0, 0}));     // ER BSAC
  EXPECT_EQ(-899, init({0xF8, 0x86, 0x40, 0}));  // ALS
  EXPECT_EQ(-899, init({0x49, 0x90, 0, 0}));     // CELP
}

TEST(AacDecoder, ReportsMissingMemory) {
  for (int blocks = 0; blocks < 2; ++blocks) {
    ScarceAllocator allocator(blocks);
    UMC::AACDecoder decoder;
    UMC::AACDecoderParams params;
    params.m_allocator = &allocator;
    EXPECT_EQ(-883, decoder.Init(&params));
    EXPECT_EQ(-998, decoder.Reset());
  }
}

struct InfoCase {
  const char* name;
  std::vector<GeneratedElement> elements;
  int channelConfiguration;
  std::uint32_t channels, mask;
};

TEST(AacDecoder, DescribesTheStream) {
  const InfoCase cases[] = {
      {"mono", {{E::kSce, 0}}, 1, 1, 4},
      {"stereo", {{E::kCpe, 0}}, 2, 2, 3},
      {"3.0", {{E::kSce, 0}, {E::kCpe, 0}}, 3, 3, 7},
      {"4.0", {{E::kSce, 0}, {E::kCpe, 0}, {E::kSce, 1}}, 4, 4, 15},
      {"5.0", {{E::kSce, 0}, {E::kCpe, 0}, {E::kCpe, 1}}, 5, 5, 55},
      {"5.1", {{E::kSce, 0}, {E::kCpe, 0}, {E::kCpe, 1}, {E::kLfe, 0}}, 6, 6, 63},
      {"7.1", {{E::kSce, 0}, {E::kCpe, 0}, {E::kCpe, 1}, {E::kCpe, 2}, {E::kLfe, 0}}, 7, 8, 0},
  };
  for (const auto& info : cases) {
    SCOPED_TRACE(info.name);
    GeneratorOptions options;
    options.elements = info.elements;
    TestDecoder decoder;
    UMC::AudioCodecParams params;
    EXPECT_EQ(3, decoder.Decoder().GetInfo(&params));
    ASSERT_EQ(
        0, decoder.Decode(Stream(Blocks(options, 1), {.channelConfiguration = info.channelConfiguration})));
    EXPECT_EQ(info.channels * 1024, decoder.Last().size());
    ASSERT_EQ(0, decoder.Decoder().GetInfo(&params));
    for (const auto* stream : {&params.m_input, &params.m_output}) {
      EXPECT_EQ(info.channels, stream->channels);
      EXPECT_EQ(info.mask, stream->channelMask);
      EXPECT_EQ(48000u, stream->sampleFrequency);
      EXPECT_EQ(16u, stream->bitsPerSample);
    }
    EXPECT_EQ(2048u, params.m_input.streamType);
    EXPECT_EQ(1u, params.m_output.streamType);
    EXPECT_EQ(1u, params.m_input.streamSubtype);
  }
}

TEST(AacDecoder, ReportsTheProfile) {
  const std::uint32_t flags[4] = {4, 1, 8, 2};
  for (int profile = 0; profile < 4; ++profile) {
    TestDecoder decoder;
    ASSERT_EQ(0, decoder.Decode(Stream(Blocks(StereoPair(), 1), {.profile = profile})));
    UMC::AudioCodecParams params;
    ASSERT_EQ(0, decoder.Decoder().GetInfo(&params));
    EXPECT_EQ(flags[profile], params.m_input.streamSubtype);
  }
}

TEST(AacDecoder, DescribesAConfiguredStreamAtOnce) {
  TestDecoder decoder(MakeConfig(4, 960, 6));
  UMC::AudioCodecParams params;
  ASSERT_EQ(0, decoder.Decoder().GetInfo(&params));
  EXPECT_EQ(6u, params.m_output.channels);
  EXPECT_EQ(63u, params.m_output.channelMask);
  EXPECT_EQ(44100u, params.m_output.sampleFrequency);
}

TEST(AacDecoder, ReportsTheFormatWithTheSamples) {
  UMC::AACDecoder decoder;
  UMC::AACDecoderParams params;
  ASSERT_EQ(0, decoder.Init(&params));
  Bytes stream = Stream(Blocks(StereoPair(), 2));
  UMC::MediaData input;
  input.SetBufferPointer(stream.data(), stream.size());
  input.SetDataSize(stream.size());
  UMC::AudioData output(3 * 4096);
  ASSERT_EQ(0, decoder.GetFrame(&input, &output));
  EXPECT_EQ(4096u, output.GetDataSize());
  EXPECT_EQ(2u, output.m_info.channels);
  EXPECT_EQ(48000u, output.m_info.sampleFrequency);
  ASSERT_EQ(0, decoder.GetFrame(&input, &output));
  EXPECT_EQ(8192u, output.GetDataSize()) << "samples are appended";
}

TEST(AacDecoder, NeedsSpaceForTheSamples) {
  const auto blocks = Blocks(StereoPair(), 1);
  Bytes stream = Stream(blocks);
  UMC::AACDecoder decoder;
  UMC::AACDecoderParams params;
  ASSERT_EQ(0, decoder.Init(&params));
  UMC::MediaData input, output(4095), enough(4096);
  input.SetBufferPointer(stream.data(), stream.size());
  input.SetDataSize(stream.size());
  EXPECT_EQ(-896, decoder.GetFrame(&input, &output));
  EXPECT_EQ(stream.size(), input.GetDataSize());
  EXPECT_EQ(0u, output.GetDataSize());
  EXPECT_EQ(0, decoder.GetFrame(&input, &enough));
  EXPECT_EQ(4096u, enough.GetDataSize());
}

TEST(AacDecoder, DistinguishesUnsupportedFromShortInput) {
  TestDecoder decoder;
  EXPECT_EQ(-996, decoder.Decode(Bytes(8, 0xFF)));
  EXPECT_EQ(8u, decoder.Left());
  EXPECT_EQ(-879, decoder.Decode(Bytes(100, 0x55)));
  EXPECT_EQ(2u, decoder.Left());
  EXPECT_EQ(-899, decoder.Decode(Bytes{'A', 'L', 'S', 0, 1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(0u, decoder.Left());
  EXPECT_EQ(0, decoder.Decode(Stream(Blocks(StereoPair(), 1))));
}

// The header of a lossless stream of 10000 samples, with or without the original file's header and trailer.
Bytes AlsHead(unsigned resolution, bool everything, bool kept = true) {
  BitWriter bits;
  bits.Write(0x414C5300, 32);
  bits.Write(48000, 32);
  bits.Write(10000, 32);
  bits.Write(2, 16);  // three channels
  bits.Write(1, 3);
  bits.Write(resolution, 3);
  bits.Write(0, 2);
  bits.Write(2047, 16);
  bits.Write(everything ? 1 : 0, 8);
  bits.Write(everything ? 2 : 0, 2);
  bits.Write(0x12345, 20);
  bits.Write(everything ? 7 : 0, 3);
  bits.Write(0, 6);
  bits.Write(everything ? 1 : 0, 1);
  if (everything) {
    bits.Write(0x1234, 16);
    bits.Write(0b000110, 6);  // a position of two bits for each channel
  }
  bits.Align();
  bits.Write(kept ? 3 : 0xFFFFFFFF, 32);
  bits.Write(kept ? 2 : 0xFFFFFFFF, 32);
  for (int i = 0; kept && i < 5; ++i) bits.Write(0x55, 8);
  if (everything) {
    bits.Write(0xDEADBEEF, 32);
    for (int i = 0; i < 5; ++i) bits.Write(1000, 32);  // random access units of 2048 PCM frames
    bits.Write(1, 32);
    bits.Write(0xAA, 8);
  }
  return bits.Bytes();
}

TEST(AacDecoder, ReadsHeadersOfLosslessStreamsButNotTheirFrames) {
  const Bytes adts = Stream(Blocks(StereoPair(), 1));
  for (const Bytes& head : {AlsHead(1, false), AlsHead(1, true), AlsHead(1, false, false)}) {
    TestDecoder decoder;
    EXPECT_EQ(-899, decoder.Decode(head + adts));
    EXPECT_EQ(adts.size(), decoder.Left());
    EXPECT_EQ(-899, decoder.Decode(adts)) << "taken for a frame of the lossless stream";
    EXPECT_EQ(adts.size(), decoder.Left());
    UMC::AudioCodecParams params;
    ASSERT_EQ(0, decoder.Decoder().GetInfo(&params));
    for (const auto* described : {&params.m_input, &params.m_output}) {
      EXPECT_EQ(3u, described->channels);
      EXPECT_EQ(7u, described->channelMask);
      EXPECT_EQ(48000u, described->sampleFrequency);
    }
    EXPECT_EQ(32u, params.m_input.streamSubtype);
    for (std::size_t size = 4; size < head.size(); ++size) {
      TestDecoder cut;
      EXPECT_EQ(-899, cut.Decode(Bytes(head.begin(), head.begin() + static_cast<std::ptrdiff_t>(size))));
      EXPECT_EQ(0u, cut.Left());
      EXPECT_EQ(0, cut.Decode(adts));
    }
  }
  TestDecoder reserved;
  EXPECT_EQ(-899, reserved.Decode(AlsHead(4, false) + Bytes(10, 0)));
  EXPECT_EQ(8u + 5 + 10, reserved.Left());
  EXPECT_EQ(0, reserved.Decode(adts));
}

TEST(AacDecoder, SkipsGarbageBeforeAHeader) {
  const Bytes frame = Stream(Blocks(StereoPair(), 1));
  TestDecoder decoder;
  EXPECT_EQ(0, decoder.Decode(Bytes(100, 0x55) + frame));
  EXPECT_EQ(0u, decoder.Left());
  EXPECT_EQ(0, decoder.Decode(Bytes(1000, 0x55) + frame));
  EXPECT_EQ(0u, decoder.Left());
  EXPECT_EQ(-996, decoder.Decode(Bytes(100, 0x55)));
  EXPECT_EQ(2u, decoder.Left());
  EXPECT_EQ(-996, decoder.Decode(Bytes(8, 0x55)));
  EXPECT_EQ(8u, decoder.Left());
  EXPECT_EQ(-996, decoder.Decode(Bytes(50, 0x55) + Bytes(frame.begin(), frame.begin() + 8)));
  EXPECT_EQ(8u, decoder.Left());
}

TEST(AacDecoder, WaitsForTheCompleteFrame) {
  const auto blocks = Blocks(StereoPair(), 3);
  const Bytes stream = Stream(blocks);
  EXPECT_EQ(DecodeBlocks(blocks), TestDecoder().DecodeByteByByte(stream));
}

TEST(AacDecoder, DropsBytesAfterAFrameUnlessTheyMayBeginTheNext) {
  const auto frames = SplitAdts(Stream(Blocks(StereoPair(), 2)));
  TestDecoder decoder;
  EXPECT_EQ(0, decoder.Decode(frames[0] + Bytes(5, 0)));
  EXPECT_EQ(0u, decoder.Left());
  for (std::ptrdiff_t begun = 1; begun <= 9; ++begun) {
    EXPECT_EQ(0, decoder.Decode(frames[0] + Bytes(frames[1].begin(), frames[1].begin() + begun)));
    EXPECT_EQ(static_cast<std::size_t>(begun), decoder.Left());
  }
}

// The header that the reader puts before a track's samples: the profile one too high, a length without its
// bit 2 and those above 10, the channel configuration 2 or 0 whatever the stream is.
Bytes OddHeader(const Bytes& block, int objectType, int samplingIndex, int channelConfiguration) {
  const auto asc0 = static_cast<std::uint8_t>(objectType << 3 | samplingIndex >> 1);
  const auto asc1 = static_cast<std::uint8_t>((samplingIndex & 1) << 7 | channelConfiguration << 3);
  Bytes header(7, 0);
  header[0] = 0xFF;
  header[1] = 0xF1;
  header[2] = static_cast<std::uint8_t>(((asc0 << 3) | (asc1 >> 5)) & 0xFC);
  header[3] = static_cast<std::uint8_t>((asc1 & 0xF8) << 3);
  if ((header[3] & 0xC0) != 0) header[3] = static_cast<std::uint8_t>((header[3] & 0x3F) | 0x80);
  const std::size_t length = 7 + block.size();
  header[4] = static_cast<std::uint8_t>(length >> 3);
  header[5] = static_cast<std::uint8_t>((length & 3) << 5);
  header[3] &= 0xFC;
  return header + block;
}

TEST(AacDecoder, DecodesSamplesAfterTheReadersHeader) {
  const InfoCase cases[] = {
      {"mono", {{E::kSce, 0}}, 1, 1, 0},
      {"stereo", {{E::kCpe, 0}}, 2, 2, 0},
      {"4.0", {{E::kSce, 0}, {E::kCpe, 0}, {E::kSce, 1}}, 4, 4, 0},
      {"5.1", {{E::kSce, 0}, {E::kCpe, 0}, {E::kCpe, 1}, {E::kLfe, 0}}, 6, 6, 0},
      {"7.1", {{E::kSce, 0}, {E::kCpe, 0}, {E::kCpe, 1}, {E::kCpe, 2}, {E::kLfe, 0}}, 7, 8, 0},
  };
  for (const auto& info : cases) {
    SCOPED_TRACE(info.name);
    GeneratorOptions options;
    options.elements = info.elements;
    options.tns = true;
    const auto blocks = Blocks(options, 40, 11);
    const Samples expected =
        TestDecoder().DecodeAll(Stream(blocks, {.channelConfiguration = info.channelConfiguration}));
    TestDecoder decoder;
    Samples samples;
    for (const auto& block : blocks) {
      ASSERT_EQ(0, decoder.Decode(OddHeader(block.bytes, 2, 3, info.channelConfiguration) + Bytes(3, 0)));
      EXPECT_EQ(0u, decoder.Left());
      samples.insert(samples.end(), decoder.Last().begin(), decoder.Last().end());
    }
    EXPECT_EQ(expected, samples);
  }
}

TEST(AacDecoder, RejectsFramesThatAreTooLongForTheirChannels) {
  const auto blocks = Blocks(StereoPair(), 2);
  Bytes frame = WrapAdts({blocks[0]}, {});
  const auto announce = [](Bytes bytes, std::size_t length) {
    bytes[3] = static_cast<std::uint8_t>((bytes[3] & 0xFC) | length >> 11);
    bytes[4] = static_cast<std::uint8_t>(length >> 3);
    bytes[5] = static_cast<std::uint8_t>((bytes[5] & 0x1F) | (length & 7) << 5);
    return bytes;
  };
  const Bytes padded = frame + Bytes(8191 - frame.size(), 0);
  // A stream's first frame, followed by one of a stream that is known to be stereo.
  TestDecoder fresh, known;
  ASSERT_EQ(0, known.Decode(WrapAdts({blocks[1]}, {})));
  for (TestDecoder* decoder : {&fresh, &known}) {
    EXPECT_EQ(-881, decoder->Decode(announce(padded, 2 * 768 + 7 + 1)));
    EXPECT_EQ(padded.size() - 3, decoder->Left());
    EXPECT_EQ(-881, decoder->Decode(announce(frame, 8191)));
    EXPECT_EQ(frame.size() - 3, decoder->Left());
    EXPECT_EQ(0, decoder->Decode(announce(padded, 2 * 768 + 7)));
  }
  // Longer than the input, but not too long for its channels.
  EXPECT_EQ(-996, known.Decode(announce(frame, 2 * 768 + 7)));
  EXPECT_EQ(frame.size(), known.Left());
}

TEST(AacDecoder, KeepsLongFramesOfManyChannelsAfterAHeaderThatSignalsTwo) {
  GeneratorOptions options;
  options.elements = {{E::kSce, 0}, {E::kCpe, 0}, {E::kCpe, 1}, {E::kLfe, 0}};
  // A stream whose first frame is too long for two channels.
  unsigned seed = 0;
  Bytes stream;
  do {
    stream = Stream(Blocks(options, 20, ++seed), {.channelConfiguration = 2});
  } while (SplitAdts(stream)[0].size() <= 2u * 768 + 7);
  EXPECT_EQ(20u * 1024 * 6, TestDecoder().DecodeAll(stream).size());
}

TEST(AacDecoder, VerifiesTheCrc) {
  GeneratorOptions options;
  options.elements = {{E::kSce, 0}, {E::kCpe, 0}, {E::kLfe, 0}};
  options.otherElements = true;
  options.writeProgram = true;
  const auto blocks = Blocks(options, 30);
  AdtsOptions adts{.channelConfiguration = 0, .protect = true};
  TestDecoder decoder;
  for (const auto& block : blocks) {
    Bytes frame = WrapAdts({block}, adts);
    ASSERT_EQ(0, decoder.Decode(frame));
    frame[7] ^= 1;
    ASSERT_EQ(4, decoder.Decode(frame));
    EXPECT_EQ(4096u, decoder.Last().size());
    EXPECT_EQ(0u, decoder.Left());
  }
}

TEST(AacDecoder, DecodesFramesOfSeveralBlocks) {
  GeneratorOptions options = StereoPair();
  const auto blocks = Blocks(options, 12);
  const Samples expected = DecodeBlocks(blocks);
  for (const bool protect : {false, true}) {
    for (std::size_t together = 1; together <= 4; ++together) {
      Bytes stream;
      for (std::size_t i = 0; i < blocks.size(); i += together) {
        const auto first = blocks.begin() + static_cast<std::ptrdiff_t>(i);
        stream =
            stream + WrapAdts({first, first + static_cast<std::ptrdiff_t>(together)}, {.protect = protect});
      }
      TestDecoder decoder;
      EXPECT_EQ(expected, decoder.DecodeAll(stream));
      EXPECT_EQ(0u, decoder.Left());
    }
  }
  // One wrong checksum of several.
  Bytes frame = WrapAdts({blocks[0], blocks[1]}, {.protect = true});
  frame.back() ^= 1;
  EXPECT_EQ(4, TestDecoder().Decode(frame));
  frame.back() ^= 1;
  frame[9] ^= 1;
  EXPECT_EQ(4, TestDecoder().Decode(frame));
}

TEST(AacDecoder, DecodesAdif) {
  const auto blocks = Blocks(StereoPair(), 10);
  BitWriter header;
  header.Write(0x41444946, 32);
  header.Write(0, 4);  // no copyright, constant rate
  header.Write(128000, 23);
  header.Write(0, 4);      // one program
  header.Write(1000, 20);  // buffer fullness
  header.Write(0, 4);      // tag
  header.Write(1, 2);      // LC
  header.Write(3, 4);      // 48 kHz
  header.Write(1, 4);      // one front element
  header.Write(0, 17);     // and no others
  header.Write(0, 3);      // no mix-down
  header.Write(1, 1);      // a pair
  header.Write(0, 4);
  header.Align();
  header.Write(0, 8);
  Bytes stream = header.Bytes();
  for (const auto& block : blocks) stream = stream + block.bytes;
  TestDecoder decoder;
  EXPECT_EQ(DecodeBlocks(blocks), decoder.DecodeAll(stream));
  EXPECT_EQ(0u, decoder.Left());
  UMC::AudioCodecParams params;
  ASSERT_EQ(0, decoder.Decoder().GetInfo(&params));
  EXPECT_EQ(48000u, params.m_input.sampleFrequency);
  EXPECT_EQ(1u, params.m_input.streamSubtype);

  // Truncated at any byte, it waits for more.
  for (std::size_t size = 4; size < header.Bytes().size() + 20; ++size) {
    TestDecoder waiting;
    EXPECT_EQ(-996,
              waiting.Decode(Bytes(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(size))));
  }
}

TEST(AacDecoder, LeavesTheInputOfAConfiguredStreamAlone) {
  const auto blocks = Blocks(StereoPair(), 10);
  TestDecoder decoder(MakeConfig(3, 1024, 2));
  Samples samples;
  for (const auto& block : blocks) {
    ASSERT_EQ(0, decoder.Decode(block.bytes));
    EXPECT_EQ(block.bytes.size(), decoder.Left());
    samples.insert(samples.end(), decoder.Last().begin(), decoder.Last().end());
  }
  EXPECT_EQ(DecodeBlocks(blocks), samples);
  EXPECT_EQ(-896, decoder.Decode(Bytes(blocks[0].bytes.begin(), blocks[0].bytes.begin() + 30)));
}

TEST(AacDecoder, ResetsTheSignal) {
  const auto blocks = Blocks(StereoPair(), 4);
  const auto frames = SplitAdts(Stream(blocks));
  TestDecoder fresh, used;
  ASSERT_EQ(0, fresh.Decode(frames[3]));
  for (const auto& frame : frames) ASSERT_EQ(0, used.Decode(frame));
  EXPECT_NE(fresh.Last(), used.Last());
  ASSERT_EQ(0, used.Decoder().Reset());
  ASSERT_EQ(0, used.Decode(frames[3]));
  EXPECT_EQ(fresh.Last(), used.Last());
}

TEST(AacDecoder, DecodesTheSameSamplesFromAnyStart) {
  GeneratorOptions options = StereoPair();
  options.noise = options.intensity = true;
  const auto frames = SplitAdts(Stream(Blocks(options, 30)));
  TestDecoder linear;
  std::vector<Samples> expected;
  for (const auto& frame : frames) {
    ASSERT_EQ(0, linear.Decode(frame));
    expected.push_back(linear.Last());
  }
  for (std::size_t start = 1; start < frames.size(); start += 3) {
    TestDecoder decoder;
    ASSERT_EQ(0, decoder.Decode(frames[start - 1]));
    ASSERT_EQ(0, decoder.Decode(frames[start]));
    EXPECT_EQ(expected[start], decoder.Last());
  }
}

TEST(AacDecoder, WorksWhileItsMemoryMoves) {
  GeneratorOptions options = StereoPair();
  options.pulse = true;
  const auto blocks = Blocks(options, 10);
  Bytes stream = Stream(blocks);
  MovingAllocator allocator;
  UMC::AACDecoder decoder;
  UMC::AACDecoderParams params;
  params.m_allocator = &allocator;
  ASSERT_EQ(0, decoder.Init(&params));
  UMC::MediaData input, output(10 * 4096);
  input.SetBufferPointer(stream.data(), stream.size());
  input.SetDataSize(stream.size());
  for (std::size_t i = 0; i < blocks.size(); ++i) ASSERT_EQ(0, decoder.GetFrame(&input, &output));
  const Samples expected = DecodeBlocks(blocks);
  EXPECT_EQ(0, std::memcmp(expected.data(), output.GetDataPointer(), expected.size() * 2));
  EXPECT_EQ(0, allocator.Locks());
  EXPECT_GT(allocator.Moves(), 20);
}

}  // namespace

}  // namespace fmp4
