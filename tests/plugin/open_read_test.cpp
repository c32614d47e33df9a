#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "tests/plugin/loaded_plugin.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/fragments.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

// One fragment of three frames on track 1, and what `trafs` adds.
Bytes threeFrames(std::uint32_t runFlags = kRunDataOffset | kRunSize, std::uint32_t duration = 0,
                  std::uint32_t fragmentFlags = kBaseIsMoof) {
  TrafSpec traf;
  traf.flags = fragmentFlags;
  traf.duration = duration;
  traf.runs = {
      RunSpec{runFlags, {sampleOf(10, 1, duration), sampleOf(20, 2, duration), sampleOf(30, 3, duration)}}};
  return fragment(1, {traf});
}

Bytes fileOf(const std::vector<TrackSpec>& tracks, const Bytes& fragments) {
  return join({fileTypeBox(), movieBox(tracks), fragments});
}

struct OpenedFile {
  TempFolder folder;
  MediaFile file;
  Described described;

  explicit OpenedFile(const Bytes& content, const char* name = "clip.mp4", std::uint32_t flags = 0) {
    writeFile(folder.file(name), content);
    file = openFile(folder.file(name), flags);
    if (file) described = describe(*file);
  }
};

TEST(Open, DescribesTheVideoTrack) {
  const OpenedFile clip(fileOf({videoTrack()}, threeFrames()));
  ASSERT_NE(clip.file, nullptr);
  const QVRVIDEO& video = *clip.described.video;
  EXPECT_EQ(std::memcmp(&video.stream.handler, "avc1", 4), 0) << "reversed in value, in order in memory";
  EXPECT_EQ(video.stream.handler, 0x31637661u);
  EXPECT_EQ(video.bitmap.compression, 0x31637661u);
  EXPECT_EQ(video.bitmap.width, 320);
  EXPECT_EQ(video.bitmap.height, 180);
  EXPECT_EQ(video.stream.rate, 30000u);
  EXPECT_EQ(video.stream.scale, 1001u);
  EXPECT_EQ(video.stream.length, 3u);
  EXPECT_EQ(video.stream.suggestedBufferSize, 1296000u) << "at least";
  EXPECT_EQ(video.flags & 0x0F000000u, 0x02000000u);
  const Bytes configuration = avcConfiguration();
  EXPECT_EQ(video.bitmap.size, configuration.size() + 86);
  EXPECT_EQ(std::memcmp(video.colourTable, configuration.data(), configuration.size()), 0);

  const QVRSYSTEM& system = clip.described.system;
  EXPECT_EQ(system.totalFrames, 3u);
  EXPECT_EQ(system.microSecondsPerFrame, 33366u);
  EXPECT_EQ(system.width, 320u);
  EXPECT_EQ(system.height, 180u);
  EXPECT_EQ(clip.file->GetTotalFrames(), 3u);
  EXPECT_EQ(clip.file->Status(), 1u);
  EXPECT_EQ(clip.described.info.aspectX, 16u);
  EXPECT_EQ(clip.described.info.aspectY, 9u);
  EXPECT_EQ(clip.described.info.timecodeRate, 4u);
}

TEST(Open, SnapsTheRateOfTheTrack) {
  struct {
    std::uint32_t timescale, duration, rate, scale, flag;
  } const rows[] = {{90000, 3003, 30000, 1001, 4},
                    {48, 1, 30, 1, 2},
                    {119, 2, 60000, 1001, 4},
                    {120, 1, 12000, 100, 1},
                    {24000, 1001, 24000, 1001, 128},
                    {25000, 1000, 25, 1, 8},
                    {50, 1, 50, 1, 8},
                    {24, 1, 24, 1, 1},
                    {10, 1, 1000, 100, 1}};
  for (const auto& row : rows) {
    const OpenedFile clip(fileOf({videoTrack(1, row.timescale, row.duration)}, threeFrames()));
    ASSERT_NE(clip.file, nullptr);
    EXPECT_EQ(clip.described.video->stream.rate, row.rate) << row.timescale;
    EXPECT_EQ(clip.described.video->stream.scale, row.scale) << row.timescale;
    EXPECT_EQ(clip.described.info.timecodeRate, row.flag) << row.timescale;
  }
}

TEST(Open, TakesTheDurationFromTheTrackThenTheFragmentThenTheRun) {
  const auto rateOf = [](const Bytes& fragments, std::uint32_t trackDuration) {
    const OpenedFile clip(fileOf({videoTrack(1, 25000, trackDuration)}, fragments));
    return clip.file ? clip.described.video->stream.rate : 0;
  };
  EXPECT_EQ(rateOf(threeFrames(kRunDataOffset | kRunSize, 500, kBaseIsMoof | kDefaultDuration), 1000), 25u);
  EXPECT_EQ(rateOf(threeFrames(kRunDataOffset | kRunSize, 500, kBaseIsMoof | kDefaultDuration), 0), 50u);
  EXPECT_EQ(rateOf(threeFrames(kRunDataOffset | kRunSize | kRunDuration, 500), 0), 50u);
}

TEST(Open, LooksForTheDurationInTheFirstFragmentThatCarriesTheTrack) {
  TrafSpec other;
  other.trackId = 5;
  other.runs = {RunSpec{kRunDataOffset | kRunSize | kRunDuration, {sampleOf(10, 1, 77)}}};
  TrafSpec video;
  video.runs = {RunSpec{kRunDataOffset | kRunSize | kRunDuration, {sampleOf(10, 1, 500)}}};
  const OpenedFile clip(
      fileOf({videoTrack(1, 25000, 0)}, join({fragment(1, {other}), fragment(2, {video})})));
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(clip.described.video->stream.rate, 50u);
}

// Muxers lengthen the first frame of a recording whose audio starts before its video, and write that
// duration as the fragment's default.
TEST(Open, ALengthenedFirstFrameDoesNotSetTheRate) {
  TrafSpec traf;
  traf.flags = kBaseIsMoof | kDefaultDuration;
  traf.duration = 786;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize | kRunDuration,
                       {sampleOf(10, 1, 786), sampleOf(10, 2, 512), sampleOf(10, 3, 512)}}};
  const OpenedFile clip(fileOf({videoTrack(1, 12800, 0)}, fragment(1, {traf})));
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(clip.described.video->stream.rate, 25u);
  EXPECT_EQ(clip.described.video->stream.scale, 1u);
}

TEST(Open, TheRateIsThatOfMostFramesInTheFirstFragments) {
  const auto traf = [](std::uint32_t frames, std::uint32_t duration) {
    TrafSpec spec;
    spec.flags = kBaseIsMoof | kDefaultDuration;
    spec.duration = duration;
    RunSpec run{kRunDataOffset | kRunSize};
    for (std::uint32_t i = 0; i < frames; ++i) run.samples.push_back(sampleOf(1, i));
    spec.runs = {run};
    return spec;
  };
  const OpenedFile clip(
      fileOf({videoTrack(1, 25000, 0)}, join({fragment(1, {traf(11, 500)}), fragment(2, {traf(12, 1000)}),
                                              fragment(3, {traf(1, 500)}), fragment(4, {traf(90, 100)})})));
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(clip.described.video->stream.rate, 50u) << "the smaller of two durations of 12 frames each";
}

TEST(Open, AVideoTrackWithoutARateIsRefusedWithAMessage) {
  LogCapture log;
  const OpenedFile none(fileOf({videoTrack(1, 25000, 0)}, threeFrames()));
  EXPECT_EQ(none.file, nullptr);
  EXPECT_THAT(log.lines, Contains(pluginError("No frame rate in the file, cannot address its frames")));
  const OpenedFile noTimescale(fileOf({videoTrack(1, 0, 1000)}, threeFrames()));
  EXPECT_EQ(noTimescale.file, nullptr);
  const OpenedFile belowOne(fileOf({videoTrack(1, 1, 2)}, threeFrames()));
  EXPECT_EQ(belowOne.file, nullptr) << "half a frame per second snaps to none";
}

TEST(Open, DescribesTheAudioTracks) {
  TrackSpec audio{2, "soun", 48000, audioEntry("mp4a", 2, 16, 48000), 1024};
  TrafSpec video, audioRun;
  video.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(10, 1), sampleOf(10, 2)}}};
  audioRun.trackId = 2;
  audioRun.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, 3), sampleOf(5, 4), sampleOf(5, 5)}}};
  const OpenedFile clip(fileOf({videoTrack(), audio}, fragment(1, {video, audioRun})));
  ASSERT_NE(clip.file, nullptr);
  const QVRAUDIO& described = clip.described.audio;
  EXPECT_EQ(described.codec, 0x6D703461u);
  EXPECT_EQ(described.wave.channels, 2);
  EXPECT_EQ(described.wave.bitsPerSample, 16);
  EXPECT_EQ(described.wave.samplesPerSecond, 48000u);
  EXPECT_EQ(described.wave.blockAlign, 4);
  EXPECT_EQ(described.wave.averageBytesPerSecond, 192000u);
  EXPECT_EQ(described.bufferSize, 1602u * 4) << "trunc(48000 / 29.97 + 1)";
  EXPECT_EQ(described.stream.length, 3u * 1024);
  EXPECT_EQ(clip.described.system.streams, 2u);
  EXPECT_EQ(clip.described.system.maximumBytesPerSecond, 34594u + 192000);
  EXPECT_EQ(clip.file->Channels(), 3u) << "one bit per channel";
  EXPECT_EQ(clip.described.info.audioRate, 480480);
  EXPECT_EQ(clip.described.info.audioScale, 300);
}

TEST(Open, AudioTracksAfterTheSixtyFourthAreNotRead) {
  std::vector<TrackSpec> tracks;
  std::vector<TrafSpec> trafs;
  for (std::uint32_t id = 1; id <= 65; ++id) {
    tracks.push_back({id, "soun", 48000, audioEntry("mp4a", 1, 16, 48000), 1024});
    TrafSpec traf;
    traf.trackId = id;
    traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, id)}}};
    trafs.push_back(traf);
  }
  const OpenedFile clip(fileOf(tracks, fragment(1, trafs)), "clip.m4a");
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(clip.described.system.streams, 64u);
}

TEST(Open, Ac3HasTheBlockAlignOfOneChannel) {
  TrackSpec audio{2, "soun", 48000, audioEntry("ac-3", 6, 16, 48000), 1536};
  TrafSpec audioRun;
  audioRun.trackId = 2;
  audioRun.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, 3)}}};
  const OpenedFile clip(fileOf({audio}, fragment(1, {audioRun})), "clip.m4a");
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(clip.described.audio.codec, 0x61632D33u);
  EXPECT_EQ(clip.described.audio.wave.channels, 2) << "as delivered";
  EXPECT_EQ(clip.described.audio.wave.blockAlign, 2);
  EXPECT_EQ(clip.described.audio.bufferSize, 1602u * 2);
  EXPECT_EQ(clip.file->Channels(), 63u);
}

TEST(Open, AnAudioOnlySourceTakesTheNtscRate) {
  TrackSpec audio{2, "soun", 44100, audioEntry("mp4a", 1, 16, 44100), 1024};
  TrafSpec audioRun;
  audioRun.trackId = 2;
  audioRun.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, 3), sampleOf(5, 4)}}};
  const OpenedFile clip(fileOf({audio}, fragment(1, {audioRun})), "clip.m4a");
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(clip.described.video->stream.rate, 30000u);
  EXPECT_EQ(clip.described.video->stream.scale, 1001u);
  EXPECT_EQ(clip.described.video->stream.length, 0u);
  EXPECT_EQ(clip.described.audio.stream.length, 2048u);
  EXPECT_EQ(clip.described.audio.bufferSize, 1471u * 2) << "trunc(44100 / 30 + 1)";
  EXPECT_EQ(clip.described.system.suggestedBufferSize, 1296000u + 1471u * 2);
  EXPECT_EQ(clip.file->Channels(), 1u);
  EXPECT_EQ(clip.file->GetTotalFrames(), 0u);
}

TEST(Open, AudioWithoutDurationsLastsAsLongAsTheVideo) {
  TrackSpec audio{2, "soun", 48000, audioEntry("mp4a", 2, 16, 48000), 0};
  TrafSpec video, audioRun;
  video.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(10, 1), sampleOf(10, 2), sampleOf(10, 3)}}};
  audioRun.trackId = 2;
  audioRun.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, 3)}}};
  const OpenedFile clip(fileOf({videoTrack(1, 25, 1), audio}, fragment(1, {video, audioRun})));
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(clip.described.audio.stream.length, 3u * 1920);
}

TEST(Open, AnAudioTrackInNoFragmentLeavesTheVideoReadable) {
  LogCapture log;
  TrackSpec audio{2, "soun", 48000, audioEntry("mp4a", 2, 16, 48000), 1024};
  const OpenedFile clip(fileOf({videoTrack(), audio}, threeFrames()));
  ASSERT_NE(clip.file, nullptr);
  EXPECT_THAT(log.lines, Not(Contains(pluginError("Unable to find correct audio chunk"))));
  EXPECT_EQ(clip.file->GetTotalFrames(), 3u);
  EXPECT_EQ(readFrame(*clip.file, 2).data, sampleOf(30, 3).data);
  EXPECT_EQ(clip.file->Channels(), 0x3u) << "as declared";
}

TEST(Open, AnAudioTrackWithOnlyEmptyRunsLeavesTheVideoReadable) {
  TrackSpec audio{2, "soun", 48000, audioEntry("mp4a", 2, 16, 48000), 1024};
  TrafSpec video, audioRun;
  video.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(10, 1), sampleOf(10, 2)}}};
  audioRun.trackId = 2;
  audioRun.runs = {RunSpec{}};
  const OpenedFile clip(fileOf({videoTrack(), audio}, fragment(1, {video, audioRun})));
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(readFrame(*clip.file, 1).data, sampleOf(10, 2).data);
}

TEST(Open, AudioOfAFileWithoutFragmentsFailsTheOpen) {
  LogCapture log;
  TrackSpec audio{2, "soun", 48000, audioEntry("mp4a", 2, 16, 48000), 1024};
  const OpenedFile clip(fileOf({audio}, {}), "clip.mp4", MF_OPEN_AUDIO_ONLY);
  EXPECT_EQ(clip.file, nullptr);
  EXPECT_THAT(log.lines, Contains(pluginError("Unable to find correct audio chunk")));
}

// A cut after the end of all audio, as stream copying makes it: the audio track is declared and empty.
TEST(Open, ACutAfterTheEndOfTheAudioOpens) {
  const TempFolder folder;
  makeMedia(folder.file("intact.mp4"), videoInput(4, "25", "160x96") + toneInput(1) + h264Codec(25, 0) +
                                           std::vector<std::string>{"-c:a", "aac"});
  makeMedia(folder.file("cut.mp4"), "-i", folder.file("intact.mp4"), "-ss", "3", "-c", "copy", "-movflags",
            "frag_keyframe+empty_moov");
  const std::vector<Packet> packets = ffprobePackets(folder.file("cut.mp4"), "v:0");
  ASSERT_TRUE(ffprobePackets(folder.file("cut.mp4"), "a:0").empty());
  const MediaFile file = openFile(folder.file("cut.mp4"));
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->GetTotalFrames(), packets.size());
  EXPECT_EQ(describe(*file).system.rate, 25u);
}

TEST(Open, VideoWithoutAudioHasTheAudioLengthOfItsDuration) {
  TrafSpec traf;
  RunSpec run{kRunDataOffset | kRunSize};
  for (std::uint32_t i = 0; i < 50; ++i) run.samples.push_back(sampleOf(10, i));
  traf.runs = {run};
  const OpenedFile clip(fileOf({videoTrack(1, 25, 1)}, fragment(1, {traf})));
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(clip.described.audio.stream.length, 96000u)
      << "50 frames at 25 per second, 48000 samples per second";
  EXPECT_EQ(clip.described.system.streams, 1u);
  EXPECT_EQ(clip.file->Channels(), 0u);
}

TEST(Open, CaptionTracksInNoFragmentAreReportedAndTheFileOpens) {
  LogCapture log;
  TrackSpec cc608{3, "clcp", 30000, captionEntry("c608"), 1001};
  TrackSpec cc708{4, "clcp", 30000, captionEntry("c708"), 1001};
  const OpenedFile clip(fileOf({videoTrack(), cc608, cc708}, threeFrames()));
  EXPECT_NE(clip.file, nullptr);
  EXPECT_THAT(log.lines, Contains(pluginError("Unable to find correct cc 608 chunk")));
  EXPECT_THAT(log.lines, Contains(pluginError("Unable to find correct cc 708 chunk")));
}

TEST(Open, TracksWithoutHeaderAreNumberedInOrder) {
  Bytes movie = movieBox({videoTrack()});
  const std::string tkhd = "tkhd";
  const auto at = std::search(movie.begin(), movie.end(), tkhd.begin(), tkhd.end());
  ASSERT_NE(at, movie.end());
  *at = 'x';
  const OpenedFile clip(join({fileTypeBox(), movie, threeFrames()}));
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(clip.file->GetTotalFrames(), 3u);
}

TEST(Open, CaptionTracksAreAnnounced) {
  TrackSpec cc608{3, "clcp", 30000, captionEntry("c608"), 1001};
  TrackSpec cc708{4, "clcp", 30000, captionEntry("c708"), 1001};
  TrafSpec video, c3, c4;
  video.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(10, 1)}}};
  c3.trackId = 3;
  c3.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(2, 1)}}};
  c4.trackId = 4;
  c4.runs = c3.runs;
  const OpenedFile both(fileOf({videoTrack(), cc608, cc708}, fragment(1, {video, c3, c4})));
  ASSERT_NE(both.file, nullptr);
  EXPECT_EQ(both.described.info.captions, QVR_CAPTIONS_608 | QVR_CAPTIONS_708);
  const OpenedFile one(fileOf({videoTrack(), cc708}, fragment(1, {video, c4})));
  EXPECT_EQ(one.described.info.captions, QVR_CAPTIONS_708);
}

TEST(Open, UnsupportedCodecsAreSkipped) {
  TrackSpec vp9{1, "vide", 30000, visualEntry("vp09", 320, 180, {}), 1001};
  LogCapture log;
  const OpenedFile clip(fileOf({vp9}, threeFrames()));
  EXPECT_EQ(clip.file, nullptr);
  EXPECT_THAT(log.lines, ElementsAre(pluginError("No track that can be read")));
}

TEST(Open, AConfigurationOf64KibIsReadAndOneLongerThanTheDescriptionIsRefused) {
  const auto clipWith = [](std::uint32_t bytes) {
    TrackSpec video = videoTrack();
    video.sampleEntry = visualEntry("hvc1", 320, 180, box("hvcC", {sampleOf(bytes - 8, 1).data}));
    return fileOf({video}, threeFrames());
  };
  const OpenedFile large(clipWith(0x10000));
  ASSERT_NE(large.file, nullptr);
  EXPECT_EQ(large.described.video->bitmap.size, 0x10000u + 86);
  EXPECT_EQ(large.described.video->stream.handler, 0x31637668u);
  EXPECT_EQ(large.described.video->colourTable[0xFFFF], sampleOf(0x10000 - 8, 1).data.back());
  EXPECT_NE(OpenedFile(clipWith(QVR_CODEC_CONFIGURATION_BYTES)).file, nullptr);
  LogCapture log;
  EXPECT_EQ(OpenedFile(clipWith(QVR_CODEC_CONFIGURATION_BYTES + 8)).file, nullptr);
  EXPECT_THAT(log.lines, ElementsAre(pluginError("The codec configuration is too long")));
}

// The picture's size has 16 bits with a sign.
TEST(Open, APictureOfMoreThan32767RowsIsUpsideDown) {
  TrackSpec video = videoTrack();
  video.sampleEntry = visualEntry("avc1", 320, 40000, avcConfiguration());
  const OpenedFile clip(fileOf({video}, threeFrames()));
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(clip.described.video->bitmap.height, 40000 - 65536);
  EXPECT_EQ(clip.described.system.height, 65536u - 40000);
}

TEST(Open, TheConfigurationMayFollowOtherBoxes) {
  TrackSpec video = videoTrack();
  video.sampleEntry =
      visualEntry("avc1", 320, 180, join({box("pasp", {u32(1), u32(1)}), avcConfiguration()}));
  const OpenedFile clip(fileOf({video}, threeFrames()));
  ASSERT_NE(clip.file, nullptr);
  const Bytes configuration = avcConfiguration();
  EXPECT_EQ(clip.described.video->bitmap.size, configuration.size() + 86);
  EXPECT_EQ(
      Bytes(clip.described.video->colourTable, clip.described.video->colourTable + configuration.size()),
      configuration);
}

TEST(Open, OfTwoVideoTracksTheFirstIsRead) {
  TrackSpec other = videoTrack(5, 25, 1);
  other.sampleEntry = visualEntry("avc1", 640, 360, avcConfiguration());
  TrafSpec first, second;
  first.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(10, 1), sampleOf(20, 2)}}};
  second.trackId = 5;
  second.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(30, 3)}}};
  const OpenedFile clip(fileOf({videoTrack(), other}, fragment(1, {first, second})));
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(clip.described.video->bitmap.width, 320);
  EXPECT_EQ(clip.described.system.streams, 1u);
  EXPECT_EQ(clip.file->GetTotalFrames(), 2u);
  EXPECT_EQ(readFrame(*clip.file, 1).data, sampleOf(20, 2).data);
}

TEST(Open, AnUnknownNameOrAMissingFileCannotBeOpened) {
  const TempFolder folder;
  writeFile(folder.file("clip.dat"), fileOf({videoTrack()}, threeFrames()));
  for (const char* name : {"clip.dat", "missing.mp4", "clip.ismv"}) {
    LogCapture log;
    EXPECT_EQ(openFile(folder.file(name)), nullptr);
    EXPECT_THAT(log.lines, ElementsAre(pluginError("Cannot open file"))) << name;
  }
}

TEST(Open, NamesMatchBySubstring) {
  const OpenedFile clip(fileOf({videoTrack()}, threeFrames()), "a.mp4.bak");
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(clip.file->GetTotalFrames(), 3u);
}

TEST(Open, APlainFileHasNoFirstChunk) {
  LogCapture log;
  const OpenedFile clip(fileOf({videoTrack()}, box("mdat", {zeros(100)})));
  EXPECT_EQ(clip.file, nullptr);
  EXPECT_THAT(log.lines, Contains(pluginError("Unable to find correct video chunk")));
}

TEST(Open, NamesOf260CharactersAndMoreAreRefused) {
  EXPECT_EQ(openFile("/tmp/" + std::string(260, 'a') + ".mp4"), nullptr);
  EXPECT_EQ(openFile(std::string(100000, 'a') + ".mp4"), nullptr);
}

TEST(Open, AgainAfterCloseAndOverAnOpenFile) {
  const TempFolder folder;
  writeFile(folder.file("a.mp4"), fileOf({videoTrack()}, threeFrames()));
  TrafSpec traf;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(10, 1)}}};
  writeFile(folder.file("b.mp4"), fileOf({videoTrack(1, 25, 1)}, fragment(1, {traf})));
  const MediaFile file = openFile(folder.file("a.mp4"));
  ASSERT_NE(file, nullptr);
  MFXOPEN request = readRequest(folder.file("none.mp4"));
  const std::string b = folder.file("b.mp4");
  request.fileName = b.c_str();
  EXPECT_EQ(file->MFXCmd(MFX_OPEN, &request), VL_OK);
  EXPECT_EQ(file->GetTotalFrames(), 1u);
  EXPECT_EQ(describe(*file).video->stream.rate, 25u);
  EXPECT_EQ(file->Close(), VL_OK);
  EXPECT_EQ(file->GetTotalFrames(), 0u);
  EXPECT_EQ(describe(*file).video->stream.rate, 30000u);
  EXPECT_EQ(file->MFXCmd(MFX_OPEN, &request), VL_OK);
  EXPECT_EQ(file->GetTotalFrames(), 1u);
}

}  // namespace

}  // namespace fmp4
