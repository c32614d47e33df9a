// The tools one by one, against their definitions.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <memory>
#include <numbers>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "audio/umc/ac3/audio_block.h"
#include "audio/umc/ac3/bit_allocation.h"
#include "audio/umc/ac3/crc.h"
#include "audio/umc/ac3/downmix.h"
#include "audio/umc/ac3/dynamic_range.h"
#include "audio/umc/ac3/exponents.h"
#include "audio/umc/ac3/mantissas.h"
#include "audio/umc/ac3/sync_frame.h"
#include "audio/umc/ac3/transform.h"
#include "audio/umc/mdct_windows.h"
#include "tests/audio/bit_writer.h"

namespace fmp4 {

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

// Overlapping parts, as a search for frames at every other byte needs them.
TEST(Ac3Crc, ReadsTheBytesOnceHoweverManyPartsAreRequested) {
  std::mt19937 random(2);
  std::vector<std::uint8_t> bytes(20000);
  for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
  PassingCrc crc(bytes.data());
  std::size_t furthest = 0;
  constexpr std::size_t kFirst = 5000, kMaxFrame = 3840;
  for (std::size_t start = kFirst; start + kMaxFrame <= bytes.size(); start += 2) {
    const std::size_t size = random() % (kMaxFrame - 4) + 4, middle = start + size * 5 / 8;
    ASSERT_EQ(CrcRemainder(&bytes[start], middle - start), crc.Remainder(start, middle)) << start;
    ASSERT_EQ(CrcRemainder(&bytes[middle], start + size - middle), crc.Remainder(middle, start + size));
    furthest = std::max(furthest, start + size);
    if (start == 12000) start += 4000;  // no search in between
  }
  EXPECT_LE(crc.Passed(), furthest - kFirst);
  EXPECT_GT(crc.Passed(), 10000u);
}

TEST(Ac3SyncInfo, HasTheFrameSizesOfTheStandard) {
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

// bsi() of a mode with one programme. `alternate`: xbsi1, if present.
BitStreamInformation ParseInformation(int version, int mode, int centre, int surround,
                                      std::optional<std::uint32_t> alternate = {}) {
  BitWriter bits;
  bits.Write(static_cast<unsigned>(version), 5);
  bits.Write(5, 3);  // bsmod
  bits.Write(static_cast<unsigned>(mode), 3);
  if ((mode & 1) != 0 && mode != 1) bits.Write(static_cast<unsigned>(centre), 2);
  if ((mode & 4) != 0) bits.Write(static_cast<unsigned>(surround), 2);
  if (mode == 2) bits.Write(2, 2);   // dsurmod
  bits.Write(1, 1);                  // lfeon
  bits.Write(27, 5);                 // dialnorm
  bits.Write(0, 3);                  // compre, langcode, audprodie
  bits.Write(0, 2);                  // copyrightb, origbs
  bits.Write(alternate ? 1 : 0, 1);  // timecod1e or xbsi1e
  if (alternate) bits.Write(*alternate, 14);
  bits.Write(0, 2);  // timecod2e, addbsie
  const std::size_t size = bits.Bits();
  bits.Write(0, 32);
  BitWindow stream(bits.Bytes().data(), bits.Bytes().size());
  const BitStreamInformation info = ParseBitStreamInformation(stream);
  EXPECT_EQ(size, stream.Position());
  return info;
}

TEST(Ac3Information, KeepsTheStreamsInformation) {
  const BitStreamInformation surround = ParseInformation(8, 7, 0, 0);
  EXPECT_EQ(8, surround.version);
  EXPECT_EQ(5, surround.serviceType);
  EXPECT_EQ(7, surround.mode);
  EXPECT_TRUE(surround.lfe);
  EXPECT_EQ(0, surround.surroundMode);
  EXPECT_EQ(27, surround.dialogueLevels[0]);
  EXPECT_EQ(0, surround.dialogueLevels[1]);
  EXPECT_EQ(2, ParseInformation(8, 2, 0, 0).surroundMode);
}

TEST(Ac3Information, HasTheLevelsOfTheDownMix) {
  // Reserved codes mean the level between (ATSC A/52, 5.4.2.4 and 5.4.2.5).
  const double centres[4] = {0.707107, 0.594604, 0.5, 0.594604}, surrounds[4] = {0.707107, 0.5, 0, 0.5};
  for (int code = 0; code < 4; ++code) {
    for (int mode = 0; mode < 8; ++mode) {
      if (mode == 0) continue;  // two programmes
      const BitStreamInformation info = ParseInformation(8, mode, code, code, 0x3FFF);
      const bool hasCentre = mode == 3 || mode == 5 || mode == 7, hasSurround = mode >= 4;
      EXPECT_NEAR(hasCentre ? centres[code] : 0, info.centreLevel, 1e-6) << mode;
      EXPECT_NEAR(hasSurround ? surrounds[code] : 0, info.surroundLevel, 1e-6) << mode;
    }
  }
}

TEST(Ac3Information, TakesTheLevelsOfTheAlternateSyntax) {
  const double levels[8] = {1.414214, 1.189207, 1, 0.840896, 0.707107, 0.594604, 0.5, 0};
  for (unsigned code = 0; code < 8; ++code) {
    // Lt/Rt levels, which do not count here, differ.
    const std::uint32_t xbsi1 = 2u << 12 | (7 - code) << 9 | (7 - code) << 6 | code << 3 | code;
    const BitStreamInformation info = ParseInformation(6, 7, 0, 0, xbsi1);
    EXPECT_NEAR(levels[code], info.centreLevel, 1e-6);
    EXPECT_NEAR(levels[std::max(code, 3u)], info.surroundLevel, 1e-6);
    EXPECT_NEAR(0, ParseInformation(6, 4, 0, 0, xbsi1).centreLevel, 1e-6) << "there is no centre";
    EXPECT_NEAR(0, ParseInformation(6, 3, 0, 0, xbsi1).surroundLevel, 1e-6) << "there is no surround";
    EXPECT_NEAR(0.707107, ParseInformation(8, 7, 0, 0, xbsi1).centreLevel, 1e-6) << "a time code";
  }
  EXPECT_NEAR(0.594604, ParseInformation(6, 7, 1, 1).centreLevel, 1e-6) << "without xbsi1";
}

TEST(Ac3Mantissas, RejectCodesBeyondEveryGroup) {
  struct Group {
    std::uint8_t pointer;
    unsigned bits, codes, size;
  };
  for (const Group& group : {Group{1, 5, 27, 3}, Group{2, 7, 125, 3}, Group{4, 7, 121, 2}}) {
    for (const bool isPartial : {false, true}) {  // a group of which one mantissa is used
      auto channel = std::make_unique<CodedChannel>();
      channel->start = 0;
      channel->end = static_cast<std::int16_t>(isPartial ? 1 : group.size);
      std::fill_n(channel->pointers, group.size, group.pointer);
      SortMantissas(*channel);
      const auto read = [&](unsigned code) {
        BitWriter bits;
        bits.Write(code, group.bits);
        bits.Write(0, 64);
        BitWindow stream(bits.Bytes().data(), bits.Bytes().size());
        float mantissas[kBins];
        return MantissaReader(stream).Read(*channel, mantissas);
      };
      EXPECT_TRUE(read(group.codes - 1)) << group.codes;
      EXPECT_FALSE(read(group.codes)) << group.codes;
    }
  }
}

TEST(Ac3Coupling, HasCoordinatesWithoutAHiddenBitInTheLastOctave) {
  BitStreamInformation info{};
  info.mode = kStereo;
  CouplingStrategy strategy{};
  strategy.inUse = true;
  strategy.coupled[0] = true;
  strategy.bandCount = 4;
  CouplingCoordinates coordinates{};
  BitWriter bits;
  bits.Write(1, 1);  // cplcoe
  bits.Write(1, 2);  // mstrcplco
  for (const auto& [exponent, mantissa] : {std::pair{15u, 0u}, {15u, 15u}, {14u, 0u}, {0u, 15u}}) {
    bits.Write(exponent, 4);
    bits.Write(mantissa, 4);
  }
  BitWindow stream(bits.Bytes().data(), bits.Bytes().size());
  ASSERT_TRUE(ParseCouplingCoordinates(stream, info, strategy, coordinates));
  const float* factors = coordinates.factors[0];
  EXPECT_EQ(0, factors[0]);
  EXPECT_EQ(8 * 15.0f / 16 * 0x1p-18f, factors[1]);  // mantissa / 16 * 2^-(15 + 3)
  EXPECT_EQ(8 * 0.5f * 0x1p-17f, factors[2]);        // (mantissa + 16) / 32 * 2^-(14 + 3)
  EXPECT_EQ(8 * 31.0f / 32 * 0x1p-3f, factors[3]);
}

// One block of 2/0 up to its mantissas, everything sent anew; with both channels coupled, or neither.
void WriteSideInformation(bool isCoupled, bool hasLeak, BitWriter& bits) {
  constexpr unsigned kNoDifferences = 62;  // of a group of three exponents
  bits.Write(0, 2 + 2 + 1);                // blksw, dithflag, dynrnge
  bits.Write(1, 1);                        // cplstre
  bits.Write(isCoupled ? 1 : 0, 1);        // cplinu
  if (isCoupled) {
    bits.Write(3, 2);  // chincpl
    bits.Write(0, 1);  // phsflginu
    bits.Write(8, 4);  // cplbegf
    bits.Write(6, 4);  // cplendf: one sub-band
    for (int channel = 0; channel < 2; ++channel) bits.Write(1u << 10, 1 + 2 + 4 + 4);  // cplcoe, coordinate
  }
  bits.Write(1u << 4, 1 + 4);                      // rematstr, rematflg
  bits.Write(0x15, isCoupled ? 6 : 4);             // cplexpstr, chexpstr: D15
  if (!isCoupled) bits.Write(20u << 6 | 20u, 12);  // chbwcod: 133 bins, as many as below coupling
  if (isCoupled) {
    bits.Write(5, 4);  // cplabsexp
    for (int group = 0; group < 4; ++group) bits.Write(kNoDifferences, 7);
  }
  for (int channel = 0; channel < 2; ++channel) {
    bits.Write(10, 4);
    for (int group = 0; group < 44; ++group) bits.Write(kNoDifferences, 7);
    bits.Write(0, 2);  // gainrng
  }
  bits.Write(1u << 11, 12);                                          // baie, parameters
  bits.Write(1, 1);                                                  // snroffste
  bits.Write(0, 6 + (isCoupled ? 3 : 2) * 7);                        // csnroffst, fsnroffst, fgaincod
  if (isCoupled) bits.Write(hasLeak ? 1 << 6 : 0, hasLeak ? 7 : 1);  // cplleake
  bits.Write(0, 2);                                                  // deltbaie, skiple
}

TEST(Ac3Block, NeedsNewLeakValuesWhereCouplingBeginsAgain) {
  BitStreamInformation info{};
  info.mode = kStereo;
  struct Step {
    bool isCoupled, hasLeak;
  };
  const auto areParsed = [&](const std::vector<Step>& steps) {
    auto block = std::make_unique<AudioBlock>();
    BeginFrame(*block);
    BitWriter bits;
    for (const Step& step : steps) WriteSideInformation(step.isCoupled, step.hasLeak, bits);
    BitWindow stream(bits.Bytes().data(), bits.Bytes().size());
    std::vector<bool> parsed;
    for (std::size_t i = 0; i < steps.size(); ++i) {
      parsed.push_back(ParseSideInformation(stream, info, *block));
    }
    EXPECT_FALSE(stream.Overrun());
    return parsed;
  };
  const Step first{true, true}, again{true, false}, off{false, false};
  EXPECT_EQ((std::vector<bool>{true, true}), areParsed({first, again})) << "those of the block before apply";
  EXPECT_EQ((std::vector<bool>{true, true, true}), areParsed({first, off, first}));
  EXPECT_EQ((std::vector<bool>{true, true, false}), areParsed({first, off, again}));
  EXPECT_EQ((std::vector<bool>{false}), areParsed({again}));
}

// If no channel has an offset, no channel has bits, also if only coupling that ends had one.
TEST(Ac3Block, LosesAllBitsWithTheLastOffset) {
  auto block = std::make_unique<AudioBlock>();
  BeginFrame(*block);
  BitStreamInformation info{};
  info.mode = kStereo;
  SyncInfo sync{};
  block->coupling.inUse = true;
  block->channels[kCoupling].start = 133;
  block->channels[kCoupling].end = 145;
  block->channels[kCoupling].allocation.fineSnrOffset = 1;
  block->allocation.floor = 7;
  for (int i = 0; i < 2; ++i) {
    CodedChannel& channel = block->channels[i];
    channel.end = 133;
    channel.allocation.fastGain = 7;
    for (int bin = 0; bin < 133; ++bin) channel.exponents[bin] = bin == 5 ? 0 : 24;
  }
  std::fill_n(block->channels[kCoupling].exponents, kBins, std::uint8_t{10});
  const auto used = [&] {
    const std::uint8_t* pointers = block->channels[0].pointers;
    return std::count_if(pointers, pointers + 133, [](std::uint8_t pointer) { return pointer != 0; });
  };
  ASSERT_TRUE(AllocateBlock(sync, info, *block));
  const auto before = used();
  EXPECT_GT(before, 0) << "another channel's offset gives bits to all";
  block->coupling.inUse = false;
  ASSERT_TRUE(AllocateBlock(sync, info, *block));
  EXPECT_EQ(0, used());
  EXPECT_EQ(0, block->channels[0].kindCounts[kOwn]);
  block->coupling.inUse = true;
  ASSERT_TRUE(AllocateBlock(sync, info, *block));
  EXPECT_EQ(before, used());
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

TEST(Ac3Exponents, RejectValuesOutOfRange) {
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

TEST(Ac3BitAllocation, RejectsDeltaSegmentsBeyondTheBands) {
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

// The contributions of every channel to the output channels by 7.8, before all are scaled alike.
enum Place { kL, kR, kC, kLs, kRs, kS };
using Gains = std::map<Place, double>;

Gains StandardGains(Place from, int streamMode, int outputMode, double centre, double surround) {
  const int fronts[8] = {2, 1, 2, 3, 2, 3, 2, 3}, rears[8] = {0, 0, 0, 0, 1, 1, 2, 2};
  const int front = fronts[outputMode], rear = rears[outputMode];
  const double halfPower = std::sqrt(0.5);
  const bool isMonoStream = streamMode == 1;
  switch (from) {
    case kL:
    case kR:
      return {{front == 1 ? kC : from, 1}};
    case kC:
      if (front == 3) return {{kC, 1}};
      if (front == 1) return {{kC, isMonoStream ? 1 : 2 * centre}};
      return {{kL, isMonoStream ? halfPower : centre}, {kR, isMonoStream ? halfPower : centre}};
    case kS:
      if (rear == 2) return {{kLs, halfPower}, {kRs, halfPower}};
      if (rear == 1) return {{kS, 1}};
      if (front == 1) return {{kC, 2 * halfPower * surround}};
      return {{kL, halfPower * surround}, {kR, halfPower * surround}};
    default:
      if (rear == 2) return {{from, 1}};
      if (rear == 1) return {{kS, halfPower}};
      if (front == 1) return {{kC, surround}};
      return {{from == kLs ? kL : kR, surround}};
  }
}

TEST(Ac3Downmix, HasTheStandardsRatiosInEveryOutputMode) {
  const std::vector<Place> coded[8] = {{kL, kR},           {kC},
                                       {kL, kR},           {kL, kC, kR},
                                       {kL, kR, kS},       {kL, kC, kR, kS},
                                       {kL, kR, kLs, kRs}, {kL, kC, kR, kLs, kRs}};
  const std::vector<Place> order = {kL, kR, kC, kLs, kRs, kS};  // of outputs, without the LFE channel
  const std::pair<float, float> levels[] = {
      {0.70710678f, 0.70710678f}, {0.5f, 0.0f}, {1.41421356f, 0.84089642f}};
  for (const auto& [centre, surround] : levels) {
    for (int streamMode = 0; streamMode < 8; ++streamMode) {
      for (int outputMode = 0; outputMode < 8; ++outputMode) {
        SCOPED_TRACE(std::to_string(streamMode) + " to " + std::to_string(outputMode));
        BitStreamInformation info{};
        info.mode = static_cast<std::uint8_t>(streamMode);
        if (info.HasCentreLevel()) info.centreLevel = centre;
        if (info.HasSurroundLevel()) info.surroundLevel = surround;
        std::vector<Place> outputs;
        for (const Place place : order) {
          if (std::count(coded[outputMode].begin(), coded[outputMode].end(), place) > 0)
            outputs.push_back(place);
        }
        std::vector<Gains> gains;
        std::map<Place, double> sums;
        for (const Place from : coded[streamMode]) {
          gains.push_back(StandardGains(from, streamMode, outputMode, centre, surround));
          for (const auto& [to, gain] : gains.back()) sums[to] += gain;
        }
        double largest = 0;
        for (const auto& [to, sum] : sums) largest = std::max(largest, sum);
        const Downmix mix = MakeDownmix(info, outputMode, false);
        ASSERT_EQ(static_cast<int>(outputs.size()), mix.outputs);
        for (std::size_t output = 0; output < outputs.size(); ++output) {
          for (std::size_t channel = 0; channel < gains.size(); ++channel) {
            const double expected = gains[channel][outputs[output]] / largest;
            EXPECT_NEAR(expected, mix.gains[output][channel], 1e-6) << output << " of " << channel;
          }
        }
      }
    }
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
  int block = 0;
  // Long, short, both at a time, long.
  const std::array<std::array<bool, 2>, 5> kinds = {
      {{true, false}, {false, true}, {true, true}, {true, false}, {false, false}}};
  for (const auto& [plain, switched] : kinds) {
    std::vector<float> first(256), second(256);
    for (float& value : first) value = plain ? uniform(random) : 0;
    for (float& value : second) value = switched ? uniform(random) : 0;
    const float* samples = SynthesiseBlock(plain ? first.data() : nullptr, switched ? second.data() : nullptr,
                                           block++, overlap, scratch);
    const auto a = Direct(first, false), b = Direct(second, true);
    for (std::size_t n = 0; n < 256; ++n) {
      const double rise = static_cast<double>(window[n]), fall = static_cast<double>(window[255 - n]);
      EXPECT_NEAR((a[n] + b[n]) * rise + tail[n] * fall, static_cast<double>(samples[n]), 0.05);
      tail[n] = a[256 + n] + b[256 + n];
    }
  }
}

}  // namespace

}  // namespace fmp4
