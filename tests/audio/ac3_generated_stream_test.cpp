// Random valid frames, without dither, against the reference decoders.
#include <gtest/gtest.h>

#include "tests/audio/ac3_generator.h"
#include "tests/audio/ac3_streams.h"

namespace fmp4 {

namespace {

Bytes Generate(Ac3Generator& generator, int frames) {
  Bytes stream;
  for (int i = 0; i < frames; ++i) stream = stream + generator.NextFrame();
  return stream;
}

void ExpectSaw(const Ac3Generator& generator, const std::vector<std::string>& names) {
  const auto& seen = generator.Seen();
  for (const auto& name : names) EXPECT_NE(seen.end(), std::find(seen.begin(), seen.end(), name)) << name;
}

void ExpectLikeFfmpeg(const Bytes& stream, int mode, bool lfe) {
  TempFolder folder;
  writeFile(folder.file("a.ac3"), stream);
  EXPECT_LE(LargestDifference(TestAc3Decoder(mode, lfe).DecodeAll(stream),
                              FfmpegDecode(folder.file("a.ac3"), {"-f", "ac3"})),
            1);
}

void ExpectLikeA52dec(const Bytes& stream) {
  TempFolder folder;
  writeFile(folder.file("a.ac3"), stream);
  EXPECT_LE(LargestDifference(TestAc3Decoder().DecodeAll(stream), A52Decode(folder.file("a.ac3"))), 1);
}

class GeneratedMode : public testing::TestWithParam<int> {};

TEST_P(GeneratedMode, DecodesEveryStrategyLikeFfmpeg) {
  for (const bool lfe : {false, true}) {
    Ac3GeneratorOptions options;
    options.mode = GetParam();
    options.lfe = lfe;
    // Which of the two programmes' dynamic range words applies to the LFE channel is unspecified.
    options.dynamicRange = options.mode != 0 || !lfe;
    Ac3Generator generator(static_cast<unsigned>(GetParam()), options);
    const Bytes stream = Generate(generator, 150);
    ExpectSaw(generator,
              {"strategy 0", "strategy 1", "strategy 2", "strategy 3", "delta", "delta kept",
               "delta taken up again", "block switch", "no bits", "skipped bytes", "additional information"});
    for (int pointer = 0; pointer < 16; ++pointer)
      ExpectSaw(generator, {"pointer " + std::to_string(pointer)});
    if (GetParam() >= 2) {
      ExpectSaw(generator, {"joined sub-bands", "end code below begin code", "coordinates reused",
                            "coupling ends", "delta of the coupling channel"});
      ExpectSaw(generator, {"coupling from 0", "coupling from 15"});
    }
    if (GetParam() == 2) {
      ExpectSaw(generator, {"phase flag", "rematrixing of 2", "rematrixing of 3", "rematrixing of 4"});
    }
    ExpectLikeFfmpeg(stream, GetParam(), lfe);
  }
}

// In stereo, because the other reference has its own gain for a single channel. It carries phase flags over
// from one strategy to the next, starts the coupling channel's delta segments at band 0, and uses one dynamic
// range word for two programmes.
TEST_P(GeneratedMode, MixesToStereoLikeA52dec) {
  if (GetParam() == 1) return;
  Ac3GeneratorOptions options;
  options.mode = GetParam();
  options.couplingDelta = options.phaseFlags = false;
  options.dynamicRange = options.mode != 0;
  Ac3Generator generator(static_cast<unsigned>(GetParam()) + 100, options);
  ExpectLikeA52dec(Generate(generator, 60));
}

INSTANTIATE_TEST_SUITE_P(All, GeneratedMode, testing::Range(0, 8));

class GeneratedSize : public testing::TestWithParam<int> {};

TEST_P(GeneratedSize, DecodesLikeFfmpegAtEveryFrequency) {
  for (int frequencyCode = 0; frequencyCode < 3; ++frequencyCode) {
    Ac3GeneratorOptions options;
    options.frequencyCode = frequencyCode;
    options.sizeCode = GetParam();
    options.mode = GetParam() % 6 + 2;
    Ac3Generator generator(static_cast<unsigned>(GetParam()), options);
    ExpectLikeFfmpeg(Generate(generator, 12), options.mode, true);
  }
}

INSTANTIATE_TEST_SUITE_P(All, GeneratedSize, testing::Range(0, 38));

class GeneratedVersion : public testing::TestWithParam<int> {};

TEST_P(GeneratedVersion, DecodesLikeFfmpeg) {
  for (int frequencyCode = 0; frequencyCode < 3; ++frequencyCode) {
    Ac3GeneratorOptions options;
    options.version = GetParam();
    options.frequencyCode = frequencyCode;
    Ac3Generator generator(static_cast<unsigned>(GetParam()), options);
    const Bytes stream = Generate(generator, 20);
    ExpectLikeFfmpeg(stream, options.mode, true);
    UMC::ac3::SyncInfo info{};
    ASSERT_EQ(UMC::ac3::SyncStatus::kOk, UMC::ac3::ParseSyncInfo(stream.data(), info));
    const std::uint32_t frequencies[3] = {48000, 44100, 32000};
    const int shift = std::max(GetParam() - 8, 0);
    EXPECT_EQ(frequencies[frequencyCode] >> shift, info.frequency);
    EXPECT_EQ(640000u >> shift, info.bitRate);
  }
}

INSTANTIATE_TEST_SUITE_P(All, GeneratedVersion, testing::Values(0, 1, 4, 6, 7, 8, 9, 10));

}  // namespace

}  // namespace fmp4
