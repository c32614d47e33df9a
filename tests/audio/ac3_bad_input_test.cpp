// Damaged frames: each is 1536 PCM frames of silence, and the decoder continues. Whatever the bytes, a call
// ends with one of its statuses. Under the sanitizers this also shows that nothing outside the input is read.
#include <gtest/gtest.h>

#include <random>
#include <set>

#include "tests/audio/ac3_checksums.h"
#include "tests/audio/ac3_generator.h"
#include "tests/audio/ac3_streams.h"

namespace fmp4 {

namespace {

const std::set<UMC::Status> kStatuses = {0, 4, -879, -996};

std::vector<Bytes> Frames(int count, int sizeCode = 20) {
  Ac3GeneratorOptions options;
  options.sizeCode = sizeCode;
  Ac3Generator generator(7, options);
  generator.NextFrame();  // silent
  std::vector<Bytes> frames;
  for (int i = 0; i < count; ++i) frames.push_back(generator.NextFrame());
  return frames;
}

const Samples kSilence(2 * kAc3FrameSamples, 0);

// The statuses of all frames in a stream up to the first error.
std::vector<UMC::Status> Statuses(const Bytes& stream) {
  TestAc3Decoder decoder;
  std::vector<UMC::Status> statuses;
  decoder.SetInput(stream);
  for (UMC::Status status = decoder.Decode(); status >= 0; status = decoder.Decode()) {
    EXPECT_EQ(2 * kAc3FrameSamples, decoder.Last().size());
    if (status == 4) {
      EXPECT_EQ(kSilence, decoder.Last());
    }
    statuses.push_back(status);
  }
  EXPECT_EQ(0u, decoder.Left());
  return statuses;
}

const std::vector<UMC::Status> kOneDamaged = {0, 4, 0, 0};

TEST(Ac3BadInput, EveryBitFlipIsDetected) {
  auto frames = Frames(4, 0);
  // The LFE channel and the modes do not matter here: all bytes except the sync information, whose damage may
  // look like another size or version.
  for (std::size_t at = 6; at < frames[1].size(); ++at) {
    frames[1][at] ^= static_cast<std::uint8_t>(1 << at % 8);
    ASSERT_EQ(kOneDamaged, Statuses(Joined(frames))) << at;
    frames[1][at] ^= static_cast<std::uint8_t>(1 << at % 8);
  }
}

TEST(Ac3BadInput, WrongChecksums) {
  for (const std::size_t fromEnd : {0u, 1u}) {
    auto frames = Frames(4);
    frames[1][frames[1].size() - 1 - fromEnd] ^= 0x40;  // crc2
    EXPECT_EQ(kOneDamaged, Statuses(Joined(frames)));
    frames = Frames(4);
    frames[1][2 + fromEnd] ^= 0x40;  // crc1
    EXPECT_EQ(kOneDamaged, Statuses(Joined(frames)));
  }
}

TEST(Ac3BadInput, FrameSizeCodesOutOfRange) {
  for (int code = 0; code < 256; ++code) {
    if ((code & 0x3F) < 38 && code >> 6 != 3) continue;
    auto frames = Frames(4);
    frames[1][4] = static_cast<std::uint8_t>(code);
    EXPECT_EQ(kOneDamaged, Statuses(Joined(frames))) << code;
    TestAc3Decoder alone;
    EXPECT_EQ(4, alone.Decode(frames[1]));
    EXPECT_EQ(kSilence, alone.Last());
    EXPECT_EQ(0u, alone.Left());
  }
}

TEST(Ac3BadInput, FrameSizesOtherThanTheFramesOwn) {
  for (const int code : {0, 12, 19, 21, 22, 30}) {
    auto frames = Frames(4);
    frames[1][4] = static_cast<std::uint8_t>(code);
    EXPECT_EQ(kOneDamaged, Statuses(Joined(frames))) << code;
  }
}

TEST(Ac3BadInput, DamagedSyncWords) {
  for (const std::size_t at : {0u, 1u}) {
    auto frames = Frames(4);
    frames[1][at] ^= 8;
    EXPECT_EQ(kOneDamaged, Statuses(Joined(frames)));
  }
}

TEST(Ac3BadInput, EveryTruncationOfAFrame) {
  const auto frames = Frames(4, 0);
  for (std::size_t size = 6; size < frames[1].size(); ++size) {
    Bytes cut = frames[1];
    cut.resize(size);
    EXPECT_EQ(kOneDamaged, Statuses(frames[0] + cut + frames[2] + frames[3])) << size;
    TestAc3Decoder alone;
    EXPECT_EQ(-996, alone.Decode(cut));
    EXPECT_EQ(size, alone.Left());
  }
}

// The frame's own size counts at the end of the input, even if something inside the frame looks like a sync
// word.
TEST(Ac3BadInput, ADamagedLastFrameIsConsumedCompletely) {
  auto frames = Frames(2);
  const std::uint8_t imposter[] = {0x0B, 0x77, 0, 0, 20, 8 << 3};
  std::copy(std::begin(imposter), std::end(imposter), frames[0].begin() + 100);
  TestAc3Decoder decoder;
  EXPECT_EQ(4, decoder.Decode(frames[0]));
  EXPECT_EQ(0u, decoder.Left());
  EXPECT_EQ(0, decoder.Decode(frames[1]));
  EXPECT_EQ(0u, decoder.Left());
}

TEST(Ac3BadInput, AnyBytesAfterTheHeaderUnderValidChecksums) {
  std::mt19937 random(3);
  const auto frames = Frames(3);
  int damaged = 0;
  TestAc3Decoder decoder;
  for (int i = 0; i < 2000; ++i) {
    Bytes frame = frames[0];
    for (std::size_t at = 6 + random() % 60; at < frame.size(); ++at)
      frame[at] = static_cast<std::uint8_t>(random());
    SetAc3Checksums(frame.data(), frame.size());
    const UMC::Status status = decoder.Decode(frame);
    ASSERT_TRUE(status == 0 || status == 4) << status;
    ASSERT_EQ(2 * kAc3FrameSamples, decoder.Last().size());
    ASSERT_EQ(0u, decoder.Left());
    if (status != 4) continue;
    ++damaged;
    ASSERT_EQ(kSilence, decoder.Last());
  }
  EXPECT_GT(damaged, 1000);
  // After a damaged frame it continues as from the start.
  Bytes wrong = frames[0];
  wrong[50] ^= 1;
  ASSERT_EQ(4, decoder.Decode(wrong));
  TestAc3Decoder fresh;
  ASSERT_EQ(0, decoder.Decode(frames[1]));
  ASSERT_EQ(0, fresh.Decode(frames[1]));
  EXPECT_EQ(fresh.Last(), decoder.Last());
}

TEST(Ac3BadInput, RandomBytes) {
  std::mt19937 random(4);
  for (int i = 0; i < 500; ++i) {
    Bytes bytes(random() % 4000);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
    if (bytes.size() > 2 && i % 2 == 0) {
      bytes[0] = 0x0B;
      bytes[1] = 0x77;
    }
    if (bytes.empty()) continue;
    TestAc3Decoder decoder;
    decoder.SetInput(bytes);
    for (std::size_t left = bytes.size() + 1; decoder.Left() < left && decoder.Left() > 0;) {
      left = decoder.Left();
      const UMC::Status status = decoder.Decode();
      ASSERT_TRUE(kStatuses.contains(status)) << status;
    }
  }
}

TEST(Ac3BadInput, FormatChangesInMidStream) {
  TestAc3Decoder decoder;
  for (int i = 0; i < 60; ++i) {
    Ac3GeneratorOptions options;
    options.mode = i * 5 % 8;
    options.lfe = i % 3 == 0;
    options.frequencyCode = i % 3;
    options.sizeCode = i * 7 % 38;
    options.version = i % 11;
    Ac3Generator generator(static_cast<unsigned>(i), options);
    generator.NextFrame();
    ASSERT_EQ(0, decoder.Decode(generator.NextFrame())) << i;
    ASSERT_EQ(2 * kAc3FrameSamples, decoder.Last().size());
  }
}

}  // namespace

}  // namespace fmp4
