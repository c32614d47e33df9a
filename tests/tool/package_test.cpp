// Packaging real media: what ffmpeg finds in the result, and what comes back through the program.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>

#include "base/text.h"
#include "os/path_name.h"
#include "tests/support/box_builder.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/fragments.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// A little over ten seconds with B-frames and audio, made once for all tests.
class Package : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    media_ = new TempFolder;
    makeMedia(source(), videoInput(10.5) + toneInput(10.5) + h264Codec() +
                            std::vector<std::string>{"-c:a", "aac", "-ac", "2"});
    makeMedia(media_->file("fragmented.mp4"), "-i", source(), "-c", "copy", "-movflags",
              "+frag_keyframe+empty_moov+default_base_moof");
  }
  static void TearDownTestSuite() {
    delete media_;
    media_ = nullptr;
  }
  static std::string source() { return media_->file("source.mp4"); }
  static std::string fragmentedSource() { return media_->file("fragmented.mp4"); }

  std::vector<std::string> frames(const std::string& file, const std::vector<std::string>& options = {}) {
    std::vector<std::string> command = {"--quiet", "frames", file};
    return linesOf(fmp4(command + options).out);
  }
  void decodes(const std::string& file) {
    const bool playlist = file.ends_with(".m3u8");
    const RunResult result = run(std::vector<std::string>{"ffmpeg", "-nostdin", "-xerror", "-v", "error"} +
                                 (playlist ? hlsOptions() : std::vector<std::string>()) +
                                 std::vector<std::string>{"-i", file, "-f", "null", "-"});
    EXPECT_EQ(result.exitCode, 0) << file;
    EXPECT_THAT(result.err, IsEmpty()) << file;
  }

  static TempFolder* media_;
  TempFolder folder_;
};
TempFolder* Package::media_ = nullptr;

TEST_F(Package, SaysWhatItMade) {
  const RunResult result =
      fmp4({"--quiet", "package", source(), "--count", "60", "--output", folder_.file("a.mp4")});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  std::string files;
  const auto units = ffprobePackets(folder_.file("a.m4a"), "a:0").size();
  const std::string audio = clockText(static_cast<double>(units) * 1024 / 48000);
  for (const auto& [name, duration] : {std::pair<std::string, std::string>{"a.m4v", ", 00:00:02.002"},
                                       {"a.m4a", ", " + audio},
                                       {"aA.m3u8", ""},
                                       {"a.mpd", ""},
                                       {"a.m3u8", ""},
                                       {"a.master.m3u8", ""}})
    files += (files.empty() ? "" : ", ") + name + " (" +
             std::to_string(std::filesystem::file_size(folder_.file(name))) + " bytes" + duration + ")";
  EXPECT_EQ(result.out, "recorded 60 frames, 00:00:02.002, in " + files + "\n");
}

TEST_F(Package, ReplacesARecordingWithForceAlone) {
  const std::vector<std::string> command = {
      "--quiet", "package", source(), "--count", "30", "--output", folder_.file("a.mp4")};
  ASSERT_EQ(fmp4(command).exitCode, 0);
  const Bytes before = readFile(folder_.file("a.m4v"));
  const RunResult refused = fmp4(command + std::vector<std::string>{"--start", "30"});
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_EQ(refused.err,
            "fmp4: '" + folder_.file("a.m4v") +
                "' exists; --force replaces that recording, or give another name for the output\n");
  EXPECT_EQ(readFile(folder_.file("a.m4v")), before);
  EXPECT_EQ(fmp4(command + std::vector<std::string>{"--start", "30", "--force"}).exitCode, 0);
  EXPECT_NE(readFile(folder_.file("a.m4v")), before);
}

// Another program's handle stands for one that records.
TEST_F(Package, RefusesARecordingThatIsBeingMade) {
  ASSERT_EQ(
      fmp4({"--quiet", "package", source(), "--count", "30", "--output", folder_.file("a.mp4")}).exitCode, 0);
  const std::ofstream held(vlPath(folder_.file("a.m4a")), std::ios::app | std::ios::binary);
  ASSERT_TRUE(held);
  const RunResult result =
      fmp4({"--quiet", "package", source(), "--force", "--output", folder_.file("a.mp4")});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err,
            "fmp4: '" + folder_.file("a.m4a") +
                "' is being written by another program; give another name for the output, or wait "
                "for its end\n");
}

TEST_F(Package, RefusesNamesThatNoRecordingHas) {
  for (const char* name : {"a.mkv", "a.MP4", "a", "a.mpd"}) {
    const std::string output = folder_.file(name);
    const RunResult result = fmp4({"--quiet", "package", source(), "--output", output});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err,
              "fmp4: '" + output +
                  "' is no name for a recording; give one that ends in .mp4 (video and audio in files "
                  "of their own, .m4v and .m4a) or .ismv (both in one file)\n");
  }
  EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
}

// The first frame's bytes are beyond the end of the file.
TEST_F(Package, LeavesNothingBehindWhenItRecordsNothing) {
  const std::string damaged = folder_.file("damaged.mp4");
  makeMedia(damaged, videoInput(1) + h264Codec());
  const auto mdat = static_cast<std::uintmax_t>(ffprobePackets(damaged, "v:0")[0].offset);
  Bytes bytes = readFile(damaged);
  const auto moov = std::search(bytes.begin(), bytes.end(), std::begin("moov"), std::end("moov") - 1) - 4;
  ASSERT_GT(static_cast<std::uintmax_t>(moov - bytes.begin()), mdat) << "the movie box comes last";
  const Bytes movie(moov, bytes.end());
  bytes.resize(mdat - 8);
  writeFile(damaged, join({bytes, movie}));
  const RunResult result = fmp4({"--quiet", "package", damaged, "--output", folder_.file("a.mp4")});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.path()), {}), 1) << "the source alone";
}

TEST_F(Package, MakesFilesThatFfmpegDecodesWithEveryPacket) {
  const RunResult result = fmp4({"package", source(), "--output", folder_.file("out.mp4")});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.err, IsEmpty());
  for (const char* name : {"out.m4v", "out.m4a", "out.m3u8", "outA.m3u8", "out.master.m3u8"})
    decodes(folder_.file(name));
  const auto sourceVideo = ffprobePackets(source(), "v:0"), sourceAudio = ffprobePackets(source(), "a:0");
  const auto video = ffprobePackets(folder_.file("out.m4v"), "v:0");
  const auto audio = ffprobePackets(folder_.file("out.m4a"), "a:0");
  ASSERT_EQ(video.size(), sourceVideo.size());
  // The frames are shown two frames late, by 66.7 ms; 21.3 ms of that are the priming of the audio.
  constexpr std::size_t kSilent = 2;
  ASSERT_EQ(audio.size(), kSilent + sourceAudio.size());
  for (std::size_t i = 0; i < video.size(); ++i) {
    EXPECT_EQ(video[i].crc32, sourceVideo[i].crc32);
    EXPECT_EQ(video[i].key, sourceVideo[i].key);
    EXPECT_EQ(video[i].dts, static_cast<std::int64_t>(i) * 1001);
  }
  for (std::size_t i = 0; i < sourceAudio.size(); ++i) {
    EXPECT_EQ(audio[kSilent + i].size, sourceAudio[i].size);
    // The first has side data, after which ffprobe prints its hash.
    if (i != 0) {
      EXPECT_EQ(audio[kSilent + i].crc32, sourceAudio[i].crc32);
    }
  }
  for (std::size_t i = 0; i < audio.size(); ++i) EXPECT_EQ(audio[i].dts, static_cast<std::int64_t>(i) * 1024);
  EXPECT_EQ(frameHashes(folder_.file("out.m4v")), frameHashes(source()));
}

TEST_F(Package, ReadsBackTheSourceFramesByEveryName) {
  const auto expected = frames(fragmentedSource());
  EXPECT_EQ(fmp4({"package", fragmentedSource(), "--output", folder_.file("out.mp4")}).exitCode, 0);
  EXPECT_EQ(fmp4({"package", source(), "--output", folder_.file("both.ismv")}).exitCode, 0);
  ASSERT_EQ(expected.size(), 1u + 315);
  EXPECT_EQ(frames(folder_.file("out.m4v")), expected);
  EXPECT_EQ(frames(folder_.file("out.mpd")), expected);
  EXPECT_EQ(frames(folder_.file("both.xml")), expected);
  decodes(folder_.file("both.ismv"));
  EXPECT_EQ(ffprobePackets(folder_.file("both.ismv"), "a:0").size(),
            2 + ffprobePackets(source(), "a:0").size());
  decodes(folder_.file("both.m3u8"));
}

TEST_F(Package, ARecordingCanBePackagedAgainUnchanged) {
  ASSERT_EQ(fmp4({"package", source(), "--output", folder_.file("one.ismv")}).exitCode, 0);
  ASSERT_EQ(fmp4({"package", folder_.file("one.ismv"), "--output", folder_.file("two.ismv")}).exitCode, 0);
  EXPECT_EQ(readFile(folder_.file("one.ismv")), readFile(folder_.file("two.ismv")));
}

TEST_F(Package, WritesAMasterPlaylist) {
  ASSERT_EQ(fmp4({"package", source(), "--output", folder_.file("out.mp4")}).exitCode, 0);
  const auto bytes = readFile(folder_.file("out.master.m3u8"));
  const auto lines = linesOf({bytes.begin(), bytes.end()});
  ASSERT_EQ(lines.size(), 6u);
  EXPECT_EQ(lines[0], "#EXTM3U");
  EXPECT_EQ(lines[1], "#EXT-X-VERSION:7");
  EXPECT_EQ(lines[2], "#EXT-X-INDEPENDENT-SEGMENTS");
  EXPECT_EQ(lines[3],
            "#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"audio\",NAME=\"Audio\",DEFAULT=YES,AUTOSELECT=YES,URI=\"outA."
            "m3u8\"");
  EXPECT_THAT(lines[4], testing::MatchesRegex("#EXT-X-STREAM-INF:BANDWIDTH=.+,AVERAGE-BANDWIDTH=.+,"
                                              "CODECS=\"avc1.4d400d,mp4a.40.2\",RESOLUTION=320x180,"
                                              "FRAME-RATE=29.970,AUDIO=\"audio\""));
  EXPECT_EQ(lines[5], "out.m3u8");
}

// A row of the listing without the frame's number and times.
std::string contentOf(const std::string& row) {
  const std::size_t times = row.rfind(',', row.rfind(',') - 1);
  return row.substr(row.find(','), times - row.find(','));
}

TEST_F(Package, RecordsTheRequestedFrames) {
  ASSERT_EQ(fmp4({"package", source(), "--output", folder_.file("out.mp4"), "--start", "60", "--count", "45",
                  "--no-audio"})
                .exitCode,
            0);
  EXPECT_FALSE(std::filesystem::exists(folder_.file("out.m4a")));
  const auto all = frames(fragmentedSource(), {"--from", "60", "--count", "45"});
  const auto some = frames(folder_.file("out.m4v"));
  ASSERT_EQ(some.size(), all.size());
  for (std::size_t i = 1; i < all.size(); ++i) EXPECT_EQ(contentOf(some[i]), contentOf(all[i]));
  const RunResult refused = fmp4({"package", source(), "--output", folder_.file("b.mp4"), "--start", "61"});
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_THAT(refused.err, HasSubstr("frame 61 is not a key frame, without which the recording could not be "
                                     "decoded; --start 60 is the one before"));
  EXPECT_THAT(fmp4({"package", source(), "--output", folder_.file("b.mp4"), "--start", "315"}).err,
              HasSubstr("the source has 315 frames, counted from 0; there is no frame 315"));
}

TEST_F(Package, AGivenIntervalSetsTheFragments) {
  ASSERT_EQ(
      fmp4({"package", source(), "--output", folder_.file("out.mp4"), "--no-audio", "--gop", "15"}).exitCode,
      0);
  const RunResult boxes = fmp4({"boxes", folder_.file("out.m4v")});
  EXPECT_THAT(boxes.out, HasSubstr("sample_count=15 "));
  EXPECT_THAT(boxes.out, Not(HasSubstr("sample_count=30 ")));
  const RunResult prime =
      fmp4({"package", source(), "--output", folder_.file("p.mp4"), "--no-audio", "--gop", "37"});
  EXPECT_EQ(prime.exitCode, 0);
  EXPECT_THAT(prime.err, HasSubstr("fmp4: warning: an interval of 37 frames cannot be cut into segments"));
}

TEST_F(Package, ReportsAnIntervalOtherThanTheSources) {
  const auto warningFor = [this](const char* interval) {
    return fmp4({"--quiet", "package", source(), "--force", "--output", folder_.file("out.mp4"), "--gop",
                 interval})
        .err;
  };
  EXPECT_EQ(warningFor("30"), "");
  EXPECT_EQ(warningFor("15"),
            "fmp4: warning: --gop 15 is not the source's key-frame interval of 30 frames\n");
  // Of segments of 70 frames, those at 0 and 210 begin with a key frame.
  EXPECT_EQ(
      warningFor("7"),
      "fmp4: warning: --gop 7 is not the source's key-frame interval of 30 frames; 3 of 5 segments will "
      "not begin with a key frame, where players expect one\n");
}

TEST_F(Package, GivesOneWarningAboutItsSegments) {
  makeMedia(folder_.file("uneven.mp4"),
            videoInput(5) + h264Codec(37) + std::vector<std::string>{"-force_key_frames", "0.5"});
  EXPECT_EQ(
      fmp4({"--quiet", "package", folder_.file("uneven.mp4"), "--output", folder_.file("out.mp4")}).err,
      "fmp4: warning: key frames 37 frames apart cannot be cut into segments; they are cut for one every "
      "30 frames\n");
}

TEST_F(Package, ReportsAndWorksAroundIndivisibleKeyFrameIntervals) {
  makeMedia(folder_.file("prime.mp4"), videoInput(5) + h264Codec(37));
  const RunResult result = fmp4({"package", folder_.file("prime.mp4"), "--output", folder_.file("out.mp4")});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.err,
              HasSubstr("fmp4: warning: key frames 37 frames apart cannot be cut into segments; they "
                        "are cut for one every 30 frames"));
  decodes(folder_.file("out.m3u8"));
}

TEST_F(Package, ReportsUnevenKeyFrames) {
  makeMedia(folder_.file("uneven.mp4"), videoInput(5) + h264Codec(250) +
                                            std::vector<std::string>{"-force_key_frames", "0.5,1.5,2.5,2.8"});
  const RunResult result = fmp4({"package", folder_.file("uneven.mp4"), "--output", folder_.file("out.mp4")});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.err,
              HasSubstr("fmp4: warning: the source's key frames are not evenly spaced; segments are "
                        "cut for one every 30 frames"));
}

TEST_F(Package, RefusesOtherCodecsWithAdvice) {
  makeMedia(folder_.file("hevc.mp4"), videoInput(1) + hevcCodec());
  makeMedia(folder_.file("ac3.mp4"),
            videoInput(1) + toneInput(1) + h264Codec() + std::vector<std::string>{"-c:a", "ac3"});
  makeMedia(folder_.file("mp3.mp4"),
            videoInput(1) + toneInput(1) + h264Codec() + std::vector<std::string>{"-c:a", "libmp3lame"});
  makeMedia(folder_.file("audio.mp4"), toneInput(1) + std::vector<std::string>{"-c:a", "aac"});
  const auto refusal = [&](const char* name) {
    const RunResult result = fmp4({"package", folder_.file(name), "--output", folder_.file("out.mp4")});
    EXPECT_EQ(result.exitCode, 1) << name;
    return result.err;
  };
  EXPECT_THAT(refusal("hevc.mp4"),
              HasSubstr("has HEVC video ('hvc1'), and recording is H.264 ('avc1'); ffmpeg -c:v libx264"));
  EXPECT_THAT(
      refusal("ac3.mp4"),
      HasSubstr("has audio of type 'ac-3', which a recording cannot hold: it takes AAC (mp4a). --no-audio "
                "leaves it out"));
  EXPECT_THAT(refusal("mp3.mp4"), HasSubstr("--no-audio leaves it out"));
  EXPECT_THAT(refusal("audio.mp4"), HasSubstr("has no video"));
  EXPECT_THAT(refusal("missing.mp4"), HasSubstr("does not exist; check the name"));
  EXPECT_FALSE(std::filesystem::exists(folder_.file("out.m4v")));
  EXPECT_EQ(
      fmp4({"package", folder_.file("ac3.mp4"), "--output", folder_.file("out.mp4"), "--no-audio"}).exitCode,
      0);
}

// The second video is half as wide, the second audio has one channel.
TEST_F(Package, RecordsTheChosenTracks) {
  const std::string file = folder_.file("several.mp4");
  makeMedia(file, videoInput(1, "25", "160x96") + toneInput(1) + videoInput(1, "25", "80x96") +
                      std::vector<std::string>{"-map", "0", "-map", "1", "-map", "2", "-map", "1", "-c:a",
                                               "aac", "-ac:a:0", "2", "-ac:a:1", "1"} +
                      h264Codec(25));
  const RunResult first = fmp4({"--quiet", "package", file, "--output", folder_.file("first.ismv")});
  EXPECT_EQ(
      first.err,
      "fmp4: warning: the source has 2 video tracks (1, 3); the first is recorded, --video-track N takes "
      "another\n"
      "fmp4: warning: the source has 2 audio tracks (2, 4); the first is recorded, --audio-track N takes "
      "another\n");
  EXPECT_EQ(ffprobeStreamEntry(folder_.file("first.ismv"), "v:0", "width"), "160");
  EXPECT_EQ(ffprobeStreamEntry(folder_.file("first.ismv"), "a:0", "channels"), "2");
  const RunResult second = fmp4({"--quiet", "package", file, "--video-track", "3", "--audio-track", "4",
                                 "--output", folder_.file("second.ismv")});
  EXPECT_EQ(second.exitCode, 0);
  EXPECT_EQ(second.err, "");
  EXPECT_EQ(ffprobeStreamEntry(folder_.file("second.ismv"), "v:0", "width"), "80");
  EXPECT_EQ(ffprobeStreamEntry(folder_.file("second.ismv"), "a:0", "channels"), "1");
  const RunResult third =
      fmp4({"--quiet", "package", file, "--video-track", "2", "--output", folder_.file("third.ismv")});
  EXPECT_EQ(third.exitCode, 1);
  EXPECT_EQ(third.err,
            "fmp4: '" + file +
                "' has no video track 2; its tracks are 1 (vide, avc1), 2 (soun, mp4a), 3 (vide, avc1), 4 "
                "(soun, mp4a)\n");
  EXPECT_FALSE(std::filesystem::exists(folder_.file("third.ismv")));
}

// The frame length flag is set in the AudioSpecificConfig of AAC LC at 48000 Hz in two channels.
TEST_F(Package, RefusesAacOf960SamplesWithAdvice) {
  Bytes bytes = readFile(source());
  const Bytes config = {0x11, 0x90, 0x56, 0xE5};
  const auto place = std::search(bytes.begin(), bytes.end(), config.begin(), config.end());
  ASSERT_NE(place, bytes.end());
  place[1] = 0x94;
  writeFile(folder_.file("short.mp4"), bytes);
  const RunResult result =
      fmp4({"--quiet", "package", folder_.file("short.mp4"), "--output", folder_.file("out.mp4")});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, HasSubstr("has AAC with 960 samples a frame, which a recording cannot time"));
  EXPECT_THAT(result.err, HasSubstr("ffmpeg -c:v copy -c:a aac"));
}

TEST_F(Package, NeverOverwritesTheSource) {
  std::filesystem::copy(source(), folder_.file("clip.m4v"));
  for (const char* output : {"clip.mp4", "clip.m4v"}) {
    const RunResult result = fmp4({"package", folder_.file("clip.m4v"), "--output", folder_.file(output)});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("packaging would write over its source"));
  }
  EXPECT_EQ(readFile(folder_.file("clip.m4v")), readFile(source()));
}

TEST_F(Package, ReportsAMissingFolder) {
  const RunResult result =
      fmp4({"--quiet", "package", source(), "--output", folder_.file("missing/out.mp4")});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "fmp4: '" + folder_.file("missing/out.mp4") +
                            "' cannot be created: there is no folder '" + folder_.file("missing") +
                            "'; make it, or give another name\n");
}

TEST_F(Package, NamesWhatItsInputIs) {
  const auto refusal = [&](const std::string& input) {
    const RunResult result =
        fmp4({"--quiet", "package", folder_.file(input), "--output", folder_.file("out.mp4")});
    EXPECT_EQ(result.exitCode, 1) << input;
    return result.err;
  };
  const auto write = [&](const std::string& name, const std::string& text) {
    writeFile(folder_.file(name), {text.begin(), text.end()});
    return refusal(name);
  };
  EXPECT_EQ(refusal(""), "fmp4: '" + folder_.file("") + "' is a folder; give a file in it\n");
  EXPECT_EQ(write("a.mp4", ""), "fmp4: '" + folder_.file("a.mp4") + "' is empty\n");
  EXPECT_EQ(write("a.mp4", "some text, longer than a box's header"),
            "fmp4: '" + folder_.file("a.mp4") + "' is not MP4\n");
  EXPECT_THAT(write("a.mpd", "<?xml version='1.0'?><MPD/>"), HasSubstr("is an XML document, not MP4"));
  EXPECT_THAT(write("a.mkv", "\x1A\x45\xDF\xA3 and more"), HasSubstr("is a Matroska or WebM file, not MP4"));
}

TEST_F(Package, RatesAreKept) {
  for (const auto& [rate, kept] :
       {std::pair{"24000/1001", "24000/1001"}, {"25", "25000/1000"}, {"60", "60000/1000"}}) {
    makeMedia(folder_.file("source.mp4"), videoInput(1, rate) + h264Codec(12));
    ASSERT_EQ(fmp4({"package", folder_.file("source.mp4"), "--force", "--output", folder_.file("out.mp4")})
                  .exitCode,
              0);
    const auto manifest = readFile(folder_.file("out.mpd"));
    EXPECT_THAT(std::string(manifest.begin(), manifest.end()),
                HasSubstr("frameRate=\"" + std::string(kept) + "\""));
  }
}

// ffmpeg on a live source: the first frame lasts until the audio begins.
TEST_F(Package, ALengthenedFirstFrameDoesNotAffectTheRate) {
  makeMedia(folder_.file("source.mp4"),
            videoInput(2, "25", "160x96") + toneInput(2) + h264Codec(12, 0) +
                std::vector<std::string>{"-c:a", "aac", "-movflags", "frag_keyframe+empty_moov"});
  const std::vector<Packet> packets = ffprobePackets(folder_.file("source.mp4"), "v:0");
  ASSERT_NE(packets[1].dts - packets[0].dts, packets[2].dts - packets[1].dts);
  ASSERT_EQ(fmp4({"package", folder_.file("source.mp4"), "--output", folder_.file("out.mp4")}).exitCode, 0);
  const auto manifest = readFile(folder_.file("out.mpd"));
  EXPECT_THAT(std::string(manifest.begin(), manifest.end()), HasSubstr("frameRate=\"25000/1000\""));
}

// Frames of 33 and 34 ms: most last 33, and all together average 29.97 a second.
TEST_F(Package, ARateRoundedToMillisecondsIsRecovered) {
  makeMedia(folder_.file("source.mp4"), videoInput(4, "30000/1001", "160x96") + h264Codec(12) +
                                            std::vector<std::string>{"-video_track_timescale", "1000"});
  const RunResult result = fmp4({"package", folder_.file("source.mp4"), "--output", folder_.file("out.mp4")});
  ASSERT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.err, Not(HasSubstr("differently long")));
  const auto manifest = readFile(folder_.file("out.mpd"));
  EXPECT_THAT(std::string(manifest.begin(), manifest.end()), HasSubstr("frameRate=\"30000/1001\""));
}

TEST_F(Package, FramesOfVaryingDurationAreRecordedAtTheirMean) {
  RunSpec run{kRunDataOffset | kRunSize | kRunDuration};
  for (std::uint32_t i = 0; i < 30; ++i) run.samples.push_back(sampleOf(10, i, 500 + 50 * i));
  TrafSpec traf;
  traf.runs = {run};
  writeFile(folder_.file("source.mp4"),
            join({fileTypeBox(), movieBox({videoTrack(1, 24500, 0)}), fragment(1, {traf})}));
  const RunResult result = fmp4({"package", folder_.file("source.mp4"), "--output", folder_.file("out.mp4")});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("vary in duration; in the recording they all last 1/20 s"));
}

TEST_F(Package, CarriesCaptions) {
  // Ten frames in two fragments with one pair per frame, in one sample per fragment, and one packet per
  // frame.
  const auto packet = [](std::uint32_t frame) {
    Bytes bytes = sampleOf(15, frame).data;
    bytes[0] = 0x96;
    bytes[1] = 0x69;
    bytes[2] = 15;
    return bytes;
  };
  Bytes content = join({fileTypeBox(), movieBox({videoTrack(),
                                                 {3, "clcp", 30000, captionEntry("c608"), 5005},
                                                 {4, "clcp", 30000, captionEntry("c708"), 1001}})});
  for (std::uint32_t f = 0; f < 2; ++f) {
    RunSpec videoRun, pairs, packets;
    Bytes bytes;
    for (std::uint32_t i = f * 5; i < f * 5 + 5; ++i) {
      videoRun.samples.push_back(sampleOf(10, i));
      packets.samples.push_back({box("ccdp", {packet(i)})});
      bytes = join({bytes, u8(i + 1), u8(0x90 + i)});
    }
    pairs.samples = {{box("cdat", {bytes})}};
    TrafSpec video, c608, c708;
    video.runs = {videoRun};
    c608.trackId = 3;
    c608.runs = {pairs};
    c708.trackId = 4;
    c708.runs = {packets};
    video.decodeTime = c608.decodeTime = c708.decodeTime = std::uint64_t{f} * 5005;
    content = join({content, fragment(f + 1, {video, c608, c708})});
  }
  writeFile(folder_.file("captions.mp4"), content);
  const auto expected = frames(folder_.file("captions.mp4"));
  ASSERT_EQ(expected.size(), 11u);
  EXPECT_THAT(expected[1], HasSubstr(",0190,6101"));
  ASSERT_EQ(fmp4({"package", folder_.file("captions.mp4"), "--output", folder_.file("out.mp4")}).exitCode, 0);
  EXPECT_EQ(frames(folder_.file("out.m4v")), expected);
}

TEST_F(Package, ReportsDamagedSources) {
  const auto entire = readFile(source());
  for (const std::size_t size : {std::size_t{0}, std::size_t{100}, entire.size() / 2}) {
    writeFile(folder_.file("cut.mp4"), {entire.begin(), entire.begin() + static_cast<std::ptrdiff_t>(size)});
    const RunResult result =
        fmp4({"--quiet", "package", folder_.file("cut.mp4"), "--output", folder_.file("out.mp4")});
    EXPECT_EQ(result.exitCode, 1) << size;
    EXPECT_THAT(result.err, testing::StartsWith("fmp4: ")) << size;
  }
}

}  // namespace

}  // namespace fmp4
