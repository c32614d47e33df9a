// A frame far louder than any signal, whose levels overflow when they are squared or filtered, leaves no
// trace in the decoder: soon the output is the same as after a quiet frame in its place.
#include <gtest/gtest.h>

#include <memory>

#include "audio/umc/aac/core/codebooks.h"
#include "audio/umc/aac/core/huffman_codes.h"
#include "audio/umc/aac/raw_data_block.h"
#include "tests/audio/aac_generator.h"
#include "tests/audio/aac_streams.h"
#include "tests/audio/bit_writer.h"
#include "tests/support/places.h"

namespace fmp4 {

using namespace UMC;

namespace {

using namespace UMC::aac;

constexpr int kBands = 30;

// Levels of a frame: inaudible, beyond anything a stream may contain, and beyond what a number holds.
enum class Level { kQuiet, kLoud, kInfinite };

// An individual_channel_stream() of one long window, its bands either noise or lines that are all 1.
void WriteChannel(Level level, bool noise, int samplingIndex, BitWriter& bits) {
  const bool infinite = level == Level::kInfinite;
  bits.Write(level == Level::kQuiet ? 90 : 255, 8);  // global_gain
  bits.Write(0, 4);                                  // a long sine window
  bits.Write(kBands, 6);
  bits.Write(0, 1);  // predictor_data_present
  bits.Write(noise ? kNoiseCodebook : 1, 4);
  bits.Write(kBands, 5);
  if (noise) bits.Write(infinite ? 511 : level == Level::kLoud ? 360 : 256, 9);
  for (int band = noise ? 1 : 0; band < kBands; ++band) {
    const IppsVLCTable_32s& word = kScaleFactorCode[noise && infinite && band == 1 ? 120 : 60];
    bits.Write(static_cast<unsigned>(word.code), static_cast<unsigned>(word.length));
  }
  bits.Write(0, 1);                 // pulse_data_present
  bits.Write(infinite ? 1 : 0, 1);  // tns_data_present: a filter that rings as long as possible
  if (infinite) {
    bits.Write(0b011, 3);  // one filter, of the finer resolution
    bits.Write(kBands, 6);
    bits.Write(kMaxTnsOrderLong, 5);
    bits.Write(0, 2);
    for (int i = 0; i < kMaxTnsOrderLong; ++i) bits.Write(7, 4);
  }
  bits.Write(0, 1);  // gain_control_data_present
  if (noise) return;
  const IppsVLCTable_32s& ones = kSpectralCode1[80];
  for (int line = 0; line < BandsOf(samplingIndex, 1024).longWindow.offsets[kBands]; line += 4) {
    bits.Write(static_cast<unsigned>(ones.code), static_cast<unsigned>(ones.length));
  }
}

// The SBR payload in a fill element, taken from a frame's block.
void WritePayload(const Bytes& block, const SbrPayload& payload, BitWriter& bits) {
  if (payload.bits == 0) return;
  const std::uint32_t bytes = (payload.bits + 4) / 8;
  bits.Write(6, 3);
  bits.Write(std::min(bytes, 15u), 4);
  if (bytes >= 15) bits.Write(bytes - 14, 8);
  bits.Write(payload.hasCrc ? 14 : 13, 4);
  BitWindow source(block.data(), block.size());
  source.Seek(payload.position);
  for (std::uint32_t i = 0; i < payload.bits; ++i) bits.Write(source.Read(1), 1);
}

// A frame that replaces another one of a single element, with its header and payload.
Bytes Replacement(const Bytes& frame, int objectType, Level level, bool noise) {
  const int samplingIndex = frame[2] >> 2 & 15;
  const Bytes block(frame.begin() + 7, frame.end());
  BitWindow stream(block.data(), block.size());
  const auto parsed = std::make_unique<RawDataBlock>();
  EXPECT_EQ(BlockStatus::kOk, ParseRawDataBlock(stream, *SharedCodebooks(), BandsOf(samplingIndex, 1024),
                                                objectType, *parsed, nullptr));
  EXPECT_EQ(1, parsed->elementCount);

  BitWriter bits;
  const bool pair = parsed->channelCount == 2;
  bits.Write(pair ? 1 : 0, 3);
  bits.Write(parsed->elements[0].tag, 4);
  if (pair) bits.Write(0, 1);  // common_window
  for (int i = 0; i < parsed->channelCount; ++i) WriteChannel(level, noise, samplingIndex, bits);
  WritePayload(block, parsed->elements[0].sbr, bits);
  bits.Write(7, 3);
  bits.Align();
  return WrapAdts({{bits.Bytes(), {}}}, {.profile = objectType - 1,
                                         .samplingIndex = samplingIndex,
                                         .channelConfiguration = parsed->channelCount});
}

// Decodes the frames with one of them replaced, and returns how many frames after it the output still depends
// on its level.
int FramesToRecover(const std::vector<Bytes>& frames, int objectType, Level level, bool noise) {
  constexpr std::size_t kReplaced = 20;
  TestDecoder loud(0, 0), quiet(0, 0);
  int last = -1;
  for (std::size_t i = 0; i < frames.size(); ++i) {
    const bool replaced = i == kReplaced;
    const auto frame = [&](Level now) {
      return replaced ? Replacement(frames[i], objectType, now, noise) : frames[i];
    };
    EXPECT_EQ(0, loud.Decode(frame(level)));
    EXPECT_EQ(0, quiet.Decode(frame(Level::kQuiet)));
    EXPECT_EQ(quiet.Last().size(), loud.Last().size());
    if (quiet.Last() != loud.Last()) last = static_cast<int>(i) - static_cast<int>(kReplaced);
  }
  return last;
}

void ExpectToRecover(const std::vector<Bytes>& frames, int objectType, int atMost) {
  for (const Level level : {Level::kLoud, Level::kInfinite}) {
    for (const bool noise : {false, true}) {
      const int recovered = FramesToRecover(frames, objectType, level, noise);
      EXPECT_GE(recovered, 0) << "the frame was not loud";
      EXPECT_LE(recovered, atMost);
    }
  }
}

struct OverloadedStream {
  const char* name;
  int frames;  // until the rest of one before is inaudible
};

class OverloadedSample : public testing::TestWithParam<OverloadedStream> {};

TEST_P(OverloadedSample, Recovers) {
  const auto path = std::filesystem::path(VL_TEST_DATA) / GetParam().name;
  ExpectToRecover(SplitAdts(readFile(path)), kObjectLc, GetParam().frames);
}

INSTANTIATE_TEST_SUITE_P(All, OverloadedSample,
                         testing::Values(OverloadedStream{"lc_mono_16k.aac", 1},
                                         OverloadedStream{"he_v1_mono_48k.aac", 3},
                                         OverloadedStream{"he_v1_stereo_48k.aac", 3},
                                         OverloadedStream{"he_v2_48k.aac", 8}));

class OverloadedPrediction : public testing::TestWithParam<int> {};

TEST_P(OverloadedPrediction, RecoversAsPredictorsAreReset) {
  GeneratorOptions options;
  options.objectType = GetParam();
  options.elements = {{GeneratedElement::kCpe, 0}};
  AacGenerator generator(5, options);
  std::vector<Bytes> frames;
  for (int i = 0; i < 100; ++i) {
    frames.push_back(WrapAdts({generator.NextBlock()}, {.profile = GetParam() - 1}));
  }
  ExpectToRecover(frames, GetParam(), 10);
}

INSTANTIATE_TEST_SUITE_P(All, OverloadedPrediction, testing::Values(kObjectMain, kObjectLtp));

}  // namespace

}  // namespace fmp4
