// Audio whose access units are damaged, missing or cannot be decoded: silence in their place, and the same
// samples in any order of reading.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/plugin/audio.h"
#include "tests/plugin/audio_clip.h"
#include "tests/plugin/built_clip.h"
#include "tests/plugin/loaded_plugin.h"
#include "tests/support/log_capture.h"
#include "tests/support/sanitized.h"

namespace fmp4 {

namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;

enum class Codec { Aac, Ac3, HeAac, HeAacV2 };

const CodedAudio& audioOf(Codec codec) {
  switch (codec) {
    case Codec::Aac:
      return aacAudio();
    case Codec::Ac3:
      return ac3Audio();
    case Codec::HeAac:
      return heAacAudio();
    default:
      return heAacV2Audio();
  }
}

Samples part(const Samples& samples, std::size_t from, std::size_t frames) {
  return Samples(samples.begin() + static_cast<std::ptrdiff_t>(2 * from),
                 samples.begin() + static_cast<std::ptrdiff_t>(2 * (from + frames)));
}

// The lost access units that a read of the entire track reports.
std::uint32_t lostUnitsOf(CAMediaFile& file) {
  Samples samples(std::size_t{lengthOf(file)} * 2);
  DFRAME d{};
  d.size = sizeof d;
  d.data = reinterpret_cast<std::uint8_t*>(samples.data());
  d.dataCapacity = static_cast<std::uint32_t>(samples.size() * 2);
  d.lostUnits = 99;
  EXPECT_EQ(file.Read(0, lengthOf(file), 1, QVR_MODE_AUDIO, &d, nullptr), VL_OK);
  return d.lostUnits;
}

LogLine lostLine(std::uint64_t position) {
  return {VL_LOG_WARNING, "WARNING(vlx_fmp4): The audio cannot be decoded at sample " +
                              std::to_string(position) + ", silence takes its place\n"};
}

// Reads of `count` PCM frames, each by a fresh object, give the samples that `entire` has there.
void expectFreshReadsToAgree(const std::string& path, const Samples& entire,
                             const std::vector<std::uint32_t>& positions, std::uint32_t count) {
  for (const std::uint32_t at : positions) {
    const MediaFile file = openFile(path);
    ASSERT_NE(file, nullptr);
    const Audio heard = readAudio(*file, at, count);
    ASSERT_EQ(heard.status, VL_OK) << at;
    ASSERT_EQ(heard.samples, part(entire, at, heard.samples.size() / 2)) << at;
  }
}

// ---- Positions --------------------------------------------------------------------------------------

TEST(LostAudio, ARequestWithoutABufferDoesNotDisturbTheNext) {
  const BuiltFile clip({AudioTrackOf{aacAudio().sampleEntry, runOf(aacAudio())}});
  const Samples entire = readAll(*clip, lengthOf(*clip));
  ASSERT_EQ(readAudio(*clip, 30000, 1000).status, VL_OK);
  DFRAME d{};
  d.size = sizeof d;
  ASSERT_EQ(clip.file->Read(4800, 10, 1, QVR_MODE_AUDIO, &d, nullptr), VL_OK);
  const Audio next = readAudio(*clip, 4810, 1000);
  EXPECT_EQ(next.status, VL_OK);
  EXPECT_EQ(next.samples, part(entire, 4810, 1000));
}

TEST(LostAudio, ARefusedRequestLeavesEarlierAudioReadable) {
  const BuiltFile heard({AudioTrackOf{aacAudio().sampleEntry, runOf(aacAudio())}});
  const Samples entire = readAll(*heard, 4096);
  const BuiltFile clip = builtClip(aacAudio(), [](RunSpec& run) { run.samples[5].duration = 0x1800000; });
  EXPECT_EQ(readAudio(*clip, 4096, 4096).status, 0xFFFFFFFEu);
  const Audio later = readAudio(*clip, 4096, 1024);
  EXPECT_EQ(later.status, VL_OK);
  EXPECT_EQ(later.samples, part(entire, 4096, 1024));
}

TEST(LostAudio, AnAnswerWithoutAudioDeliversNoBytes) {
  const BuiltFile clip({AudioTrackOf{aacAudio().sampleEntry, runOf(aacAudio())}});
  const MediaFile silent = openFile(clip.path, MF_OPEN_NO_AUDIO);
  DFRAME d{};
  d.size = sizeof d;
  d.bytes = 77;
  EXPECT_EQ(silent->Read(0, 10, 1, QVR_MODE_AUDIO, &d, nullptr), 0xE8021001u);
  EXPECT_EQ(d.bytes, 0u);
  d.bytes = 77;
  EXPECT_EQ(clip.file->Read(lengthOf(*clip) + 1, 10, 1, QVR_MODE_AUDIO, &d, nullptr), 0xFFFFFFFFu);
  EXPECT_EQ(d.bytes, 0u);
}

// ---- Lengths ----------------------------------------------------------------------------------------

TEST(AudioLength, EachTrackHasItsOwnAndIsReadToItsEnd) {
  RunSpec shorter = runOf(aacAudio());
  shorter.samples.resize(10);
  const BuiltFile clip({AudioTrackOf{aacAudio().sampleEntry, shorter},
                        AudioTrackOf{aacAudio().sampleEntry, runOf(aacAudio())}});
  ASSERT_NE(clip.file, nullptr);
  const auto units = static_cast<std::uint32_t>(aacAudio().units.size());
  EXPECT_EQ(describe(*clip, 1).audio.stream.length, 10u * 1024);
  EXPECT_EQ(describe(*clip, 4).audio.stream.length, units * 1024);
  const Audio last = readAudio(*clip, units * 1024 - 1000, 1000, 2, 4);
  EXPECT_EQ(last.status, VL_OK);
  EXPECT_EQ(last.samples.size(), 2000u);
  EXPECT_EQ(readAudio(*clip, 10 * 1024 + 1, 10, 2, 1).status, 0xFFFFFFFFu);
}

TEST(AudioLength, IsCountedInSamplesOfTheTracksOwnRate) {
  const Bytes slower = audioEntry("mp4a", 2, 16, 32000, elementaryStreamBox(0x40, 0x1290));
  RunSpec run = runOf(aacAudio());
  for (SampleSpec& unit : run.samples) unit.duration = 1536;  // 1024 samples in ticks of 1/48000 s
  const BuiltFile clip({AudioTrackOf{aacAudio().sampleEntry, runOf(aacAudio())}, AudioTrackOf{slower, run}});
  const auto units = static_cast<std::uint32_t>(aacAudio().units.size());
  EXPECT_EQ(describe(*clip, 4).audio.wave.samplesPerSecond, 32000u);
  EXPECT_EQ(describe(*clip, 1).audio.stream.length, units * 1024);
  EXPECT_EQ(describe(*clip, 4).audio.stream.length, units * 1024);
}

// Two frames of AC-3 in an access unit that lasts as long as one.
TEST(AudioLength, AUnitThatDecodesToMoreThanItsDurationIsHeardForItsDuration) {
  CodedAudio audio = {1536, audioEntry("ac-3", 2, 16, 48000), codedSweeps({"-c:a", "ac3", "-b:a", "448k"})};
  const BuiltFile frames({AudioTrackOf{audio.sampleEntry, runOf(audio)}});
  const Samples entire = readAll(*frames, lengthOf(*frames));
  std::vector<Bytes> pairs;
  Samples expected;
  for (std::size_t i = 0; i + 1 < audio.units.size(); i += 2) {
    pairs.push_back(join({audio.units[i], audio.units[i + 1]}));
    const Samples first = part(entire, i * 1536, 1536);
    expected.insert(expected.end(), first.begin(), first.end());
  }
  audio.units = pairs;
  const BuiltFile clip({AudioTrackOf{audio.sampleEntry, runOf(audio)}});
  EXPECT_EQ(readAll(*clip, lengthOf(*clip)), expected);
}

// ---- Lost units -------------------------------------------------------------------------------------

std::string nameOf(const testing::TestParamInfo<Codec>& codec) {
  constexpr const char* kNames[] = {"Aac", "Ac3", "HeAac", "HeAacV2"};
  return kNames[static_cast<int>(codec.param)];
}

class LostUnit : public testing::TestWithParam<Codec> {};
INSTANTIATE_TEST_SUITE_P(Of, LostUnit, testing::Values(Codec::Aac, Codec::Ac3, Codec::HeAac, Codec::HeAacV2),
                         nameOf);

// However an access unit is lost, it is silent, and the next one decodes as if it were the first.
TEST_P(LostUnit, IsSilentAndReadsAlikeFromAnyPosition) {
  const CodedAudio& heard = audioOf(GetParam());
  const std::uint32_t length = heard.unitFrames;
  const std::vector<void (*)(SampleSpec&)> losses = {
      [](SampleSpec& unit) { unit.data.clear(); }, [](SampleSpec& unit) { unit.data.resize(5); },
      [](SampleSpec& unit) { unit.data.resize(unit.data.size() / 2); },
      [](SampleSpec& unit) { unit.data.assign(30, 0); },
      [](SampleSpec& unit) { std::fill(unit.data.begin(), unit.data.end(), std::uint8_t{0xFF}); }};
  for (std::size_t i = 0; i < losses.size(); ++i) {
    SCOPED_TRACE(i);
    const BuiltFile clip = builtClip(heard, [&](RunSpec& run) { losses[i](run.samples[20]); });
    const Samples entire = readAll(*clip, lengthOf(*clip));
    ASSERT_EQ(entire.size(), std::size_t{lengthOf(*clip)} * 2);
    EXPECT_THAT(part(entire, 20 * length, length), Each(0));
    EXPECT_EQ(lostUnitsOf(*clip), 1u);
    std::vector<std::uint32_t> positions;
    const std::uint32_t units = lengthOf(*clip) / length;
    for (std::uint32_t unit = 18; unit < std::min(60u, units); unit += ofSanitized(1u, 5u))
      positions.push_back(unit * length);
    expectFreshReadsToAgree(clip.path, entire, positions, length);
  }
}

TEST_P(LostUnit, AtTheEndIsSilenceOfItsStatedDuration) {
  const CodedAudio& heard = audioOf(GetParam());
  const BuiltFile clip = builtClip(heard, [](RunSpec& run) {
    for (std::size_t i = run.samples.size() - 3; i < run.samples.size(); ++i)
      std::fill(run.samples[i].data.begin(), run.samples[i].data.end(), std::uint8_t{0xFF});
    run.samples.back().duration = 5000;
  });
  const std::uint32_t total = lengthOf(*clip), lost = 5000 + 2 * heard.unitFrames;
  const Samples entire = readAll(*clip, 4096);
  ASSERT_EQ(entire.size(), std::size_t{total} * 2);
  EXPECT_THAT(part(entire, total - lost, lost), Each(0));
  EXPECT_THAT(part(entire, total - lost - 1000, 1000), Contains(testing::Ne(0)));
  expectFreshReadsToAgree(clip.path, entire, {total - lost - 500, total - 6000, total - 4000, total - 1},
                          7000);
}

// Reported to the host as one event, whatever the size of its requests.
TEST_P(LostUnit, IsReportedOnceWithThoseThatFollowIt) {
  const CodedAudio& heard = audioOf(GetParam());
  const BuiltFile clip = builtClip(heard, [](RunSpec& run) {
    for (const std::size_t i : {5u, 6u, 7u, 12u}) run.samples[i].data.clear();
  });
  LogCapture log;
  readAll(*clip, 500);
  EXPECT_THAT(log.lines, ElementsAre(lostLine(5 * heard.unitFrames), lostLine(12 * heard.unitFrames)));
  EXPECT_EQ(lostUnitsOf(*clip), 4u);
}

TEST_P(LostUnit, AtTheStartIsSilenceToo) {
  const CodedAudio& heard = audioOf(GetParam());
  const BuiltFile clip = builtClip(heard, [](RunSpec& run) {
    for (std::size_t i = 0; i < 12; ++i) run.samples[i].data.assign(40, 0);
  });
  const Samples entire = readAll(*clip, 1000);
  ASSERT_EQ(entire.size(), std::size_t{lengthOf(*clip)} * 2);
  EXPECT_THAT(part(entire, 0, 12 * heard.unitFrames), Each(0));
  EXPECT_THAT(part(entire, 13 * heard.unitFrames, 1000), Contains(testing::Ne(0)));
  expectFreshReadsToAgree(clip.path, entire, {0, 3000, 12 * heard.unitFrames, 13 * heard.unitFrames}, 2000);
}

TEST_P(LostUnit, WhoseBytesAreMissingFromTheFileIsSilent) {
  const CodedAudio& heard = audioOf(GetParam());
  Bytes bytes = audioFile({AudioTrackOf{heard.sampleEntry, runOf(heard)}});
  bytes.resize(bytes.size() - heard.units.back().size() - 100);
  const BuiltFile clip(bytes);
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(lostUnitsOf(*clip), 2u);
  const Samples entire = readAll(*clip, 4096);
  ASSERT_EQ(entire.size(), std::size_t{lengthOf(*clip)} * 2);
  EXPECT_THAT(part(entire, lengthOf(*clip) - 2 * heard.unitFrames, 2 * heard.unitFrames), Each(0));
}

TEST_P(LostUnit, AllOfThemAreReportedOnceAndTheTrackFails) {
  const BuiltFile clip = builtClip(audioOf(GetParam()), [](RunSpec& run) {
    for (SampleSpec& unit : run.samples) unit.data.assign(40, 0);
  });
  ASSERT_NE(clip.file, nullptr);
  LogCapture log;
  for (const std::uint32_t at : {0u, 5000u, lengthOf(*clip) - 1}) {
    const Audio heard = readAudio(*clip, at, 1);
    EXPECT_EQ(heard.status, 0xFFFFFFFFu) << at;
    EXPECT_TRUE(heard.samples.empty()) << at;
  }
  EXPECT_THAT(log.lines, ElementsAre(LogLine{
                             VL_LOG_ERROR, "ERROR(vlx_fmp4): No unit of the audio track can be decoded\n"}));
}

// Bits flipped anywhere in the media data: what a read gives depends only on the file.
TEST_P(LostUnit, DamagedFilesReadAlikeFromAnyPosition) {
  const CodedAudio& heard = audioOf(GetParam());
  const Bytes good = audioFile({AudioTrackOf{heard.sampleEntry, runOf(heard)}});
  std::size_t mediaBytes = 0;
  for (const Bytes& unit : heard.units) mediaBytes += unit.size();
  std::mt19937 random(3 + static_cast<unsigned>(GetParam()));
  const int files = ofSanitized(100, 20);
  int filesWithLoss = 0;
  for (int i = 0; i < files; ++i) {
    SCOPED_TRACE(i);
    Bytes bytes = good;
    for (auto flips = 1 + random() % 12; flips > 0; --flips)
      bytes[bytes.size() - 1 - random() % mediaBytes] ^= static_cast<std::uint8_t>(1u << random() % 8);
    const BuiltFile clip(bytes);
    ASSERT_NE(clip.file, nullptr);
    filesWithLoss += lostUnitsOf(*clip) > 0;
    const std::uint32_t total = lengthOf(*clip);
    const Samples entire = readAll(*clip, total);
    ASSERT_EQ(entire.size(), std::size_t{total} * 2);
    ASSERT_EQ(readAll(*clip, 777), entire);
    for (int reads = 0; reads < 8; ++reads) {
      const auto at = static_cast<std::uint32_t>(random() % (total - 3000));
      ASSERT_EQ(readAudio(*clip, at, 3000).samples, part(entire, at, 3000)) << at;
    }
    expectFreshReadsToAgree(clip.path, entire, {static_cast<std::uint32_t>(random() % (total - 5000))}, 5000);
    if (HasFatalFailure()) return;
  }
  EXPECT_GT(filesWithLoss, files / 2);
}

// ---- Unsupported codecs -----------------------------------------------------------------------------

TEST(UndecodedAudio, OfAnotherCodecInAnAacEntryIsReportedAtOpenAndFails) {
  const BuiltFile clip(
      {AudioTrackOf{audioEntry("mp4a", 2, 16, 48000, elementaryStreamBox(0x6B)), runOf(aacAudio())}});
  LogCapture log;
  const MediaFile file = openFile(clip.path);
  ASSERT_NE(file, nullptr);
  EXPECT_THAT(log.lines, Contains(LogLine{VL_LOG_WARNING,
                                          "WARNING(vlx_fmp4): The audio is MPEG-1 audio, object type 0x6B, "
                                          "which is not supported\n"}));
  log.lines.clear();
  EXPECT_EQ(readAudio(*file, 0, 1000).status, 0xFFFFFFFFu);
  EXPECT_EQ(readAudio(*file, 5000, 1000).status, 0xFFFFFFFFu);
  EXPECT_THAT(log.lines, testing::IsEmpty());
}

TEST(UndecodedAudio, Mp3FromFfmpegFails) {
  const Clip clip(toneInput(1), std::vector<std::string>{"-c:a", "libmp3lame"} + kFragments);
  ASSERT_NE(clip.file, nullptr);
  EXPECT_EQ(readAudio(*clip, 0, 1000).status, 0xFFFFFFFFu);
}

}  // namespace

}  // namespace fmp4
