// A decoder that starts in the middle of a stream with prediction reports from when on its output equals that
// of one that started with the stream.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/audio/aac_generator.h"
#include "tests/audio/aac_streams.h"

namespace fmp4 {

namespace {

using namespace UMC::aac;

class Converging : public testing::TestWithParam<int> {};

TEST_P(Converging, OnceConvergedEqualsADecoderFromTheStart) {
  GeneratorOptions options;
  options.objectType = GetParam();
  options.elements = {{GeneratedElement::kSce, 0}, {GeneratedElement::kCpe, 0}};
  options.noise = options.midSide = true;
  AacGenerator generator(21, options);
  std::vector<Bytes> frames;
  std::vector<Samples> expected;
  TestDecoder entire;
  for (int i = 0; i < 300; ++i) {
    frames.push_back(
        WrapAdts({generator.NextBlock()}, {.profile = GetParam() - 1, .channelConfiguration = 3}));
    ASSERT_EQ(0, entire.Decode(frames.back()));
    expected.push_back(entire.Last());
  }
  TestDecoder decoder;
  ASSERT_EQ(0, decoder.Decode(frames[0]));
  int converged = 0;
  for (std::size_t start = 10; start < 200; start += 10) {
    ASSERT_EQ(0, decoder.Decoder().Reset());
    EXPECT_FALSE(decoder.Decoder().Converged());
    bool before = false;
    for (std::size_t i = start; i < start + 100; ++i) {
      ASSERT_EQ(0, decoder.Decode(frames[i]));
      if (before) {
        ASSERT_EQ(expected[i], decoder.Last()) << start << ' ' << i;
      }
      const bool now = decoder.Decoder().Converged();
      EXPECT_FALSE(before && !now) << start << ' ' << i;
      before = now;
    }
    converged += before ? 1 : 0;
  }
  EXPECT_GE(converged, 3);
}

INSTANTIATE_TEST_SUITE_P(All, Converging, testing::Values(kObjectMain, kObjectLtp));

// HE-AAC of a mono or stereo core whose bands do not change. `headerPercent` of the frames after the first
// repeat its header.
std::vector<Bytes> ReplicatedFrames(int count, bool stereo,
                                    int headerPercent = SbrGeneratorOptions{}.headerPercent) {
  GeneratorOptions options;
  options.samplingIndex = 6;
  options.elements = {{stereo ? GeneratedElement::kCpe : GeneratedElement::kSce, 0}};
  options.sbr.emplace();
  options.sbr->headerChanges = false;
  options.sbr->headerPercent = headerPercent;
  AacGenerator generator(stereo ? 5 : 6, options);
  std::vector<Bytes> frames;
  for (int i = 0; i < count; ++i) {
    frames.push_back(
        WrapAdts({generator.NextBlock()}, {.samplingIndex = 6, .channelConfiguration = stereo ? 2 : 1}));
  }
  return frames;
}

TEST(NumberedBlocks, DecodeLikeUnnumberedOnesInAnIntactStream) {
  for (const bool stereo : {false, true}) {
    TestDecoder plain(0, 0), numbered(0, 0);
    const auto frames = ReplicatedFrames(100, stereo);
    for (std::size_t i = 0; i < frames.size(); ++i) {
      ASSERT_EQ(0, numbered.Decoder().SetBlock(i));
      ASSERT_EQ(0, plain.Decode(frames[i]));
      ASSERT_EQ(0, numbered.Decode(frames[i]));
      ASSERT_EQ(plain.Last(), numbered.Last()) << i;
    }
  }
}

// Once they have converged, wherever they start and whatever was lost on the way.
TEST(NumberedBlocks, DecodeAlikeInAllDecoders) {
  const auto frames = ReplicatedFrames(120, true);
  const auto isLost = [](std::size_t number) { return number == 30 || number == 31; };
  const auto pass = [&](TestDecoder& decoder, std::size_t number) {
    ASSERT_EQ(0, decoder.Decoder().SetBlock(number));
    if (isLost(number)) {
      ASSERT_EQ(0, decoder.Decoder().PassLostBlock());
    } else {
      ASSERT_EQ(0, decoder.Decode(frames[number]));
    }
  };
  int converged = 0;
  for (std::size_t start = 1; start < 60; start += 3) {
    TestDecoder entire(0, 0), late(0, 0);
    for (std::size_t i = 0; i < start; ++i) pass(entire, i);
    bool before = false;
    for (std::size_t i = start; i < frames.size(); ++i) {
      pass(entire, i);
      pass(late, i);
      if (before && !isLost(i)) {
        ASSERT_EQ(entire.Last(), late.Last()) << start << ' ' << i;
      }
      before = late.Decoder().Converged();
    }
    converged += before ? 1 : 0;
  }
  EXPECT_EQ(20, converged);
}

// Where a decoder has seen SBR, a block without its payload after a reset is not plain AAC.
TEST(NumberedBlocks, WithoutPayloadConvergeOnlyWhereNoneHasBeenSeen) {
  const auto frames = ReplicatedFrames(1, true);
  GeneratorOptions core;
  core.samplingIndex = 6;
  core.elements = {{GeneratedElement::kCpe, 0}};
  AacGenerator generator(7, core);
  const Bytes plain = WrapAdts({generator.NextBlock()}, {.samplingIndex = 6, .channelConfiguration = 2});
  for (const bool seen : {false, true}) {
    TestDecoder decoder;
    if (seen) {
      ASSERT_EQ(0, decoder.Decode(frames[0]));
      ASSERT_EQ(0, decoder.Decoder().Reset());
    }
    ASSERT_EQ(0, decoder.Decode(plain));
    EXPECT_EQ(!seen, decoder.Decoder().Converged());
    // A lost block leaves nothing of earlier ones, unless that was the header.
    ASSERT_EQ(0, decoder.Decoder().PassLostBlock());
    EXPECT_EQ(!seen, decoder.Decoder().Converged());
  }
}

// A stream whose first SBR header comes late has no high band before it, also when it is decoded again.
TEST(NumberedBlocks, StartWithoutTheHeadersOfLaterBlocks) {
  std::vector<Bytes> frames = ReplicatedFrames(20, true, 0);
  std::rotate(frames.begin(), frames.begin() + 1, frames.begin() + 8);  // the header into the eighth
  TestDecoder decoder(0, 0);
  std::vector<Samples> first;
  for (std::size_t round = 0; round < 2; ++round) {
    ASSERT_EQ(0, decoder.Decoder().Reset());
    for (std::size_t i = 0; i < frames.size(); ++i) {
      ASSERT_EQ(0, decoder.Decoder().SetBlock(i));
      ASSERT_EQ(0, decoder.Decode(frames[i]));
      if (round == 0) {
        first.push_back(decoder.Last());
      } else {
        ASSERT_EQ(first[i], decoder.Last()) << i;
      }
    }
  }
}

}  // namespace

}  // namespace fmp4
