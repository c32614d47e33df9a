// Real media recorded by `fmp4 package` and read back: the same video and the same audio.
#include <gtest/gtest.h>

#include "tests/plugin/audio.h"
#include "tests/plugin/loaded_plugin.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

// The source is fragmented, so that it and its recording are read by the same reader.
std::string makeSource(const TempFolder& folder, int bFrames) {
  const std::string source = folder.file("source.mp4");
  makeMedia(source, videoInput(4, "25", "160x96") + toneInput(4) + h264Codec(25, bFrames) +
                        std::vector<std::string>{"-ac", "2", "-c:a", "aac", "-aac_pns", "0", "-movflags",
                                                 "delay_moov+frag_keyframe"});
  return source;
}

void expectTheSame(const std::string& source, const std::string& recording) {
  const MediaFile before = openFile(source), after = openFile(recording);
  ASSERT_NE(before, nullptr);
  ASSERT_NE(after, nullptr);
  ASSERT_EQ(after->GetTotalFrames(), before->GetTotalFrames());
  for (std::uint32_t frame = 0; frame < before->GetTotalFrames(); ++frame) {
    const VideoFrame a = readFrame(*before, frame), b = readFrame(*after, frame);
    ASSERT_EQ(a.data, b.data) << frame;
    ASSERT_EQ(a.key(), b.key()) << frame;
  }
  const Samples was = readAll(*before, 4096), is = readAll(*after, 1602);
  // The source's edit list hides its first access unit, the pre-roll of the second. Without it the second
  // begins differently.
  constexpr std::ptrdiff_t kUnit = 2 * 1024;
  // A recording counts complete access units; the source may state a shorter last one.
  ASSERT_GE(is.size() + kUnit, was.size());
  ASSERT_LT(is.size(), was.size());
  EXPECT_TRUE(std::equal(was.begin() + 2 * kUnit, was.end(), is.begin() + kUnit));
}

TEST(PackageRoundTrip, VideoAndAudioInSeparateFiles) {
  const TempFolder folder;
  const std::string source = makeSource(folder, 0);
  runOrThrow({VL_BIN_DIR "/fmp4", "--quiet", "package", source, "--output", folder.file("out.mp4")});
  expectTheSame(source, folder.file("out.mpd"));
}

TEST(PackageRoundTrip, VideoAndAudioInOneFile) {
  const TempFolder folder;
  const std::string source = makeSource(folder, 0);
  runOrThrow({VL_BIN_DIR "/fmp4", "--quiet", "package", source, "--output", folder.file("out.ismv")});
  expectTheSame(source, folder.file("out.ismv"));
}

}  // namespace

}  // namespace fmp4
