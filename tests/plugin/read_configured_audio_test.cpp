// AAC tracks whose configuration signals what the ADTS headers before their samples cannot.
#include <gtest/gtest.h>

#include <tuple>

#include "plugin/pre_roll.h"
#include "tests/audio/aac_configurations.h"
#include "tests/audio/aac_generator.h"
#include "tests/audio/streams.h"
#include "tests/plugin/audio_clip.h"
#include "tests/plugin/loaded_plugin.h"
#include "tests/support/fragments.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_folder.h"
#include "vlhost.h"

namespace fmp4 {

namespace {

using E = GeneratedElement;

// A descriptor of ISO/IEC 14496-1.
Bytes descriptor(std::uint8_t tag, const Bytes& content) {
  return join({u8(tag), u8(content.size()), content});
}

Bytes esds(const Bytes& configuration) {
  const Bytes decoder = join({u8(0x40), u8(0x15), u24(6144), u32(0), u32(0), descriptor(5, configuration)});
  return fullBox("esds", 0, 0,
                 {descriptor(3, join({u16(1), u8(0), descriptor(4, decoder), descriptor(6, u8(2))}))});
}

struct Track {
  Bytes configuration;
  std::uint16_t channels = 2;  // in the sample entry, as is the rate
  std::uint32_t rate = 48000;
  std::uint32_t unitFrames = 1024;         // at that rate
  std::size_t longUnit = ~std::size_t{0};  // the number of the one that lasts twenty times as long
};

// Access units in fragments of ten.
void writeTrack(const std::string& path, const Track& track, const std::vector<GeneratedBlock>& blocks) {
  TrackSpec spec{.handler = "soun", .timescale = track.rate, .duration = track.unitFrames};
  spec.sampleEntry = audioEntry("mp4a", track.channels, 16, track.rate, esds(track.configuration));
  Bytes file = join({fileTypeBox(), movieBox({spec})});
  for (std::size_t at = 0; at < blocks.size(); at += 10) {
    RunSpec run{kRunDataOffset | kRunSize | kRunDuration};
    for (std::size_t i = at; i < std::min(at + 10, blocks.size()); ++i)
      run.samples.push_back({blocks[i].bytes, track.unitFrames * (i == track.longUnit ? 20 : 1)});
    TrafSpec traf{.runs = {run}, .decodeTime = at * track.unitFrames};
    file = join({file, fragment(static_cast<std::uint32_t>(at / 10 + 1), {traf})});
  }
  writeFile(path, file);
}

std::vector<GeneratedBlock> blocksOf(unsigned seed, const GeneratorOptions& options, int count) {
  AacGenerator generator(seed, options);
  std::vector<GeneratedBlock> blocks;
  for (int i = 0; i < count; ++i) blocks.push_back(generator.NextBlock());
  return blocks;
}

GeneratorOptions pairOf(int samplingIndex = 3, int frameLength = 1024) {
  GeneratorOptions options;
  options.samplingIndex = samplingIndex;
  options.frameLength = frameLength;
  options.elements = {{E::kCpe, 0}};
  options.midSide = options.tns = true;
  return options;
}

TEST(ReadConfiguredAudio, FramesOf960SamplesMatchFfmpeg) {
  const TempFolder folder;
  const auto blocks = blocksOf(1, pairOf(3, 960), 60);
  writeTrack(folder.file("a.mp4"),
             {.configuration = configurationOf({.frameLength = 960}), .unitFrames = 960}, blocks);
  Bytes loas;
  for (const auto& block : blocks) loas = join({loas, WrapLoas(block.bytes, 3, 960, 2)});
  writeFile(folder.file("a.loas"), loas);
  const Samples ours = readInEveryWay(folder.file("a.mp4"), 2);
  EXPECT_EQ(60u * 960 * 2, ours.size());
  EXPECT_LE(LargestDifference(ours, FfmpegDecode(folder.file("a.loas"))), 1);
}

// Their noise repeats after a different number of blocks than with frames of 1024 samples.
TEST(ReadConfiguredAudio, HeAacOf960SamplesReadsAlikeFromAnyPosition) {
  const TempFolder folder;
  for (const bool stereo : {false, true}) {
    GeneratorOptions options = pairOf(6, 960);
    options.elements = {{stereo ? E::kCpe : E::kSce, 0}};
    options.sbr.emplace();
    options.sbr->headerChanges = options.sbr->otherExtensions = false;
    options.sbr->ps = [](int) { return PsGeneratorOptions{.headerPeriod = 5, .slots = 30}; };
    const Bytes configuration = configurationOf({.samplingIndex = 6,
                                                 .channelConfiguration = stereo ? 2u : 1u,
                                                 .frameLength = 960,
                                                 .signalling = ConfigOptions::kExplicit});
    writeTrack(folder.file("a.mp4"), {.configuration = configuration, .unitFrames = 1920},
               blocksOf(stereo ? 11 : 12, options, 120));
    EXPECT_EQ(120u * 1920 * 2, readInEveryWay(folder.file("a.mp4"), 2).size());
  }
}

// High bands that can be decoded from few places.
GeneratorOptions rareHeaders() {
  GeneratorOptions options = pairOf(6);
  options.sbr.emplace();
  options.sbr->headerChanges = options.sbr->otherExtensions = false;
  options.sbr->headerPercent = 4;
  return options;
}

// What has been decoded to get there is not heard in it.
TEST(ReadConfiguredAudio, AGapIsSilentFromAnyPosition) {
  const TempFolder folder;
  writeTrack(folder.file("a.mp4"),
             {.configuration = configurationOf({.samplingIndex = 6}), .unitFrames = 2048, .longUnit = 79},
             blocksOf(13, rareHeaders(), 120));
  const Samples ours = readInEveryWay(folder.file("a.mp4"), 2);
  ASSERT_EQ(139u * 2048 * 2, ours.size());
  const auto gap = ours.begin() + 80 * 2048 * 2;
  EXPECT_EQ(19 * 2048 * 2, std::count(gap, gap + 19 * 2048 * 2, 0));
}

// Where decoding for a seek begins without a high band, one that starts right before the target has not
// converged.
TEST(ReadConfiguredAudio, AHighBandThatStartsBeforeTheTargetReadsAsFromTheStart) {
  const TempFolder folder;
  GeneratorOptions options = rareHeaders();
  options.sbr->headerPercent = 0;  // after the first
  constexpr std::size_t kTarget = 125, kFirst = kTarget - PreRoll::kConvergenceUnits;
  auto blocks = blocksOf(14, options, kTarget - 1);
  blocks[kFirst] = blocksOf(14, pairOf(6), kTarget)[kFirst];
  const auto others = blocksOf(15, options, 10);
  blocks.insert(blocks.end(), others.begin(), others.end());
  writeTrack(folder.file("a.mp4"), {.configuration = configurationOf({.samplingIndex = 6}), .rate = 24000},
             blocks);
  const Samples entire = readAll(*openFile(folder.file("a.mp4")), 4096);
  const auto unit = entire.begin() + kTarget * 1024 * 2;
  EXPECT_EQ(readAudio(*openFile(folder.file("a.mp4")), kTarget * 1024, 1024).samples,
            Samples(unit, unit + 1024 * 2));
}

// SBR that neither the configuration nor the described rate signals, in a file just opened: decoding for a
// seek begins with an access unit that lacks its payload, like one of plain AAC.
TEST(ReadConfiguredAudio, HiddenSbrReadsAsFromTheStartAlsoAfterAnAccessUnitWithoutIt) {
  const TempFolder folder;
  GeneratorOptions options = rareHeaders();
  options.sbr->headerPercent = 0;  // after the first
  constexpr std::uint32_t kPlain = 101;
  auto blocks = blocksOf(14, options, 140);
  blocks[kPlain] = blocksOf(14, pairOf(6), kPlain + 1)[kPlain];
  writeTrack(folder.file("a.mp4"), {.configuration = configurationOf({.samplingIndex = 6}), .rate = 24000},
             blocks);
  const Samples entire = readAll(*openFile(folder.file("a.mp4")), 4096);
  for (const std::uint32_t target : {kPlain + 1, kPlain + 24}) {
    const auto unit = entire.begin() + std::ptrdiff_t{target} * 1024 * 2;
    EXPECT_EQ(readAudio(*openFile(folder.file("a.mp4")), target * 1024, 1024).samples,
              Samples(unit, unit + 1024 * 2))
        << target;
  }
}

// Decoding for a seek begins with such an access unit and ends with a lost one; in between are payloads
// without a header, by which it turns out that the header is farther back.
TEST(ReadConfiguredAudio, HiddenSbrReadsAsFromTheStartAlsoAfterALostAccessUnit) {
  const TempFolder folder;
  GeneratorOptions options = rareHeaders();
  options.sbr->headerPercent = 0;  // after the first
  constexpr std::uint32_t kTarget = 125, kFirst = kTarget - PreRoll::kConvergenceUnits;
  auto blocks = blocksOf(14, pairOf(6), kFirst + 1);
  auto withSbr = blocksOf(14, options, 140);
  std::copy(withSbr.begin(), withSbr.begin() + kFirst - 1, blocks.begin() + 1);
  blocks.insert(blocks.end(), withSbr.begin() + kFirst + 1, withSbr.end());
  blocks[kTarget - 1].bytes = {0xFF};
  writeTrack(folder.file("a.mp4"), {.configuration = configurationOf({.samplingIndex = 6}), .rate = 24000},
             blocks);
  const Samples entire = readAll(*openFile(folder.file("a.mp4")), 4096);
  const auto unit = entire.begin() + std::ptrdiff_t{kTarget} * 1024 * 2;
  EXPECT_EQ(readAudio(*openFile(folder.file("a.mp4")), kTarget * 1024, 10 * 1024).samples,
            Samples(unit, unit + 10 * 1024 * 2));
}

TEST(ReadConfiguredAudio, HiddenSbrThatBeginsLateReadsAlikeFromAnyPosition) {
  const TempFolder folder;
  auto blocks = blocksOf(16, pairOf(6), 60);
  const auto others = blocksOf(17, rareHeaders(), 60);
  blocks.insert(blocks.end(), others.begin(), others.end());
  writeTrack(folder.file("a.mp4"), {.configuration = configurationOf({.samplingIndex = 6}), .rate = 24000},
             blocks);
  EXPECT_EQ(120u * 1024 * 2, readInEveryWay(folder.file("a.mp4"), 2).size());
}

// Counts the host's reads of a byte of any file.
class ReadsOfByte {
 public:
  explicit ReadsOfByte(std::uint64_t place) : m_place(place) { vlWatchFiles(&m_watch); }
  ~ReadsOfByte() { vlWatchFiles(nullptr); }
  ReadsOfByte(const ReadsOfByte&) = delete;
  ReadsOfByte& operator=(const ReadsOfByte&) = delete;

  int count = 0;

 private:
  static void opened(void*, const char*, VLHANDLE) {}
  static void read(void* self, VLHANDLE, std::uint64_t offset, const void*, std::uint32_t bytes) {
    auto& reads = *static_cast<ReadsOfByte*>(self);
    reads.count += offset <= reads.m_place && reads.m_place - offset < bytes ? 1 : 0;
  }

  std::uint64_t m_place;
  VLFILEWATCH m_watch{this, opened, read};
};

TEST(ReadConfiguredAudio, OnlyTheFirstSeekWhereSbrMayHideReadsTheFirstAccessUnit) {
  const TempFolder folder;
  const std::string path = folder.file("a.mp4");
  for (const auto& [samplingIndex, rate, reads] : {std::tuple(6u, 24000u, 1), std::tuple(3u, 48000u, 0)}) {
    const auto blocks = blocksOf(18, pairOf(static_cast<int>(samplingIndex)), 200);
    writeTrack(path, {.configuration = configurationOf({.samplingIndex = samplingIndex}), .rate = rate},
               blocks);
    const Bytes bytes = readFile(path);
    const auto first =
        std::search(bytes.begin(), bytes.end(), blocks[0].bytes.begin(), blocks[0].bytes.end());
    const MediaFile file = openFile(path);
    const ReadsOfByte firstUnit(static_cast<std::uint64_t>(first - bytes.begin()));
    for (const std::uint32_t unit : {150u, 130u, 170u})
      EXPECT_EQ(VL_OK, readAudio(*file, unit * 1024, 1).status);
    EXPECT_EQ(reads, firstUnit.count) << rate;
  }
}

TEST(ReadConfiguredAudio, AnExplicitFrequencyMatchesFfmpeg) {
  const TempFolder folder;
  const auto blocks = blocksOf(2, pairOf(4), 60);
  writeTrack(folder.file("a.mp4"), {.configuration = configurationOf({.frequency = 44100}), .rate = 44100},
             blocks);
  Bytes adts;
  for (const auto& block : blocks) adts = join({adts, WrapAdts({block}, {.samplingIndex = 4})});
  writeFile(folder.file("a.aac"), adts);
  EXPECT_LE(LargestDifference(readInEveryWay(folder.file("a.mp4"), 2), FfmpegDecode(folder.file("a.aac"))),
            1);
}

// Before the first SBR payload, or without any.
TEST(ReadConfiguredAudio, ATrackSignalledAtTheDoubledRateKeepsItsTimeline) {
  const TempFolder folder;
  const auto blocks = blocksOf(3, pairOf(6), 60);
  const Bytes announced[] = {
      configurationOf({.samplingIndex = 6, .signalling = ConfigOptions::kExplicit}),
      configurationOf({.samplingIndex = 6, .signalling = ConfigOptions::kBackwardCompatible}),
      configurationOf({.samplingIndex = 6})};
  std::vector<Samples> readings;
  for (const Bytes& configuration : announced) {
    writeTrack(folder.file("a.mp4"), {.configuration = configuration, .unitFrames = 2048}, blocks);
    readings.push_back(readInEveryWay(folder.file("a.mp4"), 2));
    ASSERT_EQ(60u * 2048 * 2, readings.back().size());
    EXPECT_EQ(readings.front(), readings.back());
  }
  writeTrack(folder.file("a.mp4"), {.configuration = announced[0], .unitFrames = 2048}, blocks);
  EXPECT_LT(RootMeanSquare(readings[0], FfmpegDecode(folder.file("a.mp4"), {"-c:a", "aac"})), 1.0);
}

// Durations that round up are no gaps of the doubled access units, whatever tells that they are doubled.
TEST(ReadConfiguredAudio, ATrackDescribedAtTheDoubledRateHasAccessUnitsOfTwiceTheFrames) {
  const TempFolder folder;
  const auto blocks = blocksOf(3, pairOf(6), 20);
  std::vector<Samples> readings;
  for (const std::uint32_t duration : {2048u, 2060u}) {
    writeTrack(folder.file("a.mp4"),
               {.configuration = configurationOf({.samplingIndex = 6}), .unitFrames = duration}, blocks);
    readings.push_back(readAudio(*openFile(folder.file("a.mp4")), 0, 20 * 2048).samples);
    EXPECT_EQ(20u * 2048 * 2, readings.back().size());
  }
  EXPECT_EQ(readings[0], readings[1]);
}

TEST(ReadConfiguredAudio, UnsupportedConfigurationsAreReportedAndNotDecoded) {
  const TempFolder folder;
  const auto blocks = blocksOf(4, pairOf(), 20);
  const std::pair<ConfigOptions, std::string> cases[] = {
      {{.objectType = 17}, "Audio object type 17 is not supported"},
      {{.objectType = 42}, "Audio object type 42 is not supported"},
      {{.channelConfiguration = 13}, "Audio channel configuration 13 is not supported"}};
  for (const auto& [options, text] : cases) {
    writeTrack(folder.file("a.mp4"), {.configuration = configurationOf(options)}, blocks);
    LogCapture log;
    const MediaFile file = openFile(folder.file("a.mp4"));
    ASSERT_NE(file, nullptr);
    const LogLine line{VL_LOG_WARNING, "WARNING(vlx_Fmp4): " + text + "\n"};
    EXPECT_EQ(1, std::count(log.lines.begin(), log.lines.end(), line)) << text;
    const Audio audio = readAudio(*file, 0, 4096);
    EXPECT_EQ(VL_FAILED, audio.status) << text;
    EXPECT_EQ(Samples(), audio.samples);
  }
}

// A decoder that searched the access units for headers of their own would keep the first, wherever reading
// began.
TEST(ReadConfiguredAudio, WithoutASamplingFrequencyNothingIsDecodedWhateverTheAccessUnitsContain) {
  const TempFolder folder;
  auto blocks = blocksOf(19, pairOf(), 20);
  for (GeneratedBlock& block : blocks) block.bytes = join({u8(0), WrapAdts({block}, {.samplingIndex = 3})});
  const Bytes reserved = {0x17, 0x10}, missing = {0x17, 0x80};
  for (const Bytes& configuration : {reserved, missing}) {
    writeTrack(folder.file("a.mp4"), {.configuration = configuration}, blocks);
    const Audio audio = readAudio(*openFile(folder.file("a.mp4")), 0, 4096);
    EXPECT_EQ(VL_FAILED, audio.status);
    EXPECT_EQ(Samples(), audio.samples);
  }
}

// One configuration for a stream that changes: what the access units contain decides.
TEST(ReadConfiguredAudio, MonoThatTurnsIntoSurroundPlaysFromAnyPosition) {
  const TempFolder folder;
  GeneratorOptions mono = pairOf(), surround = pairOf();
  mono.elements = {{E::kSce, 0}};
  surround.elements = {{E::kSce, 0}, {E::kCpe, 0}, {E::kCpe, 1}, {E::kLfe, 0}};
  auto blocks = blocksOf(5, mono, 20);
  const auto more = blocksOf(6, surround, 20);
  std::size_t longOnes = 0;
  for (const auto& block : more) longOnes += block.bytes.size() > 2 * 768 ? 1 : 0;
  ASSERT_GE(longOnes, 5u);
  blocks.insert(blocks.end(), more.begin(), more.end());
  writeTrack(folder.file("a.mp4"), {.configuration = configurationOf({.channelConfiguration = 1})}, blocks);
  const Samples ours = readInEveryWay(folder.file("a.mp4"), 2);
  ASSERT_EQ(40u * 1024 * 2, ours.size());

  // The second part equals a track of that part alone, except for the overlap into its first access unit.
  writeTrack(folder.file("b.mp4"), {.configuration = configurationOf({.channelConfiguration = 6})}, more);
  const Samples alone = readInEveryWay(folder.file("b.mp4"), 2);
  EXPECT_EQ(alone, Samples(ours.end() - static_cast<std::ptrdiff_t>(alone.size()), ours.end()));
}

// A configuration that refers to a program config element and does not contain one.
const Bytes kWithoutProgram = configurationOf({.channelConfiguration = 0});

std::vector<GeneratedBlock> pairsOf(unsigned seed, const std::vector<GeneratedElement>& elements, int count,
                                    bool describe = false) {
  GeneratorOptions options = pairOf();
  options.elements = elements;
  options.writeProgram = describe;
  return blocksOf(seed, options, count);
}

TEST(ReadConfiguredAudio, AProgramInTheFirstAccessUnitIsThatOfTheTrack) {
  const TempFolder folder;
  auto blocks = pairsOf(7, {{E::kCpe, 1}, {E::kCpe, 0}}, 1, true);
  const auto more = pairsOf(8, {{E::kCpe, 0}, {E::kCpe, 1}}, 39);
  blocks.insert(blocks.end(), more.begin(), more.end());
  writeTrack(folder.file("signalled.mp4"),
             {.configuration = configurationOf(programOf({{true, 1}, {true, 0}}))}, blocks);
  writeTrack(folder.file("a.mp4"), {.configuration = kWithoutProgram}, blocks);
  EXPECT_EQ(readInEveryWay(folder.file("a.mp4"), 2), readInEveryWay(folder.file("signalled.mp4"), 2));
}

TEST(ReadConfiguredAudio, AProgramInALaterAccessUnitChangesNothing) {
  const TempFolder folder;
  const std::vector<GeneratedElement> elements = {{E::kCpe, 0}, {E::kCpe, 1}};
  auto blocks = pairsOf(9, elements, 40);
  writeTrack(folder.file("without.mp4"), {.configuration = kWithoutProgram}, blocks);
  blocks[20] = pairsOf(9, elements, 21, true)[20];
  writeTrack(folder.file("a.mp4"), {.configuration = kWithoutProgram}, blocks);
  EXPECT_EQ(readInEveryWay(folder.file("a.mp4"), 2), readInEveryWay(folder.file("without.mp4"), 2));
}

// Two frames in a data stream element, of another frequency, with a channel without a spectrum each.
TEST(ReadConfiguredAudio, HeadersWithinAnAccessUnitAreNotTakenForItsOwn) {
  const TempFolder folder;
  auto blocks = pairsOf(10, {{E::kCpe, 0}, {E::kCpe, 1}}, 40);
  writeTrack(folder.file("without.mp4"), {.configuration = kWithoutProgram}, blocks);
  const Bytes other = WrapAdts({{{0, 0, 0, 7}, {}}}, {.samplingIndex = 4, .channelConfiguration = 1});
  blocks[0].bytes = join({u8(0x81), u8(2 * other.size()), other, other, blocks[0].bytes});
  writeTrack(folder.file("a.mp4"), {.configuration = kWithoutProgram}, blocks);
  EXPECT_EQ(readInEveryWay(folder.file("a.mp4"), 2), readInEveryWay(folder.file("without.mp4"), 2));
}

}  // namespace

}  // namespace fmp4
