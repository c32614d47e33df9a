// A file with video, audio and both kinds of captions, truncated at every byte.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/corrupt/reading.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

using testing::AllOf;
using testing::Contains;
using testing::Field;
using testing::StartsWith;

const std::string kAllFrames = "012345";

// Whether the result is the requested frame or a failure.
bool rightOrFailed(const std::string& read) {
  for (std::size_t i = 0; i < read.size(); ++i) {
    if (read[i] != kAllFrames[i] && read[i] != 'x') return false;
  }
  return true;
}
bool rightOrNone(const std::string& read) {
  for (std::size_t i = 0; i < read.size(); ++i) {
    if (read[i] != kAllFrames[i] && read[i] != '.') return false;
  }
  return true;
}

TEST(Truncation, AtAnyByteFailsToOpenOrReadsTheFramesThatRemain) {
  const TempFolder folder;
  const std::string path = folder.file("clip.mp4");
  const Bytes entire = intactFile();
  std::uint32_t opened = 0, frames = 0;
  for (std::size_t size = 0; size <= entire.size(); ++size) {
    SCOPED_TRACE("truncated at " + std::to_string(size));
    writeFile(path, Bytes(entire.begin(), entire.begin() + static_cast<std::ptrdiff_t>(size)));
    LogCapture log;
    const MediaFile file = openFile(path);
    if (!file) {
      EXPECT_EQ(opened, 0u) << "a longer file has no fewer frames";
      EXPECT_THAT(log.lines, Contains(AllOf(Field(&LogLine::level, VL_LOG_ERROR),
                                            Field(&LogLine::text, StartsWith("ERROR(vlx_fmp4): ")))));
      continue;
    }
    ++opened;
    const FramesRead read = readForward(*file);
    ASSERT_LE(read.frames.size(), kAllFrames.size());
    EXPECT_TRUE(rightOrFailed(read.frames)) << read.frames;
    EXPECT_TRUE(rightOrNone(read.cc608)) << read.cc608;
    EXPECT_TRUE(rightOrNone(read.cc708)) << read.cc708;
    EXPECT_EQ(readShuffled(*file), read);
    const auto good = static_cast<std::uint32_t>(
        read.frames.size() - static_cast<std::size_t>(std::ranges::count(read.frames, 'x')));
    EXPECT_GE(good, frames);
    frames = good;
  }
  EXPECT_EQ(frames, kFrames);
}

}  // namespace

}  // namespace fmp4
