#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "base/text.h"
#include "tests/support/box_builder.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/fragments.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

using testing::Each;
using testing::HasSubstr;

constexpr char kHeader[] = "frame,size,key,compositionOffset,crc32,cc608,cc708,decodeTime,presentationTime";

// Two seconds with two key frames.
std::string makeClip(const TempFolder& folder) {
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(2) + h264Codec(30) + fragmented());
  return file;
}

// The expected listing of the frames of `file`, which has no edit list, from ffprobe. Offsets are in
// thousandths of a tick.
std::vector<std::string> expectedRows(const std::string& file) {
  const double timescale = std::stod(ffprobeStreamEntry(file, "v:0", "time_base").substr(2));
  const auto clock = [timescale](std::int64_t ticks) {
    return clockText(static_cast<double>(ticks) / timescale);
  };
  std::vector<std::string> rows;
  for (const Packet& packet : ffprobePackets(file, "v:0")) {
    std::ostringstream row;
    row << rows.size() << ',' << packet.size << ',' << packet.key << ',' << (packet.pts - packet.dts) / 1000
        << ',' << packet.crc32 << ",,," << clock(packet.dts) << ',' << clock(packet.pts);
    rows.push_back(row.str());
  }
  return rows;
}

TEST(Frames, MatchFfprobe) {
  const TempFolder folder;
  const std::string file = makeClip(folder);
  const RunResult result = fmp4({"--quiet", "frames", file});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.err, "");
  std::vector<std::string> lines = linesOf(result.out);
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines[0], kHeader);
  lines.erase(lines.begin());
  EXPECT_EQ(lines.size(), 60u);
  EXPECT_EQ(lines, expectedRows(file));
}

TEST(Frames, AreTheSameInShuffledOrder) {
  const TempFolder folder;
  const std::string file = makeClip(folder);
  const RunResult inOrder = fmp4({"frames", file});
  ASSERT_EQ(inOrder.exitCode, 0) << inOrder.err;
  for (const char* seed : {"0", "1", "18446744073709551615"}) {
    const RunResult shuffled = fmp4({"frames", file, "--random", seed});
    EXPECT_EQ(shuffled.exitCode, 0) << shuffled.err;
    EXPECT_EQ(shuffled.out, inOrder.out) << "seed " << seed;
  }
}

TEST(Frames, FromAndCountSelect) {
  const TempFolder folder;
  const std::string file = makeClip(folder);
  const std::vector<std::string> rows = expectedRows(file);
  EXPECT_EQ(linesOf(fmp4({"frames", file, "--from", "29", "--count", "3"}).out),
            (std::vector<std::string>{kHeader, rows[29], rows[30], rows[31]}));
  EXPECT_EQ(linesOf(fmp4({"frames", file, "--from", "58", "--count", "1000"}).out),
            (std::vector<std::string>{kHeader, rows[58], rows[59]}));
  EXPECT_EQ(linesOf(fmp4({"frames", file, "--from", "57", "--random", "7"}).out),
            (std::vector<std::string>{kHeader, rows[57], rows[58], rows[59]}));
}

TEST(Frames, PastTheEndFail) {
  const TempFolder folder;
  const std::string file = makeClip(folder);
  const RunResult result = fmp4({"--quiet", "frames", file, "--from", "60"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "fmp4: '" + file + "' has 60 frames, counted from 0; there is no frame 60\n");
}

TEST(Frames, JsonHasTheColumns) {
  const TempFolder folder;
  const std::string file = makeClip(folder);
  const Packet first = ffprobePackets(file, "v:0")[0];
  const RunResult result = fmp4({"frames", "--json", file});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const auto frames = nlohmann::json::parse(result.out);
  ASSERT_EQ(frames.size(), 60u);
  EXPECT_EQ(frames[0], (nlohmann::json{{"frame", 0},
                                       {"size", first.size},
                                       {"key", 1},
                                       {"compositionOffset", (first.pts - first.dts) / 1000},
                                       {"crc32", first.crc32},
                                       {"cc608", ""},
                                       {"cc708", ""},
                                       {"timescale", 30000},
                                       {"decodeTicks", 0},
                                       {"compositionTicks", 2002},
                                       {"decodeSeconds", 0.0},
                                       {"presentationSeconds", 2002 / 30000.0}}));
  EXPECT_EQ(frames[59]["frame"], 59);
  EXPECT_EQ(frames[59]["key"], 0);
}

// ffprobe applies the edit list too, to decode times as well.
TEST(Frames, TimesFollowTheEditList) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(1, "25", "160x96") + toneInput(2) + h264Codec(25) +
                      std::vector<std::string>{"-c:a", "aac", "-ac", "2"} + fragmented("+delay_moov"));
  const std::vector<Packet> packets = ffprobePackets(file, "v:0");
  const auto frames = nlohmann::json::parse(fmp4({"--quiet", "frames", "--json", file}).out);
  ASSERT_EQ(frames.size(), packets.size());
  const double timescale = frames[0]["timescale"];
  EXPECT_EQ(packets[0].pts, 0);
  EXPECT_EQ(packets[0].dts, -1024) << "the edit list leaves out the delay of the first frame";
  for (std::size_t i = 0; i < packets.size(); ++i) {
    EXPECT_DOUBLE_EQ(frames[i]["presentationSeconds"], static_cast<double>(packets[i].pts) / timescale) << i;
    EXPECT_EQ(frames[i]["decodeTicks"], packets[i].dts - packets[0].dts) << i;
    EXPECT_EQ(frames[i]["compositionTicks"], packets[i].pts - packets[0].dts) << i;
  }
}

// The frames of the movie box are no frames to the plug-in.
TEST(Frames, TimesAreThoseOfTheFramesInFragments) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(2, "25", "160x96") + h264Codec(10, 0) +
                      std::vector<std::string>{"-movflags", "frag_keyframe"});
  const auto lines = linesOf(fmp4({"--quiet", "frames", file}).out);
  ASSERT_EQ(lines.size(), 41u);
  EXPECT_THAT(lines[1], testing::EndsWith(",00:00:00.400,00:00:00.400"));
  EXPECT_THAT(lines[40], testing::EndsWith(",00:00:01.960,00:00:01.960"));
}

// The plug-in orders fragments by their sequence numbers.
TEST(Frames, OfFragmentsOutOfOrderHaveNoTimes) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  TrafSpec late, early, last;
  late.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, 1)}}};
  early.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(7, 1)}}};
  last.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(9, 1)}}};
  late.decodeTime = 512;
  last.decodeTime = 1024;
  writeFile(file, join({fileTypeBox(), movieBox({videoTrack()}), fragment(2, {late}), fragment(1, {early}),
                        fragment(3, {last})}));
  const auto frames = nlohmann::json::parse(fmp4({"--quiet", "frames", "--json", file}).out);
  ASSERT_EQ(frames.size(), 3u);
  EXPECT_EQ(frames[0]["size"], 7);
  EXPECT_TRUE(frames[0]["presentationSeconds"].is_null());
  EXPECT_EQ(frames[2]["decodeTicks"], 1024);
  EXPECT_THAT(linesOf(fmp4({"--quiet", "frames", file}).out)[1], testing::EndsWith(",,,,"));
}

TEST(Frames, OfAudioOnlyFilesFail) {
  const TempFolder folder;
  const std::string file = folder.file("audio.m4a");
  makeMedia(
      folder.file("audio.mp4"),
      toneInput(1) + std::vector<std::string>{"-c:a", "aac", "-frag_duration", "500000"} + fragmented());
  std::filesystem::rename(folder.file("audio.mp4"), file);
  const RunResult result = fmp4({"--quiet", "frames", file});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "fmp4: '" + file + "' has no video stream; 'fmp4 info' shows what it has\n");
}

TEST(Frames, TruncatedFileGivesItsFramesUpToTheCut) {
  const TempFolder folder;
  const std::string file = makeClip(folder);
  const std::vector<Packet> packets = ffprobePackets(file, "v:0");
  std::filesystem::resize_file(file, static_cast<std::uintmax_t>(packets[40].offset));
  const RunResult result = fmp4({"frames", file});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(linesOf(result.out).size(), 41u);  // the header and frames 0 to 39
  EXPECT_THAT(result.err,
              HasSubstr("fmp4: frame 40 of '" + file + "' could not be read (status 0xFFFFFFFF)"));
}

}  // namespace

}  // namespace fmp4
