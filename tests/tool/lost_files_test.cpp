// What verify and repair say and do when files of a recording are lost, and what interrupted runs leave.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>

#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

using testing::HasSubstr;
using Contents = std::map<std::string, std::vector<std::uint8_t>>;

Contents contentsOf(const TempFolder& folder) {
  Contents contents;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
    contents[entry.path().filename().string()] = readFile(entry.path());
  return contents;
}

// A second of video and audio in files of their own.
class LostFiles : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    const TempFolder media;
    makeMedia(media.file("source.mp4"), videoInput(1, "25", "160x96") + toneInput(1) + h264Codec(5, 0) +
                                            std::vector<std::string>{"-c:a", "aac", "-ac", "2"});
    runOrThrow({VL_BIN_DIR "/fmp4", "--quiet", "package", media.file("source.mp4"), "--output",
                media.file("out.mp4")});
    std::filesystem::remove(media.file("source.mp4"));
    whole_ = new Contents(contentsOf(media));
  }
  static void TearDownTestSuite() { delete whole_; }

  void SetUp() override {
    for (const auto& [name, bytes] : *whole_) writeFile(folder_.file(name), bytes);
    name_ = folder_.file("out.mpd");
  }

  static Contents* whole_;
  TempFolder folder_;
  std::string name_;
};
Contents* LostFiles::whole_ = nullptr;

TEST_F(LostFiles, AudioIsNamedAndRepairWaitsForItOrForConsent) {
  const std::string advice =
      "put it back, or give 'fmp4 repair' the option --accept-loss to go on without it\n";
  for (const bool empty : {false, true}) {
    SCOPED_TRACE(empty);
    const std::string why = empty ? "is empty" : "is missing";
    std::filesystem::remove(folder_.file("out.m4a"));
    if (empty) writeFile(folder_.file("out.m4a"), {});
    const Contents before = contentsOf(folder_);
    for (const std::string& name : {name_, folder_.file("out.m4a")}) {
      const RunResult found = fmp4({"verify", name});
      EXPECT_EQ(found.exitCode, 1);
      EXPECT_EQ(found.out, "out.m4a: the audio file " + why + "; the lists name 1 segment of it\n" + name +
                               " is not intact: 1 problem; " + advice);
    }
    const RunResult refused = fmp4({"repair", name_});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.err, "fmp4: the audio file '" + folder_.file("out.m4a") + "' " + why +
                               ", and nothing was changed; " + advice);
    EXPECT_EQ(contentsOf(folder_), before);
  }
}

TEST_F(LostFiles, AudioWhoseLossIsAcceptedComesBackWithItsFile) {
  std::filesystem::remove(folder_.file("out.m4a"));
  const RunResult accepted = fmp4({"repair", "--accept-loss", name_});
  EXPECT_EQ(accepted.exitCode, 0) << accepted.err;
  EXPECT_EQ(accepted.out, "out.master.m3u8: rewritten\nout.mpd: rewritten\noutA.m3u8: removed\n" + name_ +
                              " is intact again\n");
  EXPECT_THAT(fmp4({"verify", name_}).out, HasSubstr(" is intact: 25 frames, 0 audio access units, "));
  writeFile(folder_.file("out.m4a"), whole_->at("out.m4a"));
  EXPECT_EQ(fmp4({"repair", name_}).exitCode, 0);
  EXPECT_EQ(contentsOf(folder_).size(), whole_->size());
  EXPECT_THAT(fmp4({"verify", name_}).out, testing::EndsWith(" in 6 files\n"));
}

TEST_F(LostFiles, VideoIsNamed) {
  std::filesystem::remove(folder_.file("out.m4v"));
  for (const char* name : {"out.mpd", "out.m4a"}) {
    const RunResult found = fmp4({"verify", folder_.file(name)});
    EXPECT_EQ(found.exitCode, 1);
    EXPECT_EQ(found.out, "out.mpd: it names the video file 'out.m4v', which is missing\n" +
                             folder_.file(name) +
                             " is not intact: 1 problem; none of this can be repaired; get an undamaged "
                             "copy\n");
  }
  writeFile(folder_.file("out.m4v"), {});
  EXPECT_EQ(fmp4({"verify", name_}).err,
            "fmp4: '" + folder_.file("out.m4v") + "' is empty: nothing of the recording is left in it\n");
}

TEST_F(LostFiles, TemporaryFilesOfAnInterruptedRunAreRemoved) {
  for (const char* name : {"out.mpd.4528-4", "out.master.m3u8.99-0"}) writeFile(folder_.file(name), {'<'});
  // Names of other files.
  const std::vector<std::string> others = {"out.mpd.4528", "out.mpd.a-4", "out.mpd.4528-", "outB.mpd.4528-4"};
  for (const std::string& name : others) writeFile(folder_.file(name), {'<'});
  const RunResult found = fmp4({"verify", name_});
  EXPECT_EQ(found.exitCode, 1);
  EXPECT_EQ(found.out,
            "out.master.m3u8.99-0: it is a temporary file of an interrupted run\n"
            "out.mpd.4528-4: it is a temporary file of an interrupted run\n" +
                name_ + " is not intact: 2 problems; run: fmp4 repair " + name_ + "\n");
  EXPECT_EQ(fmp4({"repair", name_}).out,
            "out.master.m3u8.99-0: removed\nout.mpd.4528-4: removed\n" + name_ + " is intact again\n");
  Contents expected = *whole_;
  for (const std::string& name : others) expected[name] = {'<'};
  EXPECT_EQ(contentsOf(folder_), expected);
}

TEST_F(LostFiles, ATemporaryFileThatIsBeingWrittenStays) {
  std::ofstream held(folder_.file("out.mpd.4528-4"));
  held << '<' << std::flush;
  EXPECT_EQ(fmp4({"verify", name_}).exitCode, 0);
  EXPECT_EQ(fmp4({"repair", name_}).exitCode, 0);
  EXPECT_TRUE(std::filesystem::exists(folder_.file("out.mpd.4528-4")));
}

TEST_F(LostFiles, ADryRunSaysWhatRepairDoesAndChangesNothing) {
  std::filesystem::resize_file(folder_.file("out.m4v"), whole_->at("out.m4v").size() - 1);
  writeFile(folder_.file("out.mpd.4528-4"), {'<'});
  const Contents before = contentsOf(folder_);
  const RunResult planned = fmp4({"repair", "--dry-run", name_});
  EXPECT_EQ(planned.exitCode, 0) << planned.err;
  EXPECT_EQ(contentsOf(folder_), before);
  std::string done = fmp4({"repair", name_}).out;
  EXPECT_THAT(done, HasSubstr("out.m4v: 1 segment index completed\n"));
  std::string report;
  for (const std::string& line : linesOf(planned.out)) {
    const std::size_t tense = line.find("to be ");
    report += (tense == line.npos ? line : line.substr(0, tense) + line.substr(tense + 6)) + "\n";
  }
  // The notes and the verdict follow.
  const std::string end = name_ + ": nothing was changed\n";
  ASSERT_TRUE(report.ends_with(end)) << report;
  report.resize(report.size() - end.size());
  EXPECT_EQ(done.substr(0, report.size()), report);
  EXPECT_EQ(fmp4({"repair", "-n", name_}).out, name_ + ": nothing to repair\n");
}

TEST_F(LostFiles, RepairReportsAsJson) {
  writeFile(folder_.file("out.mpd.4528-4"), {'<'});
  const auto report = [this](const std::vector<std::string>& options) {
    std::vector<std::string> command = {"repair", "--json", name_};
    command.insert(command.end(), options.begin(), options.end());
    return nlohmann::json::parse(fmp4(command).out);
  };
  const auto expected = [this](bool dryRun, bool intact, const std::vector<std::string>& actions) {
    return nlohmann::json{{"recording", name_},
                          {"dryRun", dryRun},
                          {"intact", intact},
                          {"actions", actions},
                          {"notes", nlohmann::json::array()}};
  };
  EXPECT_EQ(report({"--dry-run"}), expected(true, false, {"out.mpd.4528-4: to be removed"}));
  EXPECT_EQ(report({}), expected(false, true, {"out.mpd.4528-4: removed"}));
  EXPECT_EQ(report({}), expected(false, true, {}));
  std::filesystem::remove(folder_.file("out.m4v"));
  const nlohmann::json several = report({folder_.file("missing.mpd")});
  ASSERT_EQ(several.size(), 2u);
  EXPECT_EQ(several[1]["recording"], folder_.file("missing.mpd"));
  EXPECT_TRUE(several[1]["error"].is_string());
}

TEST_F(LostFiles, RepairSaysThatTheTracksEndFarApart) {
  const TempFolder folder;
  makeMedia(folder.file("source.mp4"), videoInput(4, "25", "160x96") + toneInput(4) + h264Codec(5, 0) +
                                           std::vector<std::string>{"-c:a", "aac", "-ac", "2"});
  const std::string media = folder.file("a.m4v");
  ASSERT_EQ(fmp4({"-q", "package", folder.file("source.mp4"), "-o", folder.file("a.mp4")}).exitCode, 0);
  std::filesystem::resize_file(media, std::filesystem::file_size(media) / 2);
  const std::string done = fmp4({"repair", media}).out;
  EXPECT_THAT(done, testing::ContainsRegex("note: the audio ends .\\.... s after the video\n"));
  EXPECT_THAT(done, testing::EndsWith(media + " is intact again\n"));
}

TEST_F(LostFiles, SegmentsWithoutAKeyFrameAreNoted) {
  const TempFolder folder;
  makeMedia(folder.file("source.mp4"), videoInput(3, "25", "160x96") + h264Codec(25, 0));
  ASSERT_EQ(
      fmp4({"-q", "package", folder.file("source.mp4"), "--gop", "3", "-o", folder.file("a.mp4")}).exitCode,
      0);
  const RunResult found = fmp4({"verify", folder.file("a.mpd")});
  EXPECT_EQ(found.exitCode, 0);
  EXPECT_THAT(found.out,
              HasSubstr("note: 2 of 3 segments do not begin with a key frame, as the playlist "
                        "promises: players cannot start there; the first of them begins with frame "
                        "30\n"));
}

// ---- Several names ----------------------------------------------------------------------------------

TEST_F(LostFiles, AFolderStandsForItsRecordings) {
  for (const auto& [name, bytes] : *whole_) {
    if (name.ends_with(".m4v")) writeFile(folder_.file("second.m4v"), bytes);
  }
  writeFile(folder_.file("source.mp4"), {'x'});
  const std::string folder = folder_.path().string(), first = folder_.file("out.m4v"),
                    second = folder_.file("second.m4v");
  const RunResult found = fmp4({"verify", folder});
  EXPECT_EQ(found.exitCode, 1);
  EXPECT_THAT(found.out, HasSubstr(first + " is intact: "));
  EXPECT_THAT(found.out, HasSubstr(second + " is not intact: 2 problems; run: fmp4 repair " + second + "\n"));
  const RunResult repaired = fmp4({"repair", folder});
  EXPECT_EQ(repaired.exitCode, 0) << repaired.err;
  EXPECT_EQ(repaired.out, first +
                              " is intact: nothing to repair\nsecond.m3u8: rewritten\nsecond.mpd: "
                              "rewritten\n" +
                              second + " is intact again\n");
  const auto report = nlohmann::json::parse(fmp4({"verify", "--json", folder}).out);
  ASSERT_EQ(report.size(), 2u);
  EXPECT_EQ(report[0]["recording"], first);
  EXPECT_EQ(report[1]["recording"], second);
  EXPECT_EQ(report[1]["intact"], true);
}

TEST_F(LostFiles, OneNameThatIsNoRecordingDoesNotStopTheOthers) {
  const std::string text = folder_.file("text.m4v");
  writeFile(text, {'h', 'e', 'l', 'l', 'o'});
  const std::string error = "'" + text +
                            "' does not begin with a complete file type box; 'fmp4 boxes' shows "
                            "what it holds";
  const RunResult found = fmp4({"verify", "--json", text, name_});
  EXPECT_EQ(found.exitCode, 1);
  EXPECT_EQ(found.err, "fmp4: " + error + "\n");
  const auto report = nlohmann::json::parse(found.out);
  EXPECT_EQ(report[0], (nlohmann::json{{"recording", text}, {"error", error}}));
  EXPECT_EQ(report[1]["intact"], true);
  const RunResult repaired = fmp4({"repair", text, name_});
  EXPECT_EQ(repaired.exitCode, 1);
  EXPECT_EQ(repaired.out, name_ + " is intact: nothing to repair\n");
  EXPECT_EQ(repaired.err, "fmp4: " + error + "\n");
}

}  // namespace

}  // namespace fmp4
