// Whatever the bytes, a call ends with one of its statuses, and a good frame decodes again afterwards. Under
// the sanitizers this also shows that nothing outside the input is read.
#include <gtest/gtest.h>

#include <random>
#include <set>

#include "tests/audio/aac_generator.h"
#include "tests/audio/aac_streams.h"

namespace fmp4 {

namespace {

using E = GeneratedElement;

const std::set<UMC::Status> kStatuses = {0, 4, -879, -881, -896, -899, -996};

std::vector<Bytes> Frames(bool protect, int objectType = UMC::aac::kObjectLc) {
  GeneratorOptions options;
  options.objectType = objectType;
  options.elements = {{E::kSce, 0}, {E::kCpe, 0}, {E::kCce, 0}, {E::kLfe, 0}};
  options.noise = options.intensity = options.midSide = options.pulse = options.tns = options.otherElements =
      true;
  options.writeProgram = true;
  AacGenerator generator(9, options);
  std::vector<Bytes> frames;
  for (int i = 0; i < 10; ++i) {
    frames.push_back(WrapAdts({generator.NextBlock()},
                              {.profile = objectType - 1, .channelConfiguration = 0, .protect = protect}));
  }
  return frames;
}

// Decodes until nothing is left or nothing more is consumed.
void DecodeHostile(TestDecoder& decoder, const Bytes& bytes) {
  decoder.SetInput(bytes);
  for (std::size_t left = bytes.size() + 1; decoder.Left() < left && decoder.Left() > 0;) {
    left = decoder.Left();
    const UMC::Status status = decoder.Decode();
    ASSERT_TRUE(kStatuses.contains(status)) << status;
  }
}

void ExpectDecodesAgain(TestDecoder& decoder, const std::vector<Bytes>& good) {
  // The first good frame overlaps with the one before.
  ASSERT_EQ(0, decoder.Decode(good[0]));
  ASSERT_EQ(0, decoder.Decode(good[1]));
  TestDecoder fresh;
  fresh.Decode(good[0]);
  fresh.Decode(good[1]);
  EXPECT_EQ(fresh.Last(), decoder.Last());
}

TEST(BadInput, RandomBytes) {
  const auto good = Frames(false);
  std::mt19937 random(3);
  for (int i = 0; i < 300; ++i) {
    TestDecoder decoder;
    Bytes bytes(random() % 2000);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
    DecodeHostile(decoder, bytes);
    DecodeHostile(decoder, Bytes(good[0].begin(), good[0].begin() + 7) + bytes);
  }
}

TEST(BadInput, RandomBytesAfterAHeaderLeaveTheDecoderUsable) {
  const auto good = Frames(false);
  std::mt19937 random(4);
  TestDecoder decoder;
  ASSERT_EQ(0, decoder.Decode(good[0]));
  for (int i = 0; i < 300; ++i) {
    Bytes bytes = good[static_cast<std::size_t>(i % 10)];
    for (std::size_t at = 7 + random() % 40; at < bytes.size(); ++at)
      bytes[at] = static_cast<std::uint8_t>(random());
    DecodeHostile(decoder, bytes);
  }
  ASSERT_EQ(0, decoder.Decode(good[0]));
  ExpectDecodesAgain(decoder, good);
}

TEST(BadInput, EveryTruncationOfAGoodFrame) {
  const auto good = Frames(true);
  for (std::size_t size = 1; size < good[2].size(); ++size) {
    TestDecoder decoder;
    ASSERT_EQ(0, decoder.Decode(good[0]));
    ASSERT_EQ(-996,
              decoder.Decode(Bytes(good[2].begin(), good[2].begin() + static_cast<std::ptrdiff_t>(size))));
    ASSERT_EQ(size, decoder.Left());
    // The same with a header that states that length.
    Bytes cut(good[2].begin(), good[2].begin() + static_cast<std::ptrdiff_t>(size));
    if (size < 9) continue;
    cut[3] = static_cast<std::uint8_t>((cut[3] & 0xFC) | size >> 11);
    cut[4] = static_cast<std::uint8_t>(size >> 3);
    cut[5] = static_cast<std::uint8_t>((cut[5] & 0x1F) | (size & 7) << 5);
    const UMC::Status status = decoder.Decode(cut);
    ASSERT_TRUE(status == -896 || status == -881) << status;
    ASSERT_EQ(size - 3, decoder.Left());
  }
}

TEST(BadInput, BitFlipsInEveryByteOfTenFrames) {
  const auto good = Frames(false);
  TestDecoder decoder;
  ASSERT_EQ(0, decoder.Decode(good[0]));
  for (const Bytes& frame : good) {
    for (std::size_t at = 0; at < frame.size(); ++at) {
      Bytes bytes = frame;
      bytes[at] = static_cast<std::uint8_t>(bytes[at] ^ 1 << at % 8);
      DecodeHostile(decoder, bytes);
    }
  }
  ASSERT_EQ(0, decoder.Decode(good[0]));
  ExpectDecodesAgain(decoder, good);
}

TEST(BadInput, BitFlipsInFramesOfEveryObjectType) {
  for (int objectType = UMC::aac::kObjectMain; objectType <= UMC::aac::kObjectLtp; ++objectType) {
    SCOPED_TRACE(objectType);
    for (const Bytes& frame : Frames(false, objectType)) {
      TestDecoder decoder;
      ASSERT_EQ(0, decoder.Decode(frame));
      for (std::size_t at = 0; at < frame.size(); at += 7) {
        Bytes bytes = frame;
        bytes[at] = static_cast<std::uint8_t>(bytes[at] ^ 1 << at / 7 % 8);
        DecodeHostile(decoder, bytes);
      }
    }
  }
}

TEST(BadInput, AnnouncedLengthsBeyondTheInput) {
  const auto good = Frames(false);
  for (std::size_t length = 0; length < 8192; length += 61) {
    TestDecoder decoder;
    Bytes frame = good[0];
    frame[3] = static_cast<std::uint8_t>((frame[3] & 0xFC) | length >> 11);
    frame[4] = static_cast<std::uint8_t>(length >> 3);
    frame[5] = static_cast<std::uint8_t>((frame[5] & 0x1F) | (length & 7) << 5);
    // A length beyond that of four channels and a coupling channel is not a frame of this stream.
    const bool tooLong = length > 7 + 5 * 768;
    EXPECT_EQ(tooLong ? -881 : length > frame.size() ? -996 : 0, decoder.Decode(frame)) << length;
  }
}

TEST(BadInput, ChannelCountChangesInMidStream) {
  const std::vector<std::vector<GeneratedElement>> layouts = {
      {{E::kSce, 0}},
      {{E::kCpe, 0}},
      {{E::kSce, 0}, {E::kCpe, 0}, {E::kCpe, 1}, {E::kLfe, 0}},
      {{E::kCpe, 0}},
      {{E::kSce, 0}, {E::kSce, 1}, {E::kCpe, 0}, {E::kSce, 2}},
      {{E::kSce, 0}}};
  const std::size_t channels[] = {1, 2, 6, 2, 5, 1};
  TestDecoder decoder, stereo(2);
  for (std::size_t i = 0; i < layouts.size(); ++i) {
    GeneratorOptions options;
    options.elements = layouts[i];
    const Bytes frame = WrapAdts({AacGenerator(static_cast<unsigned>(i), options).NextBlock()}, {});
    ASSERT_EQ(0, decoder.Decode(frame));
    EXPECT_EQ(channels[i] * 1024, decoder.Last().size());
    ASSERT_EQ(0, stereo.Decode(frame));
    EXPECT_EQ(2048u, stereo.Last().size());
  }
}

TEST(BadInput, RateChangesInMidStreamAreNotThisStreamsFrames) {
  GeneratorOptions options;
  options.elements = {{E::kCpe, 0}};
  AacGenerator generator(1, options);
  const GeneratedBlock block = generator.NextBlock();
  TestDecoder decoder;
  for (int i = 0; i < 2; ++i) ASSERT_EQ(0, decoder.Decode(WrapAdts({block}, {.samplingIndex = 3})));
  const Bytes other = WrapAdts({block}, {.samplingIndex = 4});
  EXPECT_EQ(-996, decoder.Decode(other));
  EXPECT_EQ(2u, decoder.Left());
  EXPECT_EQ(0, decoder.Decode(other + WrapAdts({block}, {.samplingIndex = 3})));
}

TEST(BadInput, TagsThatAreNotInTheProgram) {
  GeneratorOptions listed, other;
  listed.elements = {{E::kSce, 0}, {E::kCpe, 0}};
  listed.writeProgram = true;
  other.elements = {{E::kSce, 3}, {E::kCpe, 5}};
  TestDecoder decoder;
  ASSERT_EQ(0, decoder.Decode(WrapAdts({AacGenerator(1, listed).NextBlock()}, {.channelConfiguration = 0})));
  const Bytes frame = WrapAdts({AacGenerator(2, other).NextBlock()}, {.channelConfiguration = 0});
  ASSERT_EQ(0, decoder.Decode(frame));
  EXPECT_EQ(3u * 1024, decoder.Last().size());
}

TEST(BadInput, TooManyChannels) {
  GeneratorOptions options;
  for (int i = 0; i < 5; ++i) options.elements.push_back({E::kCpe, i});
  AacGenerator generator(1, options);
  TestDecoder decoder;
  EXPECT_EQ(-881, decoder.Decode(WrapAdts({generator.NextBlock()}, {.channelConfiguration = 0})));
}

TEST(BadInput, ABlockWithoutChannels) {
  const GeneratedBlock empty{{0xE0}, {}};
  TestDecoder decoder;
  EXPECT_EQ(-996, decoder.Decode(WrapAdts({empty}, {}))) << "shorter than any frame";
  EXPECT_EQ(-881, decoder.Decode(WrapAdts({empty}, {}) + Bytes(4, 0)));
  const auto good = Frames(false);
  ASSERT_EQ(0, decoder.Decode(good[0]));
  const std::size_t samples = decoder.Last().size();
  EXPECT_EQ(0, decoder.Decode(WrapAdts({empty}, {.channelConfiguration = 0}) + Bytes(4, 0)));
  EXPECT_EQ(samples, decoder.Last().size());
}

}  // namespace

}  // namespace fmp4
