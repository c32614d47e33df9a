#include "streaming/index/track_cursor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/bytes.h"
#include "streaming/index/seek.h"
#include "streaming/index/track_defaults.h"
#include "tests/streaming/index_fixture.h"
#include "tests/support/log_capture.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;

Bytes readSample(FragmentIndex& index, TrackCursor& cursor) {
  Bytes bytes(cursor.sampleSize());
  EXPECT_TRUE(cursor.read(index, bytes.data()).ok());
  return bytes;
}

// All frames from the cursor's sample on.
std::vector<Bytes> readOn(FragmentIndex& index, TrackCursor& cursor) {
  std::vector<Bytes> frames;
  while (cursor.advance(index) == Advance::Ready) {
    frames.push_back(readSample(index, cursor));
    cursor.next();
  }
  return frames;
}

// A fragment of two runs of three and two frames.
Bytes twoRuns(std::uint32_t sequence) {
  TrafSpec traf;
  const std::uint32_t seed = sequence * 10;
  traf.runs = {
      RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, seed), sampleOf(6, seed + 1), sampleOf(7, seed + 2)}},
      RunSpec{kRunDataOffset | kRunSize, {sampleOf(8, seed + 3), sampleOf(9, seed + 4)}}};
  return fragment(sequence, {traf});
}

TEST(SeekVideoFrame, FindsEveryFrameOfSeveralRunsAndFragments) {
  IndexedFile file(join({twoRuns(1), twoRuns(2)}));
  FragmentIndex& index = file.build();
  TrackCursor cursor = file.cursor(kVideoTrack);
  for (std::uint32_t frame : {9u, 0u, 4u, 5u, 2u, 8u, 3u, 7u, 1u, 6u}) {
    ASSERT_TRUE(SeekVideoFrame(index, frame, cursor).ok());
    EXPECT_EQ(cursor.position, frame);
    const std::uint32_t seed = (frame / 5 + 1) * 10 + frame % 5;
    EXPECT_EQ(readSample(index, cursor), sampleOf(5 + frame % 5, seed).data) << frame;
  }
}

TEST(SeekVideoFrame, AfterTheLastFrameFailsWithBothMessages) {
  IndexedFile file(twoRuns(1));
  FragmentIndex& index = file.build();
  TrackCursor cursor = file.cursor(kVideoTrack);
  LogCapture log;
  EXPECT_EQ(SeekVideoFrame(index, 5, cursor), Defect::EndOfData);
  EXPECT_THAT(log.lines,
              ElementsAre(LogLine{VL_LOG_PLAIN, "fmp4 - Moof index beyond end"},
                          LogLine{VL_LOG_ERROR,
                                  "ERROR(vlx_Fmp4): Unable to find correct video chunk for this frame\n"}));
  EXPECT_FALSE(cursor.loaded());
}

TEST(LoadFragment, AnEmptySlotIsReportedAndClearsTheCursor) {
  IndexedFile file(twoRuns(3));
  FragmentIndex& index = file.build();
  TrackCursor cursor = file.cursor(kVideoTrack);
  ASSERT_TRUE(cursor.LoadFragment(index, 2, 0).ok());
  ASSERT_TRUE(cursor.loaded());
  LogCapture log;
  EXPECT_EQ(cursor.LoadFragment(index, 1, 0), Defect::FragmentMissing);
  EXPECT_THAT(log.lines, ElementsAre(LogLine{VL_LOG_PLAIN, "fmp4 - No Moof box at this index"}));
  EXPECT_FALSE(cursor.loaded());
  EXPECT_EQ(cursor.moof(), nullptr);
}

TEST(LoadFragment, LoadingWithoutDataFreesTheWindow) {
  IndexedFile file(twoRuns(1));
  FragmentIndex& index = file.build();
  TrackCursor cursor = file.cursor(kVideoTrack);
  ASSERT_TRUE(cursor.LoadFragment(index, 0, 0).ok());
  EXPECT_TRUE(cursor.loaded());
  ASSERT_TRUE(cursor.locateFragment(index, 0, 1).ok());
  EXPECT_FALSE(cursor.loaded());
}

TEST(AdvanceRun, ContinuesOverRunsEmptySlotsAndFragmentsWithoutTheTrack) {
  IndexedFile file(join({twoRuns(1), videoFragment(2, 4, 7), twoRuns(9)}));
  FragmentIndex& index = file.build();
  TrackCursor cursor = file.cursor(kVideoTrack);
  ASSERT_TRUE(SeekVideoFrame(index, 0, cursor).ok());
  const std::vector<Bytes> frames = readOn(index, cursor);
  ASSERT_EQ(frames.size(), 10u);
  EXPECT_EQ(frames[4], sampleOf(9, 14).data);
  EXPECT_EQ(frames[5], sampleOf(5, 90).data);
}

TEST(AdvanceRun, SkipsEmptyRuns) {
  TrafSpec traf;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, 1)}}, RunSpec{kRunDataOffset | kRunSize, {}},
               RunSpec{kRunDataOffset | kRunSize, {sampleOf(6, 2)}}};
  IndexedFile file(fragment(1, {traf}));
  FragmentIndex& index = file.build();
  TrackCursor cursor = file.cursor(kVideoTrack);
  ASSERT_TRUE(SeekVideoFrame(index, 0, cursor).ok());
  EXPECT_THAT(readOn(index, cursor), ElementsAre(sampleOf(5, 1).data, sampleOf(6, 2).data));
}

TEST(RunPlace, ABaseDataOffsetCountsFromTheFile) {
  const Bytes before = box("free", {sampleOf(40, 3).data});
  TrafSpec traf;
  traf.flags = kBaseOffset;
  traf.base = 8;
  RunSpec run{kRunDataOffset | kRunSize, {sampleOf(5, 1)}};
  run.dataOffset = 10;
  traf.runs = {run};
  IndexedFile file(join({before, fragment(1, {traf})}));
  FragmentIndex& index = file.build();
  TrackCursor cursor = file.cursor(kVideoTrack);
  ASSERT_TRUE(SeekVideoFrame(index, 0, cursor).ok());
  EXPECT_EQ(readSample(index, cursor), Bytes(before.begin() + 18, before.begin() + 23));
}

TEST(RunPlace, AnOffsetInsideTheFragmentCountsFromTheMediaData) {
  TrafSpec traf;
  RunSpec run{kRunDataOffset | kRunSize, {sampleOf(5, 1)}};
  run.dataOffset = 8;
  traf.runs = {run};
  IndexedFile file(fragment(1, {traf}));
  FragmentIndex& index = file.build();
  TrackCursor cursor = file.cursor(kVideoTrack);
  ASSERT_TRUE(SeekVideoFrame(index, 0, cursor).ok());
  EXPECT_EQ(readSample(index, cursor), sampleOf(5, 1).data);
}

TEST(RunPlace, RunsWithoutAnOffsetFollowTheRunBefore) {
  TrafSpec traf;
  traf.runs = {RunSpec{kRunSize, {sampleOf(5, 1), sampleOf(6, 2)}}, RunSpec{kRunSize, {sampleOf(7, 3)}},
               RunSpec{kRunSize, {sampleOf(8, 4)}}};
  IndexedFile file(fragment(1, {traf}));
  FragmentIndex& index = file.build();
  TrackCursor cursor = file.cursor(kVideoTrack);
  ASSERT_TRUE(SeekVideoFrame(index, 0, cursor).ok());
  EXPECT_THAT(readOn(index, cursor), ElementsAre(sampleOf(5, 1).data, sampleOf(6, 2).data,
                                                 sampleOf(7, 3).data, sampleOf(8, 4).data));
}

// Reads all of a track of one fragment.
std::vector<Bytes> readTrack(IndexedFile& file, TrackRole role) {
  TrackCursor cursor = file.cursor(role);
  EXPECT_TRUE(cursor.LoadFragment(*file.index, 0, 0).ok());
  return readOn(*file.index, cursor);
}

// A fragment of a track that is not read (9), a video track and an audio track. Runs have the given data
// offsets; none: no offset. The track that is not read takes its sample sizes from the movie.
Bytes threeTracks(std::uint32_t flags, std::array<std::optional<std::uint32_t>, 3> offsets) {
  const auto traf = [flags](std::uint32_t track, std::uint32_t runFlags, std::vector<SampleSpec> samples,
                            std::optional<std::uint32_t> offset) {
    RunSpec run{runFlags | (offset ? kRunDataOffset : 0), std::move(samples)};
    run.dataOffset = offset;
    TrafSpec spec;
    spec.trackId = track;
    spec.flags = flags;
    spec.runs = {run};
    return spec;
  };
  return fragment(1, {traf(9, 0, {sampleOf(50, 1), sampleOf(50, 2)}, offsets[0]),
                      traf(1, kRunSize, {sampleOf(5, 3), sampleOf(6, 4)}, offsets[1]),
                      traf(2, kRunSize, {sampleOf(7, 5)}, offsets[2])});
}
struct ThreeTracks : IndexedFile {
  explicit ThreeTracks(const Bytes& moof)
      : IndexedFile(join({movieBox({{9, "meta", 1, captionEntry("mett"), 1, 50}}), moof})) {
    with(kVideoTrack, 30000, trackDefaults(1001));
    with(kAudioTrack, 48000, trackDefaults(1024));
    build();
  }
};
const std::vector<Bytes> kVideoOfThree = {sampleOf(5, 3).data, sampleOf(6, 4).data};
const std::vector<Bytes> kAudioOfThree = {sampleOf(7, 5).data};

// ISO/IEC 14496-12, 8.8.7: unless the `tfhd` or its flags say otherwise.
TEST(RunPlace, OffsetsOfALaterTrackCountFromTheEndOfTheDataOfTheOneBefore) {
  const Bytes measured = threeTracks(0, {0, 0, 0});
  const auto mediaData = static_cast<std::uint32_t>(measured.size() - 118);
  ThreeTracks file(threeTracks(0, {mediaData, 0, 0}));
  EXPECT_EQ(readTrack(file, kVideoTrack), kVideoOfThree);
  EXPECT_EQ(readTrack(file, kAudioTrack), kAudioOfThree);
  ThreeTracks moved(threeTracks(0, {mediaData, 2, static_cast<std::uint32_t>(-2)}));
  TrackCursor cursor = moved.cursor(kAudioTrack);
  ASSERT_TRUE(cursor.LoadFragment(*moved.index, 0, 0).ok());
  EXPECT_EQ(cursor.runOffset(), moved.bytes.size() - 7);
}

TEST(RunPlace, ALaterTrackWithoutOffsetsFollowsTheOneBeforeWhateverTheBase) {
  for (const std::uint32_t flags : {0u, kBaseIsMoof}) {
    ThreeTracks file(threeTracks(flags, {}));
    EXPECT_EQ(readTrack(file, kVideoTrack), kVideoOfThree);
    EXPECT_EQ(readTrack(file, kAudioTrack), kAudioOfThree);
  }
}

TEST(RunPlace, ALaterTrackCountsFromTheFragmentIfItsFlagSaysSo) {
  const Bytes measured = threeTracks(kBaseIsMoof, {0, 0, 0});
  const auto mediaData = static_cast<std::uint32_t>(measured.size() - 118);
  ThreeTracks file(threeTracks(kBaseIsMoof, {mediaData, mediaData + 100, mediaData + 111}));
  EXPECT_EQ(readTrack(file, kVideoTrack), kVideoOfThree);
  EXPECT_EQ(readTrack(file, kAudioTrack), kAudioOfThree);
}

TEST(RunPlace, ARunWithoutAnOffsetStartsAfterTheHeaderOf64BitMediaData) {
  TrafSpec traf;
  traf.runs = {RunSpec{kRunSize, {sampleOf(5, 1), sampleOf(6, 2)}}};
  const Bytes entire = fragment(1, {traf});
  const auto media = static_cast<std::ptrdiff_t>(entire.size() - 11);
  IndexedFile file(join({Bytes(entire.begin(), entire.begin() + media - 8),
                         largeBox("mdat", {Bytes(entire.begin() + media, entire.end())})}));
  file.build();
  EXPECT_THAT(readTrack(file, kVideoTrack), ElementsAre(sampleOf(5, 1).data, sampleOf(6, 2).data));
}

// Looking up each run's start from the first run on would take minutes.
TEST(RunPlace, HundredsOfThousandsOfRunsWithoutAnOffsetTakeOneWalk) {
  constexpr std::size_t kRuns = 200000;
  const Bytes runs = repeat(fullBox("trun", 0, 0, {u32(0)}), kRuns);
  const Bytes last = fullBox("trun", 0, kRunSize, {u32(1), u32(4)});
  const Bytes header = fullBox("tfhd", 0, 0, {u32(1)});
  const Bytes moof = box("moof", {fullBox("mfhd", 0, 0, {u32(1)}),
                                  box("traf", {header, fullBox("tfdt", 0, 0, {u32(0)}), runs, last})});
  IndexedFile file(join({moof, box("mdat", {text("data")})}));
  FragmentIndex& index = file.build();
  TrackCursor cursor = file.cursor(kVideoTrack);
  ASSERT_TRUE(cursor.LoadFragment(index, 0, 0).ok());
  ASSERT_EQ(cursor.advance(index), Advance::Ready);
  EXPECT_EQ(cursor.trunIndex(), kRuns);
  Bytes bytes(4);
  ASSERT_TRUE(cursor.read(index, bytes.data()).ok());
  EXPECT_EQ(bytes, text("data"));
}

TEST(RunPlace, OffsetsOutsideTheFileFailTheSample) {
  for (const std::uint32_t offset : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
    TrafSpec traf;
    RunSpec run{kRunDataOffset | kRunSize, {sampleOf(50, 1)}};
    run.dataOffset = offset;
    traf.runs = {run};
    IndexedFile file(fragment(1, {traf}));
    FragmentIndex& index = file.build();
    TrackCursor cursor = file.cursor(kVideoTrack);
    ASSERT_TRUE(SeekVideoFrame(index, 0, cursor).ok());
    Bytes bytes(50);
    const Result result = cursor.read(index, bytes.data());
    // One byte before the media data is still inside the file and is read as the sample.
    EXPECT_EQ(result, offset == 0xFFFFFFFFu ? Defect::None : Defect::SamplePastFile) << offset;
  }
}

TEST(ReadSample, LargeSamplesAndRunsBeyondTheWindowAreReadCompletely) {
  TrafSpec traf;
  RunSpec run{kRunDataOffset | kRunSize, {}};
  for (std::uint32_t i = 0; i < 40; ++i) run.samples.push_back(sampleOf(i % 3 ? 30000 : 100000, i));
  traf.runs = {run};
  IndexedFile file(fragment(1, {traf}));
  FragmentIndex& index = file.build();
  TrackCursor cursor = file.cursor(kVideoTrack);
  ASSERT_TRUE(SeekVideoFrame(index, 0, cursor).ok());
  const std::vector<Bytes> frames = readOn(index, cursor);
  ASSERT_EQ(frames.size(), 40u);
  for (std::uint32_t i = 0; i < 40; ++i) EXPECT_EQ(frames[i], run.samples[i].data) << i;
}

TEST(SeekAudioTime, FindsTheSampleThatPlaysAtATime) {
  TrafSpec audio;
  audio.trackId = 2;
  audio.runs = {
      RunSpec{kRunDataOffset | kRunSize, {sampleOf(4, 1), sampleOf(5, 2)}},
      RunSpec{kRunDataOffset | kRunSize | kRunDuration, {sampleOf(6, 3, 100), sampleOf(7, 4, 2000)}}};
  IndexedFile file(join({fragment(1, {audio}), fragment(2, {audio})}));
  file.with(kAudioTrack, 48000, trackDefaults(1024));
  FragmentIndex& index = file.build();
  TrackCursor cursor = file.cursor(kAudioTrack);
  struct {
    std::uint64_t time, start;
    std::uint32_t size;
  } const cases[] = {{0, 0, 4},       {1023, 0, 4},    {1024, 1024, 5},       {2047, 1024, 5},
                     {2048, 2048, 6}, {2147, 2048, 6}, {2148, 2148, 7},       {4147, 2148, 7},
                     {4148, 4148, 4}, {8295, 6296, 7}, {4148 + 1024, 5172, 5}};
  for (const auto& c : cases) {
    ASSERT_TRUE(SeekAudioTime(index, c.time, cursor).ok());
    EXPECT_EQ(cursor.position, c.start) << c.time;
    EXPECT_EQ(cursor.sampleSize(), c.size) << c.time;
  }
  LogCapture log;
  EXPECT_EQ(SeekAudioTime(index, 8296, cursor), Defect::EndOfData);
  EXPECT_THAT(log.lines,
              ElementsAre(LogLine{VL_LOG_PLAIN, "fmp4 - Moof index beyond end"},
                          LogLine{VL_LOG_ERROR,
                                  "ERROR(vlx_Fmp4): Unable to find correct audio chunk for this frame\n"}));
}

TEST(SeekCc708Frame, HasOneSamplePerFrameAndItsOwnMessages) {
  TrafSpec captions;
  captions.trackId = 4;
  captions.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(4, 1), sampleOf(5, 2)}},
                   RunSpec{kRunDataOffset | kRunSize, {sampleOf(6, 3)}}};
  IndexedFile file(fragment(1, {captions}));
  file.with(kCc708Track, 30000, trackDefaults(1001));
  FragmentIndex& index = file.build();
  TrackCursor cursor = file.cursor(kCc708Track);
  ASSERT_TRUE(SeekCc708Frame(index, 2, cursor).ok());
  EXPECT_EQ(readSample(index, cursor), sampleOf(6, 3).data);
  LogCapture log;
  EXPECT_EQ(SeekCc708Frame(index, 3, cursor), Defect::EndOfData);
  ASSERT_EQ(log.lines.size(), 2u);
  EXPECT_EQ(log.lines[1].text, "ERROR(vlx_Fmp4): Unable to find correct audio chunk for this frame\n");
}

TEST(SampleDefaults, TheTrackFragmentComesBeforeTheTrack) {
  const mp4::TrackExtendsBox trex = trackDefaults(1, 2, 3);
  mp4::TrackFragmentHeaderBox tfhd;
  tfhd.flags = kDefaultSize;
  tfhd.defaultSampleSize = 20;
  tfhd.defaultSampleDuration = 10;  // not flagged, so not used
  const SampleDefaults defaults(&tfhd, &trex);
  EXPECT_EQ(defaults.duration, 1u);
  EXPECT_EQ(defaults.size, 20u);
  EXPECT_EQ(defaults.flags, 3u);
}

TEST(SampleFlags, TheFirstSampleHasItsOwn) {
  mp4::TrackRunBox run;
  run.flags = kRunFirstFlags | kRunFlags;
  run.addSample({0, 0, 0x11, 0});
  run.addSample({0, 0, 0x22, 0});
  run.firstSampleFlags = 0x33;
  const SampleDefaults none(nullptr, nullptr);
  EXPECT_EQ(flagsOfSample(run, 0, none), 0x33u);
  EXPECT_EQ(flagsOfSample(run, 1, none), 0x22u);
  run.flags = kRunFirstFlags;
  run.resize(2);
  mp4::TrackExtendsBox trex = trackDefaults(0, 0, 0x44);
  EXPECT_EQ(flagsOfSample(run, 1, SampleDefaults(nullptr, &trex)), 0x44u);
}

TEST(RunPlace, AnOffsetThatEndsWithTheFragmentCountsFromTheMediaData) {
  TrafSpec traf;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(40, 1)}}};
  const std::uint32_t moofBytes = Mp4LoadU32(fragment(1, {traf}).data());
  const auto startOf = [&](std::uint32_t offset) {
    traf.runs[0].dataOffset = offset;
    IndexedFile file(join({fragment(1, {traf}), box("free", {zeros(1000)})}));
    FragmentIndex& index = file.build();
    TrackCursor cursor = file.cursor(kVideoTrack);
    EXPECT_TRUE(SeekVideoFrame(index, 0, cursor).ok());
    return cursor.runOffset();
  };
  EXPECT_EQ(startOf(moofBytes - 1), 2 * moofBytes - 1) << "inside the fragment: from its end";
  EXPECT_EQ(startOf(moofBytes), 2 * moofBytes) << "at its end: from there as well";
  EXPECT_EQ(startOf(moofBytes + 1), moofBytes + 1) << "past its end: from its start";
}

TEST(TrackDefaultsOfAMovie, AreTheFirstOfATrack) {
  const Bytes content =
      box("moov", {box("mvex", {fullBox("trex", 0, 0, {u32(1), u32(1), u32(1001), u32(0), u32(0)}),
                                fullBox("trex", 0, 0, {u32(2), u32(1), u32(5), u32(0), u32(0)}),
                                fullBox("trex", 0, 0, {u32(1), u32(1), u32(2002), u32(0), u32(0)})})});
  IndexedFile file(content, Tree::All);
  const TrackDefaults defaults = readTrackDefaults(file.file.root()->first);
  EXPECT_EQ(defaultsOfTrack(defaults, 1)->defaultSampleDuration, 1001u);
  EXPECT_EQ(defaultsOfTrack(defaults, 2)->defaultSampleDuration, 5u);
  EXPECT_EQ(defaultsOfTrack(defaults, 3), nullptr);
}

TEST(RunPlace, BeforeTheStartOfTheFileIsPastItsEnd) {
  TrafSpec traf;
  traf.flags = kBaseOffset;
  traf.base = 10;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, 1)}}};
  for (const auto& [offset, place] : {std::pair{-10, std::uint64_t{0}}, {-20, ~std::uint64_t{0}}}) {
    traf.runs[0].dataOffset = static_cast<std::uint32_t>(offset);
    IndexedFile file(fragment(1, {traf}));
    FragmentIndex& index = file.build();
    TrackCursor cursor = file.cursor(kVideoTrack);
    ASSERT_TRUE(SeekVideoFrame(index, 0, cursor).ok());
    EXPECT_EQ(cursor.runOffset(), place);
  }
}

TEST(TrackFragments, TakeTheFirstOfTwoDecodeTimes) {
  const Bytes moof =
      box("moof", {fullBox("mfhd", 0, 0, {u32(1)}),
                   box("traf", {fullBox("tfhd", 0, kBaseIsMoof, {u32(1)}), fullBox("tfdt", 0, 0, {u32(1000)}),
                                fullBox("tfdt", 0, 0, {u32(2000)}), fullBox("trun", 0, 0, {u32(1)})})});
  IndexedFile file(moof);
  TrackCursor cursor = file.cursor(kVideoTrack);
  FragmentIndex& index = file.build();
  cursor = file.cursor(kVideoTrack);
  ASSERT_TRUE(cursor.locateFragment(index, 0, 0).ok());
  ASSERT_NE(cursor.tfdt(), nullptr);
  EXPECT_EQ(cursor.tfdt()->baseMediaDecodeTime, 1000u);
}

TEST(SampleAtTime, PastARunIsItsEnd) {
  mp4::TrackRunBox run;
  run.resize(3);
  const mp4::TrackExtendsBox trex = trackDefaults(10);
  const SampleDefaults defaults(nullptr, &trex);
  EXPECT_EQ(sampleAtTime(run, 29, defaults).index, 2u);
  for (const std::uint64_t time : {std::uint64_t{30}, std::uint64_t{1000}, ~std::uint64_t{0}}) {
    EXPECT_EQ(sampleAtTime(run, time, defaults).index, 3u) << time;
    EXPECT_EQ(sampleAtTime(run, time, defaults).start, 30u) << time;
  }
}

// The file changed after it was indexed.
TEST(SeekVideoFrame, ToASampleThatIsNoMoreThereClearsTheCursor) {
  IndexedFile file(join({twoRuns(1), twoRuns(2)}));
  FragmentIndex& index = file.build();
  TrackCursor cursor = file.cursor(kVideoTrack);
  ASSERT_TRUE(SeekVideoFrame(index, 0, cursor).ok());
  const Bytes type = text("trun");
  const auto last = std::find_end(file.bytes.begin(), file.bytes.end(), type.begin(), type.end());
  ASSERT_EQ(last[11], 2) << "samples of the last run";
  last[11] = 1;
  EXPECT_EQ(SeekVideoFrame(index, 9, cursor), Defect::SampleMissing);
  EXPECT_FALSE(cursor.loaded());
  EXPECT_EQ(cursor.moof(), nullptr);
}

}  // namespace

}  // namespace fmp4
