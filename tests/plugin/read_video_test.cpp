#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/plugin/loaded_plugin.h"
#include "tests/support/fragments.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

using testing::Contains;
using testing::ElementsAre;

constexpr std::uint32_t kVideoFrames = 12;

Bytes frameData(std::uint32_t frame) {
  return sampleOf(20 + frame, frame).data;
}

// Twelve frames in three fragments of two runs each; every fourth is a key frame.
Bytes twelveFrames(std::uint32_t runFlags = kRunDataOffset | kRunSize | kRunFlags | kRunComposition) {
  Bytes content = join({fileTypeBox(), movieBox({videoTrack()})});
  for (std::uint32_t f = 0; f < 3; ++f) {
    TrafSpec traf;
    for (std::uint32_t r = 0; r < 2; ++r) {
      RunSpec run{runFlags};
      run.version = 1;
      for (std::uint32_t s = 0; s < 2; ++s) {
        const std::uint32_t frame = f * 4 + r * 2 + s;
        run.samples.push_back({frameData(frame), 0, frame % 4 ? kNonSyncSample : 0,
                               static_cast<std::int32_t>(frame) * 1001 - 2002});
      }
      traf.runs.push_back(run);
    }
    const Bytes one = fragment(f + 1, {traf});
    content.insert(content.end(), one.begin(), one.end());
  }
  return content;
}

struct VideoClip {
  TempFolder folder;
  MediaFile file;
  explicit VideoClip(const Bytes& content = twelveFrames()) {
    writeFile(folder.file("clip.mp4"), content);
    file = openFile(folder.file("clip.mp4"));
  }
  CAMediaFile& operator*() const { return *file; }
  CAMediaFile* operator->() const { return file.get(); }
};

DFRAME headerRequest() {
  DFRAME d{};
  d.size = sizeof(DFRAME);
  return d;
}

TEST(ReadVideo, GivesEveryFrameForwardBackwardAndShuffled) {
  const VideoClip clip;
  ASSERT_NE(clip.file, nullptr);
  std::vector<std::uint32_t> order;
  for (std::uint32_t i = 0; i < kVideoFrames; ++i) order.push_back(i);
  for (std::uint32_t i = kVideoFrames; i-- > 0;) order.push_back(i);
  for (std::uint32_t i = 0; i < 60; ++i) order.push_back(i * 7 % kVideoFrames);
  for (const std::uint32_t frame : order) {
    const VideoFrame read = readFrame(*clip, frame);
    ASSERT_EQ(read.status, VL_OK);
    EXPECT_EQ(read.data, frameData(frame)) << frame;
    EXPECT_EQ(read.key(), frame % 4 == 0) << frame;
    EXPECT_EQ(read.descriptor.flags, frame % 4 ? 0x80000000u : 0x10000000u);
    EXPECT_EQ(read.descriptor.frame, frame);
    EXPECT_EQ(read.descriptor.compositionOffset, (static_cast<std::int32_t>(frame) * 1001 - 2002) / 1000)
        << frame;
  }
}

TEST(ReadVideo, WithoutADescriptorReturnsTheLargestSample) {
  const VideoClip clip;
  EXPECT_EQ(clip->Read(0, 1, 1, QVR_MODE_VIDEO, nullptr, nullptr), 20 + kVideoFrames - 1);
  EXPECT_EQ(clip->Read(kVideoFrames, 1, 1, QVR_MODE_VIDEO, nullptr, nullptr), 0u);
}

TEST(ReadVideo, AtOrPastTheEndDeliversNothing) {
  const VideoClip clip;
  for (const std::uint32_t frame : {kVideoFrames, kVideoFrames + 1, 0xFFFFFFFFu}) {
    DFRAME d = headerRequest();
    d.bytes = 77;
    EXPECT_EQ(clip->Read(frame, 1, 1, QVR_MODE_VIDEO, &d, nullptr), 0xE8024029u);
    EXPECT_EQ(d.bytes, 0u);
  }
  EXPECT_EQ(readFrame(*clip, 3).data, frameData(3));
}

TEST(ReadVideo, OtherChannelsAndClosedFilesHaveNoFrames) {
  const VideoClip clip;
  DFRAME d = headerRequest();
  EXPECT_EQ(clip->Read(0, 1, 2, QVR_MODE_VIDEO, &d, nullptr), 0xFFFFFFFFu);
  EXPECT_EQ(clip->Read(0, 1, 0, QVR_MODE_VIDEO, &d, nullptr), 0xFFFFFFFFu);
  const MediaFile closed = createObject();
  EXPECT_EQ(closed->Read(0, 1, 1, QVR_MODE_VIDEO, &d, nullptr), 0xFFFFFFFFu);
}

TEST(ReadVideo, OtherModesDoNothing) {
  const VideoClip clip;
  DFRAME d = headerRequest();
  EXPECT_EQ(clip->Read(0, 1, 1, 2, &d, nullptr), VL_OK);
  EXPECT_EQ(clip->Read(0, 1, 1, 0x1FF, &d, nullptr), VL_OK);
  EXPECT_EQ(d.bytes, 0u);
}

TEST(ReadVideo, AHeaderOnlyRequestDescribesTheSampleWithoutAdvancing) {
  const VideoClip clip;
  DFRAME d = headerRequest();
  d.flags = 0xFFFFFFFF;
  EXPECT_EQ(clip->Read(5, 1, 1, QVR_MODE_VIDEO | 0x08000000, &d, nullptr), VL_OK);
  EXPECT_EQ(d.sampleSize, 25u);
  EXPECT_EQ(d.firstByte, frameData(5)[0]);
  EXPECT_EQ(d.flags, (0xFFFFFFFFu & ~0x8000u & 0x4FFFFFFFu & 0x4BFFFFFFu) | 0x80000000u);
  EXPECT_EQ(clip->Read(5, 1, 1, QVR_MODE_VIDEO | 0x08000000, &d, nullptr), VL_OK);
  EXPECT_EQ(readFrame(*clip, 5).data, frameData(5)) << "the following full read returns the same sample";
  EXPECT_EQ(readFrame(*clip, 6).data, frameData(6));
}

TEST(ReadVideo, AHeaderOnlyRequestOfAnEmptySampleHasNoFirstByte) {
  TrafSpec traf;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(10, 1), {}, sampleOf(10, 2)}}};
  const VideoClip clip(join({fileTypeBox(), movieBox({videoTrack()}), fragment(1, {traf})}));
  DFRAME d = headerRequest();
  d.sampleSize = d.firstByte = 9;
  EXPECT_EQ(clip->Read(1, 1, 1, QVR_MODE_VIDEO | 0x08000000, &d, nullptr), VL_OK);
  EXPECT_EQ(d.sampleSize, 0u);
  EXPECT_EQ(d.firstByte, 0u);
}

TEST(ReadVideo, AHeaderOnlyRequestOfASampleThatIsNotThereFailsWithoutAFirstByte) {
  Bytes content = twelveFrames();
  content.resize(content.size() - frameData(11).size());
  const VideoClip clip(content);
  DFRAME d = headerRequest();
  d.flags = 0xFFFFFFFF;
  d.firstByte = 9;
  const LogCapture log;
  EXPECT_EQ(clip->Read(11, 1, 1, QVR_MODE_VIDEO | 0x08000000, &d, nullptr), 0xFFFFFFFFu);
  EXPECT_EQ(d.sampleSize, 31u);
  EXPECT_EQ(d.firstByte, 0u);
  EXPECT_EQ(d.flags, 0xFFFF7FFFu & 0x4FFFFFFFu);
}

TEST(ReadVideo, AHeaderOnlyRequestNeedsADescriptorOfItsSize) {
  const VideoClip clip;
  DFRAME d = headerRequest();
  d.size = sizeof(DFRAME) - 1;
  EXPECT_EQ(clip->Read(5, 1, 1, QVR_MODE_VIDEO | 0x08000000, &d, nullptr), 0xE8024018u);
}

TEST(ReadVideo, KeepsTheHostsOtherFlags) {
  const VideoClip clip;
  std::vector<std::uint8_t> buffer(100);
  DFRAME d = headerRequest();
  d.data = buffer.data();
  d.flags = 0xFFFFFFFF;
  d.captionFlags = 0xFFFFFFFF;
  d.captionBytes = 9;
  d.reserved = 9;
  EXPECT_EQ(clip->Read(4, 1, 1, QVR_MODE_VIDEO, &d, nullptr), VL_OK);
  EXPECT_EQ(d.flags, (0xFFFF7FFFu & 0x4BFFFFFFu) | 0x10000000u);
  EXPECT_EQ(d.captionFlags, 0xFFFFFFFFu & ~0x3300u);
  EXPECT_EQ(d.captionBytes, 0u);
  EXPECT_EQ(d.reserved, 0u);
}

TEST(ReadVideo, WithoutCompositionOffsetsLeavesTheMemberUnchanged) {
  const VideoClip clip(twelveFrames(kRunDataOffset | kRunSize | kRunFlags));
  DFRAME d = headerRequest();
  d.compositionOffset = 4711;
  EXPECT_EQ(clip->Read(4, 1, 1, QVR_MODE_VIDEO, &d, nullptr), VL_OK);
  EXPECT_EQ(d.compositionOffset, 4711);
}

TEST(ReadVideo, WithoutABufferReportsTheSizeAndAdvances) {
  const VideoClip clip;
  DFRAME d = headerRequest();
  EXPECT_EQ(clip->Read(4, 1, 1, QVR_MODE_VIDEO, &d, nullptr), VL_OK);
  EXPECT_EQ(d.bytes, 24u);
  EXPECT_EQ(readFrame(*clip, 5).data, frameData(5));
}

TEST(ReadVideo, ABufferTooSmallIsRefusedUnwritten) {
  const VideoClip clip;
  std::vector<std::uint8_t> buffer(30, 0xEE);
  DFRAME d = headerRequest();
  d.data = buffer.data();
  d.dataCapacity = 30;
  LogCapture log;
  EXPECT_EQ(clip->Read(11, 1, 1, QVR_MODE_VIDEO, &d, nullptr), 0xFFFFFFFFu);
  EXPECT_EQ(d.bytes, 31u) << "the size needed";
  EXPECT_THAT(buffer, testing::Each(0xEE));
  EXPECT_THAT(log.lines,
              ElementsAre(LogLine{VL_LOG_ERROR,
                                  "ERROR(vlx_fmp4): The frame is larger than the buffer given for it\n"}));
}

TEST(ReadVideo, ARequestForSeveralFramesDoesNotShiftTheNext) {
  const VideoClip clip;
  std::vector<std::uint8_t> buffer(100);
  DFRAME d = headerRequest();
  d.data = buffer.data();
  EXPECT_EQ(clip->Read(2, 3, 1, QVR_MODE_VIDEO, &d, nullptr), VL_OK);
  EXPECT_EQ(readFrame(*clip, 5).data, frameData(5)) << "frame 5 is what the host expects next";
  EXPECT_EQ(readFrame(*clip, 3).data, frameData(3));
}

TEST(ReadVideo, CountsTimecodesFromTheStart) {
  const VideoClip clip;
  DFRAME d = headerRequest();
  EXPECT_EQ(clip->Read(7, 1, 1, QVR_MODE_VIDEO, &d, nullptr), VL_OK);
  EXPECT_EQ(d.timecode, 7u) << "no start timecode: the frame number";
  EXPECT_EQ(d.timecodeOther, 7u);
  EXPECT_EQ(clip->GetCurFrame(), 7u);
}

TEST(ReadVideo, ATruncatedFrameFailsAndTheOthersAreStillRead) {
  Bytes content = twelveFrames();
  content.resize(content.size() - 10);
  const VideoClip clip(content);
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(clip->GetTotalFrames(), kVideoFrames);
  EXPECT_EQ(readFrame(*clip, 10).data, frameData(10));
  LogCapture log;
  EXPECT_EQ(readFrame(*clip, 11).status, 0xFFFFFFFFu);
  EXPECT_THAT(log.lines,
              ElementsAre(LogLine{VL_LOG_ERROR,
                                  "ERROR(vlx_fmp4): Unable to find correct video chunk for this frame\n"}));
  EXPECT_EQ(readFrame(*clip, 9).data, frameData(9));
  EXPECT_EQ(readFrame(*clip, 11).status, 0xFFFFFFFFu);
}

TEST(ReadVideo, AudioRequestsReportThatThereIsNoAudio) {
  const VideoClip clip;
  LogCapture log;
  DFRAME d = headerRequest();
  EXPECT_EQ(clip->Read(0, 100, 1, QVR_MODE_AUDIO, &d, nullptr), 0xE8021001u);
  EXPECT_THAT(log.lines, ElementsAre(LogLine{VL_LOG_PLAIN, "ReadFMP4(0xE8021001)"}));
}

TEST(FindKeyFrame, AnswersTheHostsQueries) {
  const VideoClip clip;
  for (std::uint32_t frame = 0; frame < kVideoFrames; ++frame) {
    EXPECT_EQ(clip->FindKeyFrame(1, 1, frame, 0), frame / 4 * 4) << frame;
    EXPECT_EQ(clip->FindKeyFrame(1, 1, frame, -1), frame / 4 * 4) << frame;
    const std::uint32_t next = (frame + 3) / 4 * 4;
    EXPECT_EQ(clip->FindKeyFrame(1, 1, frame, 1), next < kVideoFrames ? next : frame) << frame;
    EXPECT_EQ(clip->FindKeyFrame(1, 0, frame, 1), frame) << "another mode";
    EXPECT_EQ(clip->FindKeyFrame(2, 1, frame, 1), frame) << "no video channel";
  }
  EXPECT_EQ(clip->FindKeyFrame(1, 1, 99, 0), 99u) << "past the end";
  EXPECT_EQ(clip->FindKeyFrame(1, 1, 99, 1), 99u);
}

TEST(FindKeyFrame, BetweenReadsDoesNotDisturbThem) {
  const VideoClip clip;
  EXPECT_EQ(readFrame(*clip, 2).data, frameData(2));
  EXPECT_EQ(clip->FindKeyFrame(1, 1, 11, 0), 8u);
  EXPECT_EQ(readFrame(*clip, 3).data, frameData(3));
}

}  // namespace

}  // namespace fmp4
