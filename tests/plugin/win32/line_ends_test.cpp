#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/plugin/recording.h"

namespace fmp4 {

namespace {

std::string bytesOf(const std::string& path) {
  const Bytes bytes = readFile(path);
  return {bytes.begin(), bytes.end()};
}

TEST(LineEnds, ArePairsInPlaylistsAndSingleInManifests) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"));
  writeFrames(*file, 3);
  EXPECT_EQ(closeFile(file), VL_OK);
  const std::string playlist = bytesOf(folder.file("out.m3u8"));
  EXPECT_THAT(playlist, testing::StartsWith("#EXTM3U\r\n#EXT-X-VERSION:7\r\n"));
  EXPECT_EQ(std::count(playlist.begin(), playlist.end(), '\r'),
            std::count(playlist.begin(), playlist.end(), '\n'));
  EXPECT_THAT(bytesOf(folder.file("out.mpd")), testing::Not(testing::HasSubstr("\r")));
}

TEST(LineEnds, APlaylistMayBeReadWhileItGrows) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"));
  writeFrames(*file, 301);
  EXPECT_THAT(textOf(folder.file("out.m3u8")), testing::HasSubstr("#EXTINF"));
  EXPECT_EQ(openFile(folder.file("out.mpd"))->GetTotalFrames(), 300u) << "and so can the media";
  EXPECT_EQ(closeFile(file), VL_OK);
}

}  // namespace

}  // namespace fmp4
