// The picture of one frame, against ffmpeg's decoding of the whole file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/environment.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

// The MD5 of a picture as ffmpeg decodes it, in a format that PNG holds without loss.
std::string pngHash(const std::string& file) {
  const std::string text = runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-i", file, "-pix_fmt", "rgb24",
                                       "-f", "framemd5", "-"})
                               .out;
  return text.substr(text.rfind(' ') + 1);
}

// Those of all frames of a file, in order of display.
std::vector<std::string> shownHashes(const std::string& file) {
  std::vector<std::string> hashes;
  for (const std::string& line :
       linesOf(runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-i", file, "-map", "0:v", "-fps_mode",
                           "passthrough", "-pix_fmt", "rgb24", "-f", "framemd5", "-"})
                   .out))
    if (!line.starts_with("#")) hashes.push_back(line.substr(line.rfind(' ') + 1) + "\n");
  return hashes;
}

// Frames are numbered in order of decoding.
void expectPictures(const TempFolder& folder, const std::string& file,
                    const std::vector<std::size_t>& frames) {
  const std::vector<Packet> packets = ffprobePackets(file, "v:0");
  const std::vector<std::string> shown = shownHashes(file);
  ASSERT_EQ(shown.size(), packets.size());
  for (const std::size_t frame : frames) {
    const auto place =
        static_cast<std::size_t>(std::count_if(packets.begin(), packets.end(), [&](const Packet& packet) {
          return packet.pts < packets[frame].pts;
        }));
    const std::string picture = folder.file("picture.png");
    const RunResult result =
        fmp4({"--quiet", "export", file, "--picture", picture, "--from", std::to_string(frame), "--force"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(pngHash(picture), shown[place]) << frame;
  }
  EXPECT_FALSE(std::filesystem::exists(folder.file("picture.png.h264")));
  EXPECT_FALSE(std::filesystem::exists(folder.file("picture.png.hevc")));
}

TEST(ExportPicture, IsThatOfTheFrameAmongBFrames) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(1, "25", "160x96") + h264Codec(10) + fragmented());
  expectPictures(folder, file, {0, 1, 2, 9, 10, 12, 24});
}

// Pictures that are displayed before their key frame need the group before it.
TEST(ExportPicture, IsThatOfALeadingFrameOfAnOpenGroup) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(1, "25", "160x96") +
                      std::vector<std::string>{"-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt",
                                               "yuv420p", "-bf", "2", "-b_strategy", "0", "-x264-params",
                                               "open-gop=1:keyint=9:min-keyint=9:scenecut=0:threads=1"} +
                      fragmented());
  const std::vector<Packet> packets = ffprobePackets(file, "v:0");
  std::vector<std::size_t> leading;
  for (std::size_t i = 1, key = 0; i < packets.size(); ++i) {
    if (packets[i].key) key = i;
    if (packets[i].pts < packets[key].pts) leading.push_back(i);
  }
  ASSERT_FALSE(leading.empty());
  expectPictures(folder, file, leading);
  expectPictures(folder, file, {leading.back() + 1});
}

TEST(ExportPicture, OfHevcWorksToo) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(1, "25", "160x96") + hevcCodec(10) + fragmented());
  expectPictures(folder, file, {0, 13});
}

// No program is found along an empty path.
TEST(ExportPicture, WithoutFfmpegIsRefused) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(0.4, "25", "160x96") + h264Codec() + fragmented());
  const Environment path("PATH", folder.path().string().c_str());
  const RunResult result = fmp4({"--quiet", "export", file, "--picture", folder.file("picture.png")});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err,
            "fmp4: pictures are decoded by the program ffmpeg, which is not installed; --video writes the "
            "frames for "
            "another decoder; the partial '" +
                folder.file("picture.png") + "' has been removed\n");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1) << "the clip alone";
}

}  // namespace

}  // namespace fmp4
