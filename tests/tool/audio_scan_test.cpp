// The audio of an overview is the same however many threads read it, and in whatever ranges.
#include "tool/viewer/audio_scan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"
#include "tool/viewer/audio_range.h"

namespace fmp4 {

namespace {

using testing::Contains;
using testing::Each;
using testing::Field;
using testing::SizeIs;

// Far more than the files here have.
constexpr std::uint64_t kWholeFile = 1'000'000;

// Two channels of noise that swells, `seconds` long.
std::vector<std::string> noise(const std::string& seconds) {
  return {"-f", "lavfi", "-i",
          "aevalsrc=0.4*mod(t\\,1)*(2*random(0)-1)|0.1*sin(3000*t)+0.1*random(1):s=44100:d=" + seconds};
}

void loseUnits(const std::string& path, const std::vector<std::size_t>& units) {
  std::vector<std::uint8_t> bytes = readFile(path);
  const std::vector<Packet> packets = ffprobePackets(path, "a:0", {"-ignore_editlist", "1"});
  for (const std::size_t i : units)
    std::fill_n(bytes.begin() + packets.at(i).offset, packets.at(i).size, std::uint8_t{0xFF});
  writeFile(path, bytes);
}

class AudioScan : public testing::Test {
 protected:
  // What scanning the file gives. `reopened`: what other threads open.
  Overview::Finest scanned(const AudioDivision& division, const std::string& reopened) {
    const MediaFile file = plugin_.openQuietly(path_);
    const OverviewStreams streams = audioStreams(*file);
    Overview overview;
    overview.begin(streams);
    EXPECT_TRUE(scanAudio(plugin_, *file, reopened, streams, overview, {}, division));
    return overview.finest();
  }
  Overview::Finest inOne() { return scanned({1, kWholeFile}, path_); }
  void expectTheSameForEachDivision() {
    const Overview::Finest one = inOne();
    EXPECT_THAT(one.audio, Each(SizeIs(one.streams.audioCells())));
    for (const AudioDivision division :
         {AudioDivision{1, 10}, AudioDivision{2, 10}, AudioDivision{4, 30}, AudioDivision{3, 170}}) {
      const Overview::Finest parts = scanned(division, path_);
      EXPECT_EQ(parts.faults, one.faults) << division.readers << ' ' << division.rangeCells;
      EXPECT_TRUE(parts == one) << division.readers << ' ' << division.rangeCells;
    }
  }

  const TempFolder folder_;
  const Plugin plugin_{"vlx_fmp4"};
  const std::string path_ = folder_.file("clip.mp4");
};

TEST_F(AudioScan, OfAacIsTheSameForEachDivision) {
  makeMedia(path_, noise("10") + std::vector<std::string>{"-c:a", "aac"} + fragmented());
  expectTheSameForEachDivision();
}

TEST_F(AudioScan, OfAc3IsTheSameForEachDivision) {
  makeMedia(path_,
            noise("5") + std::vector<std::string>{"-ar", "48000", "-c:a", "ac3"} + fragmented("+delay_moov"));
  expectTheSameForEachDivision();
}

TEST_F(AudioScan, OfTheFirstOfTwoTracksIsTheSameForEachDivision) {
  makeMedia(path_, noise("5") + toneInput(5) +
                       std::vector<std::string>{"-map", "0", "-map", "1", "-c:a", "aac"} + fragmented());
  expectTheSameForEachDivision();
}

// The first access units, one that two blocks of 4410 PCM frames share, neighbours, and seconds of them.
TEST_F(AudioScan, WithLostAccessUnitsIsTheSameForEachDivision) {
  makeMedia(path_, noise("10") + std::vector<std::string>{"-c:a", "aac"} + fragmented("+delay_moov"));
  std::vector<std::size_t> units = {0, 1, 2, 30, 70, 71, 74};
  for (std::size_t i = 150; i < 250; ++i) units.push_back(i);
  loseUnits(path_, units);
  expectTheSameForEachDivision();
  std::uint32_t lost = 0;
  for (const AudioFault& fault : inOne().faults) lost += fault.units;
  EXPECT_EQ(lost, units.size());
}

// Access unit 30 lies in the blocks that begin with cells 60 and 70, and counts in the first of them.
TEST_F(AudioScan, ALostAccessUnitCountsInItsFirstBlockWhereverReadingBegins) {
  makeMedia(path_, noise("2") + std::vector<std::string>{"-c:a", "aac"} + fragmented("+delay_moov"));
  loseUnits(path_, {30});
  const auto faultsOf = [this](std::uint64_t from, std::uint64_t to) {
    const MediaFile file = plugin_.openQuietly(path_);
    const OverviewStreams streams = audioStreams(*file);
    AudioRangeReader reader(*file, streams);
    return reader.read(from, to, [] { return false; }).value().faults;
  };
  const AudioFault lost{AudioFault::Kind::Lost, 26460, 30870, 1};
  EXPECT_THAT(faultsOf(0, 100), testing::ElementsAre(lost));
  EXPECT_THAT(faultsOf(60, 70), testing::ElementsAre(lost));
  EXPECT_THAT(faultsOf(70, 100), testing::IsEmpty());
}

TEST_F(AudioScan, WithGapsIsTheSameForEachDivision) {
  makeMedia(path_,
            noise("10") +
                std::vector<std::string>{"-af", "aselect=not(between(t\\,2.05\\,2.5)+between(t\\,4\\,7.3))",
                                         "-c:a", "aac"} +
                fragmented("+delay_moov"));
  expectTheSameForEachDivision();
  EXPECT_THAT(inOne().audio[0], Contains(AudioCell{}).Times(testing::Gt(350)));
}

TEST_F(AudioScan, OfACodecThatIsNotDecodedIsUnreadForEachDivision) {
  makeMedia(path_, noise("5") + std::vector<std::string>{"-c:a", "libmp3lame"} + fragmented());
  expectTheSameForEachDivision();
  EXPECT_THAT(inOne().faults, testing::ElementsAre(Field(&AudioFault::kind, AudioFault::Kind::Unread)));
}

// The plug-in tries 64 access units at each of 64 places before it gives a track up. The others decode, which
// only a reader that begins there would find.
TEST_F(AudioScan, OfATrackThatIsGivenUpIsUnreadForEachDivision) {
  makeMedia(path_, toneInput(100) + std::vector<std::string>{"-c:a", "aac"} + fragmented("+delay_moov"));
  const std::size_t count = ffprobePackets(path_, "a:0", {"-ignore_editlist", "1"}).size();
  ASSERT_GT(count, 64u * 70);
  std::vector<std::size_t> units;
  for (std::size_t place = 0; place < 64; ++place)
    for (std::size_t i = 0; i < 64; ++i) units.push_back(count * place / 64 + i);
  loseUnits(path_, units);
  const Overview::Finest one = inOne();
  EXPECT_THAT(one.faults, testing::ElementsAre(Field(&AudioFault::kind, AudioFault::Kind::Unread)));
  EXPECT_TRUE(scanned({2, 160}, path_) == one);
}

// The thread that scans reads on alone.
TEST_F(AudioScan, DoesNotNeedTheFileTwice) {
  makeMedia(path_, noise("20") + std::vector<std::string>{"-c:a", "aac"} + fragmented());
  const std::string shorter = folder_.file("shorter.mp4"), slower = folder_.file("slower.mp4");
  makeMedia(shorter, noise("19") + std::vector<std::string>{"-c:a", "aac"} + fragmented());
  makeMedia(slower, noise("30") + std::vector<std::string>{"-c:a", "aac", "-ar", "32000"} + fragmented());
  const Overview::Finest one = inOne();
  for (const std::string& reopened : {folder_.file("removed.mp4"), shorter, slower})
    EXPECT_TRUE(scanned({4, 10}, reopened) == one) << reopened;
}

TEST_F(AudioScan, EndsWhenItIsStopped) {
  makeMedia(path_, noise("10") + std::vector<std::string>{"-c:a", "aac"} + fragmented());
  const MediaFile file = plugin_.openQuietly(path_);
  const OverviewStreams streams = audioStreams(*file);
  for (const unsigned readers : {1u, 3u}) {
    Overview overview;
    overview.begin(streams);
    bool enough = false;
    ScanWatch watch;
    watch.progress = [&enough](std::uint64_t done, std::uint64_t) { enough = done >= 200; };
    watch.stopped = [&enough] { return enough; };
    EXPECT_FALSE(scanAudio(plugin_, *file, path_, streams, overview, watch, {readers, 50}));
    EXPECT_EQ(overview.progress().audioCells, 200u) << readers;
  }
}

}  // namespace

}  // namespace fmp4
