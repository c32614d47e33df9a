// The bandwidths of a master playlist.
#include "streaming/lists/master_playlist.h"

#include <gtest/gtest.h>

namespace fmp4 {

namespace {

// `segments`: seconds and bytes of each.
MasterPlaylist::Media media(const std::string& name, const std::vector<std::pair<int, int>>& segments) {
  std::string text = "#EXTM3U\n";
  for (const auto& [seconds, bytes] : segments)
    text += "#EXTINF:" + std::to_string(seconds) + ".0,\n#EXT-X-BYTERANGE:" + std::to_string(bytes) + "@0\n" +
            name + "\n";
  return {name, text};
}

std::string bandwidthOf(const std::vector<std::pair<int, int>>& video,
                        const std::vector<std::pair<int, int>>& audio = {}) {
  MasterPlaylist master;
  master.video = media("v.m3u8", video);
  if (!audio.empty()) master.audio = media("vA.m3u8", audio);
  const std::string text = masterPlaylistText(master);
  const std::size_t begin = text.find("BANDWIDTH="), end = text.find(",CODECS");
  return text.substr(begin, end - begin);
}

TEST(MasterPlaylist, PeakIsThatOfTheHighestSegment) {
  EXPECT_EQ(bandwidthOf({{2, 500}, {2, 1000}, {2, 750}}), "BANDWIDTH=4000,AVERAGE-BANDWIDTH=3000");
}

TEST(MasterPlaylist, BandwidthsAreRoundedUp) {
  EXPECT_EQ(bandwidthOf({{3, 1001}}), "BANDWIDTH=2670,AVERAGE-BANDWIDTH=2670");
}

TEST(MasterPlaylist, BandwidthsOfVideoAndAudioAddUp) {
  EXPECT_EQ(bandwidthOf({{2, 500}, {2, 1000}}, {{2, 100}, {2, 50}}), "BANDWIDTH=4400,AVERAGE-BANDWIDTH=3300");
}

TEST(MasterPlaylist, SegmentsOfNoDurationHaveNoBandwidth) {
  EXPECT_EQ(bandwidthOf({{0, 100}, {2, 1000}}), "BANDWIDTH=4000,AVERAGE-BANDWIDTH=4400");
  EXPECT_EQ(bandwidthOf({}), "BANDWIDTH=0,AVERAGE-BANDWIDTH=0");
}

}  // namespace

}  // namespace fmp4
