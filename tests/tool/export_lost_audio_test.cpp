// Audio exported from damaged files, or from files whose audio codec is unsupported.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"
#include "tool/export/lost_audio.h"
#include "tool/export/wave_header.h"

namespace fmp4 {

namespace {

using testing::HasSubstr;
using Bytes = std::vector<std::uint8_t>;

// An audio-only clip whose packets `damaged` are overwritten.
struct DamagedClip {
  TempFolder folder;
  std::string path = folder.file("clip.mp4"), output = folder.file("audio.wav");
  std::size_t packets = 0;

  DamagedClip(const std::string& codec, double seconds, const std::vector<int>& damaged) {
    makeMedia(path, toneInput(seconds) + std::vector<std::string>{"-ac", "2", "-c:a", codec} +
                        fragmented("+delay_moov"));
    Bytes bytes = readFile(path);
    const std::vector<Packet> all = ffprobePackets(path, "a:0", {"-ignore_editlist", "1"});
    packets = all.size();
    for (const int i : damaged) {
      const Packet& packet =
          all[i < 0 ? packets - static_cast<std::size_t>(-i) : static_cast<std::size_t>(i)];
      std::fill_n(bytes.begin() + packet.offset, packet.size, std::uint8_t{0xFF});
    }
    writeFile(path, bytes);
  }
  RunResult exported() const { return fmp4({"--quiet", "export", path, "--audio", output}); }
  // Samples of the WAV file, both channels.
  Bytes samples() const {
    const Bytes file = readFile(output);
    return Bytes(file.begin() + static_cast<std::ptrdiff_t>(waveHeader({48000, 2, 16}, 0).size()),
                 file.end());
  }
};

TEST(ExportLostAudio, KeepsTheDurationAndReportsWhatIsMissing) {
  for (const auto& [codec, unitFrames] : {std::pair{"aac", 1024}, std::pair{"ac3", 1536}}) {
    const DamagedClip clip(codec, 4.096, {70, 71});
    const RunResult result = clip.exported();
    EXPECT_EQ(result.exitCode, 0);
    const int from = 70 * unitFrames / 4800, to = 71 * unitFrames / 4800 + 1;
    const auto tenths = [](int n) {
      return "0:00:0" + std::to_string(n / 10) + "." + std::to_string(n % 10);
    };
    EXPECT_EQ(result.err, "fmp4: of the audio of '" + clip.path +
                              "' 2 access units could not be decoded; silence takes their place: " +
                              tenths(from) + " to " + tenths(to) + "\n");
    EXPECT_EQ(ffprobeStreamEntry(clip.output, "a:0", "duration_ts"),
              std::to_string(clip.packets * static_cast<std::size_t>(unitFrames)));
    const Bytes samples = clip.samples();
    const auto silent = samples.begin() + 70 * unitFrames * 4;
    EXPECT_TRUE(
        std::all_of(silent, silent + 2 * unitFrames * 4, [](std::uint8_t byte) { return byte == 0; }));
  }
}

TEST(ExportLostAudio, LostLastUnitsKeepTheRestOfTheFile) {
  for (const char* codec : {"aac", "ac3"}) {
    const DamagedClip clip(codec, 2.048, {-1, -2, -3});
    const RunResult result = clip.exported();
    EXPECT_EQ(result.exitCode, 0) << codec;
    EXPECT_THAT(result.err, HasSubstr("3 access units could not be decoded")) << codec;
    EXPECT_EQ(clip.samples().size(), clip.packets * (codec == std::string("aac") ? 1024 : 1536) * 4) << codec;
  }
}

TEST(ExportLostAudio, AudioShorterThanStatedIsExportedUpToItsEnd) {
  const DamagedClip clip("aac", 2, {});
  Bytes bytes = readFile(clip.path);
  // The duration of the last sample grows by two seconds: the last field of 1024 in the last run.
  const Bytes duration = {0, 0, 4, 0};
  const auto last = std::find_end(bytes.begin(), bytes.end(), duration.begin(), duration.end());
  ASSERT_NE(last, bytes.end());
  last[1] = 1;
  writeFile(clip.path, bytes);
  const RunResult result = clip.exported();
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_GE(clip.samples().size(), (clip.packets - 1) * 1024 * 4);
  EXPECT_EQ(ffprobeStreamEntry(clip.output, "a:0", "duration_ts"), std::to_string(clip.samples().size() / 4));
}

TEST(ExportLostAudio, UndecodableAudioFailsAndLeavesNoFile) {
  DamagedClip clip("aac", 1, {});
  std::vector<int> all(clip.packets);
  for (std::size_t i = 0; i < all.size(); ++i) all[i] = static_cast<int>(i);
  const DamagedClip dead("aac", 1, all);
  const RunResult result = dead.exported();
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err,
            "fmp4: the audio of '" + dead.path +
                "' cannot be decoded: none of it can be decoded (status 0xFFFFFFFF); 'fmp4 info' shows "
                "its codec; the partial '" +
                dead.output + "' has been removed\n");
  EXPECT_FALSE(std::filesystem::exists(dead.output));
}

TEST(ExportLostAudio, LeadingSilenceIsNotTakenForAudio) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4"), output = folder.file("audio.wav");
  makeMedia(file, videoInput(1, "25", "160x96") + std::vector<std::string>{"-itsoffset", "0.5"} +
                      toneInput(1) + h264Codec(25, 0) + std::vector<std::string>{"-c:a", "libmp3lame"} +
                      fragmented("+delay_moov"));
  const RunResult result = fmp4({"--quiet", "export", file, "--audio", output});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, HasSubstr("cannot be decoded: MPEG-1 layer 3, object type 0x6B: not supported"));
  EXPECT_FALSE(std::filesystem::exists(output));
}

TEST(ExportLostAudio, NamesAnUnsupportedCodec) {
  struct Case {
    const char* codec;
    int rate;
    const char* name;
  };
  for (const Case& c : {Case{"libmp3lame", 48000, "MPEG-1 layer 3, object type 0x6B: not supported"},
                        Case{"libmp3lame", 22050, "MPEG-2 layer 3, object type 0x69: not supported"},
                        Case{"mp2", 48000, "MPEG-1 layer 2, object type 0x6B: not supported"}}) {
    const TempFolder folder;
    const std::string file = folder.file("clip.mp4"), output = folder.file("audio.wav");
    makeMedia(file,
              toneInput(1, c.rate) + std::vector<std::string>{"-c:a", c.codec} + fragmented("+delay_moov"));
    const RunResult result = fmp4({"--quiet", "export", file, "--audio", output});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr(c.name));
    EXPECT_FALSE(std::filesystem::exists(output));
    EXPECT_THAT(fmp4({"--quiet", "info", file}).out,
                HasSubstr("audio: mp4a (" + std::string(c.name) + "), "));
    EXPECT_THAT(fmp4({"--quiet", "info", "--json", file}).out,
                HasSubstr("\"why\": \"" + std::string(c.name) + "\""));
  }
}

TEST(LostAudio, ReportsNothingWithoutLoss) {
  EXPECT_EQ(LostAudio(48000).text("a.mp4"), "");
}

TEST(LostAudio, MergesAdjacentPlacesAndReportsOnlySome) {
  LostAudio lost(1000);
  lost.addUnits(0, 100, 1);
  lost.addUnits(100, 200, 0);
  for (std::uint64_t i = 1; i < 13; ++i) lost.addUnits(i * 3600000, i * 3600000 + 100, 1);
  lost.addUnits(12 * 3600000 + 100, 12 * 3600000 + 200, 2);
  const std::string text = lost.text("a.mp4");
  EXPECT_THAT(text,
              testing::StartsWith("of the audio of 'a.mp4' 15 access units could not be decoded; silence "
                                  "takes their place: 0:00:00.0 to 0:00:00.1, 1:00:00.0 to "));
  EXPECT_THAT(text, testing::EndsWith("9:00:00.0 to 9:00:00.1 and 3 more places"));
}

TEST(LostAudio, ReportsTenPlaces) {
  LostAudio lost(1000);
  for (std::uint64_t i = 0; i < 10; ++i) lost.addUnits(i * 1000, i * 1000 + 100, 1);
  EXPECT_THAT(lost.text("a.mp4"), testing::EndsWith(", 0:00:08.0 to 0:00:08.1, 0:00:09.0 to 0:00:09.1"));
}

TEST(LostAudio, ReportsAnEarlyEnd) {
  LostAudio lost(48000);
  lost.setEnd(72000);
  EXPECT_EQ(lost.text("a.mp4"), "the audio of 'a.mp4' ends at 0:00:01.5, before its stated length");
  lost.addUnits(0, 4800, 1);
  EXPECT_EQ(
      lost.text("a.mp4"),
      "of the audio of 'a.mp4' 1 access unit could not be decoded; silence takes their place: 0:00:00.0 "
      "to 0:00:00.1; it ends at 0:00:01.5, before its stated length");
}

TEST(LostAudio, ReportsUndeliveredParts) {
  LostAudio lost(48000);
  lost.addGap(48000, 96000);
  EXPECT_EQ(
      lost.text("a.mp4"),
      "of the audio of 'a.mp4' parts could not be read; silence takes their place: 0:00:01.0 to 0:00:02.0");
}

}  // namespace

}  // namespace fmp4
