// What packaging derives from a source, part by part: frames, rate, interval, times, captions.
#include "tool/package/package_plan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/codec_code.h"
#include "base/user_error.h"
#include "mediafile.h"
#include "mp4box/boxes/hdlr.h"
#include "tests/captions/sei_stream.h"
#include "tests/support/fragments.h"
#include "tool/package/paced_times.h"
#include "tool/package/track_choice.h"
#include "tool/source/source_captions.h"
#include "tool/source/source_tracks.h"
#include "tool/source/video_captions.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

EditList edits(const std::vector<std::pair<std::uint64_t, std::int64_t>>& entries, bool openEnd = false) {
  mp4::EditListBox box;
  for (const auto& [duration, mediaTime] : entries) {
    auto& entry = box.entries.emplace_back();
    entry.segmentDuration = duration;
    entry.mediaTime = mediaTime;
  }
  return EditList(box, 1000, 1000, openEnd);
}

// Frames of 40 ticks of a millisecond; 'K' is a key frame, '.' another.
SourceTrack framesOf(std::string_view pattern, std::uint32_t ticks = 40) {
  SourceTrack video;
  video.timescale = 1000;
  std::uint64_t time = 0;
  for (const char c : pattern) {
    video.samples.push_back(
        {.offset = 100 * time, .size = 9, .key = c == 'K', .decodeTime = time, .duration = ticks});
    video.nominalDuration.addSamples(ticks);
    time += ticks;
  }
  video.nominalDuration.endFragment();
  return video;
}

struct Planned {
  PackagePlan plan;
  std::vector<std::string> warnings;
};

Planned planOf(const SourceTrack& video, const PackageOptions& options = {}) {
  Planned planned;
  planned.plan =
      planPackage(video, options, [&](const std::string& text) { planned.warnings.push_back(text); });
  return planned;
}

// ---- Edit lists -------------------------------------------------------------------------------------

TEST(SourceEdits, PlayTheirPartsInOrder) {
  const EditList list = edits({{500, -1}, {1000, 200}, {2000, 5000}});
  EXPECT_TRUE(list.severalParts());
  EXPECT_EQ(list.firstShown(), 200);
  EXPECT_EQ(list.shownEnd(), 7000);
  EXPECT_DOUBLE_EQ(list.present(200, 1000), 0.5);
  EXPECT_DOUBLE_EQ(list.present(1199, 1000), 1.499);
  EXPECT_DOUBLE_EQ(list.present(1200, 1000), 1.5 - 3.8) << "timed by the next part";
  EXPECT_DOUBLE_EQ(list.present(5000, 1000), 1.5);
  EXPECT_DOUBLE_EQ(list.present(8000, 1000), 4.5) << "after all, timed by the last";
}

TEST(SourceEdits, WithoutATimescaleOfTheMovieAreNone) {
  mp4::EditListBox box;
  box.entries.emplace_back().segmentDuration = 100;
  EXPECT_TRUE(EditList(box, 0, 1000, false).empty());
  EXPECT_TRUE(EditList(box, 1000, 0, false).empty());
  EXPECT_FALSE(EditList(box, 1000, 1000, false).empty());
}

TEST(SourceEdits, HideWhatNoPartPlays) {
  const EditList list = edits({{1000, 200}, {2000, 5000}});
  EXPECT_TRUE(list.hides(100, 200));
  EXPECT_FALSE(list.hides(100, 201));
  EXPECT_FALSE(list.hides(1199, 1300));
  EXPECT_TRUE(list.hides(1200, 1300));
  EXPECT_FALSE(EditList().hides(0, 1));
}

TEST(SourceEdits, OfFragmentedFilesEndOpen) {
  EXPECT_EQ(edits({{1000, 200}}, true).shownEnd(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(edits({{0, 200}}).shownEnd(), std::numeric_limits<std::int64_t>::max())
      << "nor does an empty one end";
  EXPECT_EQ(edits({{1, 200}}).shownEnd(), 201);
  EXPECT_TRUE(edits({{1000, -5}}).empty());
}

// ---- Frames -----------------------------------------------------------------------------------------

TEST(PlannedFrames, StartWhereTheFirstShownFrameCanBeDecoded) {
  SourceTrack video = framesOf("K...K...K...");
  video.edits = edits({{0, 240}});  // frame 6
  const Planned planned = planOf(video);
  EXPECT_EQ(planned.plan.first, 4u);
  EXPECT_EQ(planned.plan.count, 8u);
  EXPECT_THAT(planned.warnings, ElementsAre(HasSubstr("hides its first 2 frames")));
  video.edits = edits({{0, 160}});  // frame 4 itself
  EXPECT_EQ(planOf(video).plan.first, 4u);
  EXPECT_THAT(planOf(video).warnings, IsEmpty());
}

TEST(PlannedFrames, EndWithTheLastShownOne) {
  SourceTrack video = framesOf("K...K...");
  video.edits = edits({{200, 0}});
  EXPECT_EQ(planOf(video).plan.count, 5u);
  video.edits = edits({{201, 0}});
  EXPECT_EQ(planOf(video).plan.count, 6u);
  // All that is asked for is hidden: it is recorded nevertheless.
  PackageOptions options;
  options.start = 4;
  video.edits = edits({{160, 0}});
  EXPECT_EQ(planOf(video, options).plan.count, 4u);
  options.start = 0;
  options.count = 3;
  EXPECT_EQ(planOf(video, options).plan.count, 3u);
}

TEST(PlannedFrames, BeginWithAKeyFrame) {
  const SourceTrack video = framesOf("K...K...");
  PackageOptions options;
  options.start = 7;
  try {
    planOf(video, options);
    FAIL();
  } catch (const UserError& error) {
    EXPECT_THAT(error.what(), HasSubstr("--start 4 is the one before"));
  }
  options.start = 8;
  EXPECT_THROW(planOf(video, options), UserError);
}

// ---- Rate and interval ------------------------------------------------------------------------------

TEST(PlannedRate, IsThatOfMostFrames) {
  SourceTrack video = framesOf("K.......");
  EXPECT_EQ(planOf(video).plan.rate, 25u);
  EXPECT_EQ(planOf(video).plan.scale, 1u);
  // A last frame of another duration is common, and says nothing.
  video.samples.push_back({.key = false, .decodeTime = 320, .duration = 900});
  EXPECT_EQ(planOf(video).plan.rate, 25u);
  EXPECT_THAT(planOf(video).warnings, IsEmpty());
  video.samples.push_back({.key = false, .decodeTime = 1220, .duration = 40});
  EXPECT_THAT(planOf(video).warnings, ElementsAre(HasSubstr("vary in duration")));
}

TEST(PlannedRate, IsTheMeanWhereFewFramesAgree) {
  SourceTrack video = framesOf("K.");
  for (const std::uint32_t duration : {60u, 80u, 100u}) {
    video.samples.push_back({.decodeTime = video.samples.back().decodeTime, .duration = duration});
    video.nominalDuration.addSamples(duration);
  }
  const PackagePlan plan = planOf(video).plan;
  EXPECT_EQ(plan.rate, 125u) << "five frames in 320 ms";
  EXPECT_EQ(plan.scale, 8u);
}

TEST(PlannedInterval, IsTheMostCommonDistanceAndTheShorterOfTwo) {
  const std::string four = "K...", six = "K.....";
  EXPECT_EQ(planOf(framesOf(four + four + four + "K")).plan.interval, 4u);
  const Planned uneven = planOf(framesOf(four + six + four + six + "K"));
  EXPECT_EQ(uneven.plan.interval, 4u);
  EXPECT_THAT(uneven.warnings,
              ElementsAre(HasSubstr("not evenly spaced; segments are cut for one every 4 frames")));
  EXPECT_EQ(planOf(framesOf(six + six + four + "K")).plan.interval, 6u);
  EXPECT_EQ(planOf(framesOf(four)).plan.interval, 1u) << "a single key frame";
}

TEST(PlannedInterval, ThatGivesNoSegmentsIsCutIntoItsLargestPart) {
  const std::string group = 'K' + std::string(253, '.');
  const Planned planned = planOf(framesOf(group + group + 'K'));
  EXPECT_EQ(planned.plan.interval, 2u) << "254 is 2 times 127";
  EXPECT_THAT(planned.warnings, ElementsAre(HasSubstr("they are cut for one every 2 frames")));
}

TEST(PlannedInterval, GivenOneOverridesAndIsComparedWithTheSources) {
  PackageOptions options;
  options.interval = 4;
  EXPECT_THAT(planOf(framesOf("K...K...K"), options).warnings, IsEmpty());
  options.interval = 2;
  const Planned other = planOf(framesOf("K...K...K...K...K...K...K"), options);
  EXPECT_EQ(other.plan.interval, 2u);
  EXPECT_THAT(other.warnings, ElementsAre("--gop 2 is not the source's key-frame interval of 4 frames"));
  options.interval = 3;
  EXPECT_THAT(
      planOf(framesOf(std::string(10, 'K') + "...................K...................K"), options).warnings,
      ElementsAre(HasSubstr("segments will not begin with a key frame")));
}

TEST(PlannedOffsets, CountFromTheLeast) {
  SourceTrack video = framesOf("");
  for (std::uint64_t i = 0; i < 4; ++i) {
    video.samples.push_back({.key = i == 0,
                             .decodeTime = 40 * i,
                             .duration = 40,
                             .compositionOffset = static_cast<std::int32_t>(40 * i) - 80});
    video.nominalDuration.addSamples(40);
  }
  video.nominalDuration.endFragment();
  const PackagePlan plan = planOf(video).plan;
  EXPECT_EQ(plan.leastOffset, -80);
  for (std::size_t i = 0; i < 4; ++i)
    EXPECT_EQ(plan.compositionOffset(video.samples[i]), static_cast<std::int32_t>(i));
}

// ---- Times ------------------------------------------------------------------------------------------

TEST(PacedSource, ShiftsWhatFollowsAPauseOfTheVideo) {
  SourceTrack video = framesOf("K.........");
  const PackagePlan plan = planOf(video).plan;
  PacedTimes times(video, plan);
  for (const SourceSample frame : video.samples) times.add(frame);
  EXPECT_DOUBLE_EQ(times.end(), 0.4);
  EXPECT_DOUBLE_EQ(times.recorded(0.3).value(), 0.3);
  // A second later than due; what plays in between has no time.
  times.add({.decodeTime = 1400, .duration = 40});
  EXPECT_NEAR(times.end(), 0.44, 1e-9);
  EXPECT_NEAR(times.recorded(1.4).value(), 0.4, 1e-9);
  EXPECT_NEAR(times.recorded(0.39).value(), 0.39, 1e-9);
  EXPECT_FALSE(times.recorded(0.8));
  EXPECT_EQ(times.frameOf(0.8), 11) << "the frame after the last";
  EXPECT_EQ(times.frameOf(1.4), 10);
  // Half a second more than a frame is no pause.
  times.add({.decodeTime = 1400 + 540, .duration = 40});
  EXPECT_NEAR(times.recorded(1.94).value(), 0.94, 1e-9);
  // Two seconds; what plays before them has the times from after the first pause.
  times.add({.decodeTime = 3980, .duration = 40});
  EXPECT_NEAR(times.recorded(3.98).value(), 0.98, 1e-9);
  EXPECT_NEAR(times.recorded(1.95).value(), 0.95, 1e-9);
}

TEST(PacedSource, IsPacedByMostOfItsFirstFrames) {
  SourceTrack video = framesOf("K");
  for (const std::uint64_t time : {50u, 90u, 130u, 170u}) {
    video.samples.push_back({.decodeTime = time, .duration = 40});
    video.nominalDuration.addSamples(40);
  }
  video.nominalDuration.endFragment();
  const PackagePlan plan = PackagePlan::asRead(video);
  EXPECT_NEAR(PacedTimes(video, plan).recorded(0.13).value(), 0.12, 1e-9)
      << "all but the first are 10 ms late";
}

TEST(PacedSource, StartsWithTheFirstFrameDisplayed) {
  SourceTrack video = framesOf("");
  // Decoded in the order 0 3 1 2: the least offset is none, the first frame is displayed at its own time.
  for (const auto& [time, offset] : {std::pair{0u, 40}, {40u, 120}, {80u, 0}, {120u, 0}}) {
    video.samples.push_back({.decodeTime = time, .duration = 40, .compositionOffset = offset});
    video.nominalDuration.addSamples(40);
  }
  video.nominalDuration.endFragment();
  const PacedTimes times(video, planOf(video).plan);
  EXPECT_DOUBLE_EQ(times.firstFrame(), 0.04);
  EXPECT_DOUBLE_EQ(times.recorded(0.1).value(), 0.1);
}

// ---- Captions ---------------------------------------------------------------------------------------

// A source of one caption track in memory.
class CaptionTrack : public SampleSource {
 public:
  CaptionTrack(std::uint32_t codec, std::vector<std::pair<std::uint64_t, Bytes>> samples)
      : samples_(std::move(samples)), tracks_(1) {
    tracks_[0].codec = codec;
    tracks_[0].timescale = 25;
    for (const auto& [time, bytes] : samples_)
      tracks_[0].samples.push_back({.size = static_cast<std::uint32_t>(bytes.size()), .decodeTime = time});
  }
  const std::string& path() const override { return path_; }
  std::vector<SourceTrack>& tracks() override { return tracks_; }
  bool more() override { return false; }
  std::span<std::uint8_t> read(const SourceTrack&, std::size_t index) override {
    return samples_[index].second;
  }

 private:
  std::string path_ = "captions";
  std::vector<std::pair<std::uint64_t, Bytes>> samples_;
  std::vector<SourceTrack> tracks_;
};

// The captions of frame `frame`, whose number is `first` in the source.
Bytes captionsAt(SourceCaptions& captions, std::int64_t frame, std::int64_t first = 0) {
  DFRAME descriptor{};
  captions.addTo(descriptor, frame, [first](double seconds) { return std::llround(seconds * 25) - first; });
  return Bytes(descriptor.captions, descriptor.captions + descriptor.captionBytes);
}

TEST(SourceCaptionTrack, GivesEachFrameItsPair) {
  CaptionTrack source(kC608, {{2, box("cdat", {Bytes{1, 2, 3, 4}})}, {5, Bytes{5, 6, 7}}});
  SourceCaptions captions(source, &source.tracks()[0]);
  const std::vector<Bytes> expected = {{}, {}, {1, 2}, {3, 4}, {}, {5, 6}, {}};
  for (std::size_t frame = 0; frame < expected.size(); ++frame)
    EXPECT_EQ(captionsAt(captions, static_cast<std::int64_t>(frame)), expected[frame]) << frame;
}

TEST(SourceCaptionTrack, GivesAPacketToItsFrameAlone) {
  const Bytes packet = {0x96, 0x69, 8, 0x4F, 0x43, 0, 0, 0x72};
  CaptionTrack source(kC708, {{1, box("ccdp", {packet})}, {3, packet}, {4, box("ccdp", {})}});
  SourceCaptions captions(source, &source.tracks()[0]);
  EXPECT_EQ(captionsAt(captions, 0), Bytes());
  const Bytes area = captionsAt(captions, 1);
  ASSERT_GT(area.size(), packet.size());
  EXPECT_TRUE(std::equal(packet.rbegin(), packet.rend(), area.rbegin()));
  EXPECT_EQ(captionsAt(captions, 2), Bytes());
  EXPECT_EQ(captionsAt(captions, 3), area);
  EXPECT_EQ(captionsAt(captions, 4), Bytes());
  captions.rewind();
  EXPECT_EQ(captionsAt(captions, 1), area);
  EXPECT_EQ(captionsAt(captions, 1), Bytes()) << "once";
}

TEST(SourceCaptionTrack, GivesNothingOfABoxShorterThanItsHeader) {
  CaptionTrack source(kC708, {{1, boxOfSize(4, "ccdp", {zeros(10)})}});
  SourceCaptions captions(source, &source.tracks()[0]);
  EXPECT_EQ(captionsAt(captions, 1), Bytes());
}

// Packets of the frames before the first recorded one are not put onto it.
TEST(SourceCaptionTrack, LeavesOutWhatIsPastAtTheStart) {
  const Bytes packet = {0x96, 0x69, 8, 0x4F, 0x43, 0, 0, 0x72};
  CaptionTrack source(kC708, {{1, packet}, {7, packet}});
  SourceCaptions captions(source, &source.tracks()[0]);
  EXPECT_EQ(captionsAt(captions, 0, 3), Bytes());
  EXPECT_EQ(captionsAt(captions, 3, 3), Bytes());
  EXPECT_NE(captionsAt(captions, 4, 3), Bytes());
}

TEST(SourceCaptionTrack, PacketsLongerThanTheAreaAreLeftOut) {
  DFRAME descriptor{};
  addPacketTo(descriptor, Bytes(sizeof descriptor.captions, 1));
  EXPECT_EQ(descriptor.captionFlags, 0u);
  addPairTo(descriptor, {1, 2});
  EXPECT_EQ(descriptor.captionBytes, 2u);
  addPacketTo(descriptor, Bytes(10, 1));
  const std::uint32_t bytes = descriptor.captionBytes;
  addPairTo(descriptor, {1, 2});
  EXPECT_EQ(descriptor.captionBytes, bytes) << "the packet stays";
}

TEST(ChosenTracks, AreWarnedOfWhereThereAreSeveral) {
  CaptionTrack source(kMp4a, {});
  source.tracks()[0].handler = mp4::kAudioHandler;
  source.tracks().push_back(source.tracks()[0]);
  std::vector<std::string> warnings;
  PackageOptions options;
  for (const bool noAudio : {true, false}) {
    EXPECT_THAT(warnings, IsEmpty());
    options.noAudio = noAudio;
    chooseTracks(source, options, [&warnings](const std::string& text) { warnings.push_back(text); });
  }
  EXPECT_THAT(warnings, ElementsAre(HasSubstr("the source has 2 audio tracks")));
}

// An access unit of a SEI message.
Bytes accessUnit(const std::vector<captions::CcConstruct>& constructs) {
  const Bytes sei = sei::captionSei(constructs);
  return join({u32(sei.size()), sei});
}

TEST(VideoCaptionPairs, WaitForTheFrameThatDisplaysThem) {
  using captions::CcConstruct;
  using captions::CcType;
  VideoCaptions captions(4, 25);
  const auto pair = [](std::uint8_t value, bool valid = true, CcType type = CcType::Field1) {
    return CcConstruct{type, valid, {value, value}};
  };
  const auto firstOf = [&](std::uint64_t frame) {
    DFRAME descriptor{};
    captions.addTo(descriptor, frame);
    return descriptor.captionFlags & DFRAME_CAPTION_608 ? int{descriptor.captions[0]} : -1;
  };
  captions.add(accessUnit({pair(0x21)}), 0, 2);
  captions.add(
      accessUnit({pair(0x22), pair(0x23), pair(0x80), pair(0x24, false), pair(0x25, true, CcType::Field2)}),
      1, 0);
  captions.add(accessUnit({pair(0x26)}), 2, 1000);  // no offset that an encoder makes
  EXPECT_EQ(firstOf(0), -1);
  EXPECT_EQ(firstOf(1), 0x22);
  EXPECT_EQ(firstOf(2), 0x23);
  EXPECT_EQ(firstOf(3), 0x21);
  EXPECT_EQ(firstOf(4), 0x26);
  EXPECT_EQ(firstOf(5), -1);
}

TEST(VideoCaptionPairs, ThatWaitAreSixtyAtMost) {
  using captions::CcConstruct;
  VideoCaptions captions(4, 25);
  for (std::uint64_t frame = 0; frame < 3; ++frame)
    captions.add(accessUnit(std::vector<CcConstruct>(31, {captions::CcType::Field1, true, {0x21, 0x21}})),
                 frame, 0);
  std::uint64_t pairs = 0;
  for (std::uint64_t frame = 0; frame < 200; ++frame) {
    DFRAME descriptor{};
    captions.addTo(descriptor, frame);
    pairs += descriptor.captionFlags & DFRAME_CAPTION_608 ? 1 : 0;
  }
  EXPECT_EQ(pairs, 62u) << "sixty, and those of the two frames before";
}

// ---- Fragments of old muxers ------------------------------------------------------------------------

// Without any base, the data of a track fragment are where those before it end (ISO/IEC 14496-12, 8.8.7.1).
TEST(SourceFragments, WithoutABaseFollowTheTrackBefore) {
  TrafSpec video, audio;
  video.flags = audio.flags = 0;
  audio.trackId = 2;
  video.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(30, 1), sampleOf(40, 2)}}};
  for (const bool stated : {false, true}) {
    audio.runs = {RunSpec{stated ? kRunDataOffset | kRunSize : kRunSize, {sampleOf(5, 3), sampleOf(6, 4)}}};
    if (stated) audio.runs[0].dataOffset = 0;
    const Bytes start =
        join({fileTypeBox(),
              movieBox({videoTrack(1), {2, "soun", 48000, audioEntry("mp4a", 2, 16, 48000), 1024}})});
    const Bytes bytes = join({start, fragment(1, {video, audio}), fragment(2, {video, audio})});
    Mp4MemoryStream stream(bytes.data(), bytes.size());
    const std::vector<SourceTrack> tracks = readTracks(stream);
    ASSERT_EQ(tracks.size(), 2u);
    for (std::size_t track = 0; track < 2; ++track) {
      ASSERT_EQ(tracks[track].samples.size(), 4u);
      const auto& expected = track == 0 ? video.runs[0].samples : audio.runs[0].samples;
      for (std::size_t i = 0; i < 4; ++i) {
        const SourceSample sample = tracks[track].samples[i];
        const Bytes& data = expected[i % 2].data;
        ASSERT_EQ(sample.size, data.size());
        EXPECT_TRUE(
            std::equal(data.begin(), data.end(), bytes.begin() + static_cast<std::ptrdiff_t>(sample.offset)))
            << track << ' ' << i;
      }
    }
    EXPECT_EQ(tracks[1].samples[2].decodeTime, 0u) << "as its tfdt says";
  }
}

}  // namespace

}  // namespace fmp4
