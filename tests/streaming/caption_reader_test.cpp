#include "streaming/index/caption_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "streaming/index/seek.h"
#include "tests/streaming/index_fixture.h"
#include "tests/support/log_capture.h"

namespace fmp4 {

namespace {

Bytes pairs(std::uint32_t first, std::uint32_t count) {
  Bytes bytes;
  for (std::uint32_t i = 0; i < count; ++i) bytes = join({bytes, u8(first + i), u8(0x80 + first + i)});
  return bytes;
}

SampleSpec captionSample(const Bytes& data, std::uint32_t frames) {
  return {data, frames * 1001, 0, 0};
}

// One caption fragment whose runs hold the samples given.
Bytes captionFragment(std::uint32_t sequence, std::uint64_t firstFrame,
                      const std::vector<std::vector<SampleSpec>>& runs) {
  TrafSpec traf;
  traf.trackId = 3;
  traf.decodeTime = firstFrame * 1001;
  for (const auto& samples : runs) traf.runs.push_back({kRunDataOffset | kRunSize | kRunDuration, samples});
  return fragment(sequence, {traf});
}

struct CaptionFile {
  IndexedFile file;
  FragmentIndex& index;
  Cc608Reader reader;

  explicit CaptionFile(Bytes content)
      : file(std::move(content)), index(file.with(kCc608Track, 30000, trackDefaults(1001)).build()) {
    reader.cursor = file.cursor(kCc608Track);
  }
  // The pair that plays at a frame after a seek to it, or an empty text.
  Bytes at(std::uint64_t frame) {
    if (!SeekCc608Frame(index, frame, reader).ok() || !reader.hasPair() || reader.ccFrame != frame) return {};
    return {reader.pair()[0], reader.pair()[1]};
  }
};

TEST(Cc608Reader, ABoxHeaderAroundTheSampleIsStripped) {
  CaptionFile captions(captionFragment(1, 0, {{captionSample(box("cdat", {pairs(1, 4)}), 4)}}));
  for (std::uint32_t frame : {0u, 3u, 1u, 2u}) EXPECT_EQ(captions.at(frame), pairs(1 + frame, 1)) << frame;
}

TEST(Cc608Reader, ASampleWithoutBoxHeaderIsCopiedUnchanged) {
  CaptionFile captions(captionFragment(1, 0, {{captionSample(pairs(1, 6), 6)}}));
  for (std::uint32_t frame = 0; frame < 6; ++frame)
    EXPECT_EQ(captions.at(frame), pairs(1 + frame, 1)) << frame;
}

TEST(Cc608Reader, ABoxOfAnotherTypeIsCopiedUnchanged) {
  const Bytes other = box("cdt2", {pairs(1, 2)});
  CaptionFile captions(captionFragment(1, 0, {{captionSample(other, 6)}}));
  EXPECT_EQ(captions.at(0), Bytes(other.begin(), other.begin() + 2));
}

TEST(Cc608Reader, FragmentsFollowEachOther) {
  CaptionFile captions(join({captionFragment(1, 0, {{captionSample(box("cdat", {pairs(1, 3)}), 3)}}),
                             captionFragment(2, 3, {{captionSample(box("cdat", {pairs(4, 3)}), 3)}})}));
  for (std::uint32_t frame : {5u, 0u, 3u, 2u, 4u, 1u})
    EXPECT_EQ(captions.at(frame), pairs(1 + frame, 1)) << frame;
}

TEST(Cc608Reader, AfterASamplesLastPairTheNextFragmentsPairsKeepTheirFrame) {
  // Frames 0 to 4 belong to the first sample, which has pairs for 0 and 1 only.
  CaptionFile captions(join({captionFragment(1, 0, {{captionSample(pairs(1, 2), 5)}}),
                             captionFragment(2, 5, {{captionSample(pairs(6, 2), 5)}})}));
  ASSERT_TRUE(SeekCc608Frame(captions.index, 3, captions.reader).ok());
  EXPECT_EQ(captions.reader.ccFrame, 5u);
  ASSERT_TRUE(captions.reader.hasPair());
  EXPECT_EQ(captions.reader.pair()[0], 6);
}

TEST(Cc608Reader, AFragmentOfCaptionsShorterThanAFrameIsSkipped) {
  TrafSpec brief;
  brief.trackId = 3;
  brief.decodeTime = 5 * 1001;
  brief.runs = {RunSpec{kRunDataOffset | kRunSize | kRunDuration, {SampleSpec{pairs(0x40, 1), 1000, 0, 0}}}};
  CaptionFile captions(join({captionFragment(1, 0, {{captionSample(pairs(1, 2), 5)}}), fragment(2, {brief}),
                             captionFragment(3, 6, {{captionSample(pairs(6, 2), 5)}})}));
  ASSERT_TRUE(SeekCc608Frame(captions.index, 3, captions.reader).ok());
  EXPECT_EQ(captions.reader.ccFrame, 6u);
  EXPECT_EQ(captions.reader.pair()[0], 6);
}

TEST(Cc608Reader, FramesOfLaterFragmentsCountFromTheFirstCaptionFragment) {
  CaptionFile captions(join({captionFragment(1, 100, {{captionSample(pairs(1, 1), 5)}}),
                             captionFragment(2, 105, {{captionSample(pairs(6, 2), 5)}})}));
  captions.reader.ccBaseFrame = 100;
  ASSERT_TRUE(SeekCc608Frame(captions.index, 2, captions.reader).ok());
  EXPECT_EQ(captions.reader.ccFrame, 5u);
}

TEST(Cc608Reader, TheOffsetInsideARunIsNotAdded) {
  // Both samples' bytes are taken from the start of their run: that is how the system reads them.
  CaptionFile captions(
      captionFragment(1, 0, {{captionSample(pairs(1, 2), 2), captionSample(pairs(3, 2), 2)}}));
  EXPECT_EQ(captions.at(0), pairs(1, 1));
  EXPECT_EQ(captions.at(2), pairs(1, 1));
  EXPECT_EQ(captions.at(3), pairs(2, 1));
}

TEST(Cc608Reader, LaterRunsAreTakenFromAfterTheLengthOfTheRunBefore) {
  // The second run's bytes are expected one run length after its start, bounded by the track's bytes.
  CaptionFile captions(captionFragment(
      1, 0,
      {{captionSample(pairs(1, 1), 1)}, {captionSample(pairs(2, 1), 1), captionSample(pairs(3, 1), 1)}}));
  EXPECT_EQ(captions.at(0), pairs(1, 1));
  EXPECT_EQ(captions.at(1), pairs(3, 1));
}

TEST(Cc608Reader, AnOffsetOutsideTheTracksBytesGivesNoCaptions) {
  TrafSpec traf;
  traf.trackId = 3;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize | kRunDuration, {captionSample(pairs(1, 1), 1)}},
               RunSpec{kRunDataOffset | kRunSize | kRunDuration, {captionSample(pairs(2, 1), 1)}}};
  traf.runs[1].dataOffset = 0x70000000;
  CaptionFile captions(fragment(1, {traf}));
  LogCapture log;
  EXPECT_EQ(captions.at(1), Bytes());
  ASSERT_EQ(log.lines.size(), 1u);
  EXPECT_EQ(log.lines[0].text, "ERROR(vlx_Fmp4): Unable to find correct video chunk for this frame\n");
  EXPECT_FALSE(captions.reader.hasPair());
  EXPECT_EQ(captions.reader.ccFrame, Cc608Reader::kNoFrame);
}

TEST(Cc608Reader, FailuresSayWhichStepFailed) {
  CaptionFile captions(captionFragment(1, 0, {{captionSample(pairs(1, 2), 2)}}));
  LogCapture log;
  EXPECT_EQ(SeekCc608Frame(captions.index, 2, captions.reader), Defect::EndOfData);
  ASSERT_EQ(log.lines.size(), 2u);
  EXPECT_EQ(log.lines[0].text, "fmp4 - Moof index beyond end");
  EXPECT_EQ(log.lines[1].text, "ERROR(vlx_Fmp4): Unable to find correct cc chunk for this frame\n");
}

// A day of one-second caption fragments; every pair carries the low bits of its frame's number.
Bytes dayOfCaptions(std::uint32_t framesPerSecond, std::uint32_t fragments) {
  const auto one = [framesPerSecond](std::uint32_t index) {
    Bytes pairs;
    for (std::uint32_t i = 0; i < framesPerSecond; ++i) {
      const Bytes pair = u16(index * framesPerSecond + i);
      pairs.insert(pairs.end(), pair.begin(), pair.end());
    }
    return captionFragment(index + 1, std::uint64_t{index} * framesPerSecond,
                           {{captionSample(box("cdat", {pairs}), framesPerSecond)}});
  };
  Bytes day;
  day.reserve(one(0).size() * fragments);
  for (std::uint32_t i = 0; i < fragments; ++i) {
    const Bytes next = one(i);
    day.insert(day.end(), next.begin(), next.end());
  }
  return day;
}

void expectNoDrift(std::uint32_t timescale, std::uint32_t framesPerSecond) {
  constexpr std::uint32_t kFragments = 86400;
  IndexedFile file(dayOfCaptions(framesPerSecond, kFragments));
  file.with(kVideoTrack, timescale, trackDefaults(1001)).with(kCc608Track, timescale, trackDefaults(1001));
  FragmentIndex& index = file.build({timescale, 1001});
  EXPECT_EQ(index.total(kCc608Track), std::uint64_t{kFragments} * framesPerSecond);
  Cc608Reader reader;
  reader.cursor = file.cursor(kCc608Track);
  const std::uint64_t last = std::uint64_t{kFragments} * framesPerSecond - 1;
  for (const std::uint64_t frame :
       {std::uint64_t{0}, last, last / 2, last - framesPerSecond, last / 3, last - 1}) {
    ASSERT_TRUE(SeekCc608Frame(index, frame, reader).ok());
    ASSERT_TRUE(reader.hasPair());
    EXPECT_EQ(reader.ccFrame, frame);
    EXPECT_EQ(Bytes(reader.pair(), reader.pair() + 2), u16(frame)) << frame;
  }
  EXPECT_EQ(frameOfDecodeTime(index, reader.cursor), last / framesPerSecond * framesPerSecond);
}

TEST(Cc608OfADay, DoNotDriftAt2997) {
  expectNoDrift(30000, 30);
}

TEST(Cc608OfADay, DoNotDriftAt5994) {
  expectNoDrift(60000, 60);
}

TEST(Cc608Reader, AFrameAtASamplesEndIsInTheNextSample) {
  CaptionFile captions(
      captionFragment(1, 0, {{captionSample(pairs(1, 3), 3), captionSample(pairs(4, 4), 4)}}));
  for (const auto& [frame, sample, position] :
       {std::tuple{2u, 0u, 0u}, {3u, 1u, 3u}, {4u, 1u, 3u}, {6u, 1u, 3u}}) {
    ASSERT_TRUE(seekCc608Sample(captions.index, frame, captions.reader.cursor).ok());
    EXPECT_EQ(captions.reader.cursor.sampleIndex(), sample) << frame;
    EXPECT_EQ(captions.reader.cursor.position, position) << frame;
  }
}

TEST(Cc608Reader, AFragmentOfOneFrameIsNotSkipped) {
  CaptionFile captions(join({captionFragment(1, 0, {{captionSample(pairs(1, 2), 2)}}),
                             captionFragment(2, 2, {{captionSample(pairs(3, 1), 1)}}),
                             captionFragment(3, 3, {{captionSample(pairs(4, 2), 2)}})}));
  ASSERT_TRUE(SeekCc608Frame(captions.index, 0, captions.reader).ok());
  for (std::uint32_t frame = 0; frame < 5; ++frame) {
    if (!captions.reader.hasPair()) {
      ASSERT_TRUE(SeekCc608Frame(captions.index, frame, captions.reader).ok());
    }
    EXPECT_EQ(captions.reader.ccFrame, frame);
    EXPECT_EQ(captions.reader.pair()[0], 1 + frame);
    captions.reader.dropPair();
  }
  EXPECT_EQ(captions.index.nextCarrying(kCc608Track, 1), 1u);
  EXPECT_EQ(captions.index.nextCarrying(kCc608Track, 2), 2u);
  EXPECT_EQ(captions.index.nextCarrying(kCc608Track, 3), captions.index.fragmentCount());
  EXPECT_EQ(captions.index.nextCarrying(kCc708Track, 0), captions.index.fragmentCount()) << "not present";
}

TEST(Cc608Reader, ASampleUpToTheFilesEndIsRead) {
  CaptionFile captions(captionFragment(1, 0, {{captionSample(pairs(1, 2), 2)}}));
  EXPECT_EQ(captions.at(1), pairs(2, 1));
  EXPECT_EQ(captions.file.bytes.back(), 0x82) << "the pair is the last of the file";
}

TEST(Cc608Reader, AFrameAfterTheLastSampleOfARunIsInTheLast) {
  // Four samples of a frame and a half each, six frames in all.
  TrafSpec traf;
  traf.trackId = 3;
  RunSpec run{kRunDataOffset | kRunSize, {}};
  for (std::uint32_t i = 0; i < 4; ++i) run.samples.push_back(captionSample(pairs(1 + i, 1), 0));
  traf.runs = {run};
  traf.flags = kBaseIsMoof | kDefaultDuration;
  traf.duration = 1502;
  CaptionFile captions(fragment(1, {traf}));
  for (const auto& [frame, sample] : {std::pair{2u, 2u}, {3u, 3u}, {5u, 3u}}) {
    ASSERT_TRUE(seekCc608Sample(captions.index, frame, captions.reader.cursor).ok());
    EXPECT_EQ(captions.reader.cursor.sampleIndex(), sample) << frame;
  }
}

TEST(Cc608Reader, ASamplePastTheTracksBytesGivesNoCaptions) {
  TrafSpec traf;
  traf.trackId = 3;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize | kRunDuration, {captionSample(pairs(1, 2), 2)}},
               RunSpec{kRunDataOffset | kRunSize | kRunDuration, {captionSample(pairs(3, 2), 2)}}};
  IndexedFile measured(fragment(1, {traf}));
  TrackCursor cursor = measured.with(kCc608Track, 30000, trackDefaults(1001)).cursor(kCc608Track);
  ASSERT_TRUE(cursor.locateFragment(measured.build(), 0, 0).ok());
  const auto first = static_cast<std::uint32_t>(cursor.truns()[0]->dataOffset);
  // All eight bytes of the track before the second run, and one fewer than its sample has.
  for (const auto& [distance, result] : {std::pair{4u, Defect::None}, {5u, Defect::SampleMissing}}) {
    traf.runs[1].dataOffset = first + distance;
    CaptionFile captions(join({fragment(1, {traf}), box("free", {zeros(100)})}));
    LogCapture log;
    EXPECT_EQ(SeekCc608Frame(captions.index, 2, captions.reader), result) << distance;
  }
}

TEST(Cc608Reader, ABoxOfNothingHasNoPairs) {
  CaptionFile captions(
      captionFragment(1, 0, {{captionSample(box("cdat"), 2), captionSample(pairs(3, 2), 2)}}));
  ASSERT_TRUE(SeekCc608Frame(captions.index, 0, captions.reader).ok());
  EXPECT_EQ(captions.reader.ccFrame, 2u) << "the next sample";
}

TEST(Cc608Reader, ABoxHasThePairsAfterItsHeaderAlone) {
  CaptionFile captions(join({captionFragment(1, 0, {{captionSample(box("cdat", {pairs(1, 2)}), 4)}}),
                             captionFragment(2, 4, {{captionSample(pairs(5, 1), 1)}})}));
  ASSERT_TRUE(SeekCc608Frame(captions.index, 0, captions.reader).ok());
  EXPECT_EQ(captions.reader.pending, 4u);
  ASSERT_TRUE(SeekCc608Frame(captions.index, 2, captions.reader).ok());
  EXPECT_EQ(captions.reader.ccFrame, 4u);
  EXPECT_EQ(captions.reader.cursor.position, 4u);
}

TEST(Cc608Reader, TheNextSampleOfARunStartsAfterTheDurationOfTheOneBefore) {
  CaptionFile captions(
      captionFragment(1, 0, {{captionSample(pairs(1, 1), 4), captionSample(pairs(3, 2), 2)}}));
  ASSERT_TRUE(SeekCc608Frame(captions.index, 2, captions.reader).ok());
  EXPECT_EQ(captions.reader.ccFrame, 4u);
  EXPECT_EQ(captions.reader.cursor.position, 4u);
}

}  // namespace

}  // namespace fmp4
