// What packaging records of tracks in memory, and what it says.
#include "tool/package/packager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/codec_code.h"
#include "base/user_error.h"
#include "mp4box/boxes/hdlr.h"
#include "tests/captions/sei_stream.h"
#include "tests/support/fragments.h"
#include "tests/support/temp_folder.h"
#include "tool/host/plugin_host.h"
#include "tool/package/silent_aac.h"
#include "tool/source/source_file.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::uint32_t kRate = 48000;  // Hz, and ticks of both tracks
constexpr std::uint32_t kFrame = kRate / 25;

// Video at 25 frames a second, stereo AAC, and captions if they are added.
class MemorySource : public SampleSource {
 public:
  MemorySource() : tracks_(2) {
    SourceTrack &video = tracks_[0], &audio = tracks_[1];
    video.trackId = 1;
    video.handler = mp4::kVideoHandler;
    video.codec = kAvc1;
    video.width = 320;
    video.height = 180;
    video.configuration = {1, 0x64, 0, 0x1E, 0xFF, 0xE0, 0};
    audio.trackId = 2;
    audio.handler = mp4::kAudioHandler;
    audio.codec = kMp4a;
    audio.objectType = 0x40;
    audio.channels = 2;
    audio.configuration = {0x11, 0x90};
    for (SourceTrack& track : tracks_) track.timescale = kRate;
  }
  SourceTrack& video() { return tracks_[0]; }
  SourceTrack& audio() { return tracks_[1]; }
  void addFrames(std::size_t count, std::uint64_t from = 0, const Bytes& bytes = Bytes(50, 1)) {
    for (std::size_t i = 0; i < count; ++i) add(video(), from + i * kFrame, kFrame, bytes, i == 0);
    video().nominalDuration.endFragment();
  }
  // Access units from a time on, in ticks.
  void addUnits(std::size_t count, std::uint64_t from = 0) {
    for (std::size_t i = 0; i < count; ++i) add(audio(), from + i * 1024, 1024, Bytes(20, 2), true);
  }
  // A track of one pair in each frame.
  void addPairs(std::size_t count) {
    SourceTrack& pairs = tracks_.emplace_back();
    pairs.trackId = 3;
    pairs.handler = mp4::kCaptionHandler;
    pairs.codec = kC608;
    pairs.timescale = kRate;
    for (std::size_t i = 0; i < count; ++i) add(pairs, i * kFrame, kFrame, {0x15, 0x2C}, true);
  }

  const std::string& path() const override { return path_; }
  std::vector<SourceTrack>& tracks() override { return tracks_; }
  bool more() override { return false; }
  std::span<std::uint8_t> read(const SourceTrack& track, std::size_t index) override {
    return dataOf(track)[index];
  }

 private:
  std::vector<Bytes>& dataOf(const SourceTrack& track) {
    return data_[static_cast<std::size_t>(&track - tracks_.data())];
  }
  void add(SourceTrack& track, std::uint64_t time, std::uint32_t duration, const Bytes& bytes, bool key) {
    track.samples.push_back({.size = static_cast<std::uint32_t>(bytes.size()),
                             .key = key,
                             .decodeTime = time,
                             .duration = duration});
    track.nominalDuration.addSamples(duration);
    dataOf(track).push_back(bytes);
  }

  std::string path_ = "source.mp4";
  std::vector<SourceTrack> tracks_;
  std::vector<Bytes> data_[3];
};

// A recording of the source, and what was said of it.
struct Packaged {
  TempFolder folder;
  std::vector<std::string> warnings;

  explicit Packaged(MemorySource& source, PackageOptions options = {}) {
    static const Plugin plugin("vlx_fmp4");
    options.output = folder.file("out.mp4");
    const auto warn = [this](const std::string& text) { warnings.push_back(text); };
    const PackagePlan plan = planPackage(source.video(), options, warn);
    Packager packager(plugin, source, options, plan, plan.count, warn);
    packager.run([](std::uint64_t) {}, [] { return false; });
    packager.finish();
  }
  std::vector<SourceTrack> tracksOf(const char* name) const { return SourceFile(folder.file(name)).tracks(); }
  std::size_t accessUnits() const { return tracksOf("out.m4a").at(0).samples.size(); }
};

TEST(Packager, RecordsFramesAndAccessUnits) {
  MemorySource source;
  source.addFrames(25);
  source.addUnits(46);
  source.audio().configuration = {0x11, 0x90, 0x56, 0xE5};
  const Packaged packaged(source);
  EXPECT_THAT(packaged.warnings, IsEmpty());
  EXPECT_EQ(packaged.tracksOf("out.m4v").at(0).samples.size(), 25u);
  EXPECT_EQ(packaged.tracksOf("out.m4v").at(0).configuration, source.video().configuration);
  EXPECT_EQ(packaged.accessUnits(), 46u);
  EXPECT_EQ(packaged.tracksOf("out.m4a").at(0).configuration, source.audio().configuration);
}

TEST(Packager, RefusesOtherAudioWhateverItsConfiguration) {
  MemorySource source;
  source.addFrames(25);
  source.addUnits(46);
  source.audio().objectType = 0x6B;
  EXPECT_THROW(Packaged{source}, UserError);
}

TEST(Packager, LeavesOutAudioThatPlaysWithNoFrame) {
  const std::string none = "no audio plays with the chosen frames; the recording has none";
  MemorySource later;
  later.addFrames(25);
  later.addUnits(10, 2 * kRate);
  EXPECT_THAT(Packaged(later).warnings, ElementsAre(none));
  MemorySource earlier;
  earlier.addFrames(25, 2 * kRate);
  earlier.addUnits(10);
  EXPECT_THAT(Packaged(earlier).warnings, ElementsAre(none));
}

TEST(Packager, SaysHowMuchAudioBeforeTheVideoIsLeftOut) {
  const auto packagedFrom = [](std::uint64_t milliseconds) {
    MemorySource source;
    source.addFrames(25, milliseconds * kRate / 1000);
    source.addUnits(60);
    return Packaged(source).warnings;
  };
  EXPECT_THAT(packagedFrom(100), IsEmpty()) << "as long as an encoder's priming";
  EXPECT_THAT(packagedFrom(300),
              ElementsAre("the source's audio begins 300 ms before its video; that part is left out"));
}

TEST(Packager, SaysNothingOfAudioBeforeAChosenStart) {
  MemorySource source;
  source.addFrames(25);
  source.addUnits(46);
  SampleList samples;
  for (std::size_t i = 0; i < 25; ++i) {
    SourceSample sample = source.video().samples[i];
    sample.key = i % 10 == 0;
    samples.push_back(sample);
  }
  source.video().samples = samples;
  PackageOptions options;
  options.start = 10;
  options.interval = 10;
  const Packaged packaged(source, options);
  EXPECT_EQ(packaged.tracksOf("out.m4v").at(0).samples.size(), 15u);
  EXPECT_THAT(packaged.warnings, IsEmpty());
}

// Entries of a duration in ms and a media time in ticks, -1 for none.
EditList editsOfAudio(const std::vector<std::pair<std::uint64_t, std::int64_t>>& entries) {
  mp4::EditListBox box;
  for (const auto& [duration, mediaTime] : entries) {
    auto& entry = box.entries.emplace_back();
    entry.segmentDuration = duration;
    entry.mediaTime = mediaTime;
  }
  return EditList(box, 1000, kRate, false);
}

TEST(Packager, LeavesOutAudioAfterTheEndOfItsEditList) {
  MemorySource source;
  source.addFrames(50);
  source.addUnits(94);
  source.audio().edits = editsOfAudio({{1000, 0}});
  const Packaged packaged(source);
  EXPECT_EQ(packaged.accessUnits(), 47u) << "the last one plays in part";
  EXPECT_THAT(packaged.warnings, IsEmpty());
}

// Two units are hidden: the second one is decoded before the first that plays, half a second late.
TEST(Packager, KeepsTheHiddenAccessUnitBeforeTheFirstThatPlays) {
  MemorySource source;
  source.addFrames(50);
  source.addUnits(30);
  source.audio().edits = editsOfAudio({{500, -1}, {1000, 2048}});
  const auto silence = silentAccessUnit(source.audio().configuration);
  ASSERT_TRUE(silence);
  const Packaged packaged(source);
  const std::vector<SourceTrack> tracks = packaged.tracksOf("out.m4a");
  std::vector<std::uint32_t> sizes, expected(22, static_cast<std::uint32_t>(silence->size()));
  expected.insert(expected.end(), 29, 20);
  for (const SourceSample sample : tracks.at(0).samples) sizes.push_back(sample.size);
  EXPECT_EQ(sizes, expected);
}

// For low delay no silent access unit is made.
TEST(Packager, ClosesGapsThatItCannotFill) {
  MemorySource source;
  source.addFrames(75);
  source.addUnits(10);
  source.addUnits(10, 10 * 1024 + kRate);
  source.addUnits(10, 20 * 1024 + kRate + kRate / 2);
  source.audio().configuration = {0xB9, 0x90};
  const Packaged packaged(source);
  EXPECT_EQ(packaged.accessUnits(), 30u);
  EXPECT_THAT(packaged.warnings,
              ElementsAre("gaps in audio of this configuration cannot be filled with silence; it comes up to "
                          "1500 ms early"));
}

TEST(Packager, FillsGapsWithSilence) {
  MemorySource source;
  source.addFrames(75);
  source.addUnits(10);
  source.addUnits(10, 10 * 1024 + 40 * 1024);
  const Packaged packaged(source);
  EXPECT_EQ(packaged.accessUnits(), 60u);
  EXPECT_THAT(packaged.warnings, IsEmpty());
}

TEST(Packager, EndsAtAGapAfterTheVideo) {
  MemorySource source;
  source.addFrames(25);
  source.addUnits(46);
  source.addUnits(10, 3 * kRate);
  EXPECT_EQ(Packaged(source).accessUnits(), 47u) << "silence until the last frame has ended";
}

TEST(Packager, LeavesOutAccessUnitsThatOverlap) {
  MemorySource source;
  source.addFrames(25);
  source.addUnits(20);
  source.addUnits(20, 15 * 1024);
  const Packaged packaged(source);
  EXPECT_EQ(packaged.accessUnits(), 35u);
  EXPECT_THAT(packaged.warnings,
              ElementsAre("5 access units of the source's audio overlap others and are left out"));
}

// NAL units with lengths of two bytes.
TEST(Packager, FindsCaptionsAfterShortLengths) {
  const captions::CcConstruct pair{captions::CcType::Field1, true, {0x94, 0x20}};
  const Bytes sei = sei::captionSei(std::vector{pair});
  MemorySource source;
  source.addFrames(25, 0, join({u16(sei.size()), sei}));
  source.video().configuration[4] = 0xFD;
  const Packaged packaged(source);
  const std::vector<SourceTrack> tracks = packaged.tracksOf("out.m4v");
  ASSERT_EQ(tracks.size(), 3u) << "video and captions of both standards";
  EXPECT_EQ(tracks[1].codec, kC608);
}

TEST(Packager, LooksForNoCaptionsInTheVideoWhereThereIsATrackOfThem) {
  const captions::CcConstruct pair{captions::CcType::Field1, true, {0x94, 0x20}};
  const Bytes sei = sei::captionSei(std::vector{pair});
  MemorySource source;
  source.addFrames(25, 0, join({u32(sei.size()), sei}));
  source.addPairs(10);
  const Packaged packaged(source);
  SourceFile recorded(packaged.folder.file("out.m4v"));
  ASSERT_EQ(recorded.tracks().size(), 2u) << "no track for captions of the video";
  const SourceTrack& captions = recorded.tracks()[1];
  ASSERT_EQ(captions.codec, kC608);
  Bytes pairs;
  for (std::size_t i = 0; i < captions.samples.size(); ++i) {
    const auto sample = recorded.read(captions, i);
    pairs.insert(pairs.end(), sample.begin() + 8, sample.end());
  }
  EXPECT_EQ(pairs, join({repeat({0x15, 0x2C}, 10), repeat({0x80, 0x80}, 15)}));
}

}  // namespace

}  // namespace fmp4
