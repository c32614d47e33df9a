#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

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

TEST(Probe, QuietHidesTheHostsLogAndNotTheReason) {
  const RunResult result = fmp4({"--quiet", "probe", "missing.mp4"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out, "refused missing.mp4\n");
  EXPECT_EQ(result.err, "fmp4: 'missing.mp4' does not exist; check the name\n");
}

}  // namespace

}  // namespace fmp4
