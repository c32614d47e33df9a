// What the page is told of media files, against ffprobe.
#include "tool/viewer/media_answers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>

#include "base/user_error.h"
#include "os/path_name.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

using nlohmann::json;
using testing::HasSubstr;

// A folder with files and a program that answers about them.
class MediaAnswer : public testing::Test {
 protected:
  using Parameters = std::multimap<std::string, std::string>;

  void make(const std::string& name, const std::vector<std::string>& arguments) {
    makeMedia(folder_.file(name), arguments);
  }
  DataAnswer ask(const std::string& subject, const std::string& name, const Parameters& parameters = {}) {
    const std::filesystem::path folder = std::filesystem::canonical(folder_.path());
    return answers_.answer({subject, folder / vlPath(name), name, parameters, folder});
  }
  json askJson(const std::string& subject, const std::string& name, const Parameters& parameters = {}) {
    const DataAnswer answer = ask(subject, name, parameters);
    EXPECT_EQ(answer.status, 200) << answer.body;
    EXPECT_EQ(answer.type, "application/json");
    return json::parse(answer.body);
  }
  // The frames of ffprobe in the order in which they are shown.
  std::vector<Packet> shown(const std::string& name) {
    std::vector<Packet> packets = ffprobePackets(folder_.file(name), "v:0");
    std::sort(packets.begin(), packets.end(), [](const Packet& a, const Packet& b) { return a.pts < b.pts; });
    return packets;
  }

  const TempFolder folder_;
  const Plugin plugin_{"vlx_fmp4"};
  const MediaAnswers answers_{plugin_};
};

const std::vector<std::string> kAudioCodec = {"-c:a", "aac", "-ac", "2"};

TEST_F(MediaAnswer, DescribesAFileAsThePluginReadsIt) {
  make("clip.mp4", videoInput(2) + toneInput(2) + h264Codec() + kAudioCodec + fragmented());
  const json told = askJson("describe", "clip.mp4");
  EXPECT_EQ(told["accepted"], true);
  EXPECT_EQ(told["video"],
            json::parse(R"({"width": 320, "height": 180, "rate": 30000, "scale": 1001, "frames": 60})"));
  EXPECT_EQ(told["audio"], json::parse(R"([{"codec": "mp4a", "channels": 2, "sampleRate": 48000}])"));
  EXPECT_NEAR(told["durationSeconds"].get<double>(), 2.002, 1e-6);
  EXPECT_THAT(told["codecs"][0], HasSubstr("avc1."));
  EXPECT_EQ(told["codecs"][1], "mp4a.40.2");
  EXPECT_EQ(told["statesTimes"], true);
  EXPECT_EQ(told["warnings"], json::array());
}

TEST_F(MediaAnswer, GivesTheCommandThatMakesARecordingOfAPlainFile) {
  make("plain.mp4", videoInput(1) + h264Codec());
  const json told = askJson("describe", "plain.mp4");
  EXPECT_EQ(told["accepted"], false);
  EXPECT_EQ(told["code"], "not-fragmented");
  EXPECT_THAT(told["command"].get<std::string>(), HasSubstr("fmp4 package '"));
  EXPECT_THAT(told["command"].get<std::string>(), HasSubstr("plain-recording.mp4'"));
  EXPECT_THAT(told["why"].get<std::string>(), HasSubstr("'plain.mp4'"));
  EXPECT_THAT(told["why"].get<std::string>(), testing::Not(HasSubstr(folder_.path().filename().string())));
}

TEST_F(MediaAnswer, SaysWhyAFileIsNotRead) {
  std::ofstream(folder_.path() / "text.mp4") << "no boxes at all";
  const json told = askJson("describe", "text.mp4");
  EXPECT_EQ(told["accepted"], false);
  EXPECT_EQ(told["code"], "not-mp4");
}

TEST_F(MediaAnswer, DescribesAFileAnewWhenItHasChanged) {
  std::ofstream(folder_.path() / "clip.mp4") << "no boxes at all";
  EXPECT_EQ(askJson("describe", "clip.mp4")["accepted"], false);
  make("made.mp4", videoInput(1) + h264Codec() + fragmented());
  std::filesystem::remove(folder_.path() / "clip.mp4");
  std::filesystem::rename(folder_.path() / "made.mp4", folder_.path() / "clip.mp4");
  EXPECT_EQ(askJson("describe", "clip.mp4")["accepted"], true);
}

TEST_F(MediaAnswer, NamesTracksThatAreNotReadAndTheirCodecs) {
  make("mixed.mp4", videoInput(1) + toneInput(1) + h264Codec() +
                        std::vector<std::string>{"-c:a", "flac", "-strict", "-2"} + fragmented());
  const json told = askJson("describe", "mixed.mp4");
  EXPECT_EQ(told["accepted"], true);
  EXPECT_EQ(told["codecs"][1], "flac");
  ASSERT_EQ(told["warnings"].size(), 1u);
  EXPECT_THAT(told["warnings"][0].get<std::string>(), HasSubstr("it is not read"));
}

TEST_F(MediaAnswer, GivesTheCodecsParameterOfHevc) {
  make("hevc.mp4", videoInput(1) + hevcCodec() + fragmented());
  // Main profile, compatible with Main and Main 10; main tier, level 2; progressive, frames only.
  EXPECT_EQ(askJson("describe", "hevc.mp4")["codecs"][0], "hvc1.1.6.L60.90");
}

TEST_F(MediaAnswer, NumbersFramesInTheOrderOfPresentation) {
  make("clip.mp4", videoInput(4) + h264Codec(30, 2) + fragmented());
  const std::vector<Packet> expected = shown("clip.mp4");
  const json all = askJson("frames", "clip.mp4");
  EXPECT_EQ(all["frames"], 120);
  EXPECT_EQ(all["from"], 0);
  ASSERT_EQ(all["ticks"].size(), expected.size());
  const double timescale = all["timescale"];
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(all["ticks"][i].get<std::int64_t>(), expected[i].pts) << i;
    EXPECT_DOUBLE_EQ(all["seconds"][i].get<double>(), static_cast<double>(expected[i].pts) / timescale) << i;
    EXPECT_EQ(all["keys"][i], expected[i].key ? 1 : 0) << i;
  }
  // As the plug-in delivers them: I, P, B, B.
  EXPECT_EQ(all["delivered"][0], 0);
  EXPECT_EQ(all["delivered"][3], 1);
}

// Each fragment has one frame, so that frames are shown in another order than their fragments.
TEST_F(MediaAnswer, PartOfTheFramesIsThatOfAllAcrossFragments) {
  make("clip.mp4", videoInput(4) + h264Codec(30, 2) +
                       std::vector<std::string>{"-movflags", "+frag_every_frame+empty_moov+delay_moov"});
  const json all = askJson("frames", "clip.mp4");
  for (const std::uint32_t from : {0u, 1u, 40u, 59u, 117u, 119u, 120u, 4000u}) {
    const json part = askJson("frames", "clip.mp4", {{"from", std::to_string(from)}, {"count", "7"}});
    const std::size_t count = from < 120 ? std::min(7u, 120 - from) : 0;
    ASSERT_EQ(part["ticks"].size(), count) << from;
    for (std::size_t i = 0; i < count; ++i)
      for (const char* key : {"ticks", "seconds", "delivered", "keys"})
        EXPECT_EQ(part[key][i], all[key][from + i]) << from << ' ' << key;
  }
}

TEST_F(MediaAnswer, TimesOfFramesFollowTheEditList) {
  make("clip.mp4", videoInput(2) + h264Codec(30, 2) + fragmented("+delay_moov"));
  const json frames = askJson("frames", "clip.mp4");
  EXPECT_EQ(frames["seconds"][0], 0);
  EXPECT_GT(frames["ticks"][0].get<int>(), 0);
}

TEST_F(MediaAnswer, FindsTheFragmentAtATime) {
  make("clip.mp4", videoInput(4) + h264Codec(30, 0) + fragmented());
  EXPECT_EQ(askJson("frames", "clip.mp4", {{"at", "2.5"}, {"count", "1"}})["from"], 60);
  EXPECT_EQ(askJson("frames", "clip.mp4", {{"at", "0"}, {"count", "1"}})["from"], 0);
  EXPECT_EQ(askJson("frames", "clip.mp4", {{"at", "1000"}, {"count", "1"}})["from"], 90);
}

TEST_F(MediaAnswer, HostileParametersAreRefusedWithASentence) {
  make("clip.mp4", videoInput(1) + h264Codec() + fragmented());
  for (const Parameters& parameters :
       {Parameters{{"from", "-1"}}, Parameters{{"from", "x"}}, Parameters{{"from", ""}},
        Parameters{{"from", "4294967296"}}, Parameters{{"from", "99999999999999999999"}},
        Parameters{{"count", "1001"}}, Parameters{{"at", "nan"}}, Parameters{{"at", "-1"}},
        Parameters{{"at", "1e999"}}, Parameters{{"at", "1"}, {"from", "1"}},
        Parameters{{"from", "1"}, {"from", "2"}}}) {
    const DataAnswer answer = ask("frames", "clip.mp4", parameters);
    EXPECT_EQ(answer.status, 400) << answer.body;
    EXPECT_THAT(answer.body, HasSubstr("'"));
  }
  EXPECT_EQ(ask("segment", "clip.mp4").status, 400);
  EXPECT_EQ(ask("segment", "clip.mp4", {{"start", "9"}, {"end", "9"}}).status, 400);
  EXPECT_EQ(ask("segment", "clip.mp4", {{"start", "0"}, {"end", "9223372036854775807"}}).status, 400);
  EXPECT_EQ(ask("segment", "clip.mp4", {{"start", "0"}, {"end", "99999999"}}).status, 400);
  EXPECT_EQ(ask("nothing", "clip.mp4").status, 404);
}

TEST_F(MediaAnswer, ManifestThatLeadsOutOfTheFolderIsRefused) {
  const TempFolder outside;
  makeMedia(outside.path() / "secret.mp4", videoInput(1) + h264Codec() + fragmented());
  std::ofstream(folder_.path() / "way.mpd")
      << "<MPD><Period><AdaptationSet mimeType=\"video/mp4\"><Representation><BaseURL>../"
      << outside.path().filename().string()
      << "/secret.mp4</BaseURL></Representation></AdaptationSet></Period></MPD>";
  for (const char* subject : {"describe", "frames", "playlist", "captions", "boxes"})
    EXPECT_THROW(ask(subject, "way.mpd"), UserError) << subject;
}

// The segments of a playlist: durations in seconds and what follows each.
struct Listed {
  std::vector<std::string> durations;
  std::vector<std::string> addresses;
};
Listed segmentsIn(const std::string& playlist) {
  Listed listed;
  for (const std::string& line : linesOf(playlist)) {
    if (line.starts_with("#EXTINF:")) listed.durations.push_back(line.substr(8));
    if (!line.starts_with("#")) listed.addresses.push_back(line);
  }
  return listed;
}

TEST_F(MediaAnswer, MakesAPlaylistOfFragmentsFromKeyFrameToKeyFrame) {
  make("a b.mp4", videoInput(10, "25") + toneInput(10) + h264Codec(50) + kAudioCodec + fragmented());
  const DataAnswer answer = ask("playlist", "a b.mp4");
  EXPECT_EQ(answer.type, "application/vnd.apple.mpegurl");
  const Listed listed = segmentsIn(answer.body);
  EXPECT_THAT(listed.durations, testing::ElementsAre("4.000,", "4.000,", "2.000,"));
  EXPECT_EQ(listed.addresses, std::vector<std::string>(3, "/media/a%20b.mp4"));
  EXPECT_THAT(answer.body, HasSubstr("#EXT-X-TARGETDURATION:4\n"));
  EXPECT_THAT(answer.body, HasSubstr("#EXT-X-INDEPENDENT-SEGMENTS\n"));
  // ffmpeg reads the same frames by the playlist, which it finds beside the file.
  std::filesystem::create_directory(folder_.path() / "media");
  std::filesystem::rename(folder_.path() / "a b.mp4", folder_.path() / "media" / "a b.mp4");
  std::string local = answer.body;
  for (std::size_t at; (at = local.find("/media/a%20b.mp4")) != local.npos;)
    local.replace(at, 16, "media/a b.mp4");
  std::ofstream(folder_.path() / "list.m3u8") << local;
  const std::vector<Packet> expected = ffprobePackets(folder_.path() / "media" / "a b.mp4", "v:0");
  const std::vector<Packet> read =
      ffprobePackets(folder_.path() / "list.m3u8", "v:0", {"-allowed_extensions", "ALL"});
  ASSERT_EQ(read.size(), expected.size());
  for (std::size_t i = 0; i < read.size(); ++i) EXPECT_EQ(read[i].crc32, expected[i].crc32) << i;
}

// ffmpeg's default: the places of the data are given in the file.
TEST_F(MediaAnswer, SegmentsThatPlayersRefuseAreMadeSuchThatTheyStandAlone) {
  make("clip.mp4", videoInput(10, "25") + toneInput(10) + h264Codec(50) + kAudioCodec +
                       std::vector<std::string>{"-movflags", "+frag_keyframe+empty_moov"});
  const std::string playlist = ask("playlist", "clip.mp4").body;
  const Listed listed = segmentsIn(playlist);
  ASSERT_EQ(listed.addresses.size(), 3u);
  const std::vector<std::uint8_t> whole = readFile(folder_.path() / "clip.mp4");
  const std::size_t map = std::stoul(playlist.substr(playlist.find("BYTERANGE=\"") + 11));
  const std::vector<Packet> expected = ffprobePackets(folder_.path() / "clip.mp4", "v:0");
  std::size_t next = 0;
  for (const std::string& address : listed.addresses) {
    ASSERT_TRUE(address.starts_with("/data/segment/clip.mp4?start="));
    const std::string start = address.substr(29, address.find('&') - 29),
                      end = address.substr(address.rfind('=') + 1);
    const DataAnswer segment = ask("segment", "clip.mp4", {{"start", start}, {"end", end}});
    EXPECT_EQ(segment.type, "video/mp4");
    std::vector<std::uint8_t> alone(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(map));
    alone.insert(alone.end(), segment.body.begin(), segment.body.end());
    writeFile(folder_.path() / "alone.mp4", alone);
    for (const Packet& packet : ffprobePackets(folder_.path() / "alone.mp4", "v:0")) {
      ASSERT_LT(next, expected.size());
      EXPECT_EQ(packet.crc32, expected[next].crc32) << next;
      EXPECT_EQ(packet.pts, expected[next].pts) << next;
      ++next;
    }
  }
  EXPECT_EQ(next, expected.size());
}

TEST_F(MediaAnswer, FragmentsWithoutTimesMakeNoPlaylist) {
  make("smooth.mp4", videoInput(2) + h264Codec(30, 0) + std::vector<std::string>{"-f", "ismv"});
  EXPECT_EQ(askJson("describe", "smooth.mp4")["statesTimes"], false);
  EXPECT_THROW(ask("playlist", "smooth.mp4"), UserError);
  // Their frames follow each other.
  EXPECT_EQ(askJson("frames", "smooth.mp4")["ticks"].size(), 60u);
}

TEST_F(MediaAnswer, FragmentThatIsBeingWrittenIsLeftOut) {
  make("clip.mp4", videoInput(4) + h264Codec(30, 0) + fragmented());
  std::filesystem::resize_file(folder_.path() / "clip.mp4",
                               std::filesystem::file_size(folder_.path() / "clip.mp4") - 2000);
  EXPECT_EQ(askJson("frames", "clip.mp4")["frames"], 90);
  EXPECT_EQ(segmentsIn(ask("playlist", "clip.mp4").body).durations, std::vector<std::string>{"3.003,"});
}

}  // namespace

}  // namespace fmp4
