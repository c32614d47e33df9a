// The tools alone, against their definitions.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <random>

#include "bit_allocation.h"
#include "bit_writer.h"
#include "crc.h"
#include "downmix.h"
#include "dynamic_range.h"
#include "exponents.h"
#include "mdct_windows.h"
#include "sync_frame.h"
#include "transform.h"

namespace {

using namespace UMC::ac3;

TEST(Ac3Crc, IsTheRemainderOfTheBits) {
  std::mt19937 random(1);
  for (std::size_t size = 0; size < 70; ++size) {
    std::vector<std::uint8_t> bytes(size);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
    unsigned remainder = 0;
    for (const unsigned byte : bytes) {
      for (int bit = 7; bit >= 0; --bit) {
        const unsigned feedback = (remainder >> 15 ^ byte >> bit) & 1;
        remainder = (remainder << 1 & 0xFFFF) ^ (feedback != 0 ? 0x8005 : 0);
      }
    }
    EXPECT_EQ(remainder, CrcRemainder(bytes.data(), size)) << size;
  }
}

TEST(Ac3SyncInfo, TellsTheFrameSizesOfTheStandard) {
  const auto bytes = [](int frequencyCode, int sizeCode) {
    const std::uint8_t header[6] = {
        0x0B, 0x77, 0, 0, static_cast<std::uint8_t>(frequencyCode << 6 | sizeCode), 8 << 3};
    SyncInfo info{};
    EXPECT_EQ(SyncStatus::kOk, ParseSyncInfo(header, info));
    return info.bytes;
  };
  EXPECT_EQ(128u, bytes(0, 0));
  EXPECT_EQ(138u, bytes(1, 0));
  EXPECT_EQ(140u, bytes(1, 1));
  EXPECT_EQ(192u, bytes(2, 1));
  EXPECT_EQ(1792u, bytes(0, 30));
  EXPECT_EQ(2 * 975u, bytes(1, 30));
  EXPECT_EQ(2 * 976u, bytes(1, 31));
  EXPECT_EQ(2 * 1393u, bytes(1, 36));
  EXPECT_EQ(2 * 1394u, bytes(1, 37));
  EXPECT_EQ(2 * 1920u, bytes(2, 37));
}

TEST(Ac3DynamicRange, HasTheStandardsGains) {
  const std::pair<int, double> gains[] = {{0, 1.0},    {1, 1.03125},     {31, 1.96875}, {32, 2.0},
                                          {95, 7.875}, {127, 15.75},     {128, 0.0625}, {160, 0.125},
                                          {192, 0.25}, {223, 0.4921875}, {224, 0.5},    {255, 0.984375}};
  for (const auto& [word, gain] : gains) {
    EXPECT_EQ(gain, static_cast<double>(DynamicRangeGain(static_cast<std::uint8_t>(word)))) << word;
  }
}

TEST(Ac3Exponents, AddUpDifferencesForOneTwoOrFourBins) {
  const int bins[4] = {0, 1, 2, 4};
  for (int strategy = 1; strategy <= 3; ++strategy) {
    BitWriter bits;
    bits.Write(10, 4);
    bits.Write(4 * 25 + 0 * 5 + 3, 7);  // 2, -2, 1
    bits.Write(62, 7);                  // 0, 0, 0
    std::uint8_t exponents[256] = {};
    BitWindow stream(bits.Bytes().data(), bits.Bytes().size());
    const int step = bins[strategy];
    ASSERT_TRUE(ParseExponents(stream, static_cast<ExponentStrategy>(strategy), 1 + 6 * step, exponents));
    const int expected[7] = {10, 12, 10, 11, 11, 11, 11};
    for (int i = 0; i <= 6 * step; ++i) {
      EXPECT_EQ(expected[i == 0 ? 0 : (i - 1) / step + 1], exponents[i]) << strategy << " " << i;
    }
    EXPECT_EQ(18u, stream.Position());
  }
}

TEST(Ac3Exponents, RefuseWhatLiesOutside) {
  const auto parse = [](int first, int group) {
    BitWriter bits;
    bits.Write(static_cast<unsigned>(first), 4);
    for (int i = 0; i < 10; ++i) bits.Write(static_cast<unsigned>(group), 7);
    std::uint8_t exponents[256];
    BitWindow stream(bits.Bytes().data(), bits.Bytes().size());
    return ParseExponents(stream, ExponentStrategy::kD15, 7, exponents);
  };
  EXPECT_TRUE(parse(6, 0 * 25 + 1 * 5 + 2));  // down by 3, twice
  EXPECT_FALSE(parse(5, 0 * 25 + 1 * 5 + 2));
  EXPECT_TRUE(parse(12, 124));  // up by 6, twice
  EXPECT_FALSE(parse(13, 124));
  EXPECT_FALSE(parse(10, 125));
  EXPECT_FALSE(parse(10, 127));
}

TEST(Ac3BitAllocation, RefusesDeltaSegmentsBeyondTheBands) {
  std::uint8_t exponents[256] = {}, pointers[256];
  SharedAllocation shared{};
  ChannelAllocation own{};
  own.hasDelta = true;
  own.delta.count = 2;
  own.delta.offset[0] = 31;
  own.delta.length[0] = 4;
  own.delta.offset[1] = 10;
  own.delta.length[1] = 5;
  const auto allocate = [&] {
    return AllocateBits(AllocationKind::kFull, 0, 73, exponents, shared, own, 0, 0, pointers);
  };
  EXPECT_TRUE(allocate());
  own.delta.length[1] = 6;
  EXPECT_FALSE(allocate());
  own.hasDelta = false;
  EXPECT_TRUE(allocate());
}

TEST(Ac3Downmix, IsLoRoWithTheStreamsLevels) {
  BitStreamInformation info{};
  info.mode = 7;
  info.lfe = true;
  info.centreLevel = 0.5f;
  info.surroundLevel = 0.25f;
  const Downmix mix = MakeDownmix(info, 0, false);
  ASSERT_EQ(2, mix.outputs);
  const double left[6] = {1, 0.5, 0, 0.25, 0, 0}, right[6] = {0, 0.5, 1, 0, 0.25, 0};
  for (std::size_t i = 0; i < 6; ++i) {
    EXPECT_NEAR(left[i] / 1.75, static_cast<double>(mix.gains[0][i]), 1e-6);
    EXPECT_NEAR(right[i] / 1.75, static_cast<double>(mix.gains[1][i]), 1e-6);
  }
}

TEST(Ac3Downmix, NeverExceedsFullScaleAndUsesIt) {
  for (int streamMode = 0; streamMode < 8; ++streamMode) {
    for (int mode = 0; mode < 8; ++mode) {
      BitStreamInformation info{};
      info.mode = static_cast<std::uint8_t>(streamMode);
      info.lfe = true;
      info.centreLevel = info.surroundLevel = 0.7071f;
      const Downmix mix = MakeDownmix(info, mode, true);
      EXPECT_EQ(kFullChannels[mode] + 1, mix.outputs);
      float largest = 0;
      for (const auto& gains : mix.gains) {
        float sum = 0;
        for (const float gain : gains) sum += gain;
        largest = std::max(largest, sum);
      }
      EXPECT_NEAR(1, static_cast<double>(largest), 1e-6) << streamMode << " to " << mode;
      for (int channel = 0; channel < info.FullChannels(); ++channel) {
        float heard = 0;
        for (const auto& gains : mix.gains) heard += gains[channel];
        EXPECT_GT(heard, 0) << "channel " << channel << " of " << streamMode << " in " << mode;
      }
    }
  }
}

// The transforms' defining sums (ATSC A/52, 7.9.4), not windowed, twice as large as overlapped, for a full
// scale of 32768.
std::vector<double> Direct(const std::vector<float>& coefficients, bool switched) {
  constexpr double kPi = std::numbers::pi;
  std::vector<double> samples(512);
  for (int n = 0; n < 512; ++n) {
    double sum = 0;
    for (int k = 0; k < (switched ? 128 : 256); ++k) {
      const int odd = 2 * k + 1;
      if (!switched) {
        sum += static_cast<double>(coefficients[static_cast<std::size_t>(k)]) *
               std::cos(kPi / 1024 * (2 * n + 1) * odd + kPi / 4 * odd);
      } else if (n < 256) {
        sum += static_cast<double>(coefficients[static_cast<std::size_t>(2 * k)]) *
               std::cos(kPi / 512 * (2 * n + 1) * odd);
      } else {
        sum += static_cast<double>(coefficients[static_cast<std::size_t>(2 * k + 1)]) *
               std::cos(kPi / 512 * (2 * (n - 256) + 1) * odd + kPi / 2 * odd);
      }
    }
    samples[static_cast<std::size_t>(n)] = -2 * 32768 * sum;
  }
  return samples;
}

TEST(Ac3Transform, IsTheDefiningSumOverlapped) {
  std::mt19937 random(5);
  std::uniform_real_distribution<float> uniform(-0.01f, 0.01f);
  std::vector<float> window(256);
  UMC::MakeKaiserBesselWindow(256, 5, window.data());
  EXPECT_NEAR(0.000135992221, window[0], 1e-9);
  Overlap overlap{};
  TransformScratch scratch;
  std::vector<double> tail(256, 0.0);
  // Long, short, both at a time, long.
  const std::array<std::array<bool, 2>, 5> kinds = {
      {{true, false}, {false, true}, {true, true}, {true, false}, {false, false}}};
  for (const auto& [plain, switched] : kinds) {
    std::vector<float> first(256), second(256), samples(256);
    for (float& value : first) value = plain ? uniform(random) : 0;
    for (float& value : second) value = switched ? uniform(random) : 0;
    SynthesiseBlock(*SharedTransforms(), plain ? first.data() : nullptr, switched ? second.data() : nullptr,
                    overlap, scratch, samples.data());
    const auto a = Direct(first, false), b = Direct(second, true);
    for (std::size_t n = 0; n < 256; ++n) {
      const double rise = static_cast<double>(window[n]), fall = static_cast<double>(window[255 - n]);
      EXPECT_NEAR((a[n] + b[n]) * rise + tail[n] * fall, static_cast<double>(samples[n]), 0.05);
      tail[n] = a[256 + n] + b[256 + n];
    }
  }
}

}  // namespace
