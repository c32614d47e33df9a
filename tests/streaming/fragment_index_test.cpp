#include "streaming/index/fragment_index.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "streaming/index/seek.h"
#include "tests/streaming/index_fixture.h"
#include "tests/support/controlled_new.h"
#include "tests/support/log_capture.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;

// The slots of an index that hold a fragment.
std::vector<std::uint32_t> occupied(FragmentIndex& index) {
  std::vector<std::uint32_t> places;
  for (std::uint32_t i = index.nextOccupied(0); i < index.fragmentCount(); i = index.nextOccupied(i + 1)) {
    places.push_back(i);
  }
  return places;
}

TEST(FragmentIndex, EntriesLandAtTheirSequenceNumberWhateverTheOrderOfDiscovery) {
  IndexedFile file(join({videoFragment(3, 30), videoFragment(1, 10), videoFragment(2, 20)}));
  FragmentIndex& index = file.build();
  // The count follows the last one added: slot 2 is not reached.
  EXPECT_EQ(index.fragmentCount(), 2u);
  EXPECT_THAT(occupied(index), ElementsAre(0u, 1u));
  EXPECT_EQ(index.entry(0)->videoSamples, 10u);
  EXPECT_EQ(index.entry(1)->videoSamples, 20u);
  EXPECT_EQ(index.entry(2), nullptr);
  EXPECT_EQ(index.total(kVideoTrack), 30u);
}

TEST(FragmentIndex, SequenceNumberZeroSetsTheCountToZero) {
  IndexedFile file(join({videoFragment(1, 10), videoFragment(2, 20), videoFragment(0, 30)}));
  FragmentIndex& index = file.build();
  EXPECT_EQ(index.fragmentCount(), 0u);
  EXPECT_EQ(index.total(kVideoTrack), 0u);
  EXPECT_EQ(index.entry(0), nullptr);
}

TEST(FragmentIndex, FragmentsAfterNumberZeroCountWithTheEarlierOnes) {
  IndexedFile file(join({videoFragment(1, 10), videoFragment(0, 30), videoFragment(2, 20)}));
  FragmentIndex& index = file.build();
  EXPECT_EQ(index.fragmentCount(), 2u);
  EXPECT_EQ(index.total(kVideoTrack), 30u);
}

TEST(FragmentIndex, ARepeatedNumberReplacesItsEntry) {
  IndexedFile file(join({videoFragment(1, 10), videoFragment(2, 20), videoFragment(2, 25)}));
  FragmentIndex& index = file.build();
  EXPECT_EQ(index.fragmentCount(), 2u);
  EXPECT_EQ(index.entry(1)->videoSamples, 25u);
  EXPECT_EQ(index.total(kVideoTrack), 35u);
}

TEST(FragmentIndex, NumbersThatStartAnywhereAndLeaveGapsGiveEmptySlots) {
  IndexedFile file(join({videoFragment(0xFFFFFFF0, 10), videoFragment(0xFFFFFFFF, 20)}));
  FragmentIndex& index = file.build();
  EXPECT_EQ(index.fragmentCount(), 0xFFFFFFFFu);
  EXPECT_THAT(occupied(index), ElementsAre(0xFFFFFFEFu, 0xFFFFFFFEu));
  EXPECT_EQ(index.entry(5), nullptr);
  EXPECT_EQ(index.find(kVideoTrack, 9).fragmentIndex, 0xFFFFFFEFu);
  EXPECT_EQ(index.find(kVideoTrack, 10).fragmentIndex, 0xFFFFFFFEu);
  EXPECT_EQ(index.find(kVideoTrack, 10).start, 10u);
  EXPECT_EQ(index.previousOccupied(0xFFFFFFFE), 0xFFFFFFEFu);
  EXPECT_EQ(index.previousOccupied(0xFFFFFFEF), index.fragmentCount());
}

TEST(FragmentIndex, AFragmentWithoutHeaderIsNotAdded) {
  TrafSpec traf;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, 1)}}};
  IndexedFile file(join({fragment(std::nullopt, {traf}), videoFragment(1, 4)}));
  FragmentIndex& index = file.build();
  EXPECT_EQ(index.fragmentCount(), 1u);
  EXPECT_EQ(index.total(kVideoTrack), 4u);
}

TEST(FragmentIndex, EntriesGiveTheMediaDataOffset) {
  const Bytes first = videoFragment(1, 3);
  IndexedFile file(join({first, videoFragment(2, 2)}));
  FragmentIndex& index = file.build();
  EXPECT_EQ(index.mdatSize(*index.entry(0)), 8u + 30u);
  EXPECT_EQ(index.entry(0)->mdatOffset(), first.size() - 38u);
  EXPECT_EQ(index.entry(1)->mdatOffset(), file.bytes.size() - 28u);
}

TEST(FragmentIndex, ALargeSizedMediaDataBoxGivesIts64BitSize) {
  TrafSpec traf;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, 1)}}};
  Bytes moof = fragment(1, {traf});
  moof.resize(moof.size() - 13);
  IndexedFile file(join({moof, largeBox("mdat", {zeros(5)})}));
  FragmentIndex& index = file.build();
  EXPECT_EQ(index.mdatSize(*index.entry(0)), 21u);
}

TEST(FragmentIndex, TheDurationOfARunWithoutItsOwnComesFromTheTrackDefaults) {
  TrafSpec audio;
  audio.trackId = 2;
  audio.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(4, 1), sampleOf(4, 2), sampleOf(4, 3)}}};
  IndexedFile file(fragment(1, {audio}));
  file.with(kAudioTrack, 48000, trackDefaults(1024));
  EXPECT_EQ(file.build().entry(0)->audioTicks, 3u * 1024);
}

TEST(FragmentIndex, TheDurationDefaultOfTheTrackFragmentComesFirst) {
  TrafSpec audio;
  audio.trackId = 2;
  audio.flags = kBaseIsMoof | kDefaultDuration;
  audio.duration = 960;
  audio.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(4, 1), sampleOf(4, 2)}},
                RunSpec{kRunDataOffset | kRunSize | kRunDuration, {sampleOf(4, 3, 100)}}};
  IndexedFile file(fragment(1, {audio}));
  file.with(kAudioTrack, 48000, trackDefaults(1024));
  EXPECT_EQ(file.build().entry(0)->audioTicks, 2u * 960 + 100);
}

TEST(FragmentIndex, ARunThatClaimsFourBillionSamplesIsKeptAsACount) {
  TrafSpec traf;
  RunSpec run{kRunDataOffset, {}};
  run.count = 0xFFFFFFFF;
  traf.runs = {run};
  IndexedFile file(fragment(1, {traf}));
  file.with(kVideoTrack, 30000, trackDefaults(1001, 7));
  FragmentIndex& index = file.build();
  EXPECT_EQ(index.entry(0)->videoSamples, 0xFFFFFFFFu);
  TrackCursor cursor = file.cursor(kVideoTrack);
  EXPECT_TRUE(locateVideoFrame(index, 0xFFFFFFFE, cursor).ok());
  EXPECT_EQ(cursor.sampleIndex(), 0xFFFFFFFEu);
  EXPECT_EQ(cursor.sampleOffset() - cursor.runOffset(), 7ull * 0xFFFFFFFEull);
}

TEST(FragmentIndex, CaptionDurationsAreFramesTruncatedBySampleOrByRun) {
  TrafSpec perSample;
  perSample.trackId = 3;
  perSample.runs = {
      RunSpec{kRunDataOffset | kRunSize | kRunDuration, {sampleOf(2, 1, 1500), sampleOf(2, 2, 1500)}}};
  TrafSpec perRun = perSample;
  perRun.flags = kBaseIsMoof | kDefaultDuration;
  perRun.duration = 1500;
  perRun.runs[0].flags = kRunDataOffset | kRunSize;
  IndexedFile file(join({fragment(1, {perSample}), fragment(2, {perRun})}));
  file.with(kCc608Track, 30000, trackDefaults(0));
  FragmentIndex& index = file.build();
  EXPECT_EQ(index.entry(0)->cc608Frames, 2u) << "1500 ticks are 1.49 frames, each truncated to 1";
  EXPECT_EQ(index.entry(1)->cc608Frames, 2u) << "3000 ticks are 2.99 frames";
}

TEST(FragmentIndex, AFileWithSegmentIndexesIsIndexedFromThemOnly) {
  const Bytes listed = videoFragment(1, 10), unlisted = videoFragment(2, 20);
  IndexedFile file(join({sidxBox({{static_cast<std::uint32_t>(listed.size())}}), listed, unlisted}));
  FragmentIndex& index = file.build();
  EXPECT_EQ(index.fragmentCount(), 1u);
  EXPECT_EQ(index.total(kVideoTrack), 10u);
}

TEST(FragmentIndex, AReferenceMaySpanSeveralFragments) {
  const Bytes a = videoFragment(1, 1), b = videoFragment(2, 2), c = videoFragment(3, 4);
  const auto both = static_cast<std::uint32_t>(a.size() + b.size());
  const auto last = static_cast<std::uint32_t>(c.size());
  IndexedFile file(join({sidxBox({{both}, {last}}), a, b, c}));
  FragmentIndex& index = file.build();
  EXPECT_THAT(occupied(index), ElementsAre(0u, 1u, 2u));
  EXPECT_EQ(index.total(kVideoTrack), 7u);
}

TEST(FragmentIndex, UnusedReferencesAtTheEndOfAFileEndTheWalkSilently) {
  const Bytes a = videoFragment(1, 5);
  IndexedFile file(join({sidxBox({{static_cast<std::uint32_t>(a.size())}, {0}, {0}, {0}}), a}));
  LogCapture log;
  FragmentIndex& index = file.build();
  EXPECT_EQ(index.total(kVideoTrack), 5u);
  EXPECT_TRUE(log.lines.empty());
}

TEST(FragmentIndex, TheFirstOffsetIsSkipped) {
  const Bytes a = videoFragment(1, 5), gap = box("free", {zeros(20)});
  const auto size = static_cast<std::uint32_t>(a.size());
  IndexedFile file(join({sidxBox({{size}}, static_cast<std::uint32_t>(gap.size())), gap, a}));
  EXPECT_EQ(file.build().total(kVideoTrack), 5u);
}

TEST(FragmentIndex, SeveralIndexesOfTheSameFragmentsAddThemOnce) {
  const Bytes a = videoFragment(1, 5), b = videoFragment(2, 6);
  const std::vector<ReferenceSpec> references = {{static_cast<std::uint32_t>(a.size())},
                                                 {static_cast<std::uint32_t>(b.size())}};
  const Bytes second = sidxBox(references);
  const Bytes first = sidxBox(references, static_cast<std::uint32_t>(second.size()));
  IndexedFile file(join({first, second, a, b}));
  FragmentIndex& index = file.build();
  EXPECT_EQ(index.fragmentCount(), 2u);
  EXPECT_EQ(index.total(kVideoTrack), 11u);
}

TEST(FragmentIndex, IfNoIndexLeadsToFragmentsTheyAreFoundWithout) {
  IndexedFile file(join({sidxBox({{0}, {0}}), videoFragment(1, 10), videoFragment(2, 20)}));
  EXPECT_EQ(file.build().total(kVideoTrack), 30u);
}

TEST(FragmentIndex, AnIndexWithoutPayloadOrAnOffsetWithoutABoxIsRefused) {
  IndexedFile file(videoFragment(1, 10));
  FragmentIndex& index = file.build();
  EXPECT_EQ(index.AddFragmentsFromSidx(file.file.root()->first), Defect::BoxTypeUnexpected);
  EXPECT_EQ(index.AddFragmentsAt(file.bytes.size()), Defect::BoxPastFile);
  EXPECT_EQ(index.AddFragmentsAt(~0ull), Defect::BoxPastFile);
}

TEST(FragmentIndex, AnOffsetOfABoxWithoutASizeIsRefused) {
  IndexedFile file(box("mdat", {zeros(16), videoFragment(1, 10)}));
  EXPECT_EQ(file.build().AddFragmentsAt(8), Defect::BoxSizeZero);
}

// A file whose host reads it no further than to an offset.
class ReadInPart : public Mp4MemoryStream {
 public:
  ReadInPart(const Bytes& bytes, std::uint64_t end)
      : Mp4MemoryStream(bytes.data(), bytes.size()), end_(static_cast<std::int64_t>(end)) {}
  std::int64_t read(void* buffer, std::int64_t count) override {
    const std::int64_t left = end_ - static_cast<std::int64_t>(tell());
    return Mp4MemoryStream::read(buffer, std::clamp(left, std::int64_t{0}, count));
  }
  const std::uint8_t* view(std::uint64_t, std::uint64_t) override { return nullptr; }

 private:
  std::int64_t end_;
};

TEST(FragmentIndex, AnIndexThatTheHostDoesNotReadIsReportedAsSuch) {
  const Bytes bytes = join({sidxBox({{100}, {200}}), videoFragment(1, 10)});
  ReadInPart stream(bytes, 20);
  Mp4TopLevelReader file(stream);
  FragmentIndex index(file, {}, {30000, 1001});
  EXPECT_EQ(index.AddFragmentsAt(0), Defect::ReadFailed);
}

TEST(FragmentIndex, AnIndexGivenByItsOffsetIsFollowed) {
  const Bytes a = videoFragment(1, 10), b = videoFragment(2, 20);
  const Bytes named = sidxBox({{static_cast<std::uint32_t>(b.size())}});
  IndexedFile file(join({a, named, b}));
  file.with(kVideoTrack, 30000, trackDefaults(1001));
  FragmentIndex index(file.file, file.tracks, {30000, 1001});
  EXPECT_TRUE(index.AddFragmentsAt(a.size()).ok());
  EXPECT_EQ(index.fragmentCount(), 2u);
  EXPECT_EQ(index.total(kVideoTrack), 20u);
}

// Media data that contains boxes, which a walk over the top level does not visit.
Bytes hidden(const Bytes& content) {
  return box("mdat", {content});
}

TEST(FragmentIndex, IndexesAtDescendingOffsetsAddTheFragmentsAfterThemOnce) {
  constexpr std::uint32_t kIndexes = 200, kFragments = 200;
  Bytes prelude;  // boxes that all end where the fragments start
  for (std::uint32_t i = 0; i < kIndexes; ++i) {
    prelude = join({prelude, boxOfSize(8 * (kIndexes - i), "free")});
  }
  Bytes fragments;
  for (std::uint32_t i = 0; i < kFragments; ++i) {
    fragments = join({fragments, box("moof", {fullBox("mfhd", 0, 0, {u32(i + 1)})})});
  }
  // The first index leads to the last of these boxes, the last one to the first.
  Bytes content;
  const std::size_t indexBytes = sidxBox({{0}}).size();
  for (std::uint32_t i = 0; i < kIndexes; ++i) {
    const auto after = static_cast<std::uint32_t>((kIndexes - 1 - i) * (indexBytes + 8) + 8);
    content = join({content, sidxBox({{0x7FFFFFFF}}, after)});
  }
  IndexedFile file(join({content, hidden(join({prelude, fragments}))}));
  const CountingNew counting;
  EXPECT_EQ(file.build().fragmentCount(), kFragments);
  EXPECT_LT(counting.peakBytes(), 32 * file.bytes.size());
}

TEST(FragmentIndex, AnOffsetGivenAgainAddsNothing) {
  const Bytes target = videoFragment(1, 10);
  const Bytes named = sidxBox({{static_cast<std::uint32_t>(target.size())}});
  IndexedFile file(hidden(join({named, target})));
  FragmentIndex& index = file.build();
  ASSERT_TRUE(index.AddFragmentsAt(8).ok());
  const CountingNew counting;
  for (int i = 0; i < 1000; ++i) EXPECT_TRUE(index.AddFragmentsAt(8).ok());
  EXPECT_EQ(counting.allocations(), 0u);
  EXPECT_EQ(index.total(kVideoTrack), 10u);
}

TEST(FragmentIndex, BoxesReadOutsideTheTopLevelAddUpToNoMoreThanTheFile) {
  constexpr std::uint32_t kBoxes = 400;
  const Bytes table = box("moof", {repeat(box("free"), 1000)});
  Bytes openers;  // fragments that all hold the same thousand boxes
  for (std::uint32_t i = 0; i < kBoxes; ++i) {
    openers = join({openers, boxOfSize(8 * (kBoxes - i) + table.size(), "moof")});
  }
  IndexedFile file(hidden(join({openers, table})));
  FragmentIndex& index = file.build();
  const CountingNew counting;
  EXPECT_EQ(index.AddFragmentsAt(8), Defect::BoxTypeUnexpected);
  for (std::uint32_t i = 1; i < kBoxes; ++i) EXPECT_EQ(index.AddFragmentsAt(8 + 8 * i), Defect::TooManyBoxes);
  EXPECT_LT(counting.peakBytes(), 64 * file.bytes.size());
}

TEST(FragmentIndex, ATrackFragmentWithOnlyAHeaderMatchesAnyTrack) {
  TrafSpec bare;
  bare.trackId = 9;
  bare.bare = true;
  TrafSpec video;
  video.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, 1)}}};
  IndexedFile before(fragment(1, {bare, video}));
  EXPECT_EQ(before.build().total(kVideoTrack), 0u) << "the bare one comes first";
  IndexedFile after(fragment(1, {video, bare}));
  EXPECT_EQ(after.build().total(kVideoTrack), 1u) << "the track's own comes first";
}

TEST(FragmentIndex, LargestVideoSampleIsKnown) {
  TrafSpec traf;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, 1), sampleOf(500, 2)}},
               RunSpec{kRunDataOffset | kRunSize, {sampleOf(50, 3)}}};
  IndexedFile file(fragment(1, {traf}));
  EXPECT_EQ(file.build().largestVideoSample(), 500u);
}

TEST(FragmentIndex, NoSampleIsLargerThanTheFile) {
  TrafSpec traf;
  traf.flags |= kDefaultSize;
  traf.size = 0xFFFFFFFF;
  traf.runs = {RunSpec{kRunDataOffset, {sampleOf(5, 1)}}};
  IndexedFile file(fragment(1, {traf}));
  EXPECT_EQ(file.build().largestVideoSample(), file.bytes.size());
}

TEST(FragmentIndex, DescendingNumbersCostNoMoreThanAscendingOnes) {
  Bytes content;
  for (std::uint32_t i = 0; i < 20000; ++i) {
    const Bytes one = join({box("moof", {fullBox("mfhd", 0, 0, {u32(20000 - i)})}), box("mdat")});
    content.insert(content.end(), one.begin(), one.end());
  }
  IndexedFile file(content);
  FragmentIndex& index = file.build();
  EXPECT_EQ(index.fragmentCount(), 1u);
}

TEST(FragmentIndex, AReferenceThatBeginsWithKnownFragmentsAddsTheOthers) {
  const Bytes a = videoFragment(1, 5), b = videoFragment(2, 6);
  const auto first = static_cast<std::uint32_t>(a.size());
  const Bytes both = sidxBox({{static_cast<std::uint32_t>(a.size() + b.size())}});
  IndexedFile file(join({sidxBox({{first}}, static_cast<std::uint32_t>(both.size())), both, a, b}));
  EXPECT_EQ(file.build().total(kVideoTrack), 11u);
}

TEST(FragmentIndex, AReferenceToNoBoxEndsItsIndex) {
  const Bytes a = videoFragment(1, 5), b = videoFragment(2, 6);
  for (const Bytes& none : {zeros(16), join({u32(4), zeros(12)})}) {
    const std::vector<ReferenceSpec> references = {{static_cast<std::uint32_t>(a.size())},
                                                   {static_cast<std::uint32_t>(none.size())},
                                                   {static_cast<std::uint32_t>(b.size())}};
    // Inside another box, where a walk over the file does not come.
    const Bytes index = sidxBox(references, 8);
    IndexedFile file(join({index, hidden(join({a, none, b}))}));
    EXPECT_EQ(file.build().total(kVideoTrack), 5u);
  }
}

TEST(FragmentIndex, LargestVideoSampleIsThatOfAnyFragment) {
  IndexedFile file(join({videoFragment(1, 1), videoFragment(2, 1)}));
  TrafSpec traf;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(500, 1)}}};
  IndexedFile descending(join({fragment(1, {traf}), videoFragment(2, 1)}));
  EXPECT_EQ(file.build().largestVideoSample(), 10u);
  EXPECT_EQ(descending.build().largestVideoSample(), 500u);
}

TEST(FragmentIndex, PlacesAreRightAfterFragmentsAreAdded) {
  const Bytes first = videoFragment(1, 1);
  Bytes others;
  for (std::uint32_t i = 2; i <= 200; ++i) others = join({others, videoFragment(i, 1)});
  const Bytes named = sidxBox({{static_cast<std::uint32_t>(others.size())}});
  // Boxes of hidden fragments are read as far as they are no longer than the file.
  IndexedFile file(join({first, hidden(join({named, others, zeros(20000)}))}));
  FragmentIndex& index = file.build();
  EXPECT_EQ(index.total(kVideoTrack), 1u);
  ASSERT_TRUE(index.AddFragmentsAt(first.size() + 8).ok());
  EXPECT_EQ(index.total(kVideoTrack), 200u);
  for (const std::uint64_t frame : {0u, 1u, 63u, 64u, 65u, 127u, 128u, 199u}) {
    EXPECT_EQ(index.find(kVideoTrack, frame).fragmentIndex, frame);
    EXPECT_EQ(index.find(kVideoTrack, frame).start, frame);
  }
}

}  // namespace

}  // namespace fmp4
