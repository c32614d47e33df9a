#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/support/box_builder.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/fragments.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

using nlohmann::json;

const Bytes kAvcC = text("avcC");

// The duration of a stream in ticks. ffprobe reads decode times from the file, but assumes that an AAC packet
// lasts 1024 PCM frames: the tones here fill their last packet.
std::int64_t lengthOf(const std::vector<Packet>& packets) {
  return packets.back().dts + packets.back().duration - packets.front().dts;
}

TEST(Info, JsonDescribesVideoAndAudio) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(2, "30000/1001", "320x180") + toneInput(2.048) + h264Codec() +
                      std::vector<std::string>{"-c:a", "aac", "-ac", "2"} + fragmented());
  const RunResult result = fmp4({"--quiet", "info", "--json", file});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.err, "");
  json info = json::parse(result.out);

  // The configuration is the box as stored in the file, header included: a size, then "avcC".
  const Bytes bytes = readFile(file);
  const auto type = std::search(bytes.begin(), bytes.end(), kAvcC.begin(), kAvcC.end());
  ASSERT_NE(type, bytes.end());
  EXPECT_EQ(info["video"]["codecConfigurationBytes"], type[-1]);
  info["video"].erase("codecConfigurationBytes");
  for (const char* other : {"gop", "brands", "growing", "tracks"}) EXPECT_EQ(info.erase(other), 1u) << other;

  const std::int64_t samples = lengthOf(ffprobePackets(file, "a:0"));
  EXPECT_EQ(info, (json{{"file", file},
                        {"video",
                         {{"codec", "avc1"},
                          {"width", 320},
                          {"height", 180},
                          {"rate", 30000},
                          {"scale", 1001},
                          {"frames", 60}}},
                        {"audio",
                         {{{"codec", "mp4a"},
                           {"channels", 2},
                           {"sampleRate", 48000},
                           {"bitsPerSample", 16},
                           {"samples", samples}}}},
                        {"captions608", false},
                        {"captions708", false},
                        {"durationSeconds", 60 * 1001 / 30000.0},
                        {"durationTicks", 60 * 1001},
                        {"timescale", 30000},
                        {"otherTracks", json::array()}}));
}

TEST(Info, Ac3IsDescribedAsItIsDelivered) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file,
            toneInput(2) + std::vector<std::string>{"-ac", "6", "-c:a", "ac3"} + fragmented("+delay_moov"));
  const json info = json::parse(fmp4({"--quiet", "info", "--json", file}).out);
  EXPECT_EQ(info["audio"], (json{{{"codec", "ac-3"},
                                  {"channels", 2},
                                  {"sampleRate", 48000},
                                  {"bitsPerSample", 16},
                                  {"samples", 63 * 1536}}}));
}

// A pair of files is one recording, whichever of its names is given.
TEST(Info, ARecordingOfTwoFilesIsDescribedWithItsAudio) {
  const TempFolder folder;
  makeMedia(folder.file("source.mp4"), videoInput(2, "25", "160x96") + toneInput(2.048) + h264Codec(25) +
                                           std::vector<std::string>{"-c:a", "aac", "-ac", "2"});
  ASSERT_EQ(fmp4({"package", folder.file("source.mp4"), "--output", folder.file("out.mp4")}).exitCode, 0);
  const json audio = {{{"codec", "mp4a"},
                       {"channels", 2},
                       {"sampleRate", 48000},
                       {"bitsPerSample", 16},
                       {"samples", ffprobePackets(folder.file("out.m4a"), "a:0").size() * 1024}}};
  for (const char* name : {"out.mpd", "out.m4v"}) {
    const json info = json::parse(fmp4({"--quiet", "info", "--json", folder.file(name)}).out);
    EXPECT_EQ(info["video"]["frames"], 50) << name;
    EXPECT_EQ(info["audio"], audio) << name;
    EXPECT_EQ(info["durationSeconds"], 2.0) << name;
  }
  const json alone = json::parse(fmp4({"--quiet", "info", "--json", folder.file("out.m4a")}).out);
  EXPECT_TRUE(alone["video"].is_null());
  EXPECT_EQ(alone["audio"], audio);

  // The file that holds the audio says why it is not decoded.
  makeMedia(folder.file("mp3.mp4"),
            toneInput(2) + std::vector<std::string>{"-c:a", "libmp3lame"} + fragmented("+delay_moov"));
  std::filesystem::rename(folder.file("mp3.mp4"), folder.file("out.m4a"));
  for (const char* name : {"out.mpd", "out.m4v"}) {
    const json info = json::parse(fmp4({"--quiet", "info", "--json", folder.file(name)}).out);
    ASSERT_EQ(info["audio"].size(), 1u) << name;
    EXPECT_EQ(info["audio"][0]["why"], "MPEG-1 layer 3, object type 0x6B: not supported") << name;
  }
}

TEST(Info, EachAudioTrackIsDescribedOnce) {
  const TempFolder folder;
  const std::string file = folder.file("audio.m4a");
  std::vector<TrackSpec> tracks;
  std::vector<TrafSpec> fragments;
  const auto add = [&](const char* codec, std::uint16_t channels) {
    const auto id = static_cast<std::uint32_t>(tracks.size() + 1);
    tracks.push_back({id, "soun", 48000, audioEntry(codec, channels, 16, 48000), 1024});
    TrafSpec& traf = fragments.emplace_back();
    traf.trackId = id;
    traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, id)}}};
  };
  add("mp4a", 1);
  add("mp4a", 6);
  add("ac-3", 6);
  add("mp4a", 1);
  add("mp4a", 2);
  writeFile(file, join({fileTypeBox(), movieBox(tracks), fragment(1, fragments)}));
  const json info = json::parse(fmp4({"--quiet", "info", "--json", file}).out);
  std::vector<std::string> described;
  for (const json& audio : info["audio"])
    described.push_back(audio["codec"].get<std::string>() + " " + audio["channels"].dump());
  EXPECT_THAT(described, testing::ElementsAre("mp4a 1", "mp4a 6", "ac-3 2", "mp4a 1", "mp4a 2"));
}

TEST(Info, ARecordingThatGotNoAudioIsDescribed) {
  const TempFolder folder;
  makeMedia(folder.file("source.mp4"), videoInput(4, "25", "160x96") + toneInput(1) + h264Codec(25, 0) +
                                           std::vector<std::string>{"-c:a", "aac", "-ac", "2"});
  const std::string recording = folder.file("out.ismv");
  ASSERT_EQ(fmp4({"package", folder.file("source.mp4"), "--output", recording, "--start", "50"}).exitCode, 0);
  const RunResult result = fmp4({"--quiet", "info", "--json", recording});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(json::parse(result.out)["video"]["frames"], 50);
}

TEST(Info, JsonKeysKeepTheirOrder) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(0.2) + toneInput(0.2) + h264Codec() + fragmented());
  const auto info = nlohmann::ordered_json::parse(fmp4({"--quiet", "info", "--json", file}).out);
  const auto keys = [](const nlohmann::ordered_json& object) {
    std::vector<std::string> names;
    for (const auto& item : object.items()) names.push_back(item.key());
    return names;
  };
  EXPECT_THAT(keys(info), testing::ElementsAre("file", "video", "audio", "captions608", "captions708",
                                               "durationSeconds", "durationTicks", "timescale", "gop",
                                               "brands", "growing", "otherTracks", "tracks"));
  EXPECT_THAT(keys(info["video"]), testing::ElementsAre("codec", "width", "height", "rate", "scale", "frames",
                                                        "codecConfigurationBytes"));
  EXPECT_THAT(keys(info["audio"][0]),
              testing::ElementsAre("codec", "channels", "sampleRate", "bitsPerSample", "samples"));
}

TEST(Info, TextSaysTheSame) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(1, "25", "320x180") + hevcCodec() + fragmented());
  const RunResult result = fmp4({"--quiet", "info", file});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const json info = json::parse(fmp4({"--quiet", "info", "--json", file}).out);
  EXPECT_EQ(result.out, "file: " + file + "\nvideo: hvc1, 320 x 180, 25/1 frames a second, 25 frames, " +
                            info["video"]["codecConfigurationBytes"].dump() +
                            " bytes of codec configuration\n"
                            "audio: none\n"
                            "captions: none\n"
                            "duration: 00:00:01.000\n"
                            "GOP: 25 frames\n"
                            "brands: iso5, compatible with iso5, iso6, mp41\n"
                            "track 1: video, HEVC (hvc1), Main 2, 320 x 180, " +
                            std::to_string((info["tracks"][0]["bitRate"].get<std::uint64_t>() + 500) / 1000) +
                            " kbit/s, 00:00:01.000\n");
}

// The bit rate of a stream by its packets, rounded.
std::int64_t bitRateOf(const std::string& file, const std::string& stream) {
  std::int64_t bytes = 0, ticks = 0;
  for (const Packet& packet : ffprobePackets(file, stream)) {
    bytes += packet.size;
    ticks += packet.duration;
  }
  const double timescale = std::stod(ffprobeStreamEntry(file, stream, "time_base").substr(2));
  return std::llround(static_cast<double>(bytes) * 8 * timescale / static_cast<double>(ticks));
}

// Profile, level, layout, language and bit rate as ffprobe has them.
TEST(Info, DescribesEveryTrackReadOrNot) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(1, "25", "320x180") + toneInput(1) +
                      std::vector<std::string>{"-map", "0:v", "-map", "1:a", "-map", "1:a", "-map", "1:a",
                                               "-map", "0:v", "-metadata:s:a:0", "language=deu",
                                               "-metadata:s:a:2", "language=eng"} +
                      h264Codec(25) +
                      std::vector<std::string>{"-profile:v:0", "high", "-level:v:0", "4.1", "-c:a:0", "aac",
                                               "-ac:a:0", "6", "-c:a:1", "ac3", "-ac:a:1", "6", "-c:a:2",
                                               "libopus", "-ac:a:2", "2"} +
                      fragmented("+delay_moov"));
  const RunResult result = fmp4({"--quiet", "info", "--json", file});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const json tracks = json::parse(result.out)["tracks"];
  ASSERT_EQ(tracks.size(), 5u);
  for (std::size_t i = 0; i < tracks.size(); ++i) {
    const std::string stream = std::to_string(i);
    EXPECT_EQ(tracks[i]["file"], "clip.mp4");
    EXPECT_EQ(tracks[i]["id"], i + 1);
    EXPECT_EQ(tracks[i]["samples"], ffprobePackets(file, stream).size()) << i;
  }
  // Of the others ffprobe does not know the duration of the last packet.
  EXPECT_EQ(tracks[0]["bitRate"], bitRateOf(file, "0"));
  EXPECT_EQ(tracks[2]["bitRate"], bitRateOf(file, "2"));
  EXPECT_EQ(tracks[0]["profile"], ffprobeStreamEntry(file, "0", "profile"));
  EXPECT_EQ(tracks[0]["level"], "4.1");
  EXPECT_EQ(tracks[0]["width"], 320);
  EXPECT_EQ(tracks[0]["read"], true);
  EXPECT_EQ(tracks[1]["profile"], ffprobeStreamEntry(file, "1", "profile"));
  EXPECT_EQ(tracks[1]["channelLayout"], ffprobeStreamEntry(file, "1", "channel_layout"));
  EXPECT_EQ(tracks[1]["channels"], 6);
  EXPECT_EQ(tracks[1]["language"], "deu");
  EXPECT_EQ(tracks[2]["codecName"], "AC-3");
  EXPECT_EQ(tracks[2]["channelLayout"], "5.1");
  EXPECT_TRUE(tracks[2]["language"].is_null());
  EXPECT_EQ(tracks[3]["codecName"], "Opus");
  EXPECT_EQ(tracks[3]["channelLayout"], "stereo");
  EXPECT_EQ(tracks[3]["read"], false);
  EXPECT_EQ(tracks[3]["why"], "Opus is not supported");
  EXPECT_EQ(tracks[4]["why"], "only the first video track is read");
}

TEST(Info, NamesMonoAc3AsWhatItIs) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file,
            toneInput(1) + std::vector<std::string>{"-ac", "1", "-c:a", "ac3"} + fragmented("+delay_moov"));
  const json info = json::parse(fmp4({"--quiet", "info", "--json", file}).out);
  EXPECT_EQ(info["audio"][0]["channels"], 2) << "as delivered";
  EXPECT_EQ(info["tracks"][0]["channels"], 1);
  EXPECT_EQ(info["tracks"][0]["channelLayout"], "mono");
}

TEST(Info, DescribesManyFilesAsOneArray) {
  const TempFolder folder;
  makeMedia(folder.file("b.mp4"), videoInput(0.4, "25", "160x96") + h264Codec() + fragmented());
  makeMedia(folder.file("source.h264"), videoInput(0.4, "25", "160x96") + h264Codec());
  std::filesystem::copy_file(folder.file("b.mp4"), folder.file("a.mp4"));
  const RunResult both = fmp4({"--quiet", "info", "--json", folder.path().string()});
  ASSERT_EQ(both.exitCode, 0) << both.err;
  const json list = json::parse(both.out);
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list[0], json::parse(fmp4({"--quiet", "info", "--json", folder.file("a.mp4")}).out));
  EXPECT_EQ(list[1]["file"], folder.file("b.mp4"));
  EXPECT_EQ(fmp4({"--quiet", "info", folder.path().string()}).out,
            fmp4({"--quiet", "info", folder.file("a.mp4")}).out + "\n" +
                fmp4({"--quiet", "info", folder.file("b.mp4")}).out);

  const RunResult some = fmp4({"--quiet", "info", "--json", folder.file("none.mp4"), folder.file("a.mp4")});
  EXPECT_EQ(some.exitCode, 1);
  const json errors = json::parse(some.out);
  ASSERT_EQ(errors.size(), 2u);
  EXPECT_EQ(errors[0], (json{{"file", folder.file("none.mp4")},
                             {"error", "'" + folder.file("none.mp4") + "' does not exist; check the name"}}));
  EXPECT_EQ(errors[1], list[0]);
}

TEST(Info, OfStandardInputIsRefused) {
  const RunResult result = fmp4({"info", "-"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(
      result.err,
      "fmp4: standard input cannot be read here, as files are read from any place; 'fmp4 package -' records "
      "it, or save it to a file (a file called - is ./-)\n");
}

TEST(Info, AudioOnlyIsDescribedWithoutVideo) {
  const TempFolder folder;
  const std::string file = folder.file("audio.M4A");
  makeMedia(folder.file("audio.mp4"),
            toneInput(1.024, 32000) + std::vector<std::string>{"-c:a", "aac", "-ac", "2"} +
                std::vector<std::string>{"-frag_duration", "500000"} + fragmented());
  std::filesystem::rename(folder.file("audio.mp4"), file);
  const RunResult result = fmp4({"info", "--json", file});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const json info = json::parse(result.out);
  const std::int64_t samples = lengthOf(ffprobePackets(file, "a:0"));
  EXPECT_TRUE(info["video"].is_null());
  EXPECT_EQ(info["audio"], (json{{{"codec", "mp4a"},
                                  {"channels", 2},
                                  {"sampleRate", 32000},
                                  {"bitsPerSample", 16},
                                  {"samples", samples}}}));
  EXPECT_EQ(info["durationSeconds"], static_cast<double>(samples) / 32000);
}

TEST(Info, RefusalOfAPlainFileSaysHowToFragmentIt) {
  const TempFolder folder;
  const std::string file = folder.file("plain.mp4");
  makeMedia(file, videoInput(0.2) + h264Codec());
  const RunResult result = fmp4({"--quiet", "info", file});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "fmp4: '" + file +
                "' is not a fragmented MP4: it has no movie fragments. A plain MP4 becomes one without being "
                "encoded again by\n  ffmpeg -i '" +
                file + "' -c copy -movflags +frag_keyframe+empty_moov+default_base_moof fragmented.mp4\n");
}

TEST(Info, TheAdviceForAPlainFileWorks) {
  const TempFolder folder;
  makeMedia(folder.file("plain.mp4"), videoInput(0.2) + h264Codec());
  runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-i", folder.file("plain.mp4"), "-c", "copy", "-movflags",
              "+frag_keyframe+empty_moov+default_base_moof", folder.file("fragmented.mp4")});
  EXPECT_EQ(fmp4({"info", folder.file("fragmented.mp4")}).exitCode, 0);
}

TEST(Info, ReportsAMissingFile) {
  const RunResult result = fmp4({"--quiet", "info", "missing.mp4"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "fmp4: 'missing.mp4' does not exist; check the name\n");
}

TEST(Info, RefusesXmlThatIsNotAManifest) {
  const TempFolder folder;
  const std::string file = folder.file("list.xml");
  writeFile(file, {'<', 'a', '/', '>'});
  const RunResult result = fmp4({"--quiet", "info", file});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "fmp4: '" + file +
                            "' is not a DASH manifest: its root element is not MPD; give the media file "
                            "itself\n");
}

// Fails to open `file`; returns the reason.
std::string openFailure(const std::string& file) {
  const RunResult result = fmp4({"--quiet", "info", file});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out, "");
  return result.err;
}

TEST(Info, NameThatTheProbeDoesNotOpenMustExist) {
  EXPECT_EQ(openFailure("missing.mpd"), "fmp4: 'missing.mpd' does not exist; check the name\n");
}

TEST(Info, ReportsANameWithoutMedia) {
  const TempFolder folder;
  const std::string smooth = folder.file("clip.ismv"), upper = folder.file("CLIP.MP4"),
                    manifest = folder.file("alone.mpd");
  makeMedia(folder.file("clip.mp4"), videoInput(0.2) + h264Codec() + fragmented());
  std::filesystem::rename(folder.file("clip.mp4"), upper);
  std::filesystem::copy_file(upper, smooth);
  writeFile(manifest, {'<', 'M', 'P', 'D', '/', '>'});
  EXPECT_EQ(
      openFailure(smooth),
      "fmp4: '" + smooth +
          "' could not be opened: the media of Smooth Streaming names are found through a DASH manifest "
          "(.mpd or .xml) of the same name beside it; without one, give the media file a name that ends "
          "in .mp4\n");
  EXPECT_EQ(openFailure(upper),
            "fmp4: '" + upper +
                "' could not be opened: the plug-in recognises files by their names; give it one "
                "that ends in .mp4, .m4v, .m4a, .mpd or .xml, in lower case\n");
  EXPECT_EQ(openFailure(manifest),
            "fmp4: '" + manifest +
                "' could not be opened: it names no media file, and there is none of its name (.mp4, .m4v or "
                ".m4a) beside it\n");
}

}  // namespace

}  // namespace fmp4
