// A decoder that starts in the middle of a stream with prediction tells from when on it decodes like one that
// started with the stream.
#include <gtest/gtest.h>

#include "aac_generator.h"
#include "aac_streams.h"

namespace {

using namespace UMC::aac;

class Settling : public testing::TestWithParam<int> {};

TEST_P(Settling, IsOnceSettledWhatADecoderFromTheStartIs) {
  GeneratorOptions options;
  options.objectType = GetParam();
  options.elements = {{GeneratedElement::kSce, 0}, {GeneratedElement::kCpe, 0}};
  options.noise = options.midSide = true;
  AacGenerator generator(21, options);
  std::vector<Bytes> frames;
  std::vector<Samples> expected;
  TestDecoder whole;
  for (int i = 0; i < 300; ++i) {
    frames.push_back(
        WrapAdts({generator.NextBlock()}, {.profile = GetParam() - 1, .channelConfiguration = 3}));
    ASSERT_EQ(0, whole.Decode(frames.back()));
    expected.push_back(whole.Last());
  }
  TestDecoder decoder;
  ASSERT_EQ(0, decoder.Decode(frames[0]));
  int settled = 0;
  for (std::size_t start = 10; start < 200; start += 10) {
    ASSERT_EQ(0, decoder.Decoder().Reset());
    EXPECT_FALSE(decoder.Decoder().Settled());
    bool before = false;
    for (std::size_t i = start; i < start + 100; ++i) {
      ASSERT_EQ(0, decoder.Decode(frames[i]));
      if (before) {
        ASSERT_EQ(expected[i], decoder.Last()) << start << ' ' << i;
      }
      const bool now = decoder.Decoder().Settled();
      EXPECT_FALSE(before && !now) << start << ' ' << i;
      before = now;
    }
    settled += before ? 1 : 0;
  }
  EXPECT_GE(settled, 3);
}

INSTANTIATE_TEST_SUITE_P(All, Settling, testing::Values(kObjectMain, kObjectLtp));

}  // namespace
