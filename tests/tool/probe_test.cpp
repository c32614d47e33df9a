#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "base/json_text.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

using testing::HasSubstr;

TEST(Probe, AcceptsAFragmentedFile) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(0.2) + h264Codec() + fragmented());
  const RunResult result = fmp4({"probe", file});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, "accepted " + file + "\n");
}

TEST(Probe, ListsEveryFileAndFailsIfOneIsRefused) {
  const TempFolder folder;
  const std::string entire = folder.file("clip.mp4"), plain = folder.file("plain.mp4");
  makeMedia(entire, videoInput(0.2) + h264Codec() + fragmented());
  makeMedia(plain, videoInput(0.2) + h264Codec());
  const RunResult result = fmp4({"probe", plain, entire, folder.file("missing.mp4"), "any.mpd"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out, "refused " + plain + "\naccepted " + entire + "\nrefused " +
                            folder.file("missing.mp4") + "\naccepted any.mpd\n");
  EXPECT_THAT(result.err, HasSubstr(plain + ": ERROR(vlx_fmp4): No moof, not a fragmented mp4\n"));
  EXPECT_THAT(result.err, HasSubstr(folder.file("missing.mp4") + ": ERROR(vlx_fmp4): Cannot open file\n"));
  EXPECT_THAT(result.err,
              HasSubstr("fmp4: '" + plain + "' is not a fragmented MP4: it has no movie fragments"));
  EXPECT_THAT(result.err,
              HasSubstr("fmp4: '" + folder.file("missing.mp4") + "' does not exist; check the name\n"));
}

TEST(Probe, OfAFolderAsksAboutItsFiles) {
  const TempFolder folder;
  makeMedia(folder.file("b.mp4"), videoInput(0.2) + h264Codec() + fragmented());
  makeMedia(folder.file("a.mp4"), videoInput(0.2) + h264Codec());
  const RunResult result = fmp4({"--quiet", "probe", "--json", folder.path().string()});
  EXPECT_EQ(result.exitCode, 1);
  const auto list = nlohmann::json::parse(result.out);
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list[0]["file"], folder.file("a.mp4"));
  EXPECT_EQ(list[0]["accepted"], false);
  EXPECT_EQ(list[1]["file"], folder.file("b.mp4"));
  EXPECT_EQ(list[1]["accepted"], true);
}

// The plug-in accepts manifests by their names, and media by their content; names decide what it opens.
TEST(Probe, SaysOfAcceptedFilesWhyTheyWillNotOpen) {
  const TempFolder folder;
  makeMedia(folder.file("clip.mp4"), videoInput(0.2) + h264Codec() + fragmented());
  for (const char* name : {"clip.m4s", "clip.cmfv", "clip.M4S"})
    writeFile(folder.file(name), readFile(folder.file("clip.mp4")));
  std::filesystem::create_directory(folder.file("dash"));
  runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-i", folder.file("clip.mp4"), "-c", "copy", "-f", "dash",
              folder.file("dash/manifest.mpd")});
  const std::pair<const char*, const char*> kCodes[] = {{"clip.m4s", "name-not-recognised"},
                                                        {"clip.cmfv", "name-not-recognised"},
                                                        {"clip.M4S", "name-not-recognised"},
                                                        {"dash/manifest.mpd", "segment-files"},
                                                        {"missing.mpd", "missing"}};
  for (const auto& [name, code] : kCodes) {
    const std::string file = folder.file(name);
    const auto answer = nlohmann::json::parse(fmp4({"-q", "probe", "--json", file}).out)[0];
    const std::string why = answer["why"];
    EXPECT_EQ(answer["accepted"], true) << name;
    EXPECT_EQ(answer["code"], code);
    const RunResult probed = fmp4({"-q", "probe", file}), described = fmp4({"-q", "info", file});
    EXPECT_EQ(probed.exitCode, 0) << "the plug-in's answer";
    EXPECT_EQ(probed.out, "accepted " + file + "\n");
    EXPECT_EQ(probed.err, "fmp4: '" + file + "' is accepted, but " + why + "\n");
    EXPECT_EQ(described.exitCode, 1);
    EXPECT_EQ(described.err, "fmp4: '" + file + "' " + why + "\n") << "what info says";
  }
}

TEST(Probe, GivesAReasonAsJson) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  const auto answerFor = [&file](const std::string& content) {
    writeFile(file, {content.begin(), content.end()});
    return nlohmann::ordered_json::parse(fmp4({"-q", "probe", "-j", file}).out)[0].dump();
  };
  const std::string name = R"({"file":)" + jsonText(file), start = name + R"(,"accepted":false,"code":)";
  EXPECT_EQ(answerFor(""), start + R"("empty","why":"is empty"})");
  EXPECT_EQ(answerFor("text that is no MP4"), start + R"("not-mp4","why":"is not MP4"})");
  makeMedia(file, videoInput(0.2) + h264Codec() + fragmented());
  EXPECT_EQ(nlohmann::ordered_json::parse(fmp4({"-q", "probe", "-j", file}).out)[0].dump(),
            name + R"(,"accepted":true})");
}

TEST(Probe, QuietHidesTheHostsLogAndNotTheReason) {
  const RunResult result = fmp4({"--quiet", "probe", "missing.mp4"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out, "refused missing.mp4\n");
  EXPECT_EQ(result.err, "fmp4: 'missing.mp4' does not exist; check the name\n");
}

}  // namespace

}  // namespace fmp4
