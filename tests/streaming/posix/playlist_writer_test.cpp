// Playlists on a disk that is full.
#include "streaming/lists/playlist_writer.h"

#include <gtest/gtest.h>

#include "tests/support/box_builder.h"
#include "tests/support/posix/full_disk.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

class PlaylistOnAFullDisk : public testing::Test {
 protected:
  std::string text() const {
    const Bytes bytes = readFile(path_);
    return {bytes.begin(), bytes.end()};
  }

  const TempFolder folder_;
  const std::string path_ = folder_.file("out.m3u8");
  const PlaylistSettings settings_ = {"out.m4v", 25, 250, 701, "2016-09-21T08:15:30.250Z"};
  PlaylistWriter playlist_;
};

TEST_F(PlaylistOnAFullDisk, HasCompleteEntriesAlone) {
  playlist_.start(path_, settings_);
  const std::string header = text();
  playlist_.AddSegment(250, 701, 10701);
  const std::string first = text().substr(header.size());
  {
    const FullDisk full(header.size() + 2 * first.size() - 5);
    playlist_.AddSegment(500, 10701, 20701);
    playlist_.AddSegment(750, 20701, 30701);
  }
  EXPECT_EQ(text(), header + first);
  playlist_.end();
  EXPECT_EQ(text(), header + first);
}

TEST_F(PlaylistOnAFullDisk, IsRemovedWithoutACompleteHeader) {
  {
    const FullDisk full(50);
    playlist_.start(path_, settings_);
  }
  EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(PlaylistOnAFullDisk, IsRemovedIfAnotherOneWasWrittenBefore) {
  playlist_.start(folder_.file("before.m3u8"), settings_);
  {
    const FullDisk full(50);
    playlist_.start(path_, settings_);
  }
  EXPECT_FALSE(std::filesystem::exists(path_));
}

}  // namespace

}  // namespace fmp4
