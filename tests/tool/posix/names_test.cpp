// Names that shells, lists and URLs give a meaning to, or that are no text.
#include <gtest/gtest.h>

#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

TEST(OddNames, NameRecordingsThatAreReadBack) {
  const TempFolder folder;
  const std::string clip = folder.file("source.mp4");
  makeMedia(clip, videoInput(1, "25", "160x96") + toneInput(1) + h264Codec(25, 0) +
                      std::vector<std::string>{"-c:a", "aac"} + fragmented());
  for (const char* name : {"what?", "it's", "\"quoted\"", "a&b<c>;|", "caf\xE9", "100%", "no#1", "two\nlines",
                           "-q", "[x]{y}*", "$HOME", "CLIP.MP4"}) {
    const std::string base = folder.file(name);
    const RunResult packaged = fmp4({"--quiet", "package", clip, "--output", base + ".mp4"});
    EXPECT_EQ(packaged.exitCode, 0) << packaged.err;
    for (const char* file : {".mpd", ".m3u8", "A.m3u8", ".master.m3u8", ".m4v"})
      EXPECT_EQ(fmp4({"--quiet", "verify", base + file}).exitCode, 0) << base << file;
    EXPECT_EQ(linesOf(fmp4({"--quiet", "frames", base + ".mpd"}).out).size(), 26u) << base;
    EXPECT_EQ(fmp4({"--quiet", "export", base + ".mpd", "--audio", base + ".wav"}).exitCode, 0) << base;
  }
}

TEST(OddNames, WithABackslashAreRefused) {
  const TempFolder folder;
  makeMedia(folder.file("source.mp4"), videoInput(0.4, "25", "160x96") + h264Codec());
  const std::string output = folder.file("a\\b.mp4");
  const RunResult result = fmp4({"--quiet", "package", folder.file("source.mp4"), "--output", output});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err,
            "fmp4: '" + output +
                "' has a backslash in its name, which hosts take for the end of a folder's; give another "
                "name\n");
}

}  // namespace

}  // namespace fmp4
