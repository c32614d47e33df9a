#include "audio/audio_decode.h"

#include <gtest/gtest.h>

#include <cstring>
#include <numeric>

#include "tests/audio/aac_generator.h"
#include "tests/audio/aac_streams.h"
#include "tests/support/log_capture.h"

namespace fmp4 {

namespace {

using E = GeneratedElement;

constexpr std::uint32_t kMp4a = 0x6D703461;

QVRAUDIO Format(std::uint32_t codec, std::uint16_t channels = 2, std::uint16_t bits = 16) {
  QVRAUDIO format{};
  format.codec = codec;
  format.wave.formatTag = 1;
  format.wave.channels = channels;
  format.wave.samplesPerSecond = 48000;
  format.wave.bitsPerSample = bits;
  format.wave.blockAlign = static_cast<std::uint16_t>(channels * ((bits + 7) / 8));
  format.wave.averageBytesPerSecond = 48000u * format.wave.blockAlign;
  return format;
}

std::vector<Bytes> StereoFrames(int count) {
  GeneratorOptions options;
  options.elements = {{E::kCpe, 0}};
  AacGenerator generator(21, options);
  std::vector<Bytes> frames;
  for (int i = 0; i < count; ++i) frames.push_back(WrapAdts({generator.NextBlock()}, {}));
  return frames;
}

Samples Linear(const std::vector<Bytes>& frames) {
  Bytes stream;
  for (const auto& frame : frames) stream = stream + frame;
  return TestDecoder().DecodeAll(stream);
}

// The wrapper, whose buffer is released at the end.
class AacWrapper : public VL_Audio_Decode {
 public:
  ~AacWrapper() override { ReleaseBuffer(); }

  std::int32_t Feed(Bytes frame) {
    return DecodeFrameAudioBuffered(frame.data(), static_cast<std::uint32_t>(frame.size()), &lastBytes, 0, 0,
                                    1024, 0);
  }
  // The samples that a pull returns.
  Samples Pull(std::uint64_t position, std::uint32_t frames) {
    Samples space(100000);
    std::uint32_t offset = 6;
    EXPECT_EQ(0u, PullAudio(position, frames, reinterpret_cast<std::uint8_t*>(space.data()), &offset));
    return {space.begin() + 3, space.begin() + offset / 2};
  }
  std::uint32_t lastBytes = 0;
};

Samples Part(const Samples& all, std::size_t firstFrame, std::size_t frames) {
  const auto first = all.begin() + static_cast<std::ptrdiff_t>(2 * firstFrame);
  return {first, first + static_cast<std::ptrdiff_t>(2 * frames)};
}

TEST(AudioDecode, HasItsDefaults) {
  const AacWrapper wrapper;
  EXPECT_EQ(0u, wrapper.CodecCode());
  EXPECT_EQ(16u, wrapper.BitsPerSample());
  EXPECT_EQ(0u, wrapper.BytesPerSecond());
  EXPECT_EQ(4u, wrapper.FrameSize());
  EXPECT_EQ(2u, wrapper.Channels());
  EXPECT_EQ(0u, wrapper.BufferStart());
  EXPECT_EQ(0u, wrapper.BufferedFrames());
  EXPECT_EQ(0u, wrapper.BufferedBytes());
  EXPECT_EQ(0u, wrapper.BufferCapacity());
  EXPECT_FALSE(wrapper.IsOpen());
}

TEST(AudioDecode, TakesTheDescription) {
  AacWrapper wrapper;
  QVRAUDIO format = Format(kMp4a, 6, 16);
  EXPECT_EQ(0u, wrapper.Init(&format));
  EXPECT_TRUE(wrapper.IsOpen());
  EXPECT_EQ(kMp4a, wrapper.CodecCode());
  EXPECT_EQ(16u, wrapper.BitsPerSample());
  EXPECT_EQ(576000u, wrapper.BytesPerSecond());
  EXPECT_EQ(12u, wrapper.FrameSize());
  EXPECT_EQ(6u, wrapper.Channels());
  EXPECT_EQ(6u, format.wave.channels);
  wrapper.CloseCodec();
  EXPECT_FALSE(wrapper.IsOpen());
}

TEST(AudioDecode, Handles24BitStereoInFramesOfEightBytes) {
  AacWrapper wrapper;
  QVRAUDIO format = Format(kMp4a, 2, 24);
  ASSERT_EQ(6u, format.wave.blockAlign);
  wrapper.Init(&format);
  EXPECT_EQ(8u, wrapper.FrameSize());
  EXPECT_EQ(24u, wrapper.BitsPerSample());
}

TEST(AudioDecode, StaysClosedWithoutADecoder) {
  for (const std::uint32_t codec : {VL_FCC_AES3, VL_FCC_MP1, VL_FCC_MP2, VL_FCC_MP3}) {
    AacWrapper wrapper;
    QVRAUDIO format = Format(codec);
    EXPECT_EQ(0u, wrapper.Init(&format));
    EXPECT_FALSE(wrapper.IsOpen());
    std::uint32_t bytes = 77;
    std::uint8_t input[16] = {};
    EXPECT_EQ(-1, wrapper.DecodeFrameAudio(input, &bytes, input, 16, 0, 0, 1024));
    EXPECT_EQ(77u, bytes);
    EXPECT_EQ(-1, wrapper.Feed(Bytes(16, 0)));
  }
}

TEST(AudioDecode, AllocatesAFixedFirstBufferAndThenWhatIsNeeded) {
  AacWrapper wrapper;  // frames of four bytes
  EXPECT_EQ(0u, wrapper.CheckBuffer(1000000));
  EXPECT_EQ(200000u, wrapper.BufferCapacity());
  EXPECT_EQ(0u, wrapper.CheckBuffer(6250));
  EXPECT_EQ(200000u, wrapper.BufferCapacity());
  EXPECT_EQ(0u, wrapper.CheckBuffer(6251));
  EXPECT_EQ(200032u, wrapper.BufferCapacity());
  EXPECT_EQ(0u, wrapper.CheckBuffer(1));
  EXPECT_EQ(200032u, wrapper.BufferCapacity());
}

TEST(AudioDecode, ReportsABufferThatCannotBeAllocated) {
  AacWrapper wrapper;
  QVRAUDIO format = Format(kMp4a);
  wrapper.Init(&format);
  ASSERT_EQ(0, wrapper.Feed(StereoFrames(1)[0]));
  LogCapture log;
  EXPECT_EQ(0xE8023020u, wrapper.CheckBuffer(0xFFFFFFFF));
  const std::vector<LogLine> expected = {
      {0x80000000u, "WARNING(vlx_Fmp4): Unable to alloc audio buffer\n\n"}};
  EXPECT_EQ(expected, log.lines);
  EXPECT_EQ(0u, wrapper.BufferedFrames());
  EXPECT_TRUE(wrapper.Pull(0, 1).empty());
  EXPECT_EQ(0u, wrapper.CheckBuffer(1));
  EXPECT_EQ(200000u, wrapper.BufferCapacity());
}

TEST(AudioDecode, DecodesTheInputOfOneCall) {
  const auto frames = StereoFrames(2);
  AacWrapper wrapper;
  QVRAUDIO format = Format(kMp4a);
  wrapper.Init(&format);
  Bytes input = frames[0] + frames[1];
  Samples output(0xFFFFF / 2 + 1);
  std::uint32_t bytes = 0;
  EXPECT_EQ(static_cast<std::int32_t>(frames[1].size()),
            wrapper.DecodeFrameAudio(reinterpret_cast<std::uint8_t*>(output.data()), &bytes, input.data(),
                                     static_cast<std::uint32_t>(input.size()), 0, 0, 1024));
  EXPECT_EQ(4096u, bytes);
  output.resize(2048);
  EXPECT_EQ(Part(Linear(frames), 0, 1024), output);
  bytes = 5;
  EXPECT_EQ(-1, wrapper.DecodeFrameAudio(reinterpret_cast<std::uint8_t*>(output.data()), &bytes, input.data(),
                                         8, 0, 0, 1024));
  EXPECT_EQ(5u, bytes);
}

TEST(AudioDecode, BuffersACompleteInput) {
  const auto frames = StereoFrames(5);
  const Samples all = Linear(frames);
  AacWrapper wrapper;
  QVRAUDIO format = Format(kMp4a);
  wrapper.Init(&format);
  EXPECT_EQ(0, wrapper.Feed(frames[0] + frames[1]));
  EXPECT_EQ(2u * 4096, wrapper.lastBytes);
  EXPECT_EQ(2048u, wrapper.BufferedFrames());
  EXPECT_EQ(8192u, wrapper.BufferedBytes());
  EXPECT_EQ(200000u, wrapper.BufferCapacity());
  EXPECT_EQ(0, wrapper.Feed({}));
  EXPECT_EQ(0u, wrapper.lastBytes);
  EXPECT_EQ(2048u, wrapper.BufferedFrames());
  for (int i = 2; i < 5; ++i) EXPECT_EQ(0, wrapper.Feed(frames[static_cast<std::size_t>(i)]));
  EXPECT_EQ(5120u, wrapper.BufferedFrames());
  EXPECT_EQ((2 * 1024 + 4096 + 2 * 1024) * 4u * 8, wrapper.BufferCapacity());
  EXPECT_EQ(all, wrapper.Pull(0, 5120));
}

TEST(AudioDecode, KeepsSamplesDecodedBeforeAFailure) {
  const auto frames = StereoFrames(2);
  AacWrapper wrapper;
  QVRAUDIO format = Format(kMp4a);
  wrapper.Init(&format);
  EXPECT_EQ(-1, wrapper.Feed(frames[0] + Bytes(frames[1].begin(), frames[1].begin() + 40)));
  EXPECT_EQ(4096u, wrapper.lastBytes);
  EXPECT_EQ(1024u, wrapper.BufferedFrames());
  EXPECT_EQ(-1, wrapper.Feed(Bytes(40, 0x55)));
  EXPECT_EQ(1024u, wrapper.BufferedFrames());
  EXPECT_EQ(0, wrapper.Feed(frames[1]));
  EXPECT_EQ(Linear(frames), wrapper.Pull(0, 2048));
}

TEST(AudioDecode, PullsFromInsideTheBufferAndKeepsTheTail) {
  const auto frames = StereoFrames(2);
  const Samples all = Linear(frames);
  AacWrapper wrapper;
  QVRAUDIO format = Format(kMp4a);
  wrapper.Init(&format);
  wrapper.Feed(frames[0] + frames[1]);
  wrapper.SetBufferStart(5000000000);
  EXPECT_EQ(Part(all, 100, 200), wrapper.Pull(5000000100, 200));
  EXPECT_EQ(5000000300u, wrapper.BufferStart());
  EXPECT_EQ(2048u - 300, wrapper.BufferedFrames());
  EXPECT_EQ((2048u - 300) * 4, wrapper.BufferedBytes());
  EXPECT_EQ(Part(all, 300, 1748), wrapper.Pull(5000000300, 1748));
  EXPECT_EQ(5000002048u, wrapper.BufferStart());
  EXPECT_EQ(0u, wrapper.BufferedFrames());
}

TEST(AudioDecode, APullBeyondTheBufferTakesAsManyFramesAsItHolds) {
  const auto frames = StereoFrames(2);
  const Samples all = Linear(frames);
  AacWrapper wrapper;
  QVRAUDIO format = Format(kMp4a);
  wrapper.Init(&format);
  wrapper.Feed(frames[0] + frames[1]);
  EXPECT_EQ(all, wrapper.Pull(0, 3000));
  EXPECT_EQ(2048u, wrapper.BufferStart());
  EXPECT_EQ(0u, wrapper.BufferedFrames());

  // From the middle it counts from there: the end of the copy is left over from before.
  AacWrapper other;
  other.Init(&format);
  other.Feed(frames[0] + frames[1]);
  const Samples pulled = other.Pull(2000, 100);
  ASSERT_EQ(2u * 2048, pulled.size());
  EXPECT_EQ(Part(all, 2000, 48), Samples(pulled.begin(), pulled.begin() + 96));
  EXPECT_EQ(2000u + 2048, other.BufferStart());
  EXPECT_EQ(0u, other.BufferedFrames());
}

TEST(AudioDecode, APullOutsideTheBufferEmptiesIt) {
  const auto frames = StereoFrames(1);
  for (const std::uint64_t position : {std::uint64_t{99}, std::uint64_t{100 + 1024}, std::uint64_t{5000}}) {
    AacWrapper wrapper;
    QVRAUDIO format = Format(kMp4a);
    wrapper.Init(&format);
    wrapper.Feed(frames[0]);
    wrapper.SetBufferStart(100);
    EXPECT_TRUE(wrapper.Pull(position, 10).empty());
    EXPECT_EQ(position, wrapper.BufferStart());
    EXPECT_EQ(0u, wrapper.BufferedFrames());
    EXPECT_EQ(0u, wrapper.BufferedBytes());
  }
}

TEST(AudioDecode, NeverCopiesFromAfterItsBuffer) {
  // The frame size is set to 80 bytes but counted as one: a pull takes more than the frames it counts.
  constexpr std::uint32_t kHeld = 4096, kCapacity = 200000, kSignalled = 80;
  for (const std::uint32_t frames : {kHeld / 2, kHeld}) {  // to the end of the buffered samples, and beyond
    AacWrapper wrapper;
    QVRAUDIO format = Format(kMp4a, 2, 16);
    wrapper.Init(&format);
    wrapper.SetFrameSize(1);
    wrapper.Feed(StereoFrames(1)[0]);
    ASSERT_EQ(kHeld, wrapper.BufferedFrames());
    ASSERT_EQ(kCapacity, wrapper.BufferCapacity());
    wrapper.SetChannels(kSignalled / 2);
    Bytes space(kHeld * kSignalled);
    std::uint32_t offset = 0;
    wrapper.PullAudio(kHeld / 2, frames, space.data(), &offset);
    EXPECT_EQ(frames == kHeld ? kCapacity - kHeld / 2 : kHeld / 2 * kSignalled, offset);
  }
}

TEST(AudioDecode, ForgetsFramesOfAnotherSize) {
  AacWrapper wrapper;
  QVRAUDIO format = Format(kMp4a);
  wrapper.Init(&format);
  wrapper.SetFrameSize(4);
  wrapper.Feed(StereoFrames(1)[0]);
  wrapper.SetFrameSize(4);
  EXPECT_EQ(1024u, wrapper.BufferedFrames());
  wrapper.SetFrameSize(6);
  EXPECT_EQ(0u, wrapper.BufferedFrames());
  EXPECT_EQ(0u, wrapper.BufferedBytes());
}

TEST(AudioDecode, RemovesFramesFromTheHead) {
  const auto frames = StereoFrames(1);
  const Samples all = Linear(frames);
  AacWrapper wrapper;
  QVRAUDIO format = Format(kMp4a);
  wrapper.Init(&format);
  EXPECT_EQ(0xE8023027u, wrapper.RemoveSamples(1));
  wrapper.Feed(frames[0]);
  EXPECT_EQ(0u, wrapper.RemoveSamples(24));
  EXPECT_EQ(24u, wrapper.BufferStart());
  EXPECT_EQ(1000u, wrapper.BufferedFrames());
  EXPECT_EQ(4000u, wrapper.BufferedBytes());
  EXPECT_EQ(Part(all, 24, 10), wrapper.Pull(24, 10));
  EXPECT_EQ(0u, wrapper.RemoveSamples(5000));
  EXPECT_EQ(1024u, wrapper.BufferStart());
  EXPECT_EQ(0u, wrapper.BufferedFrames());
  EXPECT_EQ(0xE8023027u, wrapper.RemoveSamples(1));
}

TEST(AudioDecode, ResetDropsPcmAndSignal) {
  const auto frames = StereoFrames(3);
  AacWrapper wrapper;
  QVRAUDIO format = Format(kMp4a);
  wrapper.Init(&format);
  for (const auto& frame : frames) wrapper.Feed(frame);
  wrapper.SetBufferStart(500);
  EXPECT_EQ(0u, wrapper.Reset());
  EXPECT_EQ(0u, wrapper.BufferStart());
  EXPECT_EQ(0u, wrapper.BufferedFrames());
  EXPECT_EQ(0u, wrapper.BufferedBytes());
  EXPECT_EQ(0, wrapper.Feed(frames[2]));
  EXPECT_EQ(Linear({frames[2]}), wrapper.Pull(0, 1024));
  EXPECT_EQ(0u, AacWrapper().Reset());
}

TEST(AudioDecode, DeliversTheChannelsOfTheDescription) {
  GeneratorOptions options;
  options.elements = {{E::kSce, 0}};
  const Bytes mono = WrapAdts({AacGenerator(1, options).NextBlock()}, {.channelConfiguration = 1});
  AacWrapper wrapper;
  QVRAUDIO format = Format(kMp4a);
  wrapper.Init(&format);
  EXPECT_EQ(0, wrapper.Feed(mono));
  EXPECT_EQ(1024u, wrapper.BufferedFrames());
  const Samples samples = wrapper.Pull(0, 1024), alone = TestDecoder().DecodeAll(mono);
  for (std::size_t i = 0; i < alone.size(); ++i) {
    ASSERT_EQ(alone[i], samples[2 * i]);
    ASSERT_EQ(alone[i], samples[2 * i + 1]);
  }
}

TEST(AudioDecode, DecodesToAnyOffsetInItsBuffer) {
  const auto frames = StereoFrames(2);
  AacWrapper wrapper;
  QVRAUDIO format = Format(kMp4a, 1, 8);
  wrapper.Init(&format);
  wrapper.Feed(frames[0]);
  wrapper.RemoveSamples(1);
  wrapper.Feed(frames[1]);
  // Two bytes a sample, one channel: mono, with its first byte missing.
  Bytes space(4095);
  std::uint32_t offset = 0;
  wrapper.PullAudio(1, 4095, space.data(), &offset);
  ASSERT_EQ(4095u, offset);
  const Samples expected = TestDecoder(1).DecodeAll(frames[0] + frames[1]);
  EXPECT_EQ(0, std::memcmp(space.data(), reinterpret_cast<const std::uint8_t*>(expected.data()) + 1, 4095));
}

// Two bytes each, all truncated.
TEST(AudioDecode, OpensATruncatedConfigurationByItsObjectType) {
  struct {
    Bytes configuration;
    bool open;
  } const cases[] = {
      {{0x89, 0x91}, false},  // 17 with an extension
      {{0xA1, 0x90}, false},  // 20, which has a layer
      {{0x11, 0x91}, true},   // 2 with an extension
      {{0x2B, 0x11}, true},   // 5, whose core's is missing
  };
  for (const auto& [configuration, open] : cases) {
    AacWrapper decoder;
    QVRAUDIO format = Format(kMp4a);
    decoder.Init(&format);
    LogCapture log;
    decoder.SetConfiguration(configuration.data(), configuration.size());
    EXPECT_EQ(open, decoder.IsOpen()) << int{configuration[0]};
    EXPECT_EQ(open ? 0u : 1u, log.lines.size()) << int{configuration[0]};
  }
}

TEST(AudioDecode, FramesOfSizeZeroFail) {
  AacWrapper wrapper;
  QVRAUDIO format = Format(kMp4a);
  format.wave.blockAlign = 0;
  wrapper.Init(&format);
  EXPECT_EQ(-1, wrapper.Feed(StereoFrames(1)[0]));
}

}  // namespace

}  // namespace fmp4
