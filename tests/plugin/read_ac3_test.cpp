// AC-3 tracks read through the plug-in: always two channels, any range, in any order.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <numeric>

#include "tests/audio/ffmpeg_place.h"
#include "tests/audio/ffmpeg_stand_in.h"
#include "tests/plugin/audio.h"
#include "tests/plugin/audio_clip.h"
#include "tests/plugin/loaded_plugin.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/fragments.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

using testing::Contains;
using testing::Each;

constexpr std::size_t kFrame = 1536;  // PCM frames that one sync frame decodes to

// The output of ffmpeg's decoder for the track's packets, from the first on, without dynamic range gains; 1.0
// is full scale.
std::vector<float> ffmpegAudio(const Clip& clip) {
  const std::string packets = clip.folder.file("packets.ac3"), raw = clip.folder.file("packets.f32");
  runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-y", "-i", clip.path, "-map", "0:a:0", "-c", "copy", "-f",
              "ac3", packets});
  runOrThrow(
      {"ffmpeg", "-nostdin", "-v", "error", "-y", "-drc_scale", "0", "-i", packets, "-f", "f32le", raw});
  const std::vector<std::uint8_t> bytes = readFile(raw);
  std::vector<float> values(bytes.size() / sizeof(float));
  std::memcpy(values.data(), bytes.data(), values.size() * sizeof(float));
  return values;
}

// RMS difference of two signals of equal length, in 16-bit units.
double differenceOf(const Samples& ours, const std::vector<float>& theirs) {
  EXPECT_EQ(ours.size(), theirs.size());
  double sum = 0;
  for (std::size_t i = 0; i < std::min(ours.size(), theirs.size()); ++i) {
    const double difference = ours[i] - 32768.0 * static_cast<double>(theirs[i]);
    sum += difference * difference;
  }
  return std::sqrt(sum / static_cast<double>(ours.size()));
}

double loudnessOf(const std::vector<float>& values) {
  double sum = 0;
  for (const float value : values) sum += static_cast<double>(value) * static_cast<double>(value);
  return 32768.0 * std::sqrt(sum / static_cast<double>(values.size()));
}

// A clip of video and AC-3. `expressions`: ffmpeg's, one per channel, separated by "|".
Clip ac3Clip(const std::string& expressions, const std::vector<std::string>& options = {},
             int sampleRate = 48000) {
  const std::vector<std::string> input = {"-f", "lavfi", "-i",
                                          "aevalsrc=" + expressions + ":d=2:s=" + std::to_string(sampleRate)};
  return Clip(videoInput(2, "25", "160x96") + input,
              h264Codec(25, 0) + std::vector<std::string>{"-c:a", "ac3"} + options + kFragments);
}

// Two sweeps, in which no two positions are alike.
Clip ac3SweepClip(int sampleRate = 48000) {
  return ac3Clip("0.4*sin(200*t*t*6.28)+0.1*sin(5000*t)|0.4*cos(300*t*t*6.28)", {"-b:a", "448k"}, sampleRate);
}

TEST(ReadAc3, GivesFfmpegsSamplesAtTheTracksPositions) {
  for (const int rate : {48000, 44100, 32000}) {
    const Clip clip = ac3SweepClip(rate);
    ASSERT_NE(clip.file, nullptr);
    const Samples ours = readAll(*clip, lengthOf(*clip));
    EXPECT_EQ(ours.size(), ffprobePackets(clip.path, "a:0", {"-ignore_editlist", "1"}).size() * 2 * kFrame);
    const std::vector<float> theirs = ffmpegAudio(clip);
    EXPECT_GT(loudnessOf(theirs), 5000);
    EXPECT_LT(differenceOf(ours, theirs), 1.5) << rate;
  }
}

TEST(ReadAc3, MixesFiveOneToTwoChannelsThatCannotExceedFullScale) {
  const Clip clip = ac3Clip(
      "0.5*sin(2000*t)|0.5*sin(3000*t)|0.5*sin(4000*t)|0.5*sin(300*t)|0.5*sin(5000*t)|0.5*sin(6000*t):c=5.1",
      {"-b:a", "640k", "-center_mixlev", "0.5", "-surround_mixlev", "0.5"});
  ASSERT_NE(clip.file, nullptr);
  const Samples ours = readAll(*clip, 4096);
  const std::vector<float> theirs = ffmpegAudio(clip);
  ASSERT_EQ(theirs.size() / 6, ours.size() / 2);
  std::vector<float> mixed;
  // Left, right, centre, low frequencies, left and right surround (ATSC A/52, 7.8.2).
  for (std::size_t i = 0; i < theirs.size(); i += 6) {
    mixed.push_back((theirs[i] + 0.5f * theirs[i + 2] + 0.5f * theirs[i + 4]) / 2);
    mixed.push_back((theirs[i + 1] + 0.5f * theirs[i + 2] + 0.5f * theirs[i + 5]) / 2);
  }
  EXPECT_GT(loudnessOf(mixed), 5000);
  EXPECT_LT(differenceOf(ours, mixed), 1.5);
  expectRandomReadsToAgree(clip);
}

TEST(ReadAc3, MonoGoesToBothChannels) {
  const Clip clip = ac3Clip("0.5*sin(2000*t)");
  expectBothChannelsAlike(clip, 5000);
}

TEST(ReadAc3, BlocksOfAnySizeGiveTheSameSamples) {
  expectBlocksToAgree(ac3SweepClip(), {1001, 1536, 1602, 333});
}

TEST(ReadAc3, SampleBySampleGivesTheSameSamples) {
  expectSingleReadsToAgree(ac3SweepClip(), 13000, 18000);
}

TEST(ReadAc3, RandomReadsMatchReadingFromTheStart) {
  expectRandomReadsToAgree(ac3SweepClip());
}

TEST(ReadAc3, RandomReadsAgreeWithDitherToo) {
  const std::vector<std::string> noise = {"-f", "lavfi", "-i", "anoisesrc=d=2:c=pink:r=48000:a=0.3:seed=5"};
  expectRandomReadsToAgree(
      Clip(noise, std::vector<std::string>{"-ac", "2", "-c:a", "ac3", "-b:a", "96k"} + kFragments));
}

TEST(ReadAc3, TheTwoChannelsAreDescribedWithTheBlockAlignOfOne) {
  const Clip clip = ac3Clip("0|0|0|0|0|0:c=5.1");
  ASSERT_NE(clip.file, nullptr);
  const QVRAUDIO audio = describe(*clip).audio;
  EXPECT_EQ(audio.codec, 0x61632D33u);
  EXPECT_EQ(audio.wave.channels, 2);
  EXPECT_EQ(audio.wave.bitsPerSample, 16);
  EXPECT_EQ(audio.wave.samplesPerSecond, 48000u);
  EXPECT_EQ(audio.wave.blockAlign, 2);
  EXPECT_EQ(audio.wave.averageBytesPerSecond, 96000u);
  EXPECT_EQ(audio.stream.length, 63u * kFrame);
}

// The buffer of a host that allocates the reported size, and states no capacity, is not overrun.
TEST(ReadAc3, TheReportedBufferSizeHoldsBothChannelsOfAFramesAudio) {
  const Clip clip = ac3SweepClip();
  const std::uint32_t signalled = clip.file->Read(0, 1, 1, QVR_MODE_AUDIO, nullptr, nullptr);
  EXPECT_EQ(signalled, (48000 / 25 + 1) * 4);
  const std::uint32_t frames = signalled / 4;
  std::vector<std::uint8_t> buffer(signalled);
  DFRAME d{};
  d.size = sizeof d;
  d.data = buffer.data();
  EXPECT_EQ(clip.file->Read(5000, frames, 1, QVR_MODE_AUDIO, &d, nullptr), VL_OK);
  EXPECT_EQ(d.bytes, signalled);
  const Samples expected = readAudio(*clip, 5000, frames).samples;
  EXPECT_EQ(std::memcmp(buffer.data(), expected.data(), signalled), 0);
}

TEST(ReadAc3, ABufferTooSmallForBothChannelsIsRefusedUnwritten) {
  const Clip clip = ac3SweepClip();
  std::vector<std::uint8_t> buffer(399, 0xEE);
  DFRAME d{};
  d.size = sizeof d;
  d.data = buffer.data();
  d.dataCapacity = 399;
  EXPECT_EQ(clip.file->Read(0, 100, 1, QVR_MODE_AUDIO, &d, nullptr), 0xFFFFFFFFu);
  EXPECT_THAT(buffer, Each(0xEE));
}

TEST(ReadAc3, IsShortAtTheEnd) {
  const Clip clip = ac3SweepClip();
  LogCapture log;
  EXPECT_EQ(readAudio(*clip, lengthOf(*clip) - 100, 1000).samples.size(), 200u);
  EXPECT_THAT(log.lines, Contains(LogLine{VL_LOG_PLAIN, "Wrong samples returned 100 requested 1000"}));
}

TEST(ReadAc3, ADamagedFrameIsSilenceOfItsLengthAndTheNextDecodesAgain) {
  const Clip clip = ac3SweepClip();
  const Samples entire = readAll(*clip, 4096);
  std::vector<std::uint8_t> bytes = readFile(clip.path);
  const Packet packet = ffprobePackets(clip.path, "a:0", {"-ignore_editlist", "1"})[20];
  for (int i = 100; i < 120; ++i) bytes[static_cast<std::size_t>(packet.offset + i)] ^= 0x55;
  const std::string path = clip.folder.file("damaged.mp4");
  writeFile(path, bytes);
  const MediaFile damaged = openFile(path);
  ASSERT_NE(damaged, nullptr);
  const Samples broken = readAll(*damaged, 4096);
  ASSERT_EQ(entire.size(), broken.size());
  const auto part = [](const Samples& samples, std::size_t from, std::size_t frames) {
    return Samples(samples.begin() + static_cast<std::ptrdiff_t>(from * 2 * kFrame),
                   samples.begin() + static_cast<std::ptrdiff_t>((from + frames) * 2 * kFrame));
  };
  EXPECT_EQ(part(broken, 0, 20), part(entire, 0, 20));
  EXPECT_THAT(part(broken, 20, 1), Each(0));
  EXPECT_EQ(part(broken, 22, 20), part(entire, 22, 20));
}

// ---- With FFmpeg -------------------------------------------------------------------------------------

// A track of six channels whose units give the stand-in's output: unit u has 6 * 1536 float samples, where
// PCM frame i is 2 * (u * 1536 + i) in its first channel and one more in its second.
std::vector<std::uint8_t> clipForTheStandIn(int units) {
  TrafSpec traf;
  traf.trackId = 2;
  RunSpec run{kRunDataOffset | kRunSize | kRunDuration};
  for (int u = 0; u < units; ++u) {
    std::vector<float> planes(2 * kFrame);
    for (std::size_t i = 0; i < kFrame; ++i) {
      const std::size_t frame = static_cast<std::size_t>(u) * kFrame + i;
      planes[i] = static_cast<float>(2 * frame) / 32768.0f;
      planes[kFrame + i] = static_cast<float>(2 * frame + 1) / 32768.0f;
    }
    Bytes bytes(planes.size() * sizeof(float));
    std::memcpy(bytes.data(), planes.data(), bytes.size());
    constexpr auto kPlane = static_cast<std::int32_t>(kFrame * sizeof(float));
    const StandInPacket head = {.format = 8,
                                .channels = 6,
                                .samples = static_cast<std::int32_t>(kFrame),
                                .planeABytes = kPlane,
                                .planeBBytes = kPlane};
    run.samples.push_back({packetBytes(head, bytes), 1536});
  }
  traf.runs = {run};
  const TrackSpec audio{2, "soun", 48000, audioEntry("ac-3", 6, 16, 48000), 1536};
  return join({fileTypeBox(), movieBox({audio}), fragment(1, {traf})});
}

TEST(ReadAc3, FFmpegsFramesAreReadAsPairsWhateverTheTrackHas) {
  inFFmpegPlace([] {
    const FFmpegPlace place;
    place.allow(true);
    place.putBoth();
    const TempFolder folder;
    writeFile(folder.file("clip.m4a"), clipForTheStandIn(8));
    const MediaFile file = openFile(folder.file("clip.m4a"));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(describe(*file).audio.wave.channels, 2);
    Samples expected;
    // The second channel comes first.
    for (std::size_t i = 0; i < 8 * kFrame; ++i) {
      expected.push_back(static_cast<std::int16_t>(2 * i + 1));
      expected.push_back(static_cast<std::int16_t>(2 * i));
    }
    for (const std::uint32_t block : {1001u, 1536u, 4096u})
      EXPECT_EQ(readAll(*file, block), expected) << block;
    EXPECT_EQ(readAudio(*file, 5000, 700).samples,
              Samples(expected.begin() + 10000, expected.begin() + 11400));
  });
}

TEST(ReadAc3, FFmpegStaysLoadedAfterThePluginAndGetsItsLogBack) {
  inFFmpegPlace([] {
    const FFmpegPlace place;
    place.allow(true);
    place.putBoth();
    const TempFolder folder;
    writeFile(folder.file("clip.m4a"), clipForTheStandIn(2));
    LogCapture log;
    openFile(folder.file("clip.m4a"));
    EXPECT_THAT(log.lines, Contains(LogLine{VL_LOG_PLAIN, "eac3 opened"}));
    EXPECT_THAT(log.lines, Contains(LogLine{VL_LOG_PLAIN, "closed"}));
    log.lines.clear();
    EXPECT_EQ(vlOSFreeLibrary(plugin().library), 1);
    EXPECT_THAT(log.lines,
                testing::ElementsAre(LogLine{VL_LOG_PLAIN, "FFmpeg's own log: this is where the log goes"}));
  });
}

}  // namespace

}  // namespace fmp4
