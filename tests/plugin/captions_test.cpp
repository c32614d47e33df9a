// Captions delivered with the frames.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/plugin/loaded_plugin.h"
#include "tests/support/fragments.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

using testing::Contains;

Bytes pairOf(std::uint32_t frame) {
  return join({u8(frame), u8(0x80 + frame)});
}
Bytes pairs(std::uint32_t first, std::uint32_t count) {
  Bytes bytes;
  for (std::uint32_t i = 0; i < count; ++i) bytes = join({bytes, pairOf(first + i)});
  return bytes;
}

// A caption distribution packet of `length` bytes that is unique to its frame.
Bytes distributionPacket(std::uint32_t frame, std::uint8_t length = 20) {
  Bytes packet = sampleOf(length, frame).data;
  packet[0] = 0x96;
  packet[1] = 0x69;
  packet[2] = length;
  return packet;
}
Bytes ccdp(const Bytes& payload) {
  return box("ccdp", {payload});
}

constexpr std::uint32_t kFragmentFrames = 5;
constexpr std::uint32_t kFragmentCount = 3;
constexpr std::uint32_t kCaptionedFrames = kFragmentFrames * kFragmentCount;

struct Tracks {
  std::vector<RunSpec> cc608;  // of one fragment
  std::vector<RunSpec> cc708;
};

// Video with whatever caption runs `captionsOf(fragment)` gives.
template <class CaptionsOf>
Bytes clipWith(CaptionsOf captionsOf, std::uint32_t timescale = 30000) {
  const std::uint32_t duration = timescale == 30000 ? 1001 : 1;
  TrackSpec cc608{3, "clcp", timescale, captionEntry("c608"), duration};
  TrackSpec cc708{4, "clcp", timescale, captionEntry("c708"), duration};
  const bool has608 = !captionsOf(0).cc608.empty(), has708 = !captionsOf(0).cc708.empty();
  std::vector<TrackSpec> tracks = {videoTrack(1, timescale, duration)};
  if (has608) tracks.push_back(cc608);
  if (has708) tracks.push_back(cc708);
  Bytes content = join({fileTypeBox(), movieBox(tracks)});
  for (std::uint32_t f = 0; f < kFragmentCount; ++f) {
    RunSpec frames{kRunDataOffset | kRunSize};
    for (std::uint32_t i = 0; i < kFragmentFrames; ++i)
      frames.samples.push_back(sampleOf(10, f * kFragmentFrames + i));
    TrafSpec video, c3, c4;
    video.runs = {frames};
    c3.trackId = 3;
    c4.trackId = 4;
    c3.decodeTime = c4.decodeTime = std::uint64_t{f} * kFragmentFrames * duration;
    Tracks captions = captionsOf(f);
    c3.runs = captions.cc608;
    c4.runs = captions.cc708;
    std::vector<TrafSpec> trafs = {video};
    if (has608) trafs.push_back(c3);
    if (has708) trafs.push_back(c4);
    const Bytes one = fragment(f + 1, trafs);
    content.insert(content.end(), one.begin(), one.end());
  }
  return content;
}

// As in our own recordings: one boxed sample per fragment.
RunSpec one608Sample(std::uint32_t fragmentIndex) {
  SampleSpec sample{box("cdat", {pairs(fragmentIndex * kFragmentFrames, kFragmentFrames)}),
                    kFragmentFrames * 1001};
  return {kRunDataOffset | kRunSize | kRunDuration, {sample}};
}
RunSpec run708(std::uint32_t fragmentIndex) {
  RunSpec run{kRunDataOffset | kRunSize};
  for (std::uint32_t i = 0; i < kFragmentFrames; ++i) {
    run.samples.push_back({ccdp(distributionPacket(fragmentIndex * kFragmentFrames + i))});
  }
  return run;
}

struct CaptionedClip {
  TempFolder folder;
  MediaFile file;
  explicit CaptionedClip(const Bytes& content) {
    writeFile(folder.file("clip.mp4"), content);
    file = openFile(folder.file("clip.mp4"));
  }
  Bytes cc608(std::uint32_t frame) const {
    const VideoFrame read = readFrame(*file, frame);
    EXPECT_EQ(read.status, VL_OK);
    if (!(read.descriptor.captionFlags & 0x100)) return {};
    return {read.descriptor.captions[0], read.descriptor.captions[1]};
  }
  // The area of the packet, empty when there is none.
  Bytes cc708(std::uint32_t frame) const {
    const VideoFrame read = readFrame(*file, frame);
    EXPECT_EQ(read.status, VL_OK);
    if (!(read.descriptor.captionFlags & 0x1000)) return {};
    return Bytes(read.descriptor.captions, read.descriptor.captions + read.descriptor.captionBytes);
  }
};

std::vector<std::uint32_t> everyOrder() {
  std::vector<std::uint32_t> order;
  for (std::uint32_t i = 0; i < kCaptionedFrames; ++i) order.push_back(i);
  for (std::uint32_t i = kCaptionedFrames; i-- > 0;) order.push_back(i);
  std::vector<std::uint32_t> shuffled(order.begin(), order.begin() + kCaptionedFrames);
  std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(3));
  order.insert(order.end(), shuffled.begin(), shuffled.end());
  return order;
}

TEST(Captions, PairsOfOneSamplePerFragmentComeWithTheirFrameInAnyOrder) {
  const CaptionedClip clip(clipWith([](std::uint32_t f) { return Tracks{{one608Sample(f)}, {}}; }));
  ASSERT_NE(clip.file, nullptr);
  for (const std::uint32_t frame : everyOrder()) EXPECT_EQ(clip.cc608(frame), pairOf(frame)) << frame;
}

TEST(Captions, TheDescriptorCountsThePair) {
  const CaptionedClip clip(clipWith([](std::uint32_t f) { return Tracks{{one608Sample(f)}, {}}; }));
  EXPECT_EQ(readFrame(*clip.file, 3).descriptor.captionBytes, 2u);
  EXPECT_EQ(readFrame(*clip.file, 3).descriptor.captionFlags, 0x100u);
}

TEST(Captions, PairsWithoutABoxAroundThemAreReadUnchanged) {
  const CaptionedClip clip(clipWith([](std::uint32_t f) {
    SampleSpec sample{pairs(f * kFragmentFrames, kFragmentFrames), kFragmentFrames * 1001};
    return Tracks{{RunSpec{kRunDataOffset | kRunSize | kRunDuration, {sample}}}, {}};
  }));
  for (const std::uint32_t frame : everyOrder()) EXPECT_EQ(clip.cc608(frame), pairOf(frame)) << frame;
}

TEST(Captions, FramesAfterASamplesLastPairHaveNone) {
  const CaptionedClip clip(clipWith([](std::uint32_t f) {
    SampleSpec sample{box("cdat", {pairs(f * kFragmentFrames, 2)}), kFragmentFrames * 1001};
    return Tracks{{RunSpec{kRunDataOffset | kRunSize | kRunDuration, {sample}}}, {}};
  }));
  LogCapture log;
  for (const std::uint32_t frame : everyOrder()) {
    EXPECT_EQ(clip.cc608(frame), frame % kFragmentFrames < 2 ? pairOf(frame) : Bytes()) << frame;
  }
}

TEST(Captions, ASampleTooShortForAPairHasNone) {
  const CaptionedClip clip(clipWith([](std::uint32_t) {
    SampleSpec sample{u8(0x14), kFragmentFrames * 1001};
    return Tracks{{RunSpec{kRunDataOffset | kRunSize | kRunDuration, {sample}}}, {}};
  }));
  LogCapture log;
  for (const std::uint32_t frame : everyOrder()) EXPECT_EQ(clip.cc608(frame), Bytes()) << frame;
}

TEST(Captions, AllSamplesOfARunReadTheRunsStart) {
  // The offset of a sample inside its run is not added: every sample of this run gives its first pair.
  const auto captionsOf = [](std::uint32_t f) {
    RunSpec run{kRunDataOffset | kRunSize | kRunDuration};
    for (std::uint32_t i = 0; i < kFragmentFrames; ++i)
      run.samples.push_back({pairOf(f * kFragmentFrames + i), 1001});
    return Tracks{{run}, {}};
  };
  const CaptionedClip clip(clipWith(captionsOf));
  for (const std::uint32_t frame : everyOrder()) {
    EXPECT_EQ(clip.cc608(frame), pairOf(frame / kFragmentFrames * kFragmentFrames)) << frame;
  }
}

TEST(Captions, LaterRunsAreReadFromAfterTheLengthOfTheRunBefore) {
  // Second runs begin where they are read: the length of the first run after their start.
  const auto captionsOf = [](std::uint32_t f) {
    const std::uint32_t first = f * kFragmentFrames;
    RunSpec head{kRunDataOffset | kRunSize | kRunDuration, {{pairs(first, 1), 1001}}};
    RunSpec tail{kRunDataOffset | kRunSize | kRunDuration, {{pairs(first + 1, 4), 4 * 1001}}};
    return Tracks{{head, tail}, {}};
  };
  // The bytes after the last run in the file are read with it.
  const CaptionedClip clip(join({clipWith(captionsOf), box("free", {zeros(16)})}));
  LogCapture log;
  for (const std::uint32_t frame : everyOrder()) {
    const std::uint32_t inFragment = frame % kFragmentFrames;
    // The last frame's pair would be one pair after the track's bytes, where another box begins.
    if (inFragment == 4) continue;
    EXPECT_EQ(clip.cc608(frame), inFragment == 0 ? pairOf(frame) : pairOf(frame + 1)) << frame;
  }
}

TEST(Captions, PacketsComeWithTheirFrameInAnyOrder) {
  const CaptionedClip clip(clipWith([](std::uint32_t f) { return Tracks{{}, {run708(f)}}; }));
  ASSERT_NE(clip.file, nullptr);
  for (const std::uint32_t frame : everyOrder()) {
    const Bytes area = clip.cc708(frame);
    const Bytes packet = distributionPacket(frame);
    ASSERT_EQ(area.size(), packet.size() + 7) << frame;
    EXPECT_EQ(area[4], 0x61) << "the word 353";
    EXPECT_EQ(area[5], 0x01);
    EXPECT_EQ(area[6], packet.size()) << "the packet's own length";
    EXPECT_EQ(Bytes(area.begin() + 7, area.end()), packet) << frame;
  }
}

TEST(Captions, OtherPayloadsStartAtByteFour) {
  const Bytes payload =
      join({u8(1), u8(2), u8(3), u8(4), u8(5), u8(9), u8(7), u8(8), u8(9), u8(10), u8(11), u8(12)});
  const CaptionedClip clip(clipWith([&payload](std::uint32_t) {
    RunSpec run{kRunDataOffset | kRunSize};
    for (std::uint32_t i = 0; i < kFragmentFrames; ++i) run.samples.push_back({ccdp(payload)});
    return Tracks{{}, {run}};
  }));
  const Bytes area = clip.cc708(2);
  // Byte 6 of the area is byte 9 of the packet, and the count is that plus 7.
  ASSERT_EQ(area.size(), 9u + 7);
  EXPECT_EQ(Bytes(area.begin() + 4, area.begin() + 6), Bytes({1, 2}));
  EXPECT_EQ(area[6], 9);
  EXPECT_EQ(Bytes(area.begin() + 7, area.begin() + 16), Bytes({4, 5, 9, 7, 8, 9, 10, 11, 12}));
}

TEST(Captions, SamplesWithoutAPacketAddNothing) {
  const Bytes samples[] = {
      box("ccdx", {distributionPacket(1)}),  // another type
      ccdp({}),                              // a box of 8 bytes
      u32(8),                                // too short for a box
      boxOfSize(100, "ccdp", {zeros(10)}),   // longer than its sample
      boxOfSize(7, "ccdp", {zeros(10)}),     // shorter than its header
      Bytes(),
  };
  for (const Bytes& bytes : samples) {
    const CaptionedClip clip(clipWith([&bytes](std::uint32_t) {
      RunSpec run{kRunDataOffset | kRunSize};
      for (std::uint32_t i = 0; i < kFragmentFrames; ++i) run.samples.push_back({bytes});
      return Tracks{{}, {run}};
    }));
    ASSERT_NE(clip.file, nullptr);
    for (std::uint32_t frame = 0; frame < kCaptionedFrames; ++frame) {
      const VideoFrame read = readFrame(*clip.file, frame);
      EXPECT_EQ(read.status, VL_OK);
      EXPECT_EQ(read.descriptor.captionFlags, 0u);
      EXPECT_EQ(read.descriptor.captionBytes, 0u);
    }
  }
}

TEST(Captions, ABoxLongerThanTheCaptionAreaAddsNothingAndTheNextOneIsRead) {
  const CaptionedClip clip(clipWith([](std::uint32_t f) {
    RunSpec run = run708(f);
    run.samples[1] = {ccdp(sampleOf(9000, 1).data)};
    return Tracks{{}, {run}};
  }));
  EXPECT_EQ(clip.cc708(0).size(), 27u);
  EXPECT_EQ(clip.cc708(1), Bytes());
  EXPECT_EQ(clip.cc708(2).size(), 27u);
}

TEST(Captions, BothKindsComeTogether) {
  const CaptionedClip clip(clipWith([](std::uint32_t f) { return Tracks{{one608Sample(f)}, {run708(f)}}; }));
  for (const std::uint32_t frame : everyOrder()) {
    const VideoFrame read = readFrame(*clip.file, frame);
    EXPECT_EQ(read.descriptor.captionFlags, 0x1100u);
    EXPECT_EQ(read.descriptor.captionBytes, 27u);
    EXPECT_EQ(Bytes(read.descriptor.captions, read.descriptor.captions + 2), pairOf(frame));
    EXPECT_EQ(Bytes(read.descriptor.captions + 7, read.descriptor.captions + 27), distributionPacket(frame));
  }
}

TEST(Captions, APacketTrackThatEndsEarlyIsReportedAndTheVideoContinues) {
  const CaptionedClip clip(clipWith([](std::uint32_t f) {
    RunSpec run = run708(f);
    if (f == kFragmentCount - 1) run.samples.resize(2);
    return Tracks{{}, {run}};
  }));
  ASSERT_EQ(clip.cc708(kCaptionedFrames - 4).size(), 27u);
  LogCapture log;
  EXPECT_EQ(clip.cc708(kCaptionedFrames - 3), Bytes());
  EXPECT_THAT(log.lines,
              Contains(LogLine{VL_LOG_ERROR,
                               "ERROR(vlx_fmp4): Unable to find correct cc 708 chunk for this frame\n"}));
}

TEST(Captions, APairTrackThatStartsLateCountsItsFramesFromItsFirstFragment) {
  // The first caption fragment is at frame 5, yet its captions are those of the first frames.
  const CaptionedClip clip(clipWith([](std::uint32_t f) {
    if (f == 0) return Tracks{{RunSpec{kRunDataOffset | kRunSize | kRunDuration, {}}}, {}};
    return Tracks{{one608Sample(f)}, {}};
  }));
  LogCapture log;
  for (std::uint32_t frame = 0; frame < 10; ++frame) EXPECT_EQ(clip.cc608(frame), pairOf(frame + 5)) << frame;
  EXPECT_EQ(clip.cc608(12), Bytes());
}

TEST(Captions, APairTrackThatStartsLateGoesOnAfterAFrameWithoutAPair) {
  const CaptionedClip clip(clipWith([](std::uint32_t f) {
    if (f == 0) return Tracks{{RunSpec{kRunDataOffset | kRunSize | kRunDuration, {}}}, {}};
    RunSpec run = one608Sample(f);
    run.samples[0].data = box("cdat", {pairs(f * kFragmentFrames, kFragmentFrames - 1)});
    return Tracks{{run}, {}};
  }));
  const LogCapture log;
  for (std::uint32_t frame = 0; frame < 10; ++frame)
    EXPECT_EQ(clip.cc608(frame), frame % kFragmentFrames == 4 ? Bytes() : pairOf(frame + 5)) << frame;
}

// Of a payload that is shorter than the length and the count in front of a packet, the rest is zeros.
TEST(Captions, AShortPayloadLeavesNothingOfTheHostsBytes) {
  const CaptionedClip clip(clipWith([](std::uint32_t) {
    RunSpec run{kRunDataOffset | kRunSize};
    for (std::uint32_t i = 0; i < kFragmentFrames; ++i) run.samples.push_back({ccdp({1, 2})});
    return Tracks{{}, {run}};
  }));
  DFRAME descriptor{};
  descriptor.size = sizeof descriptor;
  std::fill(std::begin(descriptor.captions), std::end(descriptor.captions), std::uint8_t{0xEE});
  EXPECT_EQ(clip.file->Read(0, 1, 1, QVR_MODE_VIDEO, &descriptor, nullptr), VL_OK);
  EXPECT_EQ(descriptor.captionBytes, 7u);
  EXPECT_EQ(Bytes(descriptor.captions + 4, descriptor.captions + 11), Bytes({1, 2, 0, 0, 0, 0, 0xEE}));
}

}  // namespace

}  // namespace fmp4
