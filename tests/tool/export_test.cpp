#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fmp4.h"
#include "support/box_builder.h"
#include "support/ffmpeg.h"
#include "support/temp_folder.h"

namespace {

TEST(Export, H264DecodesToTheSourcesPictures) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4"), stream = folder.file("clip.h264");
  makeMedia(file, pictureInput(2) + h264Codec(15, 3) + fragmented());
  const RunResult result = fmp4({"--quiet", "export", file, "--video", stream});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
  const std::vector<std::string> expected = pictureHashes(file);
  EXPECT_EQ(expected.size(), 60u);
  EXPECT_EQ(pictureHashes(stream), expected);
}

TEST(Export, HevcDecodesToTheSourcesPictures) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4"), stream = folder.file("clip.hevc");
  makeMedia(file, pictureInput(2) + hevcCodec(15) + fragmented());
  const RunResult result = fmp4({"export", file, "--video", stream});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const std::vector<std::string> expected = pictureHashes(file);
  EXPECT_EQ(expected.size(), 60u);
  EXPECT_EQ(pictureHashes(stream), expected);
}

TEST(Export, EveryKeyFrameCanBeStartedFrom) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4"), stream = folder.file("clip.h264");
  makeMedia(file, pictureInput(2) + h264Codec(15, 0) + fragmented());
  const RunResult result = fmp4({"export", file, "--video", stream, "--from", "30", "--count", "15"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const std::vector<std::string> all = pictureHashes(file);
  ASSERT_EQ(all.size(), 60u);
  EXPECT_EQ(pictureHashes(stream), std::vector<std::string>(all.begin() + 30, all.begin() + 45));
}

TEST(Export, KeepsTheSourceWhenNamedAsOutput) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, pictureInput(0.2) + h264Codec() + fragmented());
  const Bytes before = readFile(file);
  const RunResult result = fmp4({"--quiet", "export", file, "--video", file});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err,
            "fmp4: '" + file + "' is the file to be exported; give another name for the output\n");
  EXPECT_EQ(readFile(file), before);
}

TEST(Export, OutputThatCannotBeCreatedIsNamed) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4"), output = folder.file("missing/clip.h264");
  makeMedia(file, pictureInput(0.2) + h264Codec() + fragmented());
  const RunResult result = fmp4({"--quiet", "export", file, "--video", output});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "fmp4: '" + output + "' cannot be created; check the folder and its permissions\n");
}

TEST(Export, FullDiskIsReportedAndADeviceIsNotRemoved) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, pictureInput(0.2) + h264Codec() + fragmented());
  const RunResult result = fmp4({"--quiet", "export", file, "--video", "/dev/full"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "fmp4: '/dev/full' could not be written; is the disk full?\n");
  EXPECT_TRUE(std::filesystem::exists("/dev/full"));
}

// A length in frame 20 that reaches past the frame's end.
TEST(Export, DamagedFrameIsNamedAndThePartialFileRemoved) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4"), stream = folder.file("clip.h264");
  makeMedia(file, pictureInput(1) + h264Codec() + fragmented());
  Bytes bytes = readFile(file);
  bytes[static_cast<std::size_t>(ffprobePackets(file, "v:0")[20].offset)] = 0x7F;
  writeFile(file, bytes);
  const RunResult result = fmp4({"--quiet", "export", file, "--video", stream});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "fmp4: frame 20 of '" + file +
                            "' is damaged: a length in it reaches past its end; export what lies around it "
                            "with --from and --count; the partial '" +
                            stream + "' has been removed\n");
  EXPECT_FALSE(std::filesystem::exists(stream));
}

}  // namespace
