#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/box_builder.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/fragments.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"
#include "tool/export/wave_header.h"

namespace fmp4 {

namespace {

TEST(Export, H264DecodesToTheSourceFrames) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4"), stream = folder.file("clip.h264");
  makeMedia(file, videoInput(2) + h264Codec(15, 3) + fragmented());
  const RunResult result = fmp4({"--quiet", "export", file, "--video", stream});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.err, "");
  const std::vector<std::string> expected = frameHashes(file);
  EXPECT_EQ(expected.size(), 60u);
  EXPECT_EQ(frameHashes(stream), expected);
}

TEST(Export, HevcDecodesToTheSourceFrames) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4"), stream = folder.file("clip.hevc");
  makeMedia(file, videoInput(2) + hevcCodec(15) + fragmented());
  const RunResult result = fmp4({"export", file, "--video", stream});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const std::vector<std::string> expected = frameHashes(file);
  EXPECT_EQ(expected.size(), 60u);
  EXPECT_EQ(frameHashes(stream), expected);
}

TEST(Export, DecodesFromEveryKeyFrame) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4"), stream = folder.file("clip.h264");
  makeMedia(file, videoInput(2) + h264Codec(15, 0) + fragmented());
  const RunResult result = fmp4({"export", file, "--video", stream, "--from", "30", "--count", "15"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const std::vector<std::string> all = frameHashes(file);
  ASSERT_EQ(all.size(), 60u);
  EXPECT_EQ(frameHashes(stream), std::vector<std::string>(all.begin() + 30, all.begin() + 45));
}

TEST(Export, BeginsAtTheKeyFrameBeforeAndSaysSo) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4"), stream = folder.file("clip.h264");
  makeMedia(file, videoInput(2) + h264Codec(15, 0) + fragmented());
  const RunResult result =
      fmp4({"--quiet", "export", file, "--video", stream, "--from", "00:00:01.301", "--count", "3"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.err,
            "fmp4: the video begins at frame 30, the key frame before frame 39, which takes 9 more frames\n");
  const std::vector<std::string> all = frameHashes(file);
  EXPECT_EQ(frameHashes(stream), std::vector<std::string>(all.begin() + 30, all.begin() + 42));

  const RunResult exact = fmp4({"--quiet", "export", file, "--video", folder.file("exact.h264"), "--from",
                                "39", "--count", "3", "--exact"});
  EXPECT_EQ(exact.exitCode, 1);
  EXPECT_EQ(exact.err,
            "fmp4: frame 39 of '" + file +
                "' is not a key frame and cannot be decoded without those before it; give --from 30, "
                "or leave --exact out to export from there\n");
  EXPECT_FALSE(std::filesystem::exists(folder.file("exact.h264")));
}

TEST(Export, EndsBeforeThePlaceGivenByTo) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(1) + h264Codec(15, 0) + fragmented());
  const auto rows = [&file](const std::vector<std::string>& selection) {
    return linesOf(fmp4(std::vector<std::string>{"--quiet", "frames", file} + selection).out);
  };
  const std::vector<std::string> all = rows({});
  ASSERT_EQ(all.size(), 31u);
  std::vector<std::string> expected = {all[0]};
  expected.insert(expected.end(), all.begin() + 11, all.begin() + 21);
  EXPECT_EQ(rows({"--from", "10", "--to", "00:00:00:20"}), expected);
  EXPECT_EQ(rows({"--from", "10", "--count", "0.334"}), expected);

  const RunResult nothing = fmp4({"--quiet", "frames", file, "--from", "10", "--to", "10"});
  EXPECT_EQ(nothing.exitCode, 1);
  EXPECT_EQ(nothing.err,
            "fmp4: no frame is selected: --to is frame 10, which is not taken, and --from frame 10\n");
}

TEST(Export, ReplacesAFileWithForceAlone) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4"), stream = folder.file("clip.h264");
  makeMedia(file, videoInput(0.2) + h264Codec() + fragmented());
  writeFile(stream, Bytes{1, 2, 3});
  const RunResult refused = fmp4({"--quiet", "export", file, "--video", stream});
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_EQ(refused.err,
            "fmp4: '" + stream + "' exists; --force replaces it, or give another name for the output\n");
  EXPECT_EQ(readFile(stream), (Bytes{1, 2, 3}));
  EXPECT_EQ(fmp4({"--quiet", "export", file, "--video", stream, "--force"}).exitCode, 0);
  EXPECT_GT(readFile(stream).size(), 3u);
}

TEST(Export, RefusesOneFileForTwoOutputs) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4"), output = folder.file("same");
  makeMedia(file, videoInput(0.2) + toneInput(0.2) + h264Codec() + fragmented());
  const RunResult result =
      fmp4({"--quiet", "export", file, "--video", output, "--audio", folder.file("./same")});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err,
            "fmp4: '" + folder.file("./same") + "' is named for two outputs; give each a name of its own\n");
  EXPECT_FALSE(std::filesystem::exists(output));
}

TEST(Export, KeepsTheSourceWhenNamedAsOutput) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(0.2) + h264Codec() + fragmented());
  const Bytes before = readFile(file);
  const RunResult result = fmp4({"--quiet", "export", file, "--video", file});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err,
            "fmp4: '" + file + "' is the file to be exported; give another name for the output\n");
  EXPECT_EQ(readFile(file), before);
}

TEST(Export, ReportsAnOutputThatCannotBeCreated) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4"), output = folder.file("missing/clip.h264");
  makeMedia(file, videoInput(0.2) + h264Codec() + fragmented());
  const RunResult result = fmp4({"--quiet", "export", file, "--video", output});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "fmp4: '" + output + "' cannot be created; check the folder and its permissions\n");
}

// A NAL unit length in frame 20 that exceeds the frame.
TEST(Export, ReportsADamagedFrameAndRemovesThePartialFile) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4"), stream = folder.file("clip.h264");
  makeMedia(file, videoInput(1) + h264Codec() + fragmented());
  Bytes bytes = readFile(file);
  bytes[static_cast<std::size_t>(ffprobePackets(file, "v:0")[20].offset)] = 0x7F;
  writeFile(file, bytes);
  const RunResult result = fmp4({"--quiet", "export", file, "--video", stream});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "fmp4: frame 20 of '" + file +
                            "' is damaged: a length in it reaches past its end; export the frames around it "
                            "with --from and --count; the partial '" +
                            stream + "' has been removed\n");
  EXPECT_FALSE(std::filesystem::exists(stream));
}

// The captions of a two-frame file with both kinds, as stored on disk.
std::string captionedFile(const TempFolder& folder) {
  TrafSpec video, pairs, packets;
  video.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(10, 1), sampleOf(10, 2)}}};
  pairs.trackId = 3;
  pairs.runs = {RunSpec{kRunDataOffset | kRunSize | kRunDuration,
                        {SampleSpec{box("cdat", {u16(0x9420), u16(0x8080)}), 2002}}}};
  packets.trackId = 4;
  const Bytes packet = {0x96, 0x69, 5, 1, 2};
  packets.runs = {
      RunSpec{kRunDataOffset | kRunSize, {SampleSpec{box("ccdp", {packet})}, SampleSpec{u32(8)}}}};
  const std::vector<TrackSpec> tracks = {videoTrack(),
                                         {3, "clcp", 30000, captionEntry("c608"), 1001},
                                         {4, "clcp", 30000, captionEntry("c708"), 1001}};
  const std::string path = folder.file("clip.mp4");
  writeFile(path, join({fileTypeBox(), movieBox(tracks), fragment(1, {video, pairs, packets})}));
  return path;
}

TEST(Export, CaptionsAreOneJsonLinePerFrame) {
  const TempFolder folder;
  const std::string file = captionedFile(folder), output = folder.file("captions.json");
  const RunResult result = fmp4({"export", file, "--captions", output});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const Bytes bytes = readFile(output);
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()),
            "{\"frame\": 0, \"cc608\": \"9420\", \"cc708\": \"6101059669050102\"}\n"
            "{\"frame\": 1, \"cc608\": \"8080\", \"cc708\": \"\"}\n");
}

TEST(Export, FramesShowTheSameCaptions) {
  const TempFolder folder;
  const RunResult result = fmp4({"frames", captionedFile(folder)});
  const std::vector<std::string> lines = linesOf(result.out);
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_THAT(lines[1], testing::HasSubstr(",9420,6101059669050102,00:00:00.000,"));
  EXPECT_THAT(lines[2], testing::HasSubstr(",8080,,00:00:00.033,"));
}

TEST(Export, AudioIsAWaveFileOfTheCompleteTrack) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4"), output = folder.file("audio.wav");
  makeMedia(file, videoInput(2, "25") + toneInput(2.048) + h264Codec(25, 0) +
                      std::vector<std::string>{"-ac", "2", "-c:a", "aac"} + fragmented());
  const RunResult result = fmp4({"--quiet", "export", file, "--audio", output});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(ffprobeStreamEntry(output, "a:0", "codec_name"), "pcm_s16le");
  EXPECT_EQ(ffprobeStreamEntry(output, "a:0", "sample_rate"), "48000");
  EXPECT_EQ(ffprobeStreamEntry(output, "a:0", "channels"), "2");
  // The encoder's priming also comes before the first frame, whose time is in coarser ticks.
  const auto units = ffprobePackets(file, "a:0", {"-ignore_editlist", "1"}).size();
  EXPECT_NEAR(std::stoi(ffprobeStreamEntry(output, "a:0", "duration_ts")), static_cast<int>(units - 1) * 1024,
              4);
}

TEST(Export, SixChannelAc3IsAStereoWaveFile) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4"), output = folder.file("audio.wav");
  makeMedia(file, videoInput(2, "25") + toneInput(2.048) + h264Codec(25, 0) +
                      std::vector<std::string>{"-ac", "6", "-c:a", "ac3"} + fragmented("+delay_moov"));
  ASSERT_EQ(ffprobeStreamEntry(file, "a:0", "channels"), "6");
  const RunResult result = fmp4({"--quiet", "export", file, "--audio", output});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(ffprobeStreamEntry(output, "a:0", "codec_name"), "pcm_s16le");
  EXPECT_EQ(ffprobeStreamEntry(output, "a:0", "sample_rate"), "48000");
  EXPECT_EQ(ffprobeStreamEntry(output, "a:0", "channels"), "2");
  EXPECT_EQ(ffprobeStreamEntry(output, "a:0", "duration_ts"),
            std::to_string(ffprobePackets(file, "a:0", {"-ignore_editlist", "1"}).size() * 1536 - 256));
}

TEST(Export, SelectedFramesSelectTheirAudio) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4"), entire = folder.file("all.wav"),
                    part = folder.file("part.wav");
  makeMedia(file,
            videoInput(2, "25") + toneInput(2.048) + h264Codec(25, 0) +
                std::vector<std::string>{"-ac", "2", "-c:a", "aac", "-movflags", "delay_moov+frag_keyframe"});
  ASSERT_EQ(fmp4({"export", file, "--audio", entire}).exitCode, 0);
  ASSERT_EQ(fmp4({"export", file, "--audio", part, "--from", "10", "--count", "5"}).exitCode, 0);
  const std::size_t header = waveHeader({48000, 2, 16}, 0).size();
  const Bytes all = readFile(entire), some = readFile(part);
  ASSERT_EQ(some.size(), header + 5 * 1920 * 4);
  EXPECT_TRUE(std::equal(some.begin() + static_cast<std::ptrdiff_t>(header), some.end(),
                         all.begin() + static_cast<std::ptrdiff_t>(header + 10 * 1920 * 4)));
}

// The product of frames, ticks and samples exceeds 64 bits.
TEST(Export, AudioEndsBeforeAnyLaterFrame) {
  const TempFolder folder;
  makeMedia(folder.file("clip.mp4"),
            videoInput(1, "25") + toneInput(1) + h264Codec(25, 0) +
                std::vector<std::string>{"-c:a", "aac", "-video_track_timescale", "10000000", "-movflags",
                                         "frag_keyframe+empty_moov+default_base_moof"});
  const RunResult result = fmp4({"--quiet", "export", folder.file("clip.mp4"), "--audio",
                                 folder.file("out.wav"), "--from", "960767921"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, testing::HasSubstr("ends before frame 960767921"));
}

TEST(Export, ReportsMissingStreams) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4"), output = folder.file("out");
  makeMedia(file, videoInput(0.2) + h264Codec() + fragmented());
  EXPECT_EQ(fmp4({"--quiet", "export", file, "--audio", output}).err,
            "fmp4: '" + file + "' has no audio; 'fmp4 info' shows what it has\n");
  EXPECT_EQ(fmp4({"--quiet", "export", file, "--captions", output}).err,
            "fmp4: '" + file + "' has no caption track; 'fmp4 info' shows what it has\n");
  EXPECT_FALSE(std::filesystem::exists(output));
}

}  // namespace

}  // namespace fmp4
