#include <gtest/gtest.h>

#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

// Runs an example; its lines end in "\n" on every system.
RunResult example(const std::string& name, const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {VL_BIN_DIR "/example_" + name};
  command.insert(command.end(), arguments.begin(), arguments.end());
  RunResult result = run(command);
  std::erase(result.out, '\r');
  return result;
}

class Examples : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    folder_ = new TempFolder;
    clip_ = folder_->file("clip.mp4");
    makeMedia(clip_, videoInput(2, "25", "320x180") + toneInput(2.048) + h264Codec() +
                         std::vector<std::string>{"-c:a", "aac", "-ac", "2"} + fragmented());
  }
  static void TearDownTestSuite() { delete folder_; }

  static TempFolder* folder_;
  static std::string clip_;
};
TempFolder* Examples::folder_ = nullptr;
std::string Examples::clip_;

// The first of 97 access units has a duration of 3840 in the file, the others 1024.
TEST_F(Examples, DescribePrintsVideoAndAudio) {
  const RunResult result = example("describe", {clip_});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(linesOf(result.out),
            (std::vector<std::string>{"video: 320 x 180, 25/1 frames a second, 50 frames",
                                      "audio: 2 channels, 48000 Hz, 102144 samples"}));
}

TEST_F(Examples, DescribeRefusesAFileWithoutBoxes) {
  const std::string text = folder_->file("text.mp4");
  std::ofstream(text) << "no boxes";
  const RunResult result = example("describe", {text});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(linesOf(result.out), std::vector<std::string>{"refused"});
}

// Sizes and key frames as the tool lists them; each frame has 1920 PCM frames of two 16-bit channels.
TEST_F(Examples, ReadFramesDeliversFramesAndTheirAudio) {
  const std::vector<std::string> rows = linesOf(fmp4({"--quiet", "frames", clip_, "--from", "10"}).out);
  const std::vector<std::string> lines = linesOf(example("read_frames", {clip_, "10", "5"}).out);
  ASSERT_EQ(lines.size(), 5u);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    std::istringstream row(rows.at(i + 1));
    std::string frame, size, key;
    std::getline(row, frame, ',') && std::getline(row, size, ',') && std::getline(row, key, ',');
    EXPECT_EQ(lines[i], frame + " " + size + (key == "1" ? " key" : " -") + " 7680");
  }
}

TEST_F(Examples, RecordMakesARecordingThatVerifies) {
  const RunResult result = example("record", {clip_, folder_->file("out.mp4")});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  const RunResult verified = fmp4({"--quiet", "verify", folder_->file("out.m4v")});
  EXPECT_EQ(verified.exitCode, 0) << verified.out << verified.err;
  // All but the times, which a source's edit list moves.
  const auto frames = [](const std::string& file) {
    std::vector<std::string> rows = linesOf(fmp4({"--quiet", "frames", file}).out);
    for (std::string& row : rows) row.resize(row.rfind(',', row.rfind(',') - 1));
    return rows;
  };
  EXPECT_EQ(frames(folder_->file("out.m4v")), frames(clip_));
}

}  // namespace

}  // namespace fmp4
