// Overviews of files against the frames and the audio that the program gives.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstring>
#include <fstream>
#include <future>
#include <nlohmann/json.hpp>
#include <random>
#include <thread>

#include "tests/support/environment.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/captioned_file.h"
#include "tests/tool/fmp4.h"
#include "tool/export/wave_header.h"
#include "tool/viewer/audio_gaps.h"
#include "tool/viewer/media_answers.h"
#include "tool/viewer/overview_file.h"
#include "tool/viewer/overview_scan.h"

namespace fmp4 {

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

const std::vector<std::string> kStereoAac = {"-c:a", "aac", "-ac", "2"};

// Ten seconds with B-frames and two channels that differ.
void makeClip(const std::string& path) {
  makeMedia(path,
            videoInput(10) +
                std::vector<std::string>{"-f", "lavfi", "-i",
                                         "aevalsrc=0.5*sin(880*t)*mod(t\\,1)|0.1*sin(3000*t):s=44100:d=10"} +
                h264Codec(30, 2) + kStereoAac + fragmented());
}

void makeSound(const std::string& path) {
  makeMedia(path,
            std::vector<std::string>{"-f", "lavfi", "-i",
                                     "aevalsrc=0.5*sin(880*t)*mod(t\\,1)|0.1*sin(3000*t):s=44100:d=10"} +
                kStereoAac + fragmented());
}

// What scanning a file gives.
void scan(const std::string& path, Overview& overview) {
  const Plugin plugin("vlx_fmp4");
  const MediaFile file = plugin.openQuietly(path);
  EXPECT_TRUE(scanOverview(plugin, *file, path, overview, {}));
}

// One row of `fmp4 frames`.
struct ListedFrame {
  std::uint32_t size = 0;
  bool key = false;
};
std::vector<ListedFrame> listedFrames(const std::string& path) {
  std::vector<ListedFrame> frames;
  for (const json& row : json::parse(fmp4({"--quiet", "frames", "--json", path}).out))
    frames.push_back({row["size"], row["key"] == 1});
  return frames;
}

// The PCM samples of the first audio track, channels interleaved.
std::vector<std::int16_t> exportedAudio(const std::string& path, std::uint32_t rate, std::uint16_t channels) {
  const TempFolder folder;
  const std::string output = folder.file("audio.wav");
  EXPECT_EQ(fmp4({"--quiet", "export", path, "--audio", output}).exitCode, 0);
  const std::vector<std::uint8_t> bytes = readFile(output);
  const std::size_t head = waveHeader({rate, channels, 16}, 0).size();
  std::vector<std::int16_t> samples((bytes.size() - head) / 2);
  std::memcpy(samples.data(), bytes.data() + head, samples.size() * 2);
  return samples;
}

// The largest magnitude and the root of the mean square of a channel in PCM frames [from, to).
AudioCell cellOf(const std::vector<std::int16_t>& samples, std::size_t from, std::size_t to,
                 std::size_t channel) {
  int peak = 0;
  double squares = 0;
  for (std::size_t i = from; i < to; ++i) {
    const int sample = samples[i * 2 + channel];
    peak = std::max(peak, std::abs(sample));
    squares += static_cast<double>(sample) * sample;
  }
  return {static_cast<std::uint16_t>(peak),
          static_cast<std::uint16_t>(std::lround(std::sqrt(squares / static_cast<double>(to - from))))};
}

TEST(OverviewFrames, AreThoseOfThePluginAtEveryLevel) {
  const TempFolder folder;
  const std::string path = folder.file("clip.mp4");
  makeClip(path);
  Overview overview;
  scan(path, overview);
  const std::vector<ListedFrame> listed = listedFrames(path);
  ASSERT_EQ(listed.size(), 300u);
  std::size_t span = 1;
  for (std::size_t level = 0; level < levelsOver(listed.size()); ++level, span *= 4) {
    const std::vector<FrameCell> cells = overview.frames(level, 0, 1000);
    ASSERT_EQ(cells.size(), (listed.size() + span - 1) / span) << level;
    for (std::size_t i = 0; i < cells.size(); ++i) {
      std::uint64_t bytes = 0;
      std::uint32_t largest = 0, keys = 0;
      const std::size_t end = std::min(listed.size(), (i + 1) * span);
      for (std::size_t frame = i * span; frame < end; ++frame) {
        bytes += listed[frame].size;
        largest = std::max(largest, listed[frame].size);
        keys += listed[frame].key ? 1 : 0;
      }
      EXPECT_EQ(cells[i],
                (FrameCell{bytes, largest, static_cast<std::uint32_t>(end - i * span), keys, keys, 0, 0}))
          << level << ' ' << i;
    }
  }
}

TEST(OverviewFrames, MarkFragmentsAndSegmentsOfARecording) {
  const TempFolder folder;
  makeMedia(folder.file("source.mp4"), videoInput(4, "25") + h264Codec(10, 0));
  ASSERT_EQ(fmp4({"--quiet", "package", folder.file("source.mp4"), "--gop", "10", "--output",
                  folder.file("rec.mp4")})
                .exitCode,
            0);
  Overview overview;
  scan(folder.file("rec.mpd"), overview);
  std::vector<std::size_t> fragments, segments;
  const std::vector<FrameCell> cells = overview.frames(0, 0, 1000);
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (cells[i].fragments != 0) fragments.push_back(i);
    if (cells[i].segments != 0) segments.push_back(i);
  }
  EXPECT_THAT(fragments, ElementsAre(0, 10, 20, 30, 40, 50, 60, 70, 80, 90));
  EXPECT_THAT(segments, ElementsAre(0));
}

TEST(OverviewFrames, ReadNoMediaData) {
  const TempFolder folder;
  const std::string path = folder.file("clip.mp4");
  makeMedia(path, videoInput(2) + h264Codec(30, 0) + fragmented());
  Overview before, after;
  scan(path, before);
  std::vector<std::uint8_t> bytes = readFile(path);
  for (const Packet& packet : ffprobePackets(path, "v:0"))
    std::fill_n(bytes.begin() + packet.offset, packet.size, std::uint8_t{0xFF});
  writeFile(path, bytes);
  scan(path, after);
  EXPECT_EQ(before.finest(), after.finest());
}

TEST(OverviewAudio, IsThatOfTheDecodedAudioInHundredthsOfASecond) {
  const TempFolder folder;
  const std::string path = folder.file("clip.mp4");
  makeSound(path);
  Overview overview;
  scan(path, overview);
  const std::vector<std::int16_t> samples = exportedAudio(path, 44100, 2);
  const AudioCells cells = overview.audio(0, 0, 4096);
  ASSERT_THAT(cells, SizeIs(2));
  ASSERT_EQ(cells[0].size(), (samples.size() / 2 + 440) / 441);
  for (std::size_t channel = 0; channel < 2; ++channel)
    for (std::size_t i = 0; i < cells[0].size(); ++i)
      EXPECT_EQ(cells[channel][i],
                cellOf(samples, i * 441, std::min(samples.size() / 2, (i + 1) * 441), channel))
          << channel << ' ' << i;
}

// Ten places, zoomed out: the peak is exact, and the mean square but for what rounding leaves.
TEST(OverviewAudio, IsThatOfTheDecodedAudioZoomedOut) {
  const TempFolder folder;
  const std::string path = folder.file("clip.mp4");
  makeSound(path);
  Overview overview;
  scan(path, overview);
  const std::vector<std::int16_t> samples = exportedAudio(path, 44100, 2);
  for (std::size_t place = 0; place < 10; ++place) {
    const std::size_t level = 1 + place % 3, span = std::size_t{441} << 2 * level,
                      cell = place * 9 / level % 14;
    const AudioCells cells = overview.audio(level, cell, 1);
    for (std::size_t channel = 0; channel < 2; ++channel) {
      ASSERT_THAT(cells[channel], SizeIs(1)) << place;
      const AudioCell expected = cellOf(samples, cell * span, (cell + 1) * span, channel);
      EXPECT_EQ(cells[channel][0].peak, expected.peak) << place;
      EXPECT_NEAR(cells[channel][0].rms, expected.rms, 1) << place;
    }
  }
}

// `export` begins the WAV file where the video begins.
TEST(OverviewAudio, LeadsTheVideoAsExportHasIt) {
  const TempFolder folder;
  const std::string path = folder.file("clip.mp4");
  makeClip(path);
  Overview overview;
  scan(path, overview);
  const OverviewStreams streams = overview.progress().streams;
  const std::vector<std::int16_t> samples = exportedAudio(path, 44100, 2);
  const auto lead =
      static_cast<std::size_t>(std::llround(static_cast<double>(streams.audioLeadNanoseconds) * 44100e-9));
  EXPECT_GT(lead, 0u);
  const AudioCells cells = overview.audio(0, 0, 4096);
  for (std::size_t i = 100; i < 900; i += 80)
    EXPECT_EQ(cells[0][i], cellOf(samples, i * 441 - lead, (i + 1) * 441 - lead, 0)) << i;
}

TEST(OverviewAudio, MarksAccessUnitsThatAreLost) {
  const TempFolder folder;
  const std::string path = folder.file("clip.mp4");
  makeMedia(path, toneInput(4) + kStereoAac + fragmented("+delay_moov"));
  std::vector<std::uint8_t> bytes = readFile(path);
  const std::vector<Packet> packets = ffprobePackets(path, "a:0", {"-ignore_editlist", "1"});
  for (const std::size_t i : {70u, 71u})
    std::fill_n(bytes.begin() + packets[i].offset, packets[i].size, std::uint8_t{0xFF});
  writeFile(path, bytes);
  Overview overview;
  scan(path, overview);
  // Access units are 1024 PCM frames; they are located by blocks of 4800.
  EXPECT_THAT(overview.faults(0, 200'000, 10),
              ElementsAre(AudioFault{AudioFault::Kind::Lost, 67200, 76800, 2}));
  EXPECT_THAT(overview.audio(0, 150, 3)[0], testing::Each(AudioCell{}));
  EXPECT_THAT(overview.faults(76800, 200'000, 10), IsEmpty());
}

using Gaps = std::vector<std::pair<std::uint64_t, std::uint64_t>>;

// Of access units of AC-3, which are 1536 PCM frames.
Gaps gapsBetween(const std::vector<SampleSpec>& units) {
  const TempFolder folder;
  TrafSpec traf;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize | kRunDuration, units}};
  const TrackSpec track = {1, "soun", 48000, audioEntry("ac-3", 2, 16, 48000), 1536};
  const std::string path = folder.file("units.mp4");
  writeFile(path, join({fileTypeBox(), movieBox({track}), fragment(1, {traf})}));
  Gaps gaps;
  forEachAudioGap(
      path, 48000, [] { return false; },
      [&gaps](std::uint64_t from, std::uint64_t to) { gaps.emplace_back(from, to); });
  return gaps;
}

// The last access unit may last as long as it likes.
TEST(OverviewAudio, MarksGapsBetweenAccessUnits) {
  EXPECT_THAT(gapsBetween({sampleOf(50, 1, 1536 + 300), sampleOf(60, 2, 1536 + 767),
                           sampleOf(60, 3, 1536 + 48000), sampleOf(70, 4, 1536), sampleOf(5, 5, 9999)}),
              ElementsAre(testing::Pair(3 * 1536 + 300 + 767, 3 * 1536 + 300 + 767 + 48000)));
}

// Where an encoder's priming lasts until the video begins.
TEST(OverviewAudio, MarksNoGapAfterTheFirstAccessUnit) {
  EXPECT_THAT(gapsBetween({sampleOf(50, 1, 1536 + 5000), sampleOf(60, 2, 1536 + 768), sampleOf(70, 3, 1536)}),
              ElementsAre(testing::Pair(2 * 1536 + 5000, 2 * 1536 + 5000 + 768)));
}

TEST(OverviewAudio, OfACodecThatIsNotDecodedIsUnread) {
  const TempFolder folder;
  const std::string path = folder.file("clip.mp4");
  makeMedia(path, toneInput(1) + std::vector<std::string>{"-c:a", "libmp3lame"} + fragmented());
  Overview overview;
  scan(path, overview);
  const Overview::Progress progress = overview.progress();
  EXPECT_EQ(progress.audioCells, progress.streams.audioCells());
  const std::vector<AudioFault> faults = overview.faults(0, progress.streams.samples, 10);
  ASSERT_THAT(faults, SizeIs(1));
  EXPECT_EQ(faults[0].kind, AudioFault::Kind::Unread);
  EXPECT_EQ(faults[0].to, progress.streams.samples);
}

TEST(OverviewCaptions, AreThoseThatExportWrites) {
  const TempFolder folder;
  const std::string path = captionedFile(folder, twoCaptions());
  Overview overview;
  scan(path, overview);
  EXPECT_THAT(
      overview.captions(0, 1000, 10),
      ElementsAre(testing::Pair("CC1", ElementsAre(TextCue{30, 90, "First"}, TextCue{95, 120, "Second"}))));
  EXPECT_THAT(overview.captions(90, 95, 10), ElementsAre(testing::Pair("CC1", IsEmpty())));
}

// Ten frames later than their track alone would put them.
TEST(OverviewCaptions, AreWhereEditListsPutThem) {
  const TempFolder folder;
  const std::string path = folder.file("clip.mp4");
  FrameCaptionsSpec spec = {twoCaptions()};
  spec.edits = editsBox({{334, -1}, {0, 0}});
  writeFile(path, captionedFile(spec));
  Overview overview;
  scan(path, overview);
  EXPECT_THAT(
      overview.captions(0, 1000, 10),
      ElementsAre(testing::Pair("CC1", ElementsAre(TextCue{40, 100, "First"}, TextCue{105, 120, "Second"}))));
}

TEST(OverviewCaptions, ThatAreTooManyAreOne) {
  Overview overview;
  std::vector<TextCue> cues;
  for (int i = 0; i < 1000; ++i) cues.push_back({i * 100, i * 100 + 90, std::to_string(i)});
  cues.push_back({200'000, 200'090, "alone"});
  overview.setCaptions({{"CC1", cues}});
  EXPECT_THAT(overview.captions(0, 300'000, 2000).at("CC1"), SizeIs(1001));
  EXPECT_THAT(overview.captions(0, 300'000, 1000).at("CC1"),
              ElementsAre(TextCue{0, 99'990, ""}, TextCue{200'000, 200'090, "alone"}));
}

// Random samples, and more of the loudest than are added up at once.
TEST(OverviewCells, OfAnyChannelsAndLengthAreTheirPeakAndMeanSquare) {
  std::mt19937 random(1);
  for (std::size_t channels = 1; channels <= kMaxOverviewChannels; ++channels)
    for (const std::size_t frames : {0u, 1u, 15u, 16u, 441u, 480u, 1100u}) {
      std::vector<std::int16_t> samples(frames * channels);
      for (std::int16_t& sample : samples) sample = static_cast<std::int16_t>(random());
      const auto cells = AudioCell::ofFrames(samples.data(), frames, channels);
      for (std::size_t channel = 0; channel < channels; ++channel) {
        int peak = 0;
        std::uint64_t squares = 0;
        for (std::size_t i = channel; i < samples.size(); i += channels) {
          peak = std::max(peak, std::abs(int{samples[i]}));
          squares += static_cast<std::uint64_t>(std::int64_t{samples[i]} * samples[i]);
        }
        const double mean = frames == 0 ? 0 : static_cast<double>(squares) / static_cast<double>(frames);
        EXPECT_EQ(cells[channel], (AudioCell{static_cast<std::uint16_t>(peak),
                                             static_cast<std::uint16_t>(std::lround(std::sqrt(mean)))}))
            << channels << ' ' << frames;
      }
    }
  const std::vector<std::int16_t> loudest(5'000'000, -32768);
  EXPECT_EQ(AudioCell::ofFrames(loudest.data(), loudest.size(), 1)[0], (AudioCell{32768, 32768}));
  EXPECT_EQ(AudioCell::ofFrames(loudest.data(), loudest.size() / 2, 2)[1], (AudioCell{32768, 32768}));
}

TEST(CellLevels, ThatGrowAreThoseThatAreMadeAtOnce) {
  std::vector<FrameValue> values;
  for (std::uint32_t i = 0; i < 300; ++i) values.push_back({i | (i % 12 == 0 ? FrameValue::kKey : 0)});
  CellLevels<FrameValue, FrameCell> whole, grown;
  whole.append(values);
  for (std::size_t at = 0, step = 1; at < values.size(); at += step, step = step * 3 % 17 + 1)
    grown.append(std::span(values).subspan(at, std::min(step, values.size() - at)));
  ASSERT_EQ(whole.levels(), levelsOver(300));
  ASSERT_EQ(grown.levels(), whole.levels());
  for (std::size_t level = 0; level < whole.levels(); ++level)
    EXPECT_EQ(grown.cells(level, 0, 1000), whole.cells(level, 0, 1000)) << level;
  EXPECT_THAT(whole.cells(0, 300, 1), IsEmpty());
  EXPECT_THAT(whole.cells(9, 0, 1), IsEmpty());
}

TEST(Scan, ThatIsStoppedEndsAtOnce) {
  const TempFolder folder;
  const std::string path = folder.file("clip.mp4");
  makeClip(path);
  const Plugin plugin("vlx_fmp4");
  const MediaFile file = plugin.openQuietly(path);
  Overview overview;
  ScanWatch watch;
  bool enough = false;
  watch.progress = [&enough](std::uint64_t done, std::uint64_t) { enough = done > 300 + 200; };
  watch.stopped = [&enough] { return enough; };
  EXPECT_FALSE(scanOverview(plugin, *file, path, overview, watch, {2, 100}));
  EXPECT_EQ(overview.progress().frames, 300u);
  EXPECT_EQ(overview.progress().audioCells, 300u);
}

// Overviews as the page asks for them.
class OverviewAnswer : public testing::Test {
 protected:
  using Parameters = std::multimap<std::string, std::string>;

  DataAnswer ask(const std::string& subject, const Parameters& parameters = {}) {
    const std::filesystem::path folder = std::filesystem::canonical(folder_.path());
    return answers_.answer({subject, folder / "clip.mp4", "clip.mp4", parameters, folder});
  }
  json askJson(const std::string& subject, const Parameters& parameters = {}) {
    const DataAnswer answer = ask(subject, parameters);
    EXPECT_EQ(answer.status, 200) << answer.body;
    return json::parse(answer.body);
  }
  // Waits until the file has been read.
  json readOverview() {
    json told;
    while ((told = askJson("overview"))["state"] == "reading")
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return told;
  }

  const TempFolder folder_, cache_;
  const std::string path_ = folder_.file("clip.mp4");
  const Plugin plugin_{"vlx_fmp4"};
  const MediaAnswers answers_{plugin_, OverviewCache(cache_.path())};
};

TEST_F(OverviewAnswer, DescribesStreamsAndLevels) {
  makeClip(path_);
  const json told = readOverview();
  EXPECT_EQ(told["state"], "complete");
  EXPECT_EQ(told["why"], nullptr);
  EXPECT_EQ(told["video"],
            json::parse(R"({"frames": 300, "read": 300, "rate": 30000, "scale": 1001, "levels": 6})"));
  EXPECT_EQ(told["audio"]["channels"], 2);
  EXPECT_EQ(told["audio"]["sampleRate"], 44100);
  EXPECT_EQ(told["audio"]["cells"], told["audio"]["read"]);
  EXPECT_EQ(told["audio"]["levels"], 6);
  EXPECT_EQ(told["captions"], json::array());
}

TEST_F(OverviewAnswer, GivesCellsOfARange) {
  makeClip(path_);
  readOverview();
  const std::vector<ListedFrame> listed = listedFrames(path_);
  const json frames = askJson("overview-frames", {{"level", "0"}, {"from", "57"}, {"count", "8"}});
  ASSERT_THAT(frames["bytes"], SizeIs(8));
  for (std::size_t i = 0; i < 8; ++i) {
    EXPECT_EQ(frames["bytes"][i], listed[57 + i].size);
    EXPECT_EQ(frames["keys"][i], listed[57 + i].key ? 1 : 0);
  }
  const json all = askJson("overview-frames", {{"level", "5"}});
  EXPECT_EQ(all["frames"], json::parse("[300]"));
  EXPECT_EQ(all["keys"], json::parse("[10]"));
  const json audio = askJson("overview-audio", {{"level", "2"}, {"from", "60"}, {"count", "100"}});
  ASSERT_THAT(audio["peak"], SizeIs(2));
  EXPECT_THAT(audio["peak"][1], SizeIs(askJson("overview")["audio"]["cells"].get<std::size_t>() / 16 - 59));
  EXPECT_THAT(askJson("overview-frames", {{"from", "300"}})["bytes"], IsEmpty());
}

TEST_F(OverviewAnswer, HostileParametersAreRefusedWithASentence) {
  makeClip(path_);
  for (const char* subject : {"overview-frames", "overview-audio"})
    for (const Parameters& parameters :
         {Parameters{{"level", "32"}}, Parameters{{"level", "-1"}}, Parameters{{"count", "4097"}},
          Parameters{{"from", "4294967296"}}, Parameters{{"from", "x"}},
          Parameters{{"level", "1"}, {"level", "1"}}}) {
      const DataAnswer answer = ask(subject, parameters);
      EXPECT_EQ(answer.status, 400) << answer.body;
      EXPECT_THAT(answer.body, HasSubstr("'"));
    }
  EXPECT_EQ(ask("overview-captions", {{"from", "2"}, {"to", "1"}}).status, 400);
  EXPECT_EQ(ask("overview-pictures").status, 404);
}

TEST_F(OverviewAnswer, EveryLevelOfEveryPlaceIsAnswered) {
  makeClip(path_);
  readOverview();
  for (const char* level : {"0", "6", "31"})
    for (const char* from : {"0", "4294967295"})
      for (const char* subject : {"overview-frames", "overview-audio"})
        EXPECT_EQ(ask(subject, {{"level", level}, {"from", from}}).status, 200);
}

TEST_F(OverviewAnswer, OfAFileThatIsNotReadSaysWhy) {
  std::ofstream(path_) << "no boxes at all";
  const json told = readOverview();
  EXPECT_EQ(told["state"], "failed");
  EXPECT_THAT(told["why"].get<std::string>(), HasSubstr("clip.mp4"));
}

TEST_F(OverviewAnswer, IsMadeAnewWhenTheFileChanges) {
  makeMedia(path_, videoInput(1) + h264Codec() + fragmented());
  EXPECT_EQ(readOverview()["video"]["frames"], 30);
  std::filesystem::remove(path_);
  makeMedia(path_, videoInput(2) + h264Codec() + fragmented());
  EXPECT_EQ(readOverview()["video"]["frames"], 60);
}

// Windows removes no file that is open.
TEST(Overviews, HaveClosedAFileOnceTheySayThatTheyAreComplete) {
  const TempFolder folder;
  makeMedia(folder.file("clip.mp4"), videoInput(1) + h264Codec() + fragmented());
  const Plugin plugin("vlx_fmp4");
  Overviews overviews(plugin, OverviewCache(""));
  for (int i = 0; i < 200; ++i) {
    const std::string path = folder.file(std::to_string(i) + ".mp4");
    std::filesystem::copy_file(folder.file("clip.mp4"), path);
    const std::shared_ptr<const Overview> overview = overviews.of(path, {path, ""});
    while (overview->progress().state == Overview::State::Reading) std::this_thread::yield();
    EXPECT_EQ(overview->progress().state, Overview::State::Complete);
    EXPECT_NO_THROW(std::filesystem::remove(path)) << i;
  }
}

// As a recording in progress does. The clock advances by two seconds whenever it is asked.
TEST(Overviews, OfAFileThatTakesLongToReadAreMadeAnewAfterARest) {
  const TempFolder folder, cache;
  const std::string path = folder.file("clip.mp4");
  makeMedia(path, videoInput(1) + h264Codec() + fragmented());
  const Plugin plugin("vlx_fmp4");
  std::atomic<int> seconds = 0;
  const auto now = [&seconds] { return Overviews::Time(std::chrono::seconds(seconds += 2)); };
  Overviews overviews(plugin, OverviewCache(cache.path()), now);
  const auto read = [&] { return overviews.of(path, {path, ""}); };
  const std::shared_ptr<const Overview> first = read();
  while (seconds < 4) std::this_thread::sleep_for(std::chrono::milliseconds(1));  // both ends of the reading
  std::filesystem::remove(path);
  makeMedia(path, videoInput(2) + h264Codec() + fragmented());
  int rests = 0;
  while (read() == first) ++rests;
  EXPECT_EQ(rests, Overviews::kRest - 1);
}

// Overviews whose reading does not begin: each thread waits when it asks for the time.
class WaitingOverviews : public testing::Test {
 protected:
  ~WaitingOverviews() override { begin_.set_value(); }
  std::shared_ptr<const Overview> of(const std::string& name) {
    return overviews_.of(folder_.file(name), {folder_.file(name), ""});
  }

  const TempFolder folder_;
  const Plugin plugin_{"vlx_fmp4"};
  const std::thread::id asking_ = std::this_thread::get_id();
  std::promise<void> begin_;
  const std::shared_future<void> begins_ = begin_.get_future().share();
  Overviews overviews_{plugin_, OverviewCache(""), [this] {
                         if (std::this_thread::get_id() != asking_) begins_.wait();
                         return Overviews::Time();
                       }};
};

TEST_F(WaitingOverviews, AreNotMadeAnewBeforeTheyHaveBeenRead) {
  writeFile(folder_.file("clip.mp4"), Bytes{1});
  const std::shared_ptr<const Overview> first = of("clip.mp4");
  writeFile(folder_.file("clip.mp4"), Bytes{1, 2});
  EXPECT_EQ(of("clip.mp4"), first);
}

TEST_F(WaitingOverviews, OfTheFileThatWasAskedForLongestAgoAreLeftOut) {
  static_assert(Overviews::kMaxKept == 4);
  const std::shared_ptr<const Overview> a = of("a.mp4"), b = of("b.mp4");
  of("c.mp4");
  of("d.mp4");
  EXPECT_EQ(of("a.mp4"), a) << "asked for again";
  of("e.mp4");
  EXPECT_EQ(of("a.mp4"), a);
  EXPECT_NE(of("b.mp4"), b);
}

// As for the next program that serves the folder.
TEST_F(OverviewAnswer, IsKeptForTheNextProgram) {
  makeClip(path_);
  const json first = readOverview();
  const json cells = askJson("overview-audio", {{"level", "1"}});
  const MediaAnswers others(plugin_, OverviewCache(cache_.path()));
  const std::filesystem::path folder = std::filesystem::canonical(folder_.path());
  const auto again = [&](const std::string& subject, const Parameters& parameters = {}) {
    return json::parse(others.answer({subject, folder / "clip.mp4", "clip.mp4", parameters, folder}).body);
  };
  json told;
  while ((told = again("overview"))["state"] == "reading")
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  EXPECT_EQ(told, first);
  EXPECT_EQ(again("overview-audio", {{"level", "1"}}), cells);
}

// More than are kept in memory: each is there again when it is asked for.
TEST_F(OverviewAnswer, OfMoreFilesThanAreKeptIsGiven) {
  makeMedia(path_, videoInput(1) + h264Codec() + fragmented());
  for (int round = 0; round < 2; ++round)
    for (std::size_t i = 0; i < Overviews::kMaxKept + 2; ++i) {
      const std::string name = "clip" + std::to_string(i) + ".mp4";
      const std::filesystem::path folder = std::filesystem::canonical(folder_.path());
      if (round == 0) std::filesystem::copy_file(path_, folder / name);
      json told;
      do {
        told = json::parse(answers_.answer({"overview", folder / name, name, {}, folder}).body);
      } while (told["state"] == "reading");
      EXPECT_EQ(told["video"]["read"], 30) << name;
    }
}

// ---- the cache

Overview::Finest smallOverview() {
  Overview::Finest finest;
  finest.streams = {{30000, 1001}, 3, 48000, 2, 960, -5};
  finest.frames = {{100 | FrameValue::kKey | FrameValue::kFragment}, {50}, {FrameValue::kUnread}};
  finest.audio = {{{1, 2}, {3, 4}}, {{32768, 6}, {7, 8}}};
  finest.faults = {{AudioFault::Kind::Gap, 0, 10, 0}, {AudioFault::Kind::Lost, 20, 30, 2}};
  finest.captions = {{"CC1", {{0, 2, "a\nb"}}}, {"service 1", {}}};
  return finest;
}

std::vector<std::uint8_t> bytesOf(const std::string& text) {
  return {text.begin(), text.end()};
}

TEST(OverviewFile, GivesBackWhatWasWritten) {
  const std::vector<std::uint8_t> bytes = bytesOf(overviewBytes(smallOverview(), "key"));
  EXPECT_EQ(overviewOfBytes(bytes, "key"), smallOverview());
  EXPECT_EQ(overviewOfBytes(bytes, "other"), std::nullopt);
  EXPECT_EQ(overviewOfBytes({}, "key"), std::nullopt);
}

TEST(OverviewFile, DamagedOrTruncatedAnywhereIsRefused) {
  const std::vector<std::uint8_t> bytes = bytesOf(overviewBytes(smallOverview(), "key"));
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    std::vector<std::uint8_t> damaged = bytes;
    damaged[i] ^= 0x40;
    EXPECT_EQ(overviewOfBytes(damaged, "key"), std::nullopt) << i;
    EXPECT_EQ(overviewOfBytes(std::span(bytes).first(i), "key"), std::nullopt) << i;
  }
}

// A checksum says nothing about who wrote the bytes.
TEST(OverviewFile, ThatContradictsItselfIsRefused) {
  Overview::Finest finest = smallOverview();
  finest.streams.frames = 4;
  EXPECT_EQ(overviewOfBytes(bytesOf(overviewBytes(finest, "key")), "key"), std::nullopt);
  finest = smallOverview();
  finest.audio[1].pop_back();
  EXPECT_EQ(overviewOfBytes(bytesOf(overviewBytes(finest, "key")), "key"), std::nullopt);
  finest = smallOverview();
  finest.streams.samples = 480;
  EXPECT_EQ(overviewOfBytes(bytesOf(overviewBytes(finest, "key")), "key"), std::nullopt);
  for (const AudioFault& fault :
       {AudioFault{AudioFault::Kind::Gap, 900, 961, 0}, AudioFault{AudioFault::Kind::Gap, 40, 40, 0},
        AudioFault{AudioFault::Kind::Gap, 19, 40, 0}}) {
    finest = smallOverview();
    finest.faults.push_back(fault);
    EXPECT_EQ(overviewOfBytes(bytesOf(overviewBytes(finest, "key")), "key"), std::nullopt) << fault.from;
  }
  for (const TextCue& cue : {TextCue{-1, 2, ""}, TextCue{2, 2, ""}, TextCue{0, 4, ""}}) {
    finest = smallOverview();
    finest.captions["CC1"] = {cue};
    EXPECT_EQ(overviewOfBytes(bytesOf(overviewBytes(finest, "key")), "key"), std::nullopt) << cue.first;
  }
  finest = smallOverview();
  finest.captions["CC1"] = {{1, 2, ""}, {0, 1, ""}};
  EXPECT_EQ(overviewOfBytes(bytesOf(overviewBytes(finest, "key")), "key"), std::nullopt);
  finest = smallOverview();
  finest.streams.sampleRate = 0;
  EXPECT_EQ(overviewOfBytes(bytesOf(overviewBytes(finest, "key")), "key"), std::nullopt);
}

TEST(OverviewCache, KeepsOneOverviewOfAFile) {
  const TempFolder folder;
  const OverviewCache cache(folder.path() / "new" / "overviews");
  EXPECT_EQ(cache.load("a.mp4", "1"), std::nullopt);
  cache.store("a.mp4", "1", smallOverview());
  EXPECT_EQ(cache.load("a.mp4", "1"), smallOverview());
  EXPECT_EQ(cache.load("a.mp4", "2"), std::nullopt);
  EXPECT_EQ(cache.load("b.mp4", "1"), std::nullopt);
  cache.store("a.mp4", "2", {});
  EXPECT_EQ(cache.load("a.mp4", "1"), std::nullopt);
  EXPECT_EQ(cache.load("a.mp4", "2"), Overview::Finest{});
}

TEST(OverviewCache, RemovesThoseThatWereUsedLongestAgo) {
  const TempFolder folder;
  const std::size_t bytes = overviewBytes(smallOverview(), "key").size();
  const OverviewCache cache(folder.path(), 3 * bytes);
  for (const char* name : {"a", "b", "c"}) cache.store(name, "key", smallOverview());
  // In the order of their use, whatever the precision of the file system's times.
  const auto now = std::filesystem::file_time_type::clock::now();
  for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
    std::filesystem::last_write_time(entry.path(), now - std::chrono::hours(1));
  writeFile(folder.path() / "other.txt", std::vector<std::uint8_t>(4 * bytes));
  EXPECT_NE(cache.load("a", "key"), std::nullopt);
  EXPECT_NE(cache.load("c", "key"), std::nullopt);
  cache.store("d", "key", smallOverview());
  EXPECT_EQ(cache.load("b", "key"), std::nullopt);
  for (const char* name : {"a", "c", "d"}) EXPECT_NE(cache.load(name, "key"), std::nullopt) << name;
  EXPECT_TRUE(std::filesystem::exists(folder.path() / "other.txt"));
}

TEST(OverviewCache, DamagedFilesAreReplaced) {
  const TempFolder folder;
  const OverviewCache cache(folder.path());
  cache.store("a", "key", smallOverview());
  const auto file = std::filesystem::directory_iterator(folder.path())->path();
  std::filesystem::resize_file(file, 40);
  EXPECT_EQ(cache.load("a", "key"), std::nullopt);
  cache.store("a", "key", smallOverview());
  EXPECT_EQ(cache.load("a", "key"), smallOverview());
}

TEST(OverviewCache, WithoutAFolderKeepsNothing) {
  const TempFolder folder;
  writeFile(folder.path() / "file", {1});
  for (const OverviewCache& cache : {OverviewCache(""), OverviewCache(folder.path() / "file")}) {
    cache.store("a", "key", smallOverview());
    EXPECT_EQ(cache.load("a", "key"), std::nullopt);
  }
}

TEST(OverviewCache, IsWhereTheEnvironmentSays) {
  const TempFolder folder;
  const Environment own("FMP4_CACHE", folder.path().string().c_str());
  EXPECT_EQ(overviewFolder(), folder.path() / "overviews");
#ifndef _WIN32
  const Environment none("FMP4_CACHE", nullptr), user("XDG_CACHE_HOME", "/cache"), home("HOME", "/home/user");
  EXPECT_EQ(overviewFolder(), "/cache/fmp4/overviews");
  const Environment relative("XDG_CACHE_HOME", "cache");
  EXPECT_EQ(overviewFolder(), "/home/user/.cache/fmp4/overviews");
  const Environment homeless("HOME", nullptr);
  EXPECT_EQ(overviewFolder(), "");
#endif
}

}  // namespace

}  // namespace fmp4
