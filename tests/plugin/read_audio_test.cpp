// Audio read through the plug-in: any range, in any order, at the track's positions.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "tests/plugin/audio.h"
#include "tests/plugin/audio_clip.h"
#include "tests/plugin/built_clip.h"
#include "tests/plugin/loaded_plugin.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/log_capture.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

using testing::Contains;

// The output of ffmpeg's decoder for the track's packets, as 16-bit samples.
Samples ffmpegAudio(const TempFolder& folder, const std::string& clip, const std::string& stream = "0:a:0") {
  Samples samples;
  for (const float value : ffmpegPackets(folder, clip, stream))
    samples.push_back(static_cast<std::int16_t>(std::clamp(std::lround(value), -32768l, 32767l)));
  return samples;
}

const std::vector<std::string> kStereoAac = {"-ac", "2", "-c:a", "aac", "-aac_pns", "0", "-b:a", "128k"};

// A clip of video and a sweep, in which no two positions are alike.
Clip sweepClip(int bFrames = 0, const std::vector<std::string>& audio = kStereoAac, int sampleRate = 48000) {
  const std::vector<std::string> sweep = {
      "-f", "lavfi", "-i",
      "aevalsrc=0.4*sin(200*t*t*6.28)+0.1*sin(5000*t)|0.4*cos(300*t*t*6.28):s=" + std::to_string(sampleRate) +
          ":d=2"};
  return Clip(videoInput(2, "25", "160x96") + sweep, h264Codec(25, bFrames) + audio + kFragments);
}

TEST(ReadAudio, GivesFfmpegsSamplesAtTheTracksPositions) {
  const Clip clip = sweepClip();
  ASSERT_NE(clip.file, nullptr);
  const Samples ours = readAll(*clip, lengthOf(*clip));
  const Samples theirs = ffmpegAudio(clip.folder, clip.path);
  ASSERT_EQ(ours.size(), lengthOf(*clip) * 2u);
  ASSERT_GE(theirs.size(), ours.size());
  EXPECT_LE(largestDifference(ours, theirs), 1);
}

TEST(ReadAudio, GivesFfmpegsSamplesWhereDataFollowsThePreviousTracks) {
  const std::vector<std::string> implicit = {"-movflags", "frag_keyframe+empty_moov+omit_tfhd_offset"};
  for (const std::vector<std::string>& order :
       {std::vector<std::string>{"-map", "0:v", "-map", "1:a"}, {"-map", "1:a", "-map", "0:v"}}) {
    const Clip clip(videoInput(2, "25", "160x96") + toneInput(2),
                    h264Codec(12, 0) + kStereoAac + order + implicit);
    ASSERT_NE(clip.file, nullptr);
    const Samples ours = readAll(*clip, 4096);
    const Samples theirs = ffmpegAudio(clip.folder, clip.path);
    ASSERT_EQ(ours.size(), lengthOf(*clip) * 2u);
    ASSERT_GE(theirs.size(), ours.size());
    EXPECT_LE(largestDifference(ours, theirs), 1);
    EXPECT_THAT(ours, Contains(testing::Gt(1000)));
  }
}

TEST(ReadAudio, BlocksOfAnySizeGiveTheSameSamples) {
  expectBlocksToAgree(sweepClip(), {1001, 1602, 4096, 1024, 333});
}

TEST(ReadAudio, SampleBySampleGivesTheSameSamples) {
  expectSingleReadsToAgree(sweepClip(), 20000, 24000);
}

TEST(ReadAudio, RandomReadsMatchReadingFromTheStart) {
  expectRandomReadsToAgree(sweepClip());
}

TEST(ReadAudio, RandomReadsAgreeWithNoiseSubstitutionToo) {
  const std::vector<std::string> noise = {"-f", "lavfi", "-i", "anoisesrc=d=2:c=pink:r=48000:a=0.3:seed=5"};
  expectRandomReadsToAgree(
      Clip(noise,
           std::vector<std::string>{"-ac", "2", "-c:a", "aac", "-aac_pns", "1", "-b:a", "48k"} + kFragments));
}

TEST(ReadAudio, TheLongFirstUnitBesideBFramesIsFollowedBySilence) {
  const Clip clip = sweepClip(2);
  ASSERT_NE(clip.file, nullptr);
  const std::vector<Packet> packets = ffprobePackets(clip.path, "a:0", {"-ignore_editlist", "1"});
  const std::int64_t gap = packets[1].dts - packets[0].dts - 1024;
  const Samples ours = readAll(*clip, 4096);
  const Samples theirs = ffmpegAudio(clip.folder, clip.path);
  if (gap >= 512) {
    for (std::size_t i = 2048; i < 2048 + static_cast<std::size_t>(gap) * 2; ++i) ASSERT_EQ(ours[i], 0) << i;
  }
  const auto shift = static_cast<std::ptrdiff_t>(gap >= 512 ? gap * 2 : 0);
  const Samples after(ours.begin() + 2048 + shift, ours.end());
  EXPECT_LE(largestDifference(after, Samples(theirs.begin() + 2048, theirs.end())), 1);
  expectRandomReadsToAgree(clip);
}

TEST(ReadAudio, MonoGoesToBothChannelsOfAStereoDescription) {
  const Clip clip(toneInput(1), std::vector<std::string>{"-ac", "1", "-c:a", "aac"} + kFragments);
  ASSERT_NE(clip.file, nullptr);
  ASSERT_EQ(describe(*clip).audio.wave.channels, 2) << "ffmpeg writes 2 for every layout";
  expectBothChannelsAlike(clip, 1000);
}

TEST(ReadAudio, FiveOneIsMixedDownWithoutShiftingTheTimeline) {
  const std::vector<std::string> input = {
      "-f", "lavfi", "-i",
      "aevalsrc=0.5*sin(2000*t)|0.5*sin(3000*t)|0.5*sin(4000*t)|0|0.5*sin(5000*t)|0.5*sin(6000*t):c=5.1:d=1"};
  const Clip clip(input, std::vector<std::string>{"-c:a", "aac"} + kFragments);
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(readAll(*clip, 4096).size(), lengthOf(*clip) * 2u);
  expectRandomReadsToAgree(clip);
}

// An explicitly signalled track plays at twice its core's rate.
TEST(ReadAudio, SbrGivesFfmpegsSamplesAtTheTracksPositions) {
  const std::string path = VL_TEST_DATA "/he_v1_48k_explicit.mp4";
  const MediaFile file = openFile(path);
  ASSERT_NE(file, nullptr);
  EXPECT_LT(RootMeanSquare(readAll(*file, 1602), FfmpegDecode(path, {"-c:a", "aac"})), 1);
}

TEST(ReadAudio, ARateThatTheSampleEntryCannotHoldComesFromTheConfiguration) {
  const Clip clip = sweepClip(0, kStereoAac, 96000);
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(describe(*clip).audio.wave.samplesPerSecond, 96000u);
  EXPECT_NEAR(lengthOf(*clip), 2 * 96000, 2048);
}

TEST(ReadAudio, FailsPastTheTrackAndIsShortAtItsEnd) {
  const Clip clip = sweepClip();
  const std::uint32_t total = lengthOf(*clip);
  EXPECT_EQ(readAudio(*clip, total + 1, 10).status, 0xFFFFFFFFu);
  EXPECT_EQ(readAudio(*clip, total, 10).status, 0xFFFFFFFFu) << "no samples are there";
  LogCapture log;
  const Audio audio = readAudio(*clip, total - 100, 1000);
  EXPECT_EQ(audio.status, VL_OK);
  EXPECT_EQ(audio.samples.size(), 200u);
  EXPECT_THAT(log.lines, Contains(LogLine{VL_LOG_PLAIN, "Wrong samples returned 100 requested 1000"}));
}

TEST(ReadAudio, AllOnesContinuesWhereTheLastRequestEnded) {
  const Clip clip = sweepClip();
  const Samples entire = readAll(*clip, lengthOf(*clip));
  ASSERT_EQ(readAudio(*clip, 5000, 700).status, VL_OK);
  EXPECT_EQ(readAudio(*clip, 0xFFFFFFFF, 500).samples,
            Samples(entire.begin() + 5700 * 2, entire.begin() + 6200 * 2));
}

TEST(ReadAudio, WithoutADescriptorReturnsTheBufferSize) {
  const Clip clip = sweepClip();
  EXPECT_EQ(clip.file->Read(0, 1, 1, QVR_MODE_AUDIO, nullptr, nullptr), describe(*clip).audio.bufferSize);
}

TEST(ReadAudio, ReportsMissingOrDisabledAudio) {
  const Clip clip = sweepClip();
  const LogLine line{VL_LOG_PLAIN, "ReadFMP4(0xE8021001)"};
  const MediaFile silent = openFile(clip.path, MF_OPEN_NO_AUDIO);
  ASSERT_NE(silent, nullptr);
  LogCapture log;
  EXPECT_EQ(readAudio(*silent, 0, 10).status, 0xE8021001u);
  EXPECT_THAT(log.lines, testing::ElementsAre(line));
  const MediaFile closed = createObject();
  EXPECT_EQ(readAudio(*closed, 0, 10).status, 0xE8021001u);
}

TEST(ReadAudio, ABufferTooSmallIsRefusedUnwritten) {
  const Clip clip = sweepClip();
  std::vector<std::uint8_t> buffer(399, 0xEE);
  DFRAME d{};
  d.size = sizeof d;
  d.data = buffer.data();
  d.dataCapacity = 399;
  EXPECT_EQ(clip.file->Read(0, 100, 1, QVR_MODE_AUDIO, &d, nullptr), 0xFFFFFFFFu);
  EXPECT_THAT(buffer, testing::Each(0xEE));
}

// A description of thousands of channels would take a buffer of 512 MiB.
TEST(ReadAudio, MoreChannelsThanAnyCodecHasAreRefusedNotDecoded) {
  for (const auto& [channels, status] : {std::pair{256, VL_OK}, {257, VL_FAILED}, {65535, VL_FAILED}}) {
    const Bytes entry =
        audioEntry("mp4a", static_cast<std::uint16_t>(channels), 16, 48000, elementaryStreamBox());
    const BuiltFile clip({AudioTrackOf{entry, runOf(aacAudio())}});
    ASSERT_NE(clip.file, nullptr);
    std::vector<std::uint8_t> buffer(std::size_t{8} * 65535);
    DFRAME d{};
    d.size = sizeof d;
    d.data = buffer.data();
    d.dataCapacity = static_cast<std::uint32_t>(buffer.size());
    EXPECT_EQ(clip.file->Read(0, 1, 1, QVR_MODE_AUDIO, &d, nullptr), status) << channels;
  }
}

// A track that claims six channels, most of whose units do not decode: silence of twelve bytes per PCM frame,
// where the host expects four.
TEST(ReadAudio, ABufferOfUnknownSizeIsFilledUpToTheReportedSizeOnly) {
  RunSpec run = runOf(aacAudio());
  for (int i = 0; i < 10; ++i) run.samples[static_cast<std::size_t>(i)].data.assign(64, 0);
  const BuiltFile clip({AudioTrackOf{audioEntry("mp4a", 6, 16, 48000, elementaryStreamBox()), run}});
  const MediaFile& file = clip.file;
  ASSERT_NE(file, nullptr);
  const std::uint32_t signalled = file->Read(0, 1, 1, QVR_MODE_AUDIO, nullptr, nullptr);
  ASSERT_EQ(signalled, (48000 * 1001 / 30000 + 1) * 12);
  std::vector<std::uint8_t> buffer(signalled + 12, 0xEE);
  DFRAME d{};
  d.size = sizeof d;
  d.data = buffer.data();
  EXPECT_EQ(file->Read(0, signalled / 12 + 1, 1, QVR_MODE_AUDIO, &d, nullptr), 0xFFFFFFFFu);
  EXPECT_THAT(buffer, testing::Each(0xEE));
  EXPECT_EQ(file->Read(0, signalled / 12, 1, QVR_MODE_AUDIO, &d, nullptr), VL_OK);
  EXPECT_EQ(d.bytes, signalled);
  EXPECT_EQ(buffer[signalled], 0xEE);
}

TEST(ReadAudio, InterleavedVideoAndAudioReadsDoNotDisturbEachOther) {
  const Clip clip = sweepClip();
  const Samples entire = readAll(*clip, lengthOf(*clip));
  const std::vector<Packet> packets = ffprobePackets(clip.path, "v:0");
  for (std::uint32_t frame = 0; frame < 50; ++frame) {
    EXPECT_EQ(readFrame(*clip, frame).data.size(), static_cast<std::size_t>(packets[frame].size));
    const Audio audio = readAudio(*clip, frame * 1920, 1920);
    EXPECT_EQ(audio.samples, Samples(entire.begin() + frame * 3840, entire.begin() + (frame + 1) * 3840))
        << frame;
  }
}

TEST(ReadAudio, EachOfTwoTracksHasItsOwnChannelPair) {
  const Clip clip(
      toneInput(1) +
          std::vector<std::string>{"-f", "lavfi", "-i", "sine=frequency=880:sample_rate=32000:duration=1"},
      std::vector<std::string>{"-map", "0:a", "-map", "1:a", "-c:a", "aac", "-aac_pns", "0"} + kFragments);
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(describe(*clip, 4).audio.wave.samplesPerSecond, 32000u);
  const Audio first = readAudio(*clip, 10000, 5000, 2, 1), second = readAudio(*clip, 10000, 5000, 2, 4);
  ASSERT_EQ(first.samples.size(), 10000u);
  ASSERT_EQ(second.samples.size(), 10000u);
  const Samples theirs = ffmpegAudio(clip.folder, clip.path, "0:a:1");  // mono
  for (std::size_t i = 0; i < 5000; ++i) ASSERT_NEAR(second.samples[i * 2], theirs[10000 + i], 1) << i;
  EXPECT_NE(first.samples, second.samples);
}

// ---- Files that no encoder makes --------------------------------------------------------------------

// A tone whose run `change` has changed.
template <class Change>
BuiltFile changedTone(Change change) {
  return builtClip(aacAudio(), change);
}

TEST(ReadAudio, ADamagedUnitIsSilenceOfItsLengthAndTheNextDecodesAgain) {
  const BuiltFile audio = changedTone([](RunSpec&) {});
  const BuiltFile damaged = changedTone([](RunSpec& run) { run.samples[20].data.resize(12); });
  ASSERT_NE(damaged.file, nullptr);
  const Samples entire = readAll(*audio.file, 4096), broken = readAll(*damaged.file, 4096);
  ASSERT_EQ(entire.size(), broken.size());
  const auto part = [](const Samples& samples, std::size_t from, std::size_t units) {
    return Samples(samples.begin() + static_cast<std::ptrdiff_t>(from * 2048),
                   samples.begin() + static_cast<std::ptrdiff_t>((from + units) * 2048));
  };
  EXPECT_EQ(part(broken, 0, 20), part(entire, 0, 20));
  EXPECT_THAT(part(broken, 20, 1), testing::Each(0));
  EXPECT_EQ(part(broken, 22, 20), part(entire, 22, 20));
}

TEST(ReadAudio, AUnitWithoutBytesIsSilenceOfItsLength) {
  const BuiltFile clip = changedTone([](RunSpec& run) { run.samples[20].data.clear(); });
  const Samples all = readAll(*clip.file, 4096);
  EXPECT_THAT(Samples(all.begin() + 20 * 2048, all.begin() + 21 * 2048), testing::Each(0));
  EXPECT_EQ(all.size(), lengthOf(*clip.file) * 2u);
}

TEST(ReadAudio, AGapInTheTrackIsSilenceInAnyOrder) {
  const BuiltFile clip = changedTone([](RunSpec& run) { run.samples[10].duration = 1024 + 5000; });
  ASSERT_NE(clip.file, nullptr);
  const Samples entire = readAll(*clip.file, 4096);
  ASSERT_EQ(entire.size(), lengthOf(*clip.file) * 2u);
  const std::size_t gap = 11 * 2048;
  EXPECT_THAT(Samples(entire.begin() + gap, entire.begin() + gap + 10000), testing::Each(0));
  for (const std::uint32_t at :
       {11 * 1024u + 4990u, 11 * 1024u, 11 * 1024u + 5000u, 10 * 1024u + 500u, 30000u}) {
    EXPECT_EQ(readAudio(*clip.file, at, 2000).samples,
              Samples(entire.begin() + at * 2, entire.begin() + (at + 2000) * 2))
        << at;
  }
}

TEST(ReadAudio, ADurationThatNoUnitCanHaveIsRefused) {
  const BuiltFile clip = changedTone([](RunSpec& run) { run.samples[5].duration = 0x40000000; });
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(readAudio(*clip.file, 0, 1000).status, VL_OK);
  DFRAME d{};
  std::vector<std::uint8_t> buffer(4096);
  d.size = sizeof d;
  d.data = buffer.data();
  EXPECT_EQ(clip.file->Read(5 * 1024, 1000, 1, QVR_MODE_AUDIO, &d, nullptr), 0xFFFFFFFEu);
  EXPECT_EQ(d.bytes, 0u);
  // The units after it are still read.
  EXPECT_EQ(readAudio(*clip.file, 5 * 1024 + 0x40000000, 1000).status, VL_OK);
}

TEST(ReadAudio, AfterTheLastUnitFailsOnlyWithoutRemainingSamples) {
  // The description states twice the duration of the units.
  const BuiltFile clip = changedTone([](RunSpec& run) { run.samples.back().duration = 60000; });
  const std::uint32_t held = lengthOf(*clip.file) - 60000 + 1024;
  LogCapture log;
  EXPECT_EQ(readAudio(*clip.file, held - 500, 1000).samples.size(), 1000u);
  EXPECT_THAT(log.lines, Contains(LogLine{VL_LOG_PLAIN, "Wrong samples returned 500 requested 1000"}));
  log.lines.clear();
  EXPECT_EQ(readAudio(*clip.file, held + 100, 1000).status, 0xFFFFFFFFu);
  EXPECT_THAT(
      log.lines,
      Contains(LogLine{0xC0000000, "ERROR(vlx_fmp4): Unable to find correct audio chunck for this frame\n"}));
}

TEST(ReadAudio, AudioOfASeparateFileIsReadThroughTheVideoObject) {
  const TempFolder folder;
  makeMedia(folder.file("clip.mpd"),
            videoInput(2, "25", "160x96") + toneInput(2) + h264Codec(25, 0) + kStereoAac +
                std::vector<std::string>{"-f", "dash", "-single_file", "1", "-use_template", "0",
                                         "-seg_duration", "1"});
  const MediaFile joined = openFile(folder.file("clip.mpd"));
  const MediaFile alone = openFile(folder.file("clip-stream1.mp4"));
  ASSERT_NE(joined, nullptr);
  ASSERT_NE(alone, nullptr);
  EXPECT_EQ(readAll(*joined, 1920), readAll(*alone, 4096));
}

TEST(ReadAudio, AtTheEndThereIsASizeAndNothingElse) {
  const BuiltFile clip = changedTone([](RunSpec&) {});
  const std::uint32_t length = lengthOf(*clip);
  const std::uint32_t size = (*clip).Read(0, 100, 1, QVR_MODE_AUDIO, nullptr, nullptr);
  EXPECT_EQ((*clip).Read(length, 100, 1, QVR_MODE_AUDIO, nullptr, nullptr), size);
  EXPECT_EQ((*clip).Read(length + 1, 100, 1, QVR_MODE_AUDIO, nullptr, nullptr), 0xFFFFFFFFu);
  EXPECT_EQ(readAudio(*clip, length, 0).status, VL_OK);
  EXPECT_EQ(readAudio(*clip, length + 1, 0).status, 0xFFFFFFFFu);
  LogCapture log;
  EXPECT_EQ(readAudio(*clip, length, 1).status, 0xFFFFFFFFu);
  EXPECT_EQ(readAudio(*clip, length - 1, 1).status, VL_OK);
}

// The host may leave the capacity open, or state one that is just enough.
TEST(ReadAudio, AStatedCapacityOfExactlyTheSamplesIsEnough) {
  const BuiltFile clip = changedTone([](RunSpec&) {});
  std::vector<std::uint8_t> buffer(4000);
  for (const auto& [capacity, status] : {std::pair{4000u, VL_OK}, {3999u, 0xFFFFFFFFu}}) {
    DFRAME d{};
    d.size = sizeof d;
    d.data = buffer.data();
    d.dataCapacity = capacity;
    LogCapture log;
    EXPECT_EQ((*clip).Read(0, 1000, 1, QVR_MODE_AUDIO, &d, nullptr), status) << capacity;
  }
}

// A host that asks for 24 bits counts in the track's PCM frames, if those have 16.
TEST(ReadAudio, ARequestIsCountedByTheHostsBits) {
  RunSpec run = runOf(aacAudio());
  for (int i = 0; i < 10; ++i) run.samples[static_cast<std::size_t>(i)].data.assign(64, 0);
  const BuiltFile clip({AudioTrackOf{audioEntry("mp4a", 6, 16, 48000, elementaryStreamBox()), run}});
  ASSERT_NE(clip.file, nullptr);
  const LogLine wrong{VL_LOG_PLAIN, "Wrong samples returned 100 requested 100"};
  LogCapture log;
  EXPECT_EQ(readAudio(*clip.file, 0, 100, 6).samples.size(), 600u);
  EXPECT_THAT(log.lines, Contains(wrong));
  QVRAUDIO audio = describe(*clip.file).audio;
  audio.wave.bitsPerSample = 24;
  EXPECT_EQ(clip.file->SetFileInfo(1, nullptr, nullptr, &audio, nullptr), VL_OK);
  log.lines.clear();
  EXPECT_EQ(readAudio(*clip.file, 0, 100, 6).samples.size(), 600u);
  EXPECT_THAT(log.lines, testing::Not(Contains(wrong)));
}

TEST(ReadAudio, DataAfterACompleteUnitAreNoLoss) {
  for (const CodedAudio* audio : {&aacAudio(), &ac3Audio()}) {
    const auto fileWith = [audio](const Bytes& more) {
      RunSpec run = runOf(*audio);
      run.samples[5].data = join({run.samples[5].data, more});
      return BuiltFile({AudioTrackOf{audio->sampleEntry, run}});
    };
    const BuiltFile plain = fileWith({}), longer = fileWith(Bytes(40, 0xFF));
    EXPECT_EQ(readAll(*longer, 4096), readAll(*plain, 4096)) << audio->unitFrames;
  }
}

TEST(ReadAudio, AUnitOfMoreThanAMebibyteIsLost) {
  const auto fileOf = [](std::size_t bytes) {
    RunSpec run = runOf(ac3Audio());
    if (bytes != 0) run.samples[5].data.resize(bytes);
    return BuiltFile({AudioTrackOf{ac3Audio().sampleEntry, run}});
  };
  constexpr std::ptrdiff_t kUnit = 2 * 1536;
  const auto unitOf = [](const Samples& samples) {
    return Samples(samples.begin() + 5 * kUnit, samples.begin() + 6 * kUnit);
  };
  const Samples plain = unitOf(readAll(*fileOf(0), 4096));
  EXPECT_EQ(unitOf(readAll(*fileOf(1 << 20), 4096)), plain);
  EXPECT_THAT(unitOf(readAll(*fileOf((1 << 20) + 1), 4096)), testing::Each(0));
  EXPECT_THAT(plain, Contains(testing::Ne(0)));
}

// As QuickTime stores it.
TEST(ReadAudio, AConfigurationInsideAWaveBoxIsFound) {
  const Bytes wave = box("wave", {box("frma", {text("mp4a")}), elementaryStreamBox()});
  const BuiltFile clip({AudioTrackOf{audioEntry("mp4a", 2, 16, 48000, wave), runOf(aacAudio())}});
  const BuiltFile usual = changedTone([](RunSpec&) {});
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(readAll(*clip, 4096), readAll(*usual, 4096));
}

}  // namespace

}  // namespace fmp4
