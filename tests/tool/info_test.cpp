#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
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
  const std::string file = folder.file("sound.m4a");
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
                                               "durationSeconds", "otherTracks"));
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
                            "duration: 00:00:01.000\n");
}

TEST(Info, AudioOnlyIsDescribedWithoutVideo) {
  const TempFolder folder;
  const std::string file = folder.file("sound.M4A");
  makeMedia(folder.file("sound.mp4"),
            toneInput(1.024, 32000) + std::vector<std::string>{"-c:a", "aac", "-ac", "2"} +
                std::vector<std::string>{"-frag_duration", "500000"} + fragmented());
  std::filesystem::rename(folder.file("sound.mp4"), file);
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
