// Damaged ADTS streams: intact frames decode.
#include <gtest/gtest.h>

#include "tests/audio/aac_generator.h"
#include "tests/audio/aac_streams.h"

namespace fmp4 {

namespace {

using E = GeneratedElement;

std::vector<GeneratedBlock> Blocks(unsigned seed, std::vector<GeneratedElement> elements, int count) {
  GeneratorOptions options;
  options.elements = std::move(elements);
  AacGenerator generator(seed, options);
  std::vector<GeneratedBlock> blocks;
  for (int i = 0; i < count; ++i) blocks.push_back(generator.NextBlock());
  return blocks;
}

std::vector<Bytes> Frames(const std::vector<GeneratedBlock>& blocks, const AdtsOptions& adts = {}) {
  std::vector<Bytes> frames;
  for (const auto& block : blocks) frames.push_back(WrapAdts({block}, adts));
  return frames;
}

Bytes Join(const std::vector<Bytes>& frames) {
  Bytes stream;
  for (const Bytes& frame : frames) stream = stream + frame;
  return stream;
}

// The last `count` of samples.
Samples Tail(const Samples& samples, std::size_t count) {
  return {samples.end() - static_cast<std::ptrdiff_t>(std::min(count, samples.size())), samples.end()};
}

// A first header damaged in the fields that all headers of a stream share: a different layout of the block, a
// wrong table, or no header at all.
class DamagedFirstHeader : public testing::TestWithParam<std::pair<int, int>> {
 protected:
  static constexpr int kFrames = 12;

  void SetUp() override {
    frames = Frames(Blocks(31, {{E::kCpe, 0}}, kFrames));
    expected = TestDecoder().DecodeAll(Join(frames));
    const auto [byte, bit] = GetParam();
    std::uint8_t& damaged = frames[0][static_cast<std::size_t>(byte)];
    damaged = static_cast<std::uint8_t>(damaged ^ 1 << bit);
  }
  // All but the first frame and the overlap with it.
  void ExpectTheOthers(const Samples& samples) const {
    constexpr std::size_t kCount = (kFrames - 2) * 2 * 1024;
    EXPECT_GE(samples.size(), kCount);
    EXPECT_EQ(Tail(expected, kCount), Tail(samples, kCount));
  }

  std::vector<Bytes> frames;
  Samples expected;
};

TEST_P(DamagedFirstHeader, KeepsTheFramesAfterItInOneInput) {
  TestDecoder decoder;
  decoder.SetInput(Join(frames));
  Samples samples;
  while (decoder.Left() > 0) {
    const std::size_t left = decoder.Left();
    if (decoder.Decode() >= 0) samples.insert(samples.end(), decoder.Last().begin(), decoder.Last().end());
    ASSERT_LT(decoder.Left(), left);
  }
  ExpectTheOthers(samples);
}

TEST_P(DamagedFirstHeader, KeepsTheFramesAfterItOneByOne) {
  TestDecoder decoder;
  Samples samples;
  for (const Bytes& frame : frames) {
    if (decoder.Decode(frame) >= 0)
      samples.insert(samples.end(), decoder.Last().begin(), decoder.Last().end());
  }
  ExpectTheOthers(samples);
}

TEST_P(DamagedFirstHeader, KeepsTheFramesAfterItAsTheyArrive) {
  TestDecoder decoder;
  Samples samples;
  Bytes held;
  // Pieces that end at any byte of a frame.
  const Bytes stream = Join(frames);
  constexpr std::size_t kPiece = 200;
  for (std::size_t at = 0; at < stream.size(); at += kPiece) {
    const std::size_t size = std::min(kPiece, stream.size() - at);
    held.insert(held.end(), &stream[at], &stream[at] + size);
    for (std::size_t left = held.size() + 1; held.size() < left && !held.empty();) {
      left = held.size();
      if (decoder.Decode(held) >= 0)
        samples.insert(samples.end(), decoder.Last().begin(), decoder.Last().end());
      held.erase(held.begin(), held.end() - static_cast<std::ptrdiff_t>(decoder.Left()));
    }
  }
  ExpectTheOthers(samples);
}

// The bits of the pattern: syncword, ID, layer, profile, sampling frequency index.
INSTANTIATE_TEST_SUITE_P(All, DamagedFirstHeader,
                         testing::Values(std::pair{0, 0}, std::pair{0, 7}, std::pair{1, 3}, std::pair{1, 2},
                                         std::pair{1, 1}, std::pair{2, 7}, std::pair{2, 6}, std::pair{2, 5},
                                         std::pair{2, 4}, std::pair{2, 3}, std::pair{2, 2}));

TEST(DamagedLength, OfTheFirstFrameKeepsThatFrame) {
  const auto frames = Frames(Blocks(32, {{E::kCpe, 0}}, 6));
  const Samples expected = TestDecoder().DecodeAll(Join(frames));
  auto damaged = frames;
  damaged[0][4] = static_cast<std::uint8_t>(damaged[0][4] - 2);  // 16 bytes fewer
  EXPECT_EQ(expected, TestDecoder().DecodeAll(Join(damaged)));
}

TEST(BlocksOfAFrame, KeepsTheBlocksBeforeABadOne) {
  const auto blocks = Blocks(33, {{E::kCpe, 0}}, 5);
  const Bytes next = WrapAdts({blocks[4]}, {});
  for (const bool protect : {false, true}) {
    const Bytes frame = WrapAdts({blocks[0], blocks[1], blocks[2], blocks[3]}, {.protect = protect});
    const Samples expected = TestDecoder().DecodeAll(frame);
    ASSERT_EQ(4u * 2 * 1024, expected.size());
    Bytes damaged = frame;
    // The third block begins with a program of a reserved sampling frequency.
    const std::size_t header = protect ? 7 + 2 * 3 + 2 : 7;
    const std::size_t third = header + blocks[0].bytes.size() + blocks[1].bytes.size() + (protect ? 4 : 0);
    damaged[third] = 0xA0;
    damaged[third + 1] = 0xF8;
    TestDecoder decoder;
    ASSERT_EQ(4, decoder.Decode(damaged + next));
    EXPECT_EQ(Samples(expected.begin(), expected.begin() + 2 * 2 * 1024), decoder.Last());
    while (decoder.Left() > 0 && decoder.Decode() != 0) {
    }
    EXPECT_EQ(0u, decoder.Left());
    EXPECT_EQ(2u * 1024, decoder.Last().size());
  }
}

// Frames of one kind, followed by frames with more channels than the first kind may have.
struct Change {
  const char* name;
  std::vector<GeneratedElement> before, after;
  int headerBefore, headerAfter;  // channel configurations in the headers
};

class ChannelChange : public testing::TestWithParam<Change> {};

TEST_P(ChannelChange, ToMoreChannelsDecodesFromTheFirstFrame) {
  const Change& change = GetParam();
  const auto before = Frames(Blocks(34, change.before, 5), {.channelConfiguration = change.headerBefore});
  auto after = Frames(Blocks(35, change.after, 40), {.channelConfiguration = change.headerAfter});
  std::size_t channels = 0;
  for (const auto& element : change.before) channels += element.kind == E::kCpe ? 2 : 1;
  std::erase_if(after, [&](const Bytes& frame) { return frame.size() <= channels * 768 + 7; });
  ASSERT_GE(after.size(), 5u);

  TestDecoder alone;
  const Samples expected = alone.DecodeAll(Join(after));
  for (const bool reset : {false, true}) {
    TestDecoder decoder;
    for (const Bytes& frame : before) ASSERT_EQ(0, decoder.Decode(frame));
    if (reset) {
      ASSERT_EQ(0, decoder.Decoder().Reset());
    }
    EXPECT_EQ(expected, decoder.DecodeAll(Join(after)));
    EXPECT_EQ(0u, decoder.Left());
  }
}

const std::vector<GeneratedElement> kMono = {{E::kSce, 0}};
const std::vector<GeneratedElement> kStereo = {{E::kCpe, 0}};
const std::vector<GeneratedElement> kSurround = {{E::kSce, 0}, {E::kCpe, 0}, {E::kCpe, 1}, {E::kLfe, 0}};

INSTANTIATE_TEST_SUITE_P(All, ChannelChange,
                         testing::Values(Change{"MonoToStereo", kMono, kStereo, 1, 2},
                                         Change{"MonoToSurround", kMono, kSurround, 1, 6},
                                         Change{"StereoToSurround", kStereo, kSurround, 2, 6},
                                         // As the headers from a track are.
                                         Change{"MonoToSurroundAfterOneHeader", kMono, kSurround, 2, 2},
                                         Change{"StereoToSurroundAfterNoCount", kStereo, kSurround, 0, 0}),
                         [](const auto& change) { return change.param.name; });

TEST(FrameLength, BeyondThatOfItsElementsIsRejected) {
  const auto surround = Frames(Blocks(36, kSurround, 1), {.channelConfiguration = 6});
  const auto mono = Frames(Blocks(37, kMono, 2), {.channelConfiguration = 1});
  Bytes padded = mono[1] + Bytes(8191 - mono[1].size(), 0);
  const auto announce = [&](std::size_t length) {
    padded[3] = static_cast<std::uint8_t>((padded[3] & 0xFC) | length >> 11);
    padded[4] = static_cast<std::uint8_t>(length >> 3);
    padded[5] = static_cast<std::uint8_t>((padded[5] & 0x1F) | (length & 7) << 5);
    return padded;
  };
  for (const Bytes& first : {mono[0], surround[0]}) {
    TestDecoder decoder;
    ASSERT_EQ(0, decoder.Decode(first));
    EXPECT_EQ(-881, decoder.Decode(announce(768 + 7 + 1)));
    EXPECT_EQ(padded.size() - 3, decoder.Left());
    EXPECT_EQ(0, decoder.Decode(announce(768 + 7)));
  }
}

TEST(EmptyBlock, OfAStreamWithAnUnusedProgramKeepsTheLayoutBefore) {
  GeneratorOptions listed;
  listed.elements = {{E::kCpe, 5}};
  listed.writeProgram = true;
  const Bytes program = WrapAdts({AacGenerator(38, listed).NextBlock()}, {.channelConfiguration = 0});
  const auto frames = Frames(Blocks(39, {{E::kSce, 0}, {E::kSce, 1}}, 2), {.channelConfiguration = 0});
  const Bytes empty = WrapAdts({GeneratedBlock{{0xE0}, {}}}, {.channelConfiguration = 0}) + Bytes(4, 0);
  TestDecoder decoder;
  ASSERT_EQ(0, decoder.Decode(program));
  ASSERT_EQ(0, decoder.Decode(frames[0]));
  ASSERT_EQ(0, decoder.Decode(empty));
  // The overlap from the frame before is not lost.
  EXPECT_EQ(2u * 1024, decoder.Last().size());
  EXPECT_NE(Samples(2 * 1024), decoder.Last());
}

}  // namespace

}  // namespace fmp4
