// Files that change while they are read.
#include "tests/faults/recorded_file.h"
#include "tests/support/log_capture.h"

namespace fmp4 {

namespace {

TEST(ChangedFile, TruncatedUnderAReaderGivesRightFramesOrFailures) {
  const LogCapture log;
  const Recorded recorded;
  unsigned failed = 0;
  for (std::size_t size = 0; size <= recorded.bytes.size(); size += 97) {
    recorded.overwrite(recorded.bytes);
    const MediaFile file = openFile(recorded.path);
    ASSERT_NE(file, nullptr);
    ASSERT_EQ(readFrame(*file, 0).status, VL_OK);
    std::filesystem::resize_file(recorded.path, size);
    for (const std::uint32_t frame : {26u, 1u, 12u, 13u, 2u}) {
      const VideoFrame read = readFrame(*file, frame);
      failed += read.status != VL_OK;
      if (read.status == VL_OK) {
        ASSERT_EQ(read.data, videoBytes(frame)) << size;
      }
    }
    recorded.overwrite(recorded.bytes);
    for (const std::uint32_t frame : {26u, 1u, 12u, 13u, 2u})
      ASSERT_EQ(readFrame(*file, frame).data, videoBytes(frame)) << "whole again, after " << size;
  }
  EXPECT_GT(failed, 20u);
}

TEST(ChangedFile, OverwrittenUnderAReaderFailsWhereItsFragmentsAreGone) {
  const LogCapture log;
  const Recorded recorded;
  const MediaFile file = openFile(recorded.path);
  ASSERT_EQ(readFrame(*file, 0).data, videoBytes(0));
  recorded.overwrite(Bytes(recorded.bytes.size()));
  EXPECT_EQ(readFrame(*file, 26).status, VL_FAILED);
  EXPECT_EQ(readFrame(*file, 12).status, VL_FAILED);
  recorded.overwrite(recorded.bytes);
  EXPECT_EQ(readFrame(*file, 26).data, videoBytes(26));
}

}  // namespace

}  // namespace fmp4
