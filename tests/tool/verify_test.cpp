// Checking and repairing recordings with the program, as users do.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

#include "base/bytes.h"
#include "tests/support/box_builder.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

using Files = std::map<std::string, Bytes>;

// Four seconds with audio in half-second fragments, packaged once for all tests.
class Verify : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    const TempFolder media;
    makeMedia(media.file("source.mp4"), videoInput(4, "30", "160x96") + toneInput(4) + h264Codec(15, 0) +
                                            std::vector<std::string>{"-c:a", "aac", "-ac", "2"});
    for (const char* name : {"out.mp4", "both.ismv"})
      runOrThrow(
          {VL_BIN_DIR "/fmp4", "--quiet", "package", media.file("source.mp4"), "--output", media.file(name)});
    files_ = new Files;
    for (const auto& entry : std::filesystem::directory_iterator(media.path())) {
      const std::string name = entry.path().filename().string();
      if (name != "source.mp4") (*files_)[name] = readFile(entry.path());
    }
  }
  static void TearDownTestSuite() { delete files_; }

  void SetUp() override {
    for (const auto& [name, bytes] : *files_) writeFile(folder_.file(name), bytes);
  }

  // The lines of a text, with the system's line ends as \n.
  std::string text(const std::string& name) const {
    std::ifstream file(folder_.file(name));
    return {std::istreambuf_iterator<char>(file), {}};
  }
  void edit(const std::string& name, const std::string& from, const std::string& to) {
    std::string changed = text(name);
    const std::size_t at = changed.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    changed.replace(at, from.size(), to);
    std::ofstream(folder_.file(name)) << changed;
  }
  // What `verify` prints about this damage, which `repair` then mends.
  std::string foundAndRepaired() {
    const RunResult found = fmp4({"verify", folder_.file("out.m4v")});
    EXPECT_EQ(found.exitCode, 1);
    EXPECT_THAT(found.out, HasSubstr("run: fmp4 repair " + folder_.file("out.m4v")));
    EXPECT_EQ(fmp4({"repair", folder_.file("out.m4v")}).exitCode, 0);
    EXPECT_EQ(fmp4({"verify", folder_.file("out.m4v")}).exitCode, 0);
    return found.out;
  }

  static Files* files_;
  TempFolder folder_;
};
Files* Verify::files_ = nullptr;

TEST_F(Verify, ARecordingIsIntactByAnyOfItsNames) {
  for (const char* name : {"out.mp4", "out.m4v", "out.m4a", "out.mpd", "out.m3u8", "outA.m3u8",
                           "out.master.m3u8", "both.ismv", "both.xml", "both.m3u8", "both.master.m3u8"}) {
    const RunResult result = fmp4({"verify", folder_.file(name)});
    EXPECT_EQ(result.exitCode, 0) << name << '\n' << result.out;
    EXPECT_THAT(result.out, StartsWith(folder_.file(name) + " is intact: 120 frames, "));
    EXPECT_THAT(result.err, IsEmpty());
  }
  EXPECT_THAT(fmp4({"verify", folder_.file("out.mpd")}).out, HasSubstr(" in 6 files\n"));
  EXPECT_THAT(fmp4({"verify", folder_.file("both.xml")}).out, HasSubstr(" in 4 files\n"));
}

TEST_F(Verify, RepairLeavesAnIntactRecordingUnchanged) {
  const RunResult result = fmp4({"repair", folder_.file("out.mpd")});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, folder_.file("out.mpd") + " is intact: nothing to repair\n");
  for (const auto& [name, bytes] : *files_) EXPECT_EQ(readFile(folder_.file(name)), bytes) << name;
}

TEST_F(Verify, JsonSaysTheSame) {
  std::filesystem::resize_file(folder_.file("out.m4a"), files_->at("out.m4a").size() - 1);
  const RunResult result = fmp4({"verify", "--json", folder_.file("out.m4a")});
  EXPECT_EQ(result.exitCode, 1);
  const auto report = nlohmann::json::parse(result.out);
  EXPECT_EQ(report["intact"], false);
  EXPECT_EQ(report["frames"], 120);
  EXPECT_EQ(report["durationSeconds"], 4.0);
  EXPECT_EQ(report["files"],
            nlohmann::json({"out.m4v", "out.m4a", "out.mpd", "out.m3u8", "outA.m3u8", "out.master.m3u8"}));
  EXPECT_EQ(report["problems"][0]["file"], "out.m4a");
  EXPECT_TRUE(report["problems"][0]["offset"].is_number());
  EXPECT_EQ(report["problems"][0]["repairable"], true);
  EXPECT_EQ(report["problemCount"], report["problems"].size());
}

TEST_F(Verify, ReportsWhereTheFileIsTruncatedAndThatListsNameMore) {
  const std::uint64_t size = files_->at("out.m4v").size();
  std::filesystem::resize_file(folder_.file("out.m4v"), size - 100);
  const std::string found = foundAndRepaired();
  EXPECT_THAT(found, HasSubstr("out.m4v: byte "));
  EXPECT_THAT(found, HasSubstr("the recording was interrupted: the last "));
  EXPECT_THAT(found, HasSubstr("(the fragment's media data are missing or truncated)"));
  EXPECT_THAT(found, HasSubstr("reference 7 of the index says "));
  EXPECT_THAT(found,
              HasSubstr("out.mpd: MPD has mediaPresentationDuration=\"PT0H0M4.00S\", but the media say "
                        "\"PT0H0M3.50S\""));
  EXPECT_THAT(found,
              HasSubstr("out.m3u8: line 8 says \"#EXTINF:4.000,\", but the media say \"#EXTINF:3.500,\""));
  EXPECT_THAT(found, HasSubstr("out.master.m3u8: line 5 says "));
  EXPECT_THAT(text("out.mpd"), HasSubstr("PT0H0M3.50S"));
}

TEST_F(Verify, ReportsMissingLists) {
  std::filesystem::remove(folder_.file("out.mpd"));
  std::filesystem::remove(folder_.file("outA.m3u8"));
  const std::string found = foundAndRepaired();
  EXPECT_THAT(found, HasSubstr("out.mpd: it is missing, or cannot be read"));
  EXPECT_THAT(found, HasSubstr("outA.m3u8: it is missing, or cannot be read"));
  EXPECT_EQ(readFile(folder_.file("outA.m3u8")).size(), files_->at("outA.m3u8").size());
}

TEST_F(Verify, FindsErrorsInLists) {
  edit("out.m3u8", "#EXT-X-ENDLIST\n", "");
  edit("out.mpd", "<Initialization range=\"0-", "<Initialization rang=\"0-");
  // A manifest of other media gives no start; the playlist's may be a millisecond later.
  const auto between = [](const std::string& text, const std::string& before, char after) {
    const std::size_t start = text.find(before) + before.size();
    return text.substr(start, text.find(after, start) - start);
  };
  for (const char* const name : {"availabilityStartTime=\"", "publishTime=\""}) {
    edit("out.mpd", name + between(text("out.mpd"), name, '"'),
         name + between(text("out.m3u8"), "#EXT-X-PROGRAM-DATE-TIME:", '\n'));
  }
  const std::string found = foundAndRepaired();
  EXPECT_THAT(found, HasSubstr("out.m3u8: its end marker \"#EXT-X-ENDLIST\" is missing"));
  EXPECT_THAT(
      found,
      HasSubstr("out.mpd: MPD/Period/AdaptationSet/Representation/SegmentList/Initialization lacks range="));
  edit("out.m3u8", "@", "@1");
  edit("out.mpd", "mediaRange=\"", "mediaRange=\"9");
  const std::string ranges = foundAndRepaired();
  EXPECT_THAT(ranges, HasSubstr("out.m3u8: line 6 says "));
  EXPECT_THAT(ranges, HasSubstr("SegmentURL has mediaRange=\"9"));
  edit("out.mpd", "</MPD>", "");
  EXPECT_THAT(foundAndRepaired(), HasSubstr("out.mpd: it is not a complete XML document"));
  EXPECT_EQ(readFile(folder_.file("out.m3u8")).size(), files_->at("out.m3u8").size());
}

TEST_F(Verify, FindsErrorsInAnIndex) {
  Bytes bytes = files_->at("out.m4v");
  const Bytes name = {'s', 'i', 'd', 'x'};
  const auto index = std::search(bytes.begin(), bytes.end(), name.begin(), name.end());
  *(index + 28 + 3) ^= 1;  // of the first reference's size
  writeFile(folder_.file("out.m4v"), bytes);
  EXPECT_THAT(foundAndRepaired(), HasSubstr("reference 0 of the index says "));
  EXPECT_EQ(readFile(folder_.file("out.m4v")), files_->at("out.m4v"));
  std::fill(index + 28, index + 28 + 120, 0);
  writeFile(folder_.file("out.m4v"), bytes);
  EXPECT_THAT(foundAndRepaired(), HasSubstr("the index of the segment was not completed"));
  EXPECT_EQ(readFile(folder_.file("out.m4v")), files_->at("out.m4v"));
}

// Changes a byte after the first occurrence of a box type.
Bytes changed(Bytes bytes, const char* type, std::ptrdiff_t afterType) {
  const Bytes name(type, type + 4);
  const auto at = std::search(bytes.begin(), bytes.end(), name.begin(), name.end());
  *(at + afterType) ^= 1;
  return bytes;
}

TEST_F(Verify, ReportsWhatCannotBeRepaired) {
  struct Damage {
    const char* type;
    std::ptrdiff_t afterType;
    const char* message;
  };
  for (const auto& [type, afterType, message] :
       {Damage{"mfhd", 11, "the fragment has sequence number 0, expected 1"},
        Damage{"tfdt", 11, "track 1 has decode time 1, expected 0"},
        Damage{"stts", 11, "the sample tables of track 1 are not empty"}}) {
    Bytes bytes = changed(files_->at("out.m4v"), type, afterType);
    writeFile(folder_.file("out.m4v"), bytes);
    const RunResult found = fmp4({"verify", folder_.file("out.m4v")});
    EXPECT_EQ(found.exitCode, 1);
    EXPECT_THAT(found.out, HasSubstr(message));
    EXPECT_THAT(found.out, HasSubstr("none of this can be repaired"));
    EXPECT_EQ(fmp4({"repair", folder_.file("out.m4v")}).exitCode, 1);
    EXPECT_EQ(readFile(folder_.file("out.m4v")), bytes);
  }
}

// Delays the decode times of a track by `ticks` from its fragment `first` on, counted from 0.
Bytes withLaterTimes(Bytes bytes, std::uint32_t track, int first, std::uint32_t ticks) {
  const Bytes header = {'t', 'f', 'h', 'd'}, time = {'t', 'f', 'd', 't'};
  auto at = bytes.begin();
  for (int number = 0;;) {
    constexpr std::ptrdiff_t kToFields = 8;  // after type, version and flags
    const auto tfhd = std::search(at, bytes.end(), header.begin(), header.end());
    if (tfhd == bytes.end()) return bytes;
    at = std::search(tfhd, bytes.end(), time.begin(), time.end()) + kToFields;
    if (Mp4LoadU32(&*(tfhd + kToFields)) != track || number++ < first) continue;
    const Bytes later = u32(Mp4LoadU32(&*at) + ticks);
    std::copy(later.begin(), later.end(), at);
  }
}

// Offset of a fragment, counted from 0.
std::string fragmentOffset(const Bytes& bytes, int number) {
  const Bytes name = {'m', 'o', 'o', 'f'};
  auto at = bytes.begin();
  for (int i = 0; i <= number; ++i) at = std::search(at, bytes.end(), name.begin(), name.end()) + 4;
  return std::to_string(at - 8 - bytes.begin());
}

constexpr const char* kOneProblem =
    " is not intact: 1 problem; none of this can be repaired; get an undamaged copy\n";

TEST_F(Verify, ReportsAudioThatBeginsAfterTheVideo) {
  const Bytes bytes = withLaterTimes(files_->at("out.m4a"), 2, 0, 2 * 48000);
  writeFile(folder_.file("out.m4a"), bytes);
  const std::string name = folder_.file("out.mpd");
  const RunResult found = fmp4({"verify", name});
  EXPECT_EQ(found.exitCode, 1);
  EXPECT_EQ(found.out, "out.m4a: byte " + fragmentOffset(bytes, 0) +
                           ": track 2 has decode time 96000, expected 0\n"
                           "note: the audio begins 2.000 s after the video\n"
                           "note: the audio ends 2.011 s after the video\n" +
                           name + kOneProblem);
  const auto report = nlohmann::json::parse(fmp4({"verify", "--json", name}).out);
  EXPECT_EQ(report["notes"], nlohmann::json({"the audio begins 2.000 s after the video",
                                             "the audio ends 2.011 s after the video"}));
}

TEST_F(Verify, ReportsVideoThatBeginsAfterTheAudio) {
  const Bytes bytes = withLaterTimes(files_->at("both.ismv"), 1, 0, 18000);  // 0.6 s
  writeFile(folder_.file("both.ismv"), bytes);
  const std::string name = folder_.file("both.ismv");
  EXPECT_EQ(fmp4({"verify", name}).out, "both.ismv: byte " + fragmentOffset(bytes, 0) +
                                            ": track 1 has decode time 18000, expected 0\n"
                                            "note: the audio begins 0.600 s before the video\n" +
                                            name + kOneProblem);
}

TEST_F(Verify, ReportsAGapInOnlyAudioOrVideo) {
  const Bytes audio = withLaterTimes(files_->at("out.m4a"), 2, 2, 48000);
  writeFile(folder_.file("out.m4a"), audio);
  const std::string name = folder_.file("out.mpd"),
                    problem = "out.m4a: byte " + fragmentOffset(audio, 2) +
                              ": track 2 has decode time 97152, expected 49152\n";
  EXPECT_EQ(fmp4({"verify", name}).out, problem +
                                            "note: the audio pauses for 1.000 s at 1.024 s, the video does "
                                            "not\n"
                                            "note: the audio ends 1.011 s after the video\n" +
                                            name + kOneProblem);

  // A second gap.
  writeFile(folder_.file("out.m4a"), withLaterTimes(audio, 2, 4, 28800));
  EXPECT_THAT(fmp4({"verify", name}).out,
              HasSubstr("note: the audio pauses for 1.000 s at 1.024 s, the video does not; the first of 2 "
                        "such pauses\n"));
}

TEST_F(Verify, ACommonGapIsNotAnOffsetOfAudioAndVideo) {
  const Bytes audio = withLaterTimes(files_->at("out.m4a"), 2, 2, 48000),
              retimed = withLaterTimes(files_->at("out.m4v"), 1, 2, 30000);
  writeFile(folder_.file("out.m4a"), audio);
  writeFile(folder_.file("out.m4v"), retimed);
  const std::string name = folder_.file("out.mpd");
  EXPECT_EQ(fmp4({"verify", name}).out,
            "out.m4v: byte " + fragmentOffset(retimed, 2) +
                ": track 1 has decode time 60000, expected 30000\n"
                "out.m4a: byte " +
                fragmentOffset(audio, 2) + ": track 2 has decode time 97152, expected 49152\n" + name +
                " is not intact: 2 problems; none of this can be repaired; get an undamaged copy\n");
}

TEST_F(Verify, SaysWhenOnlyPartCanBeRepaired) {
  writeFile(folder_.file("out.m4v"), changed(files_->at("out.m4v"), "mfhd", 11));
  edit("out.m3u8", "#EXT-X-ENDLIST\n", "");
  EXPECT_THAT(
      fmp4({"verify", folder_.file("out.m4v")}).out,
      HasSubstr("not all of this can be repaired; 'fmp4 repair' does what it can, or get an undamaged "
                "copy\n"));
  EXPECT_EQ(fmp4({"repair", folder_.file("out.m4v")}).out, "out.m3u8: rewritten\n");
}

TEST_F(Verify, DistinguishesDamageInTheMiddleFromATruncatedEnd) {
  for (const auto& [type, afterType, message] :
       {std::tuple{"moof", 3, "there is no fragment here"},
        std::tuple{"trun", 11, "the data offset of track 1 does not point to its samples"}}) {
    writeFile(folder_.file("out.m4v"), changed(files_->at("out.m4v"), type, afterType));
    const Bytes before = readFile(folder_.file("out.m4v"));
    // Repair does not touch it, so nothing is repairable. What the lists say cannot be compared.
    const auto report = nlohmann::json::parse(fmp4({"verify", "--json", folder_.file("out.m4v")}).out);
    EXPECT_THAT(std::string(report["problems"][0]["problem"]),
                HasSubstr("complete fragments follow the damage"));
    for (const auto& problem : report["problems"]) {
      EXPECT_EQ(problem["repairable"], false) << problem;
      EXPECT_EQ(problem["file"], "out.m4v") << problem;
    }
    EXPECT_EQ(report["advice"], "get an undamaged copy");
    const RunResult refused = fmp4({"repair", folder_.file("out.m4v")});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_THAT(refused.err, HasSubstr("it was not merely interrupted, and nothing was changed"));
    EXPECT_EQ(readFile(folder_.file("out.m4v")), before);
  }
}

// The file after a power cut before the data of a fragment, counted from 0, were written.
Bytes withUnwrittenData(Bytes bytes, int fragment) {
  const Bytes name = {'m', 'd', 'a', 't'};
  auto at = bytes.begin();
  for (int i = 0; i <= fragment; ++i) at = std::search(at, bytes.end(), name.begin(), name.end()) + 4;
  const auto size = static_cast<std::ptrdiff_t>(Mp4LoadU32(&*(at - 8)));
  std::fill(at, at + size - 8, 0);
  return bytes;
}

TEST_F(Verify, TreatsUnwrittenFragmentsAtTheEndAsTruncation) {
  writeFile(folder_.file("out.m4v"), withUnwrittenData(withUnwrittenData(files_->at("out.m4v"), 6), 7));
  const std::string found = foundAndRepaired();
  EXPECT_THAT(found,
              HasSubstr("of the file contain no complete fragment (the media data were never written)"));
  EXPECT_THAT(text("out.mpd"), HasSubstr("PT0H0M3.00S"));
}

TEST_F(Verify, ReportsUnwrittenFragmentsAmongCompleteOnes) {
  const Bytes bytes = withUnwrittenData(files_->at("out.m4v"), 2);
  writeFile(folder_.file("out.m4v"), bytes);
  const RunResult found = fmp4({"verify", folder_.file("out.m4v")});
  EXPECT_EQ(found.exitCode, 1);
  EXPECT_THAT(found.out, HasSubstr("part of the fragment's media data was never written"));
  EXPECT_THAT(found.out, HasSubstr("is not intact: 1 problem; none of this can be repaired"));
  EXPECT_EQ(fmp4({"repair", folder_.file("out.m4v")}).exitCode, 1);
  EXPECT_EQ(readFile(folder_.file("out.m4v")), bytes);
}

TEST_F(Verify, RefusesWhatIsNotARecording) {
  const auto refused = [this](const std::string& name) {
    const RunResult result = fmp4({"verify", folder_.file(name)});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_EQ(fmp4({"repair", folder_.file(name)}).exitCode, 1);
    return result.err;
  };
  EXPECT_THAT(refused("missing.m4v"), HasSubstr("belongs to no recording"));
  writeFile(folder_.file("text.m4v"), {'h', 'e', 'l', 'l', 'o'});
  EXPECT_THAT(refused("text.m4v"), HasSubstr("does not begin with a complete file type box"));
  makeMedia(folder_.file("plain.mp4"), videoInput(0.2) + h264Codec());
  EXPECT_THAT(refused("plain.mp4"), HasSubstr("has a file type other than that of recordings"));
  Bytes start = files_->at("out.m4v");
  start.resize(200);
  writeFile(folder_.file("start.m4v"), start);
  EXPECT_THAT(refused("start.m4v"), HasSubstr("ends before its movie box: it has nothing"));
}

TEST_F(Verify, ListsLeadOnlyToFilesBesideThem) {
  std::filesystem::create_directory(folder_.file("lists"));
  const std::string manifest = text("out.mpd");
  for (const char* name : {"../out.m4v", "/dev/zero", "..", ""}) {
    std::string led = manifest;
    led.replace(led.find("out.m4v"), 7, name);
    writeFile(folder_.file("lists/x.mpd"), {led.begin(), led.end()});
    EXPECT_THAT(fmp4({"verify", folder_.file("lists/x.mpd")}).err, HasSubstr("belongs to no recording"))
        << name;
  }
}

}  // namespace

}  // namespace fmp4
