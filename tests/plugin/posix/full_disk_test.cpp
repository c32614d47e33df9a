// Recordings that run out of disk space.
#include "tests/support/posix/full_disk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/plugin/recording.h"
#include "tests/support/log_capture.h"
#include "tests/support/places.h"
#include "tests/support/run.h"

namespace fmp4 {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(BadRecording, AFullDeviceCannotBeOpenedForWriting) {
  const TempFolder folder;
  std::filesystem::create_symlink("/dev/full", folder.file("out.m4v"));
  LogCapture log;
  EXPECT_EQ(createFile(folder.file("out.mp4")), nullptr);
  EXPECT_THAT(log.lines,
              ElementsAre(LogLine{VL_LOG_PLAIN, "fmp4 file_write failure, error: 28\n"},
                          LogLine{VL_LOG_WARNING,
                                  "WARNING(vlx_fmp4): Unable to open video mp4 file for write (vlx_fmp4)\n"},
                          LogLine{VL_LOG_PLAIN, "fmp4OpenWrite(0xE802500C)"}));
}

// The previous media are gone by then.
TEST(BadRecording, OldManifestAndPlaylistsAreRemovedEvenIfNewOnesCannotBeWritten) {
  const TempFolder folder;
  MediaFile file = startRecording(folder.file("out.mp4"));
  writeSample(*file, 1, QVR_MODE_VIDEO, frameBytes(0));
  ASSERT_EQ(closeFile(file), VL_OK);
  std::filesystem::remove(folder.file("out.m4v"));
  std::filesystem::create_symlink("/dev/full", folder.file("out.m4v"));
  EXPECT_EQ(createFile(folder.file("out.mp4")), nullptr);
  EXPECT_FALSE(std::filesystem::exists(folder.file("out.mpd")));
  EXPECT_FALSE(std::filesystem::exists(folder.file("out.m3u8")));
}

TEST(BadRecording, AFullDiskEndsTheRecordingAndListedSegmentsStillPlay) {
  for (const std::uint64_t space : {1000u, 20000u, 37000u, 38000u, 60000u}) {
    const TempFolder folder;
    MediaFile file = startRecording(folder.file("out.mp4"));
    std::uint32_t written = 0;
    std::string manifest;
    {
      const FullDisk disk(space);
      LogCapture log;
      while (writeSample(*file, 1, QVR_MODE_VIDEO, frameBytes(written), written) == VL_OK) ++written;
      EXPECT_THAT(log.lines, Contains(LogLine{VL_LOG_PLAIN, "fmp4 file_write failure, error: 27\n"}));
      EXPECT_EQ(writeSample(*file, 1, QVR_MODE_VIDEO, frameBytes(0)), 0xFFFFFFFFu)
          << "no more frames are accepted";
      EXPECT_EQ(closeFile(file), 0xFFFFFFFFu);
    }
    BoxFile boxes(folder.file("out.m4v"));
    EXPECT_EQ(boxes.root->last->end(), std::filesystem::file_size(folder.file("out.m4v")))
        << "no partial file is left";
    if (space == 1000) {
      EXPECT_THAT(textOf(folder.file("out.m3u8")), testing::Not(HasSubstr("#EXTINF")));
      continue;
    }
    // Complete fragments, all of them listed.
    const std::uint32_t frames = written / 30 * 30;
    ASSERT_GT(frames, 0u);
    const MediaFile read = openFile(folder.file("out.mpd"));
    ASSERT_NE(read, nullptr) << space;
    EXPECT_EQ(read->GetTotalFrames(), frames) << space;
    for (std::uint32_t i = 0; i < frames; ++i) EXPECT_EQ(readFrame(*read, i).data, frameBytes(i));
    EXPECT_THAT(textOf(folder.file("out.m3u8")), testing::EndsWith("out.m4v\n#EXT-X-ENDLIST\n"));
    const RunResult verified = run({VL_BIN_DIR "/fmp4", "verify", folder.file("out.m4v")});
    EXPECT_EQ(verified.exitCode, 0) << verified.out << verified.err;
  }
}

}  // namespace

}  // namespace fmp4
