// Outputs that accept no data.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/ffmpeg.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

TEST(Usage, FullStandardOutputFails) {
  for (const std::string arguments : {"version", "--version", "--help", "help info"}) {
    const RunResult result = run({"sh", "-c", VL_BIN_DIR "/fmp4 " + arguments + " >/dev/full"});
    EXPECT_EQ(result.exitCode, 1) << arguments;
    EXPECT_EQ(result.err, "fmp4: standard output could not be written; is its disk full?\n");
  }
}

TEST(Export, OnStandardOutputIsAlone) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(0.2) + h264Codec() + fragmented());
  ASSERT_EQ(fmp4({"--quiet", "export", file, "--video", folder.file("clip.h264")}).exitCode, 0);
  const std::vector<std::uint8_t> bytes = readFile(folder.file("clip.h264"));
  const std::string expected(bytes.begin(), bytes.end());
  EXPECT_EQ(fmp4({"--quiet", "export", file, "--video", "/dev/stdout"}).out, expected);
  run({"sh", "-c",
       "'" VL_BIN_DIR "/fmp4' --quiet export '" + file + "' --video /dev/stdout >'" +
           folder.file("redirected") + "'"});
  EXPECT_EQ(readFile(folder.file("redirected")), bytes);
}

TEST(Export, FullDiskIsReportedAndADeviceIsNotRemoved) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(0.2) + h264Codec() + fragmented());
  const RunResult result = fmp4({"--quiet", "export", file, "--video", "/dev/full"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "fmp4: '/dev/full' could not be written; is the disk full?\n");
  EXPECT_TRUE(std::filesystem::exists("/dev/full"));
}

}  // namespace fmp4
