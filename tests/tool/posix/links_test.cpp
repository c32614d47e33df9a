// Symbolic links to the files of a recording, and pipes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

// A recording of video and audio, and links to its files in another folder.
class LinkedRecording : public testing::Test {
 protected:
  void SetUp() override {
    makeMedia(folder_.file("source.mp4"), videoInput(0.4, "25") + toneInput(0.4) + h264Codec(5) +
                                              std::vector<std::string>{"-c:a", "aac"});
    std::filesystem::create_directory(folder_.file("rec"));
    std::filesystem::create_directory(folder_.file("links"));
    runOrThrow({VL_BIN_DIR "/fmp4", "-q", "package", folder_.file("source.mp4"), "-o",
                folder_.file("rec/news.mp4")});
  }
  std::string link(const std::string& target, const std::string& name) {
    std::filesystem::create_symlink(target, folder_.file("links/" + name));
    return folder_.file("links/" + name);
  }
  static nlohmann::json described(const std::string& name) {
    const RunResult result = fmp4({"-q", "info", "--json", name});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return nlohmann::json::parse(result.out);
  }

  TempFolder folder_;
};

TEST_F(LinkedRecording, IsReadThroughALinkToAnyOfItsFiles) {
  for (const char* name : {"news.mpd", "news.m4v"}) {
    const std::string linked = link(std::string("../rec/") + name, std::string("other.") + name);
    const auto description = described(linked);
    EXPECT_EQ(description["file"], linked);
    EXPECT_EQ(description["video"]["frames"], 10);
    EXPECT_EQ(description["audio"].size(), 1u) << name;
    EXPECT_EQ(fmp4({"-q", "probe", linked}).err, "");
    EXPECT_THAT(fmp4({"-q", "verify", linked}).out, testing::HasSubstr(" is intact: 10 frames"));
    EXPECT_EQ(fmp4({"-q", "frames", linked}).out, fmp4({"-q", "frames", folder_.file("rec/news.m4v")}).out);
  }
}

TEST_F(LinkedRecording, IsReadWhereItsFilesAreLinkedSideBySide) {
  for (const char* extension : {".m4v", ".m4a"})
    std::filesystem::rename(folder_.file(std::string("rec/news") + extension),
                            folder_.file(std::string("rec/stored") + extension));
  link("../rec/stored.m4v", "news.m4v");
  link("../rec/stored.m4a", "news.m4a");
  const auto description = described(link("../rec/news.mpd", "news.mpd"));
  EXPECT_EQ(description["video"]["frames"], 10);
  EXPECT_EQ(description["audio"].size(), 1u);
}

TEST_F(LinkedRecording, IsNotReadThroughALinkToNothing) {
  const std::string dangling = link("../rec/missing.mpd", "missing.mpd");
  EXPECT_EQ(fmp4({"-q", "info", dangling}).err, "fmp4: '" + dangling + "' does not exist; check the name\n");
}

TEST(PipeAsAFile, IsRefusedAsAPipe) {
  const TempFolder folder;
  const std::string pipe = folder.file("pipe.mp4");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(fmp4({"-q", "info", pipe}).err,
            "fmp4: '" + pipe +
                "' is a pipe, and files are read from any place; 'fmp4 package -' records standard input, or "
                "save it to a file\n");
}

}  // namespace

}  // namespace fmp4
