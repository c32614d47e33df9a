// Recordings beyond 4 GiB, whose offsets take more than 32 bits. What has been written is turned into holes
// as it grows, so that the file takes little of the disk.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "boxes/tfdt.h"
#include "recording.h"
#include "support/run.h"

namespace {

using testing::HasSubstr;

constexpr std::uint32_t kFrames = 70;
constexpr std::uint32_t kFrameBytes = 64u << 20;
constexpr std::uint64_t k4GiB = std::uint64_t{1} << 32;

void punchHole(const std::string& path, std::uint64_t start, std::uint64_t end) {
  runOrThrow({"fallocate", "--punch-hole", "--offset", std::to_string(start), "--length",
              std::to_string(end - start), path});
}

// "frame N" and zeros.
void mark(Bytes& frame, std::uint32_t number) {
  const std::string text = "frame " + std::to_string(number) + ".";
  std::copy(text.begin(), text.end(), frame.begin());
}

std::string markOf(const Bytes& frame) {
  return {frame.begin(), std::find(frame.begin(), frame.end(), '.')};
}

TEST(LargeFile, IsRecordedListedAndReadBeyond4GiB) {
  const TempFolder folder;
  const std::string path = folder.file("out.m4v");
  MediaFile file = startRecording(path, {}, 2);
  Bytes frame(kFrameBytes);
  std::uint64_t written = 0;
  for (std::uint32_t i = 0; i < kFrames; ++i) {
    mark(frame, i);
    ASSERT_EQ(writeSample(*file, 1, QVR_MODE_VIDEO, frame, i, i % 2 == 0 ? DFRAME_KEY : DFRAME_NOT_KEY),
              VL_OK);
    // All but the first frames, and the boxes, marks and ends of the others, become holes.
    const std::uint64_t size = std::filesystem::file_size(path);
    if (size > written + kFrameBytes + (1u << 20)) {
      punchHole(path, size - 2 * std::uint64_t{kFrameBytes} + 4096, size - kFrameBytes - 4096);
      punchHole(path, size - kFrameBytes + 4096, size - 4096);
      written = size;
    }
  }
  EXPECT_EQ(closeFile(file), VL_OK);
  const std::uint64_t size = std::filesystem::file_size(path);
  ASSERT_GT(size, k4GiB + 3 * std::uint64_t{kFrameBytes});

  // The last of four segments ends beyond 4 GiB.
  const std::string last = std::to_string(size - 1) + "\"";
  EXPECT_THAT(textOf(folder.file("out.mpd")), HasSubstr("-" + last));
  BoxFile boxes(path);
  const Mp4Box* moof = boxes.at("moof[34]");
  ASSERT_NE(moof, nullptr);
  EXPECT_EQ(moof->position + moof->size + 8 + 2 * std::uint64_t{kFrameBytes}, size);
  EXPECT_EQ(boxes.get<mp4::TrackFragmentDecodeTimeBox>("moof[34]/traf/tfdt")->baseMediaDecodeTime,
            68u * 1001);

  for (const std::string& name : {path, folder.file("out.mpd")}) {
    const MediaFile read = openFile(name);
    ASSERT_NE(read, nullptr) << name;
    EXPECT_EQ(read->GetTotalFrames(), kFrames);
    for (const std::uint32_t i : {69u, 0u, 67u})
      EXPECT_EQ(markOf(readFrame(*read, i).data), "frame " + std::to_string(i));
    EXPECT_EQ(read->FindKeyFrame(1, 1, 69, 0), 68u);
    EXPECT_EQ(read->FindKeyFrame(1, 1, 67, 1), 68u);
  }
}

}  // namespace
