// What `info` says of a file beside its tracks: groups of pictures, AC-3, creation time, brands, growth.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "tests/audio/bit_writer.h"
#include "tests/support/box_builder.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/fragments.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"
#include "tool/host/ac3_streams.h"
#include "tool/host/file_facts.h"
#include "tool/host/group_lengths.h"

namespace fmp4 {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using Words = std::vector<std::string>;

json factsOf(const std::string& file) {
  return json::parse(fmp4({"--quiet", "info", "--json", file}).out);
}
std::string factLinesOf(const std::string& file) {
  return fmp4({"--quiet", "info", file}).out;
}

// The numbers of the key frames as ffprobe sees them.
std::vector<std::size_t> keyFramesOf(const std::string& file) {
  std::vector<std::size_t> keys;
  const std::vector<Packet> packets = ffprobePackets(file, "v:0");
  for (std::size_t i = 0; i < packets.size(); ++i)
    if (packets[i].key) keys.push_back(i);
  return keys;
}

TEST(InfoFacts, GroupsAreAsLongAsTheKeyFramesAreApart) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(4, "25", "160x96") + h264Codec(25) + fragmented());
  ASSERT_EQ(keyFramesOf(file), (std::vector<std::size_t>{0, 25, 50, 75}));
  EXPECT_EQ(factsOf(file)["gop"], (json{{"usual", 25},
                                        {"shortest", 25},
                                        {"longest", 25},
                                        {"count", 3},
                                        {"examinedSeconds", 4.0},
                                        {"examinedAll", true}}));
  EXPECT_THAT(factLinesOf(file), HasSubstr("\nGOP: 25 frames\n"));
}

TEST(InfoFacts, GroupsOfSeveralLengthsAreSummedUp) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(4, "25", "160x96") + h264Codec(250, 0) +
                      Words{"-force_key_frames", "0,0.4,1.2,2.0,2.2,3.0"} +
                      Words{"-movflags", "+empty_moov+default_base_moof", "-frag_duration", "500000"});
  ASSERT_EQ(keyFramesOf(file), (std::vector<std::size_t>{0, 10, 30, 50, 55, 75}));
  const json gop = factsOf(file)["gop"];
  EXPECT_EQ(gop["shortest"], 5);
  EXPECT_EQ(gop["longest"], 20);
  EXPECT_EQ(gop["usual"], 20);
  EXPECT_EQ(gop["count"], 5);
  EXPECT_THAT(factLinesOf(file), HasSubstr("\nGOP: 5 to 20 frames, mostly 20\n"));
}

TEST(InfoFacts, AFileOfOneGroupHasItsLength) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(1, "25", "160x96") + h264Codec(250, 0) + fragmented());
  const json gop = factsOf(file)["gop"];
  EXPECT_EQ(gop["usual"], 25);
  EXPECT_EQ(gop["count"], 1);
}

TEST(InfoFacts, WithoutVideoThereAreNoGroups) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, toneInput(1) + fragmented("+delay_moov"));
  EXPECT_TRUE(factsOf(file)["gop"].is_null());
  EXPECT_THAT(factLinesOf(file), testing::Not(HasSubstr("GOP")));
}

TEST(InfoFacts, GroupLengthsAreSentences) {
  EXPECT_EQ(groupLengthsText({1, 1, 1, 9, 1, true}), "1 frame");
  EXPECT_EQ(groupLengthsText({12, 250, 100, 9, 300.25, false}),
            "12 to 250 frames, mostly 100 (of the first 00:05:00.250)");
}

// 5.1 with a loudness of its own, and stereo without one: ffmpeg's default is -31 dB.
TEST(InfoFacts, Ac3SaysItsModeAndLoudness) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, toneInput(1) +
                      Words{"-map", "0:a", "-map", "0:a", "-map", "0:a", "-c:a", "ac3", "-ac:a:0", "6",
                            "-dialnorm:a:0", "-27", "-ac:a:1", "2", "-c:a:2", "aac"} +
                      fragmented("+delay_moov"));
  const json tracks = factsOf(file)["tracks"];
  ASSERT_EQ(tracks.size(), 3u);
  EXPECT_EQ(tracks[0]["ac3"],
            (json{{"mode", "3/2"}, {"lfe", true}, {"service", "complete main"}, {"dialnorm", -27}}));
  EXPECT_EQ(tracks[1]["ac3"],
            (json{{"mode", "2/0"}, {"lfe", false}, {"service", "complete main"}, {"dialnorm", -31}}));
  EXPECT_FALSE(tracks[2].contains("ac3"));
  EXPECT_THAT(factLinesOf(file), HasSubstr("; 3/2 with LFE, complete main, dialogue at -27 dB\n"));
}

TEST(InfoFacts, TheLoudnessOfADamagedFirstFrameIsNotKnown) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, toneInput(1) + Words{"-c:a", "ac3", "-ac", "6"} + fragmented("+delay_moov"));
  Bytes bytes = readFile(file);
  bytes[static_cast<std::size_t>(ffprobePackets(file, "a:0", {"-ignore_editlist", "1"})[0].offset)] = 0;
  writeFile(file, bytes);
  EXPECT_EQ(factsOf(file)["tracks"][0]["ac3"],
            (json{{"mode", "3/2"}, {"lfe", true}, {"service", "complete main"}, {"dialnorm", nullptr}}));
  EXPECT_THAT(factLinesOf(file), HasSubstr("; 3/2 with LFE, complete main\n"));
}

// The beginning of a frame (ATSC A/52, 5.3); `levels`: the bits of the mixing levels that the mode has.
Bytes ac3Beginning(unsigned bsid, unsigned bsmod, unsigned acmod, unsigned levels, bool lfe,
                   unsigned dialnorm) {
  BitWriter bits;
  bits.Write(0x0B77, 16);
  bits.Write(0xFFFFFF, 24);  // crc1, fscod, frmsizecod
  bits.Write(bsid, 5);
  bits.Write(bsmod, 3);
  bits.Write(acmod, 3);
  bits.Write(~0u, levels);
  bits.Write(lfe, 1);
  bits.Write(dialnorm, 5);
  Bytes bytes = bits.Bytes();
  bytes.resize(8);
  return bytes;
}

TEST(InfoFacts, Ac3FramesAreReadInEveryMode) {
  const struct {
    unsigned acmod, levels;
    const char* mode;
  } kModes[] = {{0, 0, "1+1"}, {1, 0, "1/0"}, {2, 2, "2/0"}, {3, 2, "3/0"},
                {4, 2, "2/1"}, {5, 4, "3/1"}, {6, 2, "2/2"}, {7, 4, "3/2"}};
  for (const auto& each : kModes) {
    const auto stream = ac3StreamOfFrame(ac3Beginning(8, 0, each.acmod, each.levels, true, 20));
    ASSERT_TRUE(stream) << each.mode;
    EXPECT_EQ(ac3StreamText(*stream),
              std::string(each.mode) + " with LFE, complete main, dialogue at -20 dB");
  }
  const char* const services[] = {
      "complete main", "music and effects", "visually impaired", "hearing impaired",
      "dialogue",      "commentary",        "emergency",         "karaoke"};
  for (unsigned bsmod = 0; bsmod < 8; ++bsmod)
    EXPECT_EQ(ac3StreamOfFrame(ac3Beginning(8, bsmod, 2, 2, false, 1))->service, services[bsmod]);
  EXPECT_EQ(ac3StreamOfFrame(ac3Beginning(8, 7, 1, 0, false, 1))->service, "voice over");
  EXPECT_EQ(ac3StreamOfFrame(ac3Beginning(8, 0, 2, 2, false, 0))->dialnorm, -31) << "reserved";
  EXPECT_FALSE(ac3StreamOfFrame(ac3Beginning(16, 0, 2, 2, false, 1))) << "E-AC-3";
  EXPECT_FALSE(ac3StreamOfFrame(Bytes{0x0B, 0x77, 0, 0, 0, 0, 0}));
  EXPECT_FALSE(ac3StreamOfFrame({}));
}

TEST(InfoFacts, TheCreationTimeIsThatOfTheMovieHeader) {
  const TempFolder folder;
  const std::string dated = folder.file("dated.mp4"), undated = folder.file("undated.mp4");
  makeMedia(dated, videoInput(0.2, "25", "160x96") + h264Codec() +
                       Words{"-metadata", "creation_time=2016-09-21T08:15:30Z"} + fragmented());
  EXPECT_EQ(factsOf(dated)["creationTime"], "2016-09-21T08:15:30Z");
  EXPECT_THAT(factLinesOf(dated), HasSubstr("\ncreated: 2016-09-21 08:15:30 UTC\n"));
  makeMedia(undated, videoInput(0.2, "25", "160x96") + h264Codec() + fragmented());
  EXPECT_FALSE(factsOf(undated).contains("creationTime"));
  EXPECT_THAT(factLinesOf(undated), testing::Not(HasSubstr("created")));
}

TEST(InfoFacts, MovieTimesCountFrom1904) {
  EXPECT_EQ(movieTimeText(0), "");
  EXPECT_EQ(movieTimeText(1), "1904-01-01T00:00:01Z");
  EXPECT_EQ(movieTimeText(2'082'844'800), "1970-01-01T00:00:00Z");
  EXPECT_EQ(movieTimeText(0xFFFFFFFF), "2040-02-06T06:28:15Z");
  EXPECT_EQ(movieTimeText(255'485'145'599), "9999-12-31T23:59:59Z");
  EXPECT_EQ(movieTimeText(255'485'145'600), "");
  EXPECT_EQ(movieTimeText(~std::uint64_t{0}), "");
}

std::string fileWithType(const TempFolder& folder, const Bytes& type) {
  TrafSpec traf;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(10, 1)}}};
  const std::string file = folder.file("clip.mp4");
  writeFile(file, join({type, movieBox({videoTrack()}), fragment(1, {traf})}));
  return file;
}

TEST(InfoFacts, BrandsAreThoseOfTheFileType) {
  const TempFolder folder;
  const std::string file = fileWithType(folder, fileTypeBox());
  EXPECT_EQ(factsOf(file)["brands"],
            (json{{"major", "iso5"}, {"minorVersion", 512}, {"compatible", {"iso5", "dash"}}}));
  EXPECT_THAT(factLinesOf(file), HasSubstr("\nbrands: iso5, compatible with iso5, dash\n"));
  EXPECT_TRUE(factsOf(fileWithType(folder, {}))["brands"].is_null());
  const Bytes many = box("ftyp", {text("isom"), u32(0), repeat(text("iso6"), 1000)});
  EXPECT_EQ(factsOf(fileWithType(folder, many))["brands"]["compatible"].size(), 64u);
}

TEST(InfoFacts, AFileThatIsBeingWrittenGrows) {
  const TempFolder folder;
  const std::string file = fileWithType(folder, fileTypeBox());
  EXPECT_EQ(factsOf(file)["growing"], false);
  const std::ofstream writer(file, std::ios::binary | std::ios::app);
  EXPECT_EQ(factsOf(file)["growing"], true);
  EXPECT_THAT(factLinesOf(file), HasSubstr("\ngrowing: yes, a program is writing the file\n"));
}

TEST(InfoFacts, ARecordingWithoutAnEndMayGrow) {
  const TempFolder folder;
  makeMedia(folder.file("source.mp4"), videoInput(1, "25", "160x96") + h264Codec(25));
  ASSERT_EQ(fmp4({"package", folder.file("source.mp4"), "--output", folder.file("out.mp4")}).exitCode, 0);
  EXPECT_EQ(factsOf(folder.file("out.m4v"))["growing"], false);
  const std::string playlist = folder.file("out.m3u8");
  std::filesystem::resize_file(playlist, std::filesystem::file_size(playlist) - 4);
  for (const char* name : {"out.m4v", "out.mpd"}) {
    EXPECT_TRUE(factsOf(folder.file(name))["growing"].is_null()) << name;
    EXPECT_THAT(factLinesOf(folder.file(name)), HasSubstr("\ngrowing: not known; the playlist has no end"));
  }
}

}  // namespace

}  // namespace fmp4
