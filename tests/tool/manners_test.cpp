// How the program behaves towards its user: colours, the host's log, settings.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/support/environment.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

TEST(Manners, MessagesAreColouredWhenAsked) {
  EXPECT_EQ(fmp4({"-q", "info", "missing.mp4"}).err, "fmp4: 'missing.mp4' does not exist; check the name\n");
  const std::string coloured = "\x1B[1;31mfmp4:\x1B[0m 'missing.mp4' does not exist; check the name\n";
  EXPECT_EQ(fmp4({"-q", "--color", "always", "info", "missing.mp4"}).err, coloured);
  EXPECT_EQ(fmp4({"-q", "--color", "never", "info", "missing.mp4"}).err,
            "fmp4: 'missing.mp4' does not exist; check the name\n");
  const Environment none("NO_COLOR", "1");
  EXPECT_EQ(fmp4({"-q", "--color", "always", "info", "missing.mp4"}).err, coloured)
      << "the command line counts more";
  EXPECT_EQ(fmp4({"-q", "--color", "blue", "info", "missing.mp4"}).exitCode, 2);
}

TEST(Manners, StatusLinesOfTheLogAreShownOnceWhenAsked) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, toneInput(1) + std::vector<std::string>{"-c:a", "aac"} + fragmented());
  const Environment store("VLHOST_CONFIG", folder.file("vlhost.conf").c_str());
  EXPECT_EQ(fmp4({"info", file}).err, "");
  EXPECT_EQ(fmp4({"-v", "info", file, file}).err,
            "STATUS(vlx_Fmp4): FFMPEG DLLs (AvCodec) will not load, extra codecs will not be available.\n");
  EXPECT_EQ(fmp4({"-v", "-q", "info", file}).err, "");
}

TEST(Manners, NoCommandWritesSettings) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(1) + toneInput(1) + h264Codec() + std::vector<std::string>{"-c:a", "aac"} +
                      fragmented());
  const std::string store = folder.file("settings/vlhost.conf");
  const Environment place("VLHOST_CONFIG", store.c_str());
  for (const std::vector<std::string>& command : {std::vector<std::string>{"info", file},
                                                  {"frames", file},
                                                  {"export", file, "--audio", folder.file("a.wav")},
                                                  {"package", file, "--output", folder.file("out.mp4")},
                                                  {"verify", folder.file("out.mpd")}})
    EXPECT_EQ(fmp4(command).exitCode, 0) << command.front();
  EXPECT_FALSE(std::filesystem::exists(folder.file("settings")));
}

TEST(Manners, ExportSaysWhatItWrote) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4"), video = folder.file("a.h264"),
                    audio = folder.file("a.wav");
  makeMedia(file, videoInput(1, "25") + toneInput(1.024) + h264Codec() +
                      std::vector<std::string>{"-c:a", "aac", "-ac", "2"} + fragmented());
  const RunResult text = fmp4({"export", file, "--video", video, "--audio", audio, "--count", "25"});
  EXPECT_EQ(text.exitCode, 0) << text.err;
  EXPECT_EQ(text.out, "exported " + video + " (" + std::to_string(std::filesystem::file_size(video)) +
                          " bytes, 00:00:01.000), " + audio + " (" +
                          std::to_string(std::filesystem::file_size(audio)) + " bytes, 00:00:01.000)\n");
  const RunResult object = fmp4({"export", "--json", "--force", file, "--audio", audio, "--count", "25"});
  EXPECT_EQ(
      nlohmann::json::parse(object.out),
      (nlohmann::json{
          {"source", file},
          {"files",
           {{{"file", audio}, {"bytes", std::filesystem::file_size(audio)}, {"durationSeconds", 1.0}}}}}));
}

TEST(Manners, ADashIsNoOutput) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(0.2) + h264Codec() + fragmented());
  const RunResult result = fmp4({"-q", "export", file, "--video", "-"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err,
            "fmp4: '-' names no file; /dev/stdout is standard output where the system has it, ./- a file "
            "called -\n");
}

}  // namespace

}  // namespace fmp4
