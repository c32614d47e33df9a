// The decode wrapper with FFmpeg: which codecs it opens, what it decodes with, and every cell of the sample
// conversion table.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <thread>

#include "audio/audio_decode.h"
#include "audio/ffmpeg_loader.h"
#include "tests/audio/ffmpeg_place.h"
#include "tests/audio/ffmpeg_stand_in.h"
#include "tests/support/log_capture.h"

namespace fmp4 {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

using Bytes = std::vector<std::uint8_t>;
using Values = std::vector<std::int16_t>;  // value 1, value 2, value 1, ...

constexpr std::uint32_t kMp4a = 0x6D703461;

QVRAUDIO formatOf(std::uint32_t codec, std::uint16_t channels = 2) {
  QVRAUDIO format{};
  format.codec = codec;
  format.wave.formatTag = 1;
  format.wave.channels = channels;
  format.wave.samplesPerSecond = 48000;
  format.wave.bitsPerSample = 16;
  format.wave.blockAlign = 4;
  return format;
}

// A place with FFmpeg, switched on. For separate processes.
struct WithFFmpeg {
  FFmpegPlace place;
  WithFFmpeg() {
    place.allow(true);
    place.putBoth();
  }
};

class Wrapper : public VL_Audio_Decode {
 public:
  explicit Wrapper(std::uint32_t codec, std::uint16_t channels = 2) : format(formatOf(codec, channels)) {
    EXPECT_EQ(Init(&format), 0u);
  }
  ~Wrapper() override { ReleaseBuffer(); }

  QVRAUDIO format;
};

// ---- Opening -----------------------------------------------------------------------------------------

TEST(FFmpegWrapper, OpensMpegAudioWithFFmpeg) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    for (const auto& [codec, name] :
         {std::pair{VL_FCC_MP1, "mp1"}, std::pair{VL_FCC_MP2, "mp2"}, std::pair{VL_FCC_MP3, "mp3"}}) {
      LogCapture log;
      {
        const Wrapper wrapper(codec);
        EXPECT_TRUE(wrapper.IsOpen()) << name;
      }
      EXPECT_THAT(log.lines, Contains(LogLine{VL_LOG_PLAIN, std::string(name) + " opened"}));
      EXPECT_EQ(log.lines.back(), (LogLine{VL_LOG_PLAIN, "closed"}));
    }
  });
}

TEST(FFmpegWrapper, MpegAudioStaysClosedWithoutFFmpeg) {
  for (const bool allowed : {false, true}) {
    inFFmpegPlace([allowed] {
      const FFmpegPlace place;
      place.allow(allowed);
      if (!allowed) place.putBoth();
      for (const std::uint32_t codec : {VL_FCC_MP1, VL_FCC_MP2, VL_FCC_MP3})
        EXPECT_FALSE(Wrapper(codec).IsOpen());
    });
  }
}

TEST(FFmpegWrapper, IsLoadedForEveryCodecAndUsedForItsOwn) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    const LogLine version = {VL_LOG_PLAIN, "\n FFMPEG Version of a stand-in (log taken, level 48). "};
    LoadFFmpeg();
    LogCapture log;
    EXPECT_FALSE(Wrapper(VL_FCC_AES3).IsOpen());
    EXPECT_THAT(log.lines, ElementsAre(version));
    log.lines.clear();
    EXPECT_TRUE(Wrapper(kMp4a).IsOpen());
    EXPECT_THAT(log.lines, ElementsAre(version));
  });
}

TEST(FFmpegWrapper, DecodesAc3AndEac3WithOneDecoderAndAlwaysToTwoChannels) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    for (const std::uint32_t codec : {VL_FCC_AC3, VL_FCC_EAC3}) {
      LogCapture log;
      const Wrapper wrapper(codec, 6);
      EXPECT_TRUE(wrapper.IsOpen());
      EXPECT_EQ(wrapper.format.wave.channels, 2);
      EXPECT_EQ(wrapper.Channels(), 6u) << "as described; the caller sets it";
      EXPECT_THAT(log.lines, Contains(LogLine{VL_LOG_PLAIN, "eac3 opened"}));
    }
  });
}

TEST(FFmpegWrapper, WithoutEac3ItsOwnDecoderDecodesAc3) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    setEnvironment(kStandInLacksEac3, "1");
    LogCapture log;
    const Wrapper wrapper(VL_FCC_AC3, 6);
    EXPECT_TRUE(wrapper.IsOpen());
    EXPECT_EQ(wrapper.format.wave.channels, 2);
    EXPECT_THAT(log.lines, Not(Contains(LogLine{VL_LOG_PLAIN, "eac3 opened"})));
  });
}

TEST(FFmpegWrapper, SwitchedOffLaterIsNoLongerUsed) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    const Wrapper before(VL_FCC_MP2);
    on.place.allow(false);
    EXPECT_FALSE(Wrapper(VL_FCC_MP2).IsOpen());
    EXPECT_TRUE(before.IsOpen());
  });
}

TEST(FFmpegWrapper, ADecoderThatDoesNotOpenIsReportedAndFails) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    setEnvironment(kStandInRefusesToOpen, "1");
    LogCapture log;
    Wrapper wrapper(VL_FCC_MP3);
    EXPECT_THAT(log.lines,
                Contains(LogLine{0x80000000u, "WARNING(vlx_Fmp4): Unable to open audio decoder f\n"}));
    EXPECT_TRUE(wrapper.IsOpen());
    Bytes packet = packetBytes({.samples = 1, .planeABytes = 4}, Bytes(4, 1));
    Bytes output(16, 0xEE);
    std::uint32_t produced = 77;
    EXPECT_EQ(wrapper.DecodeFrameAudio(output.data(), &produced, packet.data(),
                                       static_cast<std::uint32_t>(packet.size()), 0, 0, 1),
              -1);
    EXPECT_EQ(produced, 0u);
  });
}

TEST(FFmpegWrapper, ASecondInitClosesTheDecoderBefore) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    Wrapper wrapper(VL_FCC_MP3);
    LogCapture log;
    wrapper.Init(&wrapper.format);
    EXPECT_EQ(log.lines.front(), (LogLine{VL_LOG_PLAIN, "closed"}));
    wrapper.CloseCodec();
    EXPECT_FALSE(wrapper.IsOpen());
  });
}

TEST(FFmpegWrapper, ManyThreadsOpenAndCloseInTurn) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    LogCapture log;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
      threads.emplace_back([] {
        for (int k = 0; k < 50; ++k) EXPECT_TRUE(Wrapper(VL_FCC_MP2).IsOpen());
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(std::count(log.lines.begin(), log.lines.end(), LogLine{VL_LOG_PLAIN, "mp2 opened"}), 400);
    EXPECT_EQ(std::count(log.lines.begin(), log.lines.end(), LogLine{VL_LOG_PLAIN, "closed"}), 400);
  });
}

// ---- Decoding ----------------------------------------------------------------------------------------

struct Decoded {
  std::int32_t left = 0;
  std::uint32_t bytes = 0;
  Values values;  // 0x7777 where nothing was written
};

constexpr std::int16_t kUnwritten = 0x7777;

// The result of one call on the first bytes of an input.
Decoded decodeWith(Wrapper& wrapper, Bytes& input, std::size_t inputBytes, std::uint32_t duration = 1152) {
  Decoded decoded;
  decoded.values.assign(0xFFFFF / 2 + 1, kUnwritten);
  decoded.left =
      wrapper.DecodeFrameAudio(reinterpret_cast<std::uint8_t*>(decoded.values.data()), &decoded.bytes,
                               input.data(), static_cast<std::uint32_t>(inputBytes), 0, 0, duration);
  const auto end = decoded.values.begin() + decoded.bytes / 2;
  EXPECT_EQ(std::count(end, decoded.values.end(), kUnwritten), decoded.values.end() - end) << "after the end";
  decoded.values.erase(end, decoded.values.end());
  return decoded;
}

// The result of one call on a packet followed by `rest` bytes.
Decoded decode(const StandInPacket& head, const Bytes& planes, std::uint32_t duration, std::size_t rest = 0) {
  Bytes packet = packetBytes(head, planes);
  packet.resize(packet.size() + rest);
  packet.shrink_to_fit();
  Wrapper wrapper(VL_FCC_MP3);
  return decodeWith(wrapper, packet, packet.size(), duration);
}

TEST(FFmpegWrapper, ReportsWhatIsLeftOfTheInput) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    const StandInPacket head = {.samples = 1, .planeABytes = 4};
    const Bytes samples = {1, 2, 3, 4};
    EXPECT_EQ(decode(head, samples, 1).left, 0);
    StandInPacket part = head;
    part.result = 30;
    EXPECT_EQ(decode(part, samples, 1, 100).left, 32 + 100 - 30);
    part.result = 1000;
    EXPECT_EQ(decode(part, samples, 1, 100).left, 0) << "more than there was";
  });
}

TEST(FFmpegWrapper, WithoutAFrameThereAreNoSamples) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    const Decoded decoded = decode({.gotFrame = 0, .samples = 1, .planeABytes = 4}, {1, 2, 3, 4}, 1);
    EXPECT_EQ(decoded.left, 0);
    EXPECT_EQ(decoded.bytes, 0u);
  });
}

TEST(FFmpegWrapper, AFailureGivesNoSamples) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    const Decoded decoded = decode({.result = -1094995529, .samples = 1, .planeABytes = 4}, {1, 2, 3, 4}, 1);
    EXPECT_EQ(decoded.left, -1);
    EXPECT_EQ(decoded.bytes, 0u);
  });
}

TEST(FFmpegWrapper, PassesALongInputInOneCall) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    EXPECT_EQ(decode({.samples = 1, .planeABytes = 4}, {1, 2, 3, 4}, 1, 200000).left, 0);
    EXPECT_EQ(decode({.result = 32, .samples = 1, .planeABytes = 4}, {1, 2, 3, 4}, 1, 200000).left, 200000);
  });
}

TEST(FFmpegWrapper, AnEmptyInputDoesNotReachTheDecoder) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    Wrapper wrapper(VL_FCC_MP3);
    Bytes packet = packetBytes({.samples = 1, .planeABytes = 4}, {1, 0, 2, 0});
    EXPECT_EQ(decodeWith(wrapper, packet, packet.size()).bytes, 4u);
    const Decoded nothing = decodeWith(wrapper, packet, 0);
    EXPECT_EQ(nothing.left, 0);
    EXPECT_EQ(nothing.bytes, 0u);
    EXPECT_EQ(decodeWith(wrapper, packet, packet.size()).bytes, 4u);
  });
}

// ---- Rests of packets --------------------------------------------------------------------------------

// A frame of `bytes` bytes that decodes to two 16-bit values, `value` and the one after it.
Bytes frameOf(std::int16_t value, std::size_t bytes) {
  const Bytes samples = {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
                         static_cast<std::uint8_t>(value + 1), static_cast<std::uint8_t>((value + 1) >> 8)};
  Bytes frame =
      packetBytes({.result = static_cast<std::int32_t>(bytes), .samples = 1, .planeABytes = 4}, samples);
  frame.resize(bytes);
  return frame;
}

// The buffered samples of one access unit after the other, each of which must be consumed completely.
Values bufferUnits(Wrapper& wrapper, const std::vector<Bytes>& units) {
  std::uint32_t bytes = 0;
  for (Bytes unit : units) {
    EXPECT_EQ(wrapper.DecodeFrameAudioBuffered(unit.data(), static_cast<std::uint32_t>(unit.size()), &bytes,
                                               0, 0, 1536, 0),
              0);
  }
  Values values(wrapper.BufferedFrames() * 2);
  std::uint32_t offset = 0;
  wrapper.PullAudio(0, wrapper.BufferedFrames(), reinterpret_cast<std::uint8_t*>(values.data()), &offset);
  return values;
}

TEST(FFmpegWrapper, ALongInputOfManyFramesIsDecodedToItsEnd) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    Wrapper wrapper(VL_FCC_MP3);
    Bytes unit;
    Values expected;
    for (std::int16_t i = 0; i < 100; ++i) {
      const Bytes frame = frameOf(static_cast<std::int16_t>(10 * i), 1000);
      unit.insert(unit.end(), frame.begin(), frame.end());
      expected.insert(expected.end(),
                      {static_cast<std::int16_t>(10 * i + 1), static_cast<std::int16_t>(10 * i)});
    }
    EXPECT_EQ(bufferUnits(wrapper, {unit}), expected);
  });
}

TEST(FFmpegWrapper, DecodesAc3UnitsWithBytesAfterTheirFrame) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    for (const std::size_t after : {1u, 2u, 100u, 1535u}) {
      Wrapper wrapper(VL_FCC_AC3);
      std::vector<Bytes> units;
      Values expected;
      for (std::int16_t i = 0; i < 20; ++i) {
        units.push_back(frameOf(i, 768));
        units.back().resize(768 + after);
        expected.insert(expected.end(), {static_cast<std::int16_t>(i + 1), i});
      }
      EXPECT_EQ(bufferUnits(wrapper, units), expected) << after;
    }
  });
}

// By the rule that less than 1536 bytes are not a frame.
TEST(FFmpegWrapper, OfTwoShortAc3FramesInAUnitDecodesTheFirst) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    Wrapper wrapper(VL_FCC_AC3);
    std::vector<Bytes> units;
    Values expected;
    for (std::int16_t i = 0; i < 20; ++i) {
      Bytes unit = frameOf(i, 768);
      const Bytes second = frameOf(1000, 768);
      unit.insert(unit.end(), second.begin(), second.end());
      units.push_back(unit);
      expected.insert(expected.end(), {static_cast<std::int16_t>(i + 1), i});
    }
    EXPECT_EQ(bufferUnits(wrapper, units), expected);
  });
}

TEST(FFmpegWrapper, AUnitWithAShortenedFrameAffectsNoOther) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    Wrapper wrapper(VL_FCC_AC3);
    Bytes damaged = frameOf(5, 768);
    damaged[0] = 64;  // its frame's size, the low bytes of a little-endian number
    damaged[1] = 0;
    EXPECT_EQ(bufferUnits(wrapper, {frameOf(1, 768), damaged, frameOf(7, 768), frameOf(9, 768)}),
              (Values{2, 1, 6, 5, 8, 7, 10, 9}));
  });
}

TEST(FFmpegWrapper, AnAbandonedRestAffectsNoOtherPacket) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    Wrapper wrapper(VL_FCC_MP3);
    Bytes first = frameOf(3, 100);
    first.resize(300);
    EXPECT_EQ(decodeWith(wrapper, first, first.size()).left, 200);
    // As many bytes as were left, but different ones.
    Bytes second = frameOf(20, 200);
    const Decoded decoded = decodeWith(wrapper, second, second.size());
    EXPECT_EQ(decoded.left, 0);
    EXPECT_EQ(decoded.values, (Values{21, 20}));
  });
}

TEST(FFmpegWrapper, AFrameThatTakesNoBytesEndsItsUnit) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    Wrapper wrapper(VL_FCC_MP3);
    Bytes unit = packetBytes({.result = kStandInTakesNothing, .samples = 1, .planeABytes = 4}, {1, 0, 2, 0});
    const auto size = static_cast<std::uint32_t>(unit.size());
    std::uint32_t bytes = 0;
    EXPECT_EQ(wrapper.DecodeFrameAudioBuffered(unit.data(), size, &bytes, 0, 0, 1152, 0),
              static_cast<std::int32_t>(size));
    EXPECT_EQ(bytes, 4u);
    EXPECT_EQ(wrapper.BufferedFrames(), 1u);
  });
}

TEST(FFmpegWrapper, AFailureLeavesNoRest) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    Wrapper wrapper(VL_FCC_MP3);
    Bytes unit = frameOf(3, 100);
    unit.resize(110);  // too few bytes for a frame
    std::uint32_t bytes = 0;
    EXPECT_EQ(wrapper.DecodeFrameAudioBuffered(unit.data(), 110, &bytes, 0, 0, 1152, 0), -1);
    EXPECT_EQ(bytes, 4u);
    EXPECT_EQ(bufferUnits(wrapper, {frameOf(9, 100)}), (Values{4, 3, 10, 9}));
  });
}

// ---- The buffer --------------------------------------------------------------------------------------

TEST(FFmpegWrapper, BuffersACompleteInputAndKeepsItsSignalOnReset) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    Wrapper wrapper(VL_FCC_MP3);
    const StandInPacket head = {.result = 36, .samples = 2, .planeABytes = 8};
    const Bytes one = packetBytes(head, {1, 0, 2, 0, 3, 0, 4, 0});
    Bytes both = one;
    both.insert(both.end(), one.begin(), one.end());
    std::uint32_t bytes = 0;
    EXPECT_EQ(wrapper.DecodeFrameAudioBuffered(both.data(), 72, &bytes, 0, 0, 2, 0), 0);
    EXPECT_EQ(bytes, 16u);
    EXPECT_EQ(wrapper.BufferedFrames(), 4u);
    Values values(8);
    std::uint32_t offset = 0;
    wrapper.PullAudio(0, 4, reinterpret_cast<std::uint8_t*>(values.data()), &offset);
    EXPECT_EQ(values, (Values{2, 1, 4, 3, 2, 1, 4, 3}));
    LogCapture log;
    EXPECT_EQ(wrapper.Reset(), 0u);
    EXPECT_TRUE(wrapper.IsOpen());
    EXPECT_THAT(log.lines, IsEmpty());
  });
}

TEST(FFmpegWrapper, Ac3StopsWhenLessThanAFrameIsLeft) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    Wrapper wrapper(VL_FCC_AC3);
    Bytes packet = packetBytes({.result = 100, .samples = 1, .planeABytes = 4}, {1, 0, 2, 0});
    packet.resize(100 + 1535);
    std::uint32_t bytes = 0;
    EXPECT_EQ(wrapper.DecodeFrameAudioBuffered(packet.data(), 1635, &bytes, 0, 0, 1536, 0), 0);
    EXPECT_EQ(bytes, 4u);
  });
}

TEST(FFmpegWrapper, WritesNoFurtherThanItsBuffer) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    Wrapper wrapper(VL_FCC_MP3);
    constexpr std::int32_t kFrames = 60000;  // 240,000 bytes of PCM, for a buffer of 200,000
    Bytes packet = packetBytes({.format = 0, .channels = 1, .samples = kFrames, .planeABytes = kFrames},
                               Bytes(kFrames, 1));
    std::uint32_t bytes = 0;
    EXPECT_EQ(wrapper.DecodeFrameAudioBuffered(packet.data(), static_cast<std::uint32_t>(packet.size()),
                                               &bytes, 0, 0, 1152, 0),
              0);
    EXPECT_EQ(wrapper.BufferCapacity(), 200000u);
    EXPECT_EQ(bytes, 200000u);
    EXPECT_EQ(wrapper.BufferedFrames(), 50000u);
  });
}

TEST(FFmpegWrapper, DoesNotCountSamplesLostWithTheBuffer) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    Wrapper wrapper(VL_FCC_MP3);
    wrapper.SetFrameSize(1 << 18);  // the second frame needs a larger buffer than the first and gets none
    Bytes unit = frameOf(3, 100);
    unit.resize(200);
    LogCapture log;
    std::uint32_t bytes = 0;
    EXPECT_EQ(wrapper.DecodeFrameAudioBuffered(unit.data(), 200, &bytes, 0, 0, 1152, 0), -1);
    EXPECT_EQ(bytes, 0u);
    EXPECT_EQ(wrapper.BufferedFrames(), 0u);
    EXPECT_THAT(log.lines,
                ElementsAre(LogLine{0x80000000u, "WARNING(vlx_Fmp4): Unable to alloc audio buffer\n\n"}));
  });
}

TEST(FFmpegWrapper, WritesNoFurtherThanAMegabyteElsewhere) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    constexpr std::int32_t kFrames = 300000;
    const Decoded decoded = decode({.format = 0, .channels = 1, .samples = kFrames, .planeABytes = kFrames},
                                   Bytes(kFrames, 1), kFrames);
    EXPECT_EQ(decoded.bytes, 0xFFFFFu / 4 * 4);
  });
}

// ---- The converter's table ---------------------------------------------------------------------------

template <class Sample>
Bytes bytesOf(const std::vector<Sample>& samples) {
  Bytes bytes(samples.size() * sizeof(Sample));
  if (!bytes.empty()) std::memcpy(bytes.data(), samples.data(), bytes.size());
  return bytes;
}

// Passes a frame of given planes through the wrapper, its duration long enough for every limit.
template <class Sample>
Values convert(int format, int channels, int frames, const std::vector<Sample>& a,
               const std::vector<Sample>& b = {}, std::uint32_t duration = 1000) {
  StandInPacket head;
  head.format = format;
  head.channels = channels;
  head.samples = frames;
  const Bytes planeA = bytesOf(a), planeB = bytesOf(b);
  head.planeABytes = static_cast<std::int32_t>(planeA.size());
  head.planeBBytes = static_cast<std::int32_t>(planeB.size());
  Bytes planes = planeA;
  planes.insert(planes.end(), planeB.begin(), planeB.end());
  const Decoded decoded = decode(head, planes, duration);
  EXPECT_EQ(decoded.left, 0);
  return decoded.values;
}

constexpr std::int16_t W = kUnwritten;

// Samples that show their origin: n means a sample that converts to n.
template <class Sample>
Sample sampleOf(int n);
template <>
std::uint8_t sampleOf(int n) {
  return static_cast<std::uint8_t>(n);  // converts to 256 n
}
template <>
std::int16_t sampleOf(int n) {
  return static_cast<std::int16_t>(n);
}
template <>
std::int32_t sampleOf(int n) {
  return n * 65536 + 0x7FFF;
}
template <>
float sampleOf(int n) {
  return static_cast<float>(n) / 32768.0f;
}
template <>
double sampleOf(int n) {
  return n / 32768.0;
}

template <class Sample>
std::vector<Sample> samplesOf(const std::vector<int>& numbers) {
  std::vector<Sample> samples;
  for (const int n : numbers) samples.push_back(sampleOf<Sample>(n));
  return samples;
}

// The expected values of a cell, in the same notation.
template <class Sample>
void expectCell(int format, int channels, int frames, const std::vector<int>& a, const std::vector<int>& b,
                Values expected) {
  if (sizeof(Sample) == 1)
    for (std::int16_t& value : expected)
      if (value != W) value = static_cast<std::int16_t>(value * 256);
  EXPECT_EQ(convert(format, channels, frames, samplesOf<Sample>(a), samplesOf<Sample>(b)), expected)
      << "format " << format << ", " << channels << " channels, plane B "
      << (b.empty() ? "missing" : "present");
}

TEST(SampleConverter, InterleavedTakesTheSecondChannelThenTheFirst) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    const auto cells = [](auto sample, int format) {
      using Sample = decltype(sample);
      expectCell<Sample>(format, 2, 3, {1, 2, 3, 4, 5, 6}, {}, {2, 1, 4, 3, 6, 5});
      expectCell<Sample>(format, 3, 2, {1, 2, 3, 4, 5, 6}, {}, {2, 1, 5, 4});
      expectCell<Sample>(format, 6, 1, {1, 2, 3, 4, 5, 6}, {}, {2, 1});
      expectCell<Sample>(format, 1, 3, {1, 2, 3}, {}, {1, 1, 2, 2, 3, 3});
      expectCell<Sample>(format, 2, 2, {1, 2, 3, 4}, {11, 12, 13, 14}, {2, 1, 4, 3});
    };
    cells(std::uint8_t{}, 0);
    cells(std::int16_t{}, 1);
    cells(double{}, 4);
  });
}

TEST(SampleConverter, PlanarTakesTheFirstPlaneTwice) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    const auto cells = [](auto sample, int format) {
      using Sample = decltype(sample);
      for (const int channels : {1, 2, 6}) {
        expectCell<Sample>(format, channels, 3, {1, 2, 3}, {}, {1, 1, 2, 2, 3, 3});
        expectCell<Sample>(format, channels, 3, {1, 2, 3}, {11, 12, 13}, {1, 1, 2, 2, 3, 3});
      }
    };
    cells(std::uint8_t{}, 5);
    cells(std::int16_t{}, 6);
    cells(double{}, 9);
  });
}

TEST(SampleConverter, InterleavedFloatLooksForTheSecondChannelInPlaneB) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    expectCell<float>(3, 2, 3, {1, 2, 3, 4, 5, 6}, {}, {W, 1, W, 3, W, 5});
    expectCell<float>(3, 6, 1, {1, 2, 3, 4, 5, 6}, {}, {W, 1});
    expectCell<float>(3, 2, 3, {1, 2, 3, 4, 5, 6}, {11, 12, 13, 14, 15, 16}, {12, 1, 14, 3, 16, 5});
    expectCell<float>(3, 3, 2, {1, 2, 3, 4, 5, 6}, {11, 12, 13, 14, 15, 16}, {12, 1, 15, 4});
  });
}

TEST(SampleConverter, OneChannelOfInterleavedFloatIsPairedWithItsNextSampleInsideTheFrame) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    expectCell<float>(3, 1, 3, {1, 2, 3}, {}, {2, 1, 3, 2, 3, 3});
    expectCell<float>(3, 1, 3, {1, 2, 3}, {11, 12, 13}, {2, 1, 3, 2, 3, 3});
    expectCell<float>(3, 1, 1, {1}, {}, {1, 1});
  });
}

TEST(SampleConverter, PlanarFloatTakesPlaneBThenPlaneA) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    for (const int channels : {2, 3, 6}) {
      expectCell<float>(8, channels, 3, {1, 2, 3}, {11, 12, 13}, {11, 1, 12, 2, 13, 3});
      expectCell<float>(8, channels, 2, {1, 2}, {}, {W, 1, W, 2});
    }
    expectCell<float>(8, 1, 3, {1, 2, 3}, {}, {1, 1, 2, 2, 3, 3});
    expectCell<float>(8, 1, 2, {1, 2}, {11, 12}, {1, 1, 2, 2});
  });
}

TEST(SampleConverter, Planar32BitTakesPlaneBOrSilenceThenPlaneA) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    for (const int channels : {1, 2, 6}) {
      expectCell<std::int32_t>(7, channels, 3, {1, 2, 3}, {11, 12, 13}, {11, 1, 12, 2, 13, 3});
      expectCell<std::int32_t>(7, channels, 3, {1, 2, 3}, {}, {0, 1, 0, 2, 0, 3});
    }
  });
}

TEST(SampleConverter, Interleaved32BitSkipsOverItsChannelsOnlyWithPlaneB) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    expectCell<std::int32_t>(2, 2, 3, {1, 2, 3, 4, 5, 6}, {}, {0, 1, 0, 2, 0, 3});
    expectCell<std::int32_t>(2, 6, 1, {1, 2, 3, 4, 5, 6}, {}, {0, 1});
    expectCell<std::int32_t>(2, 1, 3, {1, 2, 3}, {}, {0, 1, 0, 2, 0, 3});
    expectCell<std::int32_t>(2, 2, 3, {1, 2, 3, 4, 5, 6}, {11, 12, 13, 14, 15, 16}, {12, 1, 14, 3, 16, 5});
    // One sample of the last frame's input is outside.
    expectCell<std::int32_t>(2, 1, 3, {1, 2, 3}, {11, 12, 13}, {12, 1, 13, 2, 13, 3});
  });
}

TEST(SampleConverter, AMissingPlaneAIsSkippedOrSilent) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    for (const int format : {0, 1, 4, 5, 6, 9})
      EXPECT_EQ(convert<std::uint8_t>(format, 2, 2, {}), (Values{W, W, W, W})) << format;
    EXPECT_EQ(convert<float>(3, 2, 2, {}, {1, 1, 1, 0.5f}), (Values{-32768, W, 16384, W}));
    EXPECT_EQ(convert<float>(8, 2, 2, {}, {-1, 0.5f}), (Values{-32768, W, 16384, W}));
    EXPECT_EQ(convert<std::int32_t>(2, 2, 2, {}), (Values{0, 0, 0, 0}));
    EXPECT_EQ(convert<std::int32_t>(7, 2, 2, {}), (Values{0, 0, 0, 0}));
  });
}

TEST(SampleConverter, EightBitsAreShiftedUp) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    EXPECT_EQ(convert<std::uint8_t>(0, 1, 5, {0, 1, 127, 128, 255}),
              (Values{0, 0, 256, 256, 32512, 32512, -32768, -32768, -256, -256}));
  });
}

TEST(SampleConverter, SixteenBitsAreCopiedAndThirtyTwoGiveTheirUpperHalf) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    EXPECT_EQ(convert<std::int16_t>(1, 1, 3, {-32768, -1, 32767}),
              (Values{-32768, -32768, -1, -1, 32767, 32767}));
    EXPECT_EQ(convert<std::int32_t>(7, 2, 3, {0x7FFFFFFF, -1, 65535}, {-2147483647 - 1, 0x10000, -65537}),
              (Values{-32768, 32767, 1, -1, -2, 0}));
  });
}

template <class Real>
void expectRealsToWrap(int format) {
  const Real largest = std::numeric_limits<Real>::max(), infinite = std::numeric_limits<Real>::infinity();
  const std::vector<std::pair<Real, std::int16_t>> samples = {
      {1, -32768},
      {-1, -32768},
      {Real(0.5), 16384},
      {Real(-0.5), -16384},
      {Real(1.5) / 32768, 1},
      {Real(-1.5) / 32768, -1},
      {Real(-0.75) / 32768, 0},
      {Real(32767) / 32768, 32767},
      {Real(1) + Real(5) / 32768, -32763},
      {2, 0},
      {Real(65537) / 32768, 1},
      {Real(-32769) / 32768, 32767},
      {largest, 0},
      {-largest, 0},
      {infinite, 0},
      {-infinite, 0},
      {std::numeric_limits<Real>::quiet_NaN(), 0},
  };
  std::vector<Real> input;
  Values expected;
  for (const auto& [sample, value] : samples) {
    input.push_back(sample);
    expected.insert(expected.end(), 2, value);
  }
  EXPECT_EQ(convert<Real>(format, 1, static_cast<int>(input.size()), input), expected);
}

TEST(SampleConverter, FloatsAreTruncatedTowardsZeroAndWrap) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    expectRealsToWrap<float>(8);
    expectRealsToWrap<double>(9);
  });
}

// Frames produced from 100, by format and channels, when the unit's duration is one frame: 64 bytes.
TEST(SampleConverter, IsLimitedTo64BytesAFrameOfTheDurationExceptForFloats) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    const auto framesOut = [](int format, int channels, std::size_t sampleBytes, std::uint32_t duration = 1) {
      const std::vector<std::uint8_t> plane(100 * sampleBytes * static_cast<std::size_t>(channels));
      return convert(format, channels, 100, plane, plane, duration).size() / 2;
    };
    for (const int planar : {0, 5}) {
      for (const std::size_t channels : {1u, 2u, 3u, 6u}) {
        const int count = static_cast<int>(channels);
        EXPECT_EQ(framesOut(0 + planar, count, 1), 64 / channels);
        EXPECT_EQ(framesOut(1 + planar, count, 2), 32 / channels);
        EXPECT_EQ(framesOut(2 + planar, count, 4), 16 / channels);
        EXPECT_EQ(framesOut(3 + planar, count, 4), 100u);
        EXPECT_EQ(framesOut(4 + planar, count, 8), 8 / channels);
      }
      EXPECT_EQ(framesOut(1 + planar, 2, 2, 0), 0u);
      EXPECT_EQ(framesOut(3 + planar, 2, 4, 0), 100u);
      EXPECT_EQ(framesOut(1 + planar, 2, 2, 100), 100u);
      EXPECT_EQ(framesOut(1 + planar, 2, 2, 0xFFFFFFFF), 100u);
    }
  });
}

TEST(SampleConverter, InvalidFormatsAndCountsGiveNothing) {
  inFFmpegPlace([] {
    const WithFFmpeg on;
    const std::vector<std::int16_t> plane(16);
    for (const int format : {-1, 10, 11, 1000}) EXPECT_THAT(convert(format, 2, 4, plane), IsEmpty());
    for (const int format : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}) {
      EXPECT_THAT(convert(format, 0, 4, plane), IsEmpty());
      EXPECT_THAT(convert(format, -1, 4, plane), IsEmpty());
      EXPECT_THAT(convert(format, 2, 0, plane), IsEmpty());
      EXPECT_THAT(convert(format, 2, -4, plane), IsEmpty());
    }
  });
}

}  // namespace

}  // namespace fmp4
