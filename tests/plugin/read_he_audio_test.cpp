// HE-AAC tracks read through the plug-in: all kinds of signalling, in any order, in any described format.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "tests/audio/aac_generator.h"
#include "tests/audio/bit_writer.h"
#include "tests/audio/streams.h"
#include "tests/plugin/audio_clip.h"
#include "tests/plugin/loaded_plugin.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

std::string dataFile(const std::string& name) {
  return std::string(VL_TEST_DATA) + "/" + name;
}

// Muxes an ADTS stream into fragments of half a second. Its configuration signals the core only.
std::string fragment(const TempFolder& folder, const std::string& adts) {
  const std::string clip = folder.file("clip.mp4");
  runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-y", "-i", adts, "-c", "copy", "-bsf:a", "aac_adtstoasc",
              "-movflags", "delay_moov+default_base_moof", "-frag_duration", "500000", clip});
  return clip;
}

class Implicit : public testing::TestWithParam<const char*> {};

TEST_P(Implicit, MatchesFfmpegsDecodingOfTheStream) {
  const TempFolder folder;
  const std::string adts = dataFile(GetParam());
  const Samples ours = readInEveryWay(fragment(folder, adts), 2);
  EXPECT_LT(RootMeanSquare(ours, FfmpegDecode(adts, {"-c:a", "aac"})), 1.0);
}

INSTANTIATE_TEST_SUITE_P(All, Implicit,
                         testing::Values("he_v1_stereo_48k.aac", "he_v1_mono_48k.aac", "he_v2_48k.aac"));

TEST(ReadHeAudio, ExplicitSignallingDecodesAlike) {
  const TempFolder folder;
  const Samples ours = readInEveryWay(dataFile("he_v1_48k_explicit.mp4"), 2);
  const std::string adts = folder.file("a.aac");
  runOrThrow(
      {"ffmpeg", "-nostdin", "-v", "error", "-i", dataFile("he_v1_48k_explicit.mp4"), "-c", "copy", adts});
  EXPECT_LT(RootMeanSquare(ours, FfmpegDecode(adts, {"-c:a", "aac"})), 1.0);
}

// Boxes on the way to the configuration, the outermost first, and how far after each one's start its
// children begin.
constexpr struct {
  const char* type;
  std::size_t header;
} kToEntry[] = {{"moov", 8}, {"trak", 8}, {"mdia", 8}, {"minf", 8}, {"stbl", 8}, {"stsd", 16}, {"mp4a", 36}};

std::uint32_t bigEndian(const Bytes& bytes, std::size_t at) {
  return std::uint32_t{bytes[at]} << 24 | std::uint32_t{bytes[at + 1]} << 16 |
         std::uint32_t{bytes[at + 2]} << 8 | bytes[at + 3];
}

// The offset of the child of that type between two offsets.
std::size_t findChild(const Bytes& bytes, std::size_t at, std::size_t end, const char* type) {
  while (at + 8 <= end) {
    if (std::memcmp(&bytes[at + 4], type, 4) == 0) return at;
    at += bigEndian(bytes, at);
  }
  throw std::runtime_error(std::string("no ") + type);
}

// The offsets of the boxes of kToEntry.
std::vector<std::size_t> pathToEntry(const Bytes& file) {
  std::vector<std::size_t> path;
  std::size_t at = 0, end = file.size();
  for (const auto& step : kToEntry) {
    path.push_back(findChild(file, at, end, step.type));
    at = path.back() + step.header;
    end = path.back() + bigEndian(file, path.back());
  }
  return path;
}

// The same file with more bytes at the end of its configuration.
Bytes extendConfiguration(Bytes file, const Bytes& more) {
  std::vector<std::size_t> grown = pathToEntry(file);
  const std::size_t entry = grown.back();
  const std::size_t esds = findChild(file, entry + 36, entry + bigEndian(file, entry), "esds");
  grown.push_back(esds);
  // The descriptors' lengths are written in four bytes each: of the elementary stream, of the decoder
  // configuration, of the decoder-specific information that ends it.
  std::size_t at = esds + 12, after = 0;
  for (const auto& [tag, fields] : {std::pair{3, 3}, {4, 13}, {5, 0}}) {
    if (file[at] != tag) throw std::runtime_error("no such descriptor");
    after = at + 5 + file[at + 4];
    file[at + 4] = static_cast<std::uint8_t>(file[at + 4] + more.size());
    at += 5 + static_cast<std::size_t>(fields);
  }
  for (const std::size_t box : grown) {
    const auto size = bigEndian(file, box) + static_cast<std::uint32_t>(more.size());
    for (int i = 0; i < 4; ++i)
      file[box + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(size >> (24 - 8 * i));
  }
  file.insert(file.begin() + static_cast<std::ptrdiff_t>(after), more.begin(), more.end());
  return file;
}

TEST(ReadHeAudio, BackwardCompatibleSignallingDecodesAlike) {
  const TempFolder folder;
  const std::string clip = fragment(folder, dataFile("he_v2_48k.aac"));
  BitWriter more;
  more.Write(0x2B7, 11);
  more.Write(5, 5);
  more.Write(1, 1);  // sbrPresentFlag
  more.Write(3, 4);  // 48 kHz
  more.Write(0x548, 11);
  more.Write(1, 1);  // psPresentFlag
  more.Align();
  const std::string extended = folder.file("extended.mp4");
  writeFile(extended, extendConfiguration(readFile(clip), more.Bytes()));
  EXPECT_EQ(readInEveryWay(extended, 2), readInEveryWay(clip, 2, 0));
}

TEST(ReadHeAudio, ATrackDescribedAsMonoIsReadAsOneChannel) {
  const Samples mono = readInEveryWay(dataFile("he_v2_48k_explicit.mp4"), 1);
  ASSERT_EQ(98u * 2048, mono.size());
  // It is the downmix from which parametric stereo makes two channels, with nearly the same power.
  const TempFolder folder;
  const Samples stereo = readInEveryWay(fragment(folder, dataFile("he_v2_48k.aac")), 2, 0);
  double one = 0, two = 0;
  for (const std::int16_t sample : mono) one += sample * sample;
  for (const std::int16_t sample : stereo) two += sample * sample;
  EXPECT_NEAR(1, two / (2 * one), 0.1);
}

TEST(ReadHeAudio, ATrackDescribedAtItsCoreRateKeepsItsTimeline) {
  const TempFolder folder;
  const std::string clip = fragment(folder, dataFile("he_v1_stereo_48k.aac"));
  const Samples full = readInEveryWay(clip, 2, 0);
  Bytes bytes = readFile(clip);
  const std::size_t rate = pathToEntry(bytes).back() + 32;
  ASSERT_EQ(48000u << 16, bigEndian(bytes, rate));
  bytes[rate] = 24000 >> 8;
  bytes[rate + 1] = 24000 & 255;
  writeFile(clip, bytes);
  const Samples half = readInEveryWay(clip, 2);
  ASSERT_EQ(full.size() / 2, half.size());
  // This stream's low tones are complete: every other sample, delayed by the filter banks' difference.
  double best = 1e9, power = 0;
  for (int shift = -2; shift <= 2; ++shift) {
    double sum = 0;
    power = 0;
    for (std::size_t i = 40000; i < 60000; i += 2) {
      const double expected = full[2 * (i / 2) * 2 + static_cast<std::size_t>(shift + 2) * 2 - 4];
      sum += std::pow(half[i] - expected, 2);
      power += expected * expected;
    }
    best = std::min(best, sum);
  }
  EXPECT_LT(std::sqrt(best / power), 0.2);
}

// Rare headers and long chains of time-differential coding: only the decoder knows where to start.
TEST(ReadHeAudio, RandomReadsAgreeWhereHeadersAreRare) {
  const TempFolder folder;
  for (const bool stereo : {false, true}) {
    GeneratorOptions options;
    options.samplingIndex = 6;
    options.elements = {{stereo ? GeneratedElement::kCpe : GeneratedElement::kSce, 0}};
    options.sbr.emplace();
    options.sbr->headerChanges = options.sbr->otherExtensions = false;
    options.sbr->headerPercent = 2;
    options.sbr->timeCodingPercent = 95;
    options.sbr->ps = [](int) { return PsGeneratorOptions{.phases = true, .headerPeriod = 50}; };
    AacGenerator generator(stereo ? 11 : 12, options);
    Bytes stream;
    for (int i = 0; i < 240; ++i) {
      const Bytes frame =
          WrapAdts({generator.NextBlock()}, {.samplingIndex = 6, .channelConfiguration = stereo ? 2 : 1});
      stream.insert(stream.end(), frame.begin(), frame.end());
    }
    writeFile(folder.file("a.aac"), stream);
    EXPECT_EQ(240u * 2048 * 2, readInEveryWay(fragment(folder, folder.file("a.aac")), 2).size());
  }
}

}  // namespace

}  // namespace fmp4
