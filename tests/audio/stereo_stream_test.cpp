// Complete streams with parametric stereo, against the reference decoders.
#include <gtest/gtest.h>

#include <cmath>

#include "tests/audio/aac_generator.h"
#include "tests/audio/aac_streams.h"
#include "tests/support/places.h"

namespace fmp4 {

namespace {

using std::filesystem::path;

// Decodes at the doubled sampling frequency.
Samples Decode(const Bytes& stream, std::uint32_t channels = 0) {
  return TestDecoder(channels, 0).DecodeAll(stream);
}

constexpr std::size_t kBlockSamples = 2 * 2048;

// The RMS difference from the reference, over one of two channels and the blocks that are `counted`.
template <class Counted>
double Rms(const Samples& ours, const std::vector<float>& reference, std::size_t channel, Counted counted) {
  EXPECT_EQ(reference.size(), ours.size());
  double sum = 0;
  std::size_t count = 0;
  for (std::size_t i = channel; i < std::min(ours.size(), reference.size()); i += 2) {
    if (!counted(i / kBlockSamples)) continue;
    const double difference = ours[i] - std::clamp(reference[i], -32768.0f, 32767.0f);
    sum += difference * difference;
    ++count;
  }
  return std::sqrt(sum / static_cast<double>(count));
}

// Before the first block, decoders assume different parameters.
bool AfterTheFirst(std::size_t block) {
  return block > 0;
}

template <class Counted>
void ExpectLikeFfmpeg(const Bytes& stream, Counted counted) {
  TempFolder folder;
  writeFile(folder.file("a.aac"), stream);
  const std::vector<float> reference = FfmpegDecode(folder.file("a.aac"), {"-c:a", "aac"});
  const Samples ours = Decode(stream);
  for (std::size_t channel = 0; channel < 2; ++channel)
    EXPECT_LT(Rms(ours, reference, channel, counted), 1.0) << channel;
}
void ExpectLikeFfmpeg(const Bytes& stream) {
  ExpectLikeFfmpeg(stream, AfterTheFirst);
}

TEST(StereoStream, DecodesAnEncodersLikeFfmpeg) {
  const path file = path(VL_TEST_DATA) / "he_v2_48k.aac";
  ExpectLikeFfmpeg(readFile(file));
}

TEST(StereoStream, DecodesAccessUnitsOfAConfigurationThatSignalsIt) {
  const path file = path(VL_TEST_DATA) / "he_v2_48k_explicit.mp4";
  TempFolder folder;
  runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-i", file.string(), "-c", "copy", folder.file("a.aac")});
  // Parametric stereo, 24 kHz, one channel, 48 kHz, AAC-LC.
  TestDecoder decoder(Bytes{0xEB, 0x09, 0x88}, 0);
  Samples ours;
  for (const Bytes& frame : SplitAdts(readFile(folder.file("a.aac")))) {
    ASSERT_EQ(0, decoder.Decode(Bytes(frame.begin() + 7, frame.end())));
    ours.insert(ours.end(), decoder.Last().begin(), decoder.Last().end());
  }
  const std::vector<float> reference = FfmpegDecode(folder.file("a.aac"), {"-c:a", "aac"});
  for (std::size_t channel = 0; channel < 2; ++channel)
    EXPECT_LT(Rms(ours, reference, channel, AfterTheFirst), 1.0) << channel;
}

constexpr int kBlocks = 60;

// Random blocks; `ps(i)` is the payload of block i.
Bytes Generate(unsigned seed, std::function<std::optional<PsGeneratorOptions>(int)> ps,
               int blocks = kBlocks) {
  GeneratorOptions options;
  options.samplingIndex = 6;
  options.elements = {{GeneratedElement::kSce, 0}};
  options.sbr.emplace();
  options.sbr->headerChanges = options.sbr->otherExtensions = false;
  options.sbr->headerPercent = 60;
  options.sbr->ps = std::move(ps);
  AacGenerator generator(seed, options);
  Bytes stream;
  for (int i = 0; i < blocks; ++i)
    stream = stream + WrapAdts({generator.NextBlock()}, {.samplingIndex = 6, .channelConfiguration = 1});
  return stream;
}

// iid_mode and icc_mode, -1: neither is sent.
using Modes = testing::TestWithParam<std::tuple<int, int>>;
struct StereoModes : Modes {};
struct PhaseModes : Modes {};

TEST_P(StereoModes, DecodeLikeFfmpeg) {
  const auto [iid, icc] = GetParam();
  const PsGeneratorOptions options{.iidMode = iid,
                                   .iccMode = icc,
                                   .otherExtension = true,
                                   .variableBorders = true,
                                   .emptyFrames = true,
                                   .headerPeriod = 5};
  ExpectLikeFfmpeg(Generate(1, [&](int) { return options; }));
}

// The hybrid bands of negative frequencies are rotated the other way throughout an envelope (ISO/IEC 14496-3,
// 8.6.4.6.3 and 8.6.4.6.4); ffmpeg does so only at its end, and with 34 bands for two more, whose centre
// frequencies are positive (table 8.42). Their bands have no phase here.
TEST_P(PhaseModes, DecodeLikeFfmpeg) {
  const auto [iid, icc] = GetParam();
  const PsGeneratorOptions options{.iidMode = iid,
                                   .iccMode = icc,
                                   .phases = true,
                                   .lowestPhases = false,
                                   .variableBorders = true,
                                   .headerPeriod = 5};
  ExpectLikeFfmpeg(Generate(2, [&](int) { return options; }));
}

INSTANTIATE_TEST_SUITE_P(All, StereoModes, testing::Combine(testing::Range(-1, 6), testing::Range(-1, 6)));
// Without an iid_mode, the number of phases is undefined.
INSTANTIATE_TEST_SUITE_P(All, PhaseModes, testing::Combine(testing::Range(0, 6), testing::Range(-1, 6)));

TEST(StereoStream, ModesThatChangeDecodeLikeFfmpeg) {
  ExpectLikeFfmpeg(Generate(3, [](int block) {
    return PsGeneratorOptions{
        .iidMode = block / 3 % 7 - 1, .iccMode = block / 5 % 7 - 1, .variableBorders = true};
  }));
}

// The coefficients are interpolated linearly from and to those without phases (8.6.4.6.4); in ffmpeg their
// imaginary parts jump. Once the interpolation has ended both are the same.
TEST(StereoStream, PhasesThatComeAndGoDecodeLikeFfmpeg) {
  const Bytes stream = Generate(3, [](int block) {
    return PsGeneratorOptions{.phases = block % 8 < 4, .lowestPhases = false, .otherExtension = true};
  });
  ExpectLikeFfmpeg(stream, [](std::size_t block) { return block % 4 >= 2; });
}

// With one envelope: ffmpeg repeats all envelopes of the last payload, where the last parameters remain
// unchanged (8.6.4.6.2).
TEST(StereoStream, BlocksWithoutAPayloadDecodeLikeFfmpeg) {
  ExpectLikeFfmpeg(Generate(4, [](int block) {
    return block < 4 || block % 3 == 0 ? std::optional(PsGeneratorOptions{.singleEnvelopes = true})
                                       : std::nullopt;
  }));
}

// faad's samples; it omits the first block's.
Samples FaadDecode(const TempFolder& folder, const std::string& file) {
  runOrThrow({"faad", "-q", "-f", "2", "-o", folder.file("a.pcm"), file});
  const Bytes bytes = readFile(folder.file("a.pcm"));
  Samples samples(bytes.size() / 2);
  std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
  return samples;
}

// The other reference for the lowest bands. It deviates in single blocks; most must be equal.
TEST(StereoStream, PhasesOfTheLowestBandsDecodeLikeFaad) {
  const Bytes stream = Generate(
      5, [](int) { return PsGeneratorOptions{.phases = true, .constantPhase = 1, .singleEnvelopes = true}; });
  TempFolder folder;
  writeFile(folder.file("a.aac"), stream);
  const Samples ours = Decode(stream), theirs = FaadDecode(folder, folder.file("a.aac"));
  ASSERT_EQ(ours.size() - kBlockSamples, theirs.size());
  std::vector<double> differences;
  for (std::size_t at = 0; at < theirs.size(); at += kBlockSamples) {
    double sum = 0;
    for (std::size_t i = at; i < at + kBlockSamples; ++i)
      sum += std::pow(ours[i + kBlockSamples] - theirs[i], 2);
    differences.push_back(std::sqrt(sum / kBlockSamples));
  }
  std::nth_element(differences.begin(), differences.begin() + kBlocks / 2, differences.end());
  EXPECT_LT(differences[kBlocks / 2], 0.1);
}

std::optional<PsGeneratorOptions> None(int /*block*/) {
  return std::nullopt;
}
std::optional<PsGeneratorOptions> Coarse(int /*block*/) {
  return PsGeneratorOptions{.iidMode = 0, .iccMode = 0};
}

TEST(StereoStream, IsNotAppliedWhereOneChannelIsRequested) {
  const Samples with = Decode(Generate(5, Coarse), 1);
  EXPECT_EQ(2048u * kBlocks, with.size());
  EXPECT_EQ(Decode(Generate(5, None), 1), with);
}

TEST(StereoStream, StartsWithItsFirstPayload) {
  const Samples without = Decode(Generate(6, None), 2);
  const Samples late =
      Decode(Generate(6, [](int block) { return block < 10 ? None(block) : Coarse(block); }), 2);
  ASSERT_EQ(without.size(), late.size());
  // Both channels are equal until the parameters come.
  const auto start = late.begin() + 2 * 2048 * 10;
  EXPECT_TRUE(std::equal(late.begin(), start, without.begin()));
  bool alike = true;
  for (auto at = start; at != late.end(); at += 2) alike &= at[0] == at[1];
  EXPECT_FALSE(alike);
}

TEST(StereoStream, HasTwoChannelsFromItsFirstPayloadWhereNoneAreRequested) {
  const auto frames =
      SplitAdts(Generate(7, [](int block) { return block < 1 ? None(block) : Coarse(block); }));
  TestDecoder decoder(0, 0);
  ASSERT_EQ(0, decoder.Decode(frames[0]));
  EXPECT_EQ(2048u, decoder.Last().size());
  ASSERT_EQ(0, decoder.Decode(frames[1]));
  EXPECT_EQ(4096u, decoder.Last().size());
  UMC::AACDecoderParams info;
  ASSERT_EQ(0, decoder.Decoder().GetInfo(&info));
  EXPECT_EQ(2u, info.m_output.channels);
  EXPECT_EQ(3u, info.m_output.channelMask);
  EXPECT_EQ(1u, info.m_input.channels);
}

TEST(StereoStream, OnceConvergedEqualsADecoderFromTheStart) {
  const auto frames = SplitAdts(Generate(
      8, [](int) { return PsGeneratorOptions{.phases = true, .headerPeriod = 20}; }, 240));
  TestDecoder entire(2, 0);
  std::vector<Samples> expected;
  for (const Bytes& frame : frames) {
    ASSERT_EQ(0, entire.Decode(frame));
    expected.push_back(entire.Last());
  }
  TestDecoder decoder(2, 0);
  int converged = 0;
  for (std::size_t start = 16; start < frames.size(); start += 16) {
    ASSERT_EQ(0, decoder.Decoder().Reset());
    bool before = false;
    for (std::size_t i = start; i < frames.size() && i < start + 60; ++i) {
      ASSERT_EQ(0, decoder.Decode(frames[i]));
      if (before) {
        ASSERT_EQ(expected[i], decoder.Last()) << start << ' ' << i;
      }
      const bool now = decoder.Decoder().Converged();
      EXPECT_FALSE(before && !now) << start << ' ' << i;
      // A header of parametric stereo comes with every block whose number is a multiple of 20.
      if (now && !before) {
        EXPECT_GE(i, (start + 19) / 20 * 20 + 15);
      }
      before = now;
    }
    converged += before ? 1 : 0;
  }
  EXPECT_GE(converged, 3);
}

}  // namespace

}  // namespace fmp4
