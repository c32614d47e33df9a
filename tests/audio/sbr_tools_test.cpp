// The SBR tools, one by one.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "audio/umc/aac/fill_element.h"
#include "audio/umc/aac/sbr/sbr_decoder.h"
#include "tests/audio/aac_streams.h"
#include "tests/audio/bit_writer.h"
#include "tests/audio/sbr_generator.h"

namespace fmp4 {

using namespace UMC::aac;

namespace {

SbrHeader Header(int startFreq, int stopFreq, int xoverBand, int freqScale, int alterScale, int noiseBands,
                 int limiterBands) {
  SbrHeader header{};
  header.startFreq = static_cast<std::uint8_t>(startFreq);
  header.stopFreq = static_cast<std::uint8_t>(stopFreq);
  header.xoverBand = static_cast<std::uint8_t>(xoverBand);
  header.freqScale = static_cast<std::uint8_t>(freqScale);
  header.alterScale = static_cast<std::uint8_t>(alterScale);
  header.noiseBands = static_cast<std::uint8_t>(noiseBands);
  header.limiterBands = static_cast<std::uint8_t>(limiterBands);
  return header;
}

struct ExpectedTables {
  std::uint32_t frequency;
  SbrHeader header;
  int k0;
  std::vector<int> master, high, low, noise;
  std::vector<std::vector<int>> patches;  // source, count
  std::vector<int> limiter;
};

template <int kMax>
std::vector<int> Borders(const SbrBands<kMax>& bands) {
  return {bands.borders, bands.borders + bands.count + 1};
}

TEST(SbrFrequencyTables, FollowFromTheHeader) {
  const std::vector<ExpectedTables> kExpected = {
      {44100,
       Header(5, 9, 0, 2, 1, 2, 2),
       14,
       {14, 15, 16, 17, 18, 19, 20, 22, 24, 26, 28, 30, 33, 36, 39, 43, 47},
       {14, 15, 16, 17, 18, 19, 20, 22, 24, 26, 28, 30, 33, 36, 39, 43, 47},
       {14, 16, 18, 20, 24, 28, 33, 39, 47},
       {14, 18, 28, 47},
       {{2, 12}, {4, 10}, {2, 11}},
       {14, 18, 26, 36, 47}},
      {48000,
       Header(5, 8, 0, 2, 1, 2, 2),
       13,
       {13, 14, 15, 16, 17, 18, 19, 20, 22, 24, 26, 28, 30, 32, 35, 38, 41},
       {13, 14, 15, 16, 17, 18, 19, 20, 22, 24, 26, 28, 30, 32, 35, 38, 41},
       {13, 15, 17, 19, 22, 26, 30, 35, 41},
       {13, 17, 26, 41},
       {{1, 11}, {2, 11}, {7, 6}},
       {13, 17, 24, 35, 41}},
      {44100,
       Header(8, 7, 2, 1, 0, 3, 1),
       17,
       {17, 18, 19, 20, 21, 22, 23, 24, 26, 28, 30, 32, 34, 37, 40},
       {19, 20, 21, 22, 23, 24, 26, 28, 30, 32, 34, 37, 40},
       {19, 21, 23, 26, 30, 34, 40},
       {19, 23, 30, 40},
       {{3, 13}, {8, 8}},
       {19, 32, 40}},
      {32000,
       Header(7, 5, 1, 3, 1, 1, 3),
       19,
       {19, 20, 22, 24, 26, 28, 30, 33, 36, 39, 42},
       {20, 22, 24, 26, 28, 30, 33, 36, 39, 42},
       {20, 22, 26, 30, 36, 42},
       {20, 42},
       {{2, 16}, {12, 6}},
       {20, 26, 30, 36, 42}},
      {24000,
       Header(4, 3, 0, 0, 1, 2, 2),
       16,
       {16, 17, 18, 20, 22, 24, 26, 28, 30, 32, 34, 36, 38},
       {16, 17, 18, 20, 22, 24, 26, 28, 30, 32, 34, 36, 38},
       {16, 18, 22, 26, 30, 34, 38},
       {16, 26, 38},
       {{2, 14}, {8, 8}},
       {16, 22, 30, 38}},
      {22050,
       Header(9, 14, 3, 0, 0, 2, 0),
       21,
       {21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 42},
       {24, 25, 26, 27, 28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 42},
       {24, 25, 27, 29, 31, 33, 35, 37, 39, 42},
       {24, 31, 42},
       {{4, 16}},
       {24, 42}},
      {96000,
       Header(6, 0, 0, 2, 1, 2, 2),
       11,
       {11, 12, 13},
       {11, 12, 13},
       {11, 13},
       {11, 13},
       {{9, 2}},
       {11, 13}}};
  for (const ExpectedTables& expected : kExpected) {
    SCOPED_TRACE(std::to_string(expected.frequency) + " " + std::to_string(expected.header.startFreq));
    SbrFrequencyTables tables;
    ASSERT_TRUE(MakeSbrFrequencyTables(expected.header, expected.frequency, tables));
    EXPECT_EQ(expected.k0, tables.k0);
    EXPECT_EQ(expected.master, Borders(tables.master));
    EXPECT_EQ(expected.low, Borders(tables.bands[0]));
    EXPECT_EQ(expected.high, Borders(tables.bands[1]));
    EXPECT_EQ(expected.noise, Borders(tables.noise));
    EXPECT_EQ(expected.limiter, Borders(tables.limiter));
    EXPECT_EQ(expected.high.front(), tables.kx);
    EXPECT_EQ(expected.high.back() - expected.high.front(), tables.m);
    std::vector<std::vector<int>> patches;
    for (int i = 0; i < tables.patchCount; ++i)
      patches.push_back({tables.patches[i].source, tables.patches[i].count});
    EXPECT_EQ(expected.patches, patches);
  }
}

// The stop frequency of bs_stop_freq 0 to 13 by sampling frequency, where it is above the start and within
// the limits.
TEST(SbrFrequencyTables, StopWhereTheHeaderSays) {
  struct Stops {
    std::uint32_t frequency;
    std::vector<int> k2;
  };
  const std::vector<Stops> kStops = {{96000, {13, 15, 17, 19, 21, 24, 27, 31, 35, 39, 44, 50, 57, 64}},
                                     {88200, {15, 17, 19, 21, 23, 26, 29, 33, 37, 41, 46, 51, 57, 64}},
                                     {64000, {20, 22, 24, 26, 28, 31, 34, 37, 41, 45, 49, 54, 59, 64}},
                                     {48000, {21, 23, 25, 27, 29, 32, 35, 38, 41, 45, 49, 54, 59, 64}},
                                     {44100, {23, 25, 27, 29, 31, 34, 37, 40, 43, 47, 51, 55, 59, 64}},
                                     {32000, {32, 34, 36, 38, 40, 42, 44, 46, 49, 52, 55, 58, 61, 64}},
                                     {24000, {32, 34, 36, 38, 40, 42, 44, 46, 49, 52, 55, 58, 61, 64}},
                                     {22050, {35, 36, 38, 40, 42, 44, 46, 48, 50, 52, 55, 58, 61, 64}},
                                     {16000, {48, 49, 50, 51, 52, 53, 54, 55, 56, 57, 58, 60, 62, 64}}};
  int checked = 0;
  for (const Stops& stops : kStops) {
    for (std::size_t stop = 0; stop < stops.k2.size(); ++stop) {
      for (int start = 0; start < 16; ++start) {
        const SbrHeader header = Header(start, static_cast<int>(stop), 0, 2, 1, 1, 0);
        SbrFrequencyTables tables;
        if (!MakeSbrFrequencyTables(header, stops.frequency, tables)) continue;
        EXPECT_EQ(stops.k2[stop], tables.kx + tables.m) << stops.frequency << " " << stop;
        ++checked;
      }
    }
  }
  EXPECT_GT(checked, 500);
}

// Every header makes either tables within the limits or none (4.6.18.3.6).
TEST(SbrFrequencyTables, StayWithinTheLimitsForEveryHeader) {
  int made = 0;
  for (const std::uint32_t frequency : {14700u, 16000u, 22050u, 24000u, 32000u, 44100u, 48000u, 64000u,
                                        88200u, 96000u, 128000u, 192000u, 2u, 33554430u}) {
    for (unsigned bits = 0; bits < 1u << 18; bits += 7) {
      auto next = [rest = bits](unsigned count) mutable {
        const auto value = static_cast<std::uint8_t>(rest & ((1u << count) - 1));
        rest >>= count;
        return value;
      };
      SbrHeader header{};
      header.startFreq = next(4);
      header.stopFreq = next(4);
      header.xoverBand = next(3);
      header.freqScale = next(2);
      header.alterScale = next(1);
      header.noiseBands = next(2);
      header.limiterBands = next(2);
      SbrFrequencyTables tables;
      if (!MakeSbrFrequencyTables(header, frequency, tables)) continue;
      ++made;
      const int end = tables.kx + tables.m;
      ASSERT_LE(tables.kx, 32);
      ASSERT_LE(end, 64);
      ASSERT_EQ(tables.kx, tables.limiter.borders[0]);
      ASSERT_EQ(end, tables.limiter.borders[tables.limiter.count]);
      ASSERT_EQ(end, tables.noise.borders[tables.noise.count]);
      ASSERT_EQ(end, tables.bands[0].borders[tables.bands[0].count]);
      int target = tables.kx;
      for (int i = 0; i < tables.patchCount; ++i) {
        ASSERT_LE(tables.patches[i].source + tables.patches[i].count, tables.k0);
        target += tables.patches[i].count;
      }
      ASSERT_LE(target, end);
    }
  }
  EXPECT_GT(made, 10000);
}

// Reads what the generator writes: all of it is valid, whatever the grid.
class GeneratedPayload : public testing::TestWithParam<std::tuple<int, int, bool>> {};

struct Element {
  SbrElementState element{};
  SbrChannelState channels[2]{};
};

bool Read(const std::vector<std::uint8_t>& payload, int channels, int frameLength, Element& state) {
  static SbrScratch scratch;
  BitWindow stream(payload.data(), payload.size());
  const bool crc = payload[0] >> 4 == 14;
  const SbrPayload place = {4, static_cast<std::uint32_t>(8 * payload.size() - 4), crc};
  return ReadSbrPayload({24000, frameLength, false}, stream, place, channels, state.element, state.channels,
                        scratch);
}

TEST_P(GeneratedPayload, IsReadCompletely) {
  const auto [channels, frameLength, crc] = GetParam();
  SbrGeneratorOptions options;
  options.crc = crc;
  SbrGenerator generator(11, channels, 48000, frameLength / 64, options);
  Element state;
  for (int i = 0; i < 2000; ++i)
    ASSERT_TRUE(Read(generator.NextPayload(), channels, frameLength, state)) << i;
  for (const char* what : {"class 0 envelopes 1",
                           "class 0 envelopes 2",
                           "class 0 envelopes 4",
                           "class 1 envelopes 1",
                           "class 1 envelopes 4",
                           "class 2 envelopes 1",
                           "class 2 envelopes 4",
                           "class 3 envelopes 1",
                           "class 3 envelopes 5",
                           "pointer 0",
                           "pointer 6",
                           "1.5 dB",
                           "3 dB",
                           "over time",
                           "over frequency",
                           "high from low",
                           "low from high",
                           "inverse filtering 0",
                           "inverse filtering 3",
                           "limiter bands 0",
                           "limiter bands 1",
                           "limiter bands 2",
                           "limiter bands 3",
                           "limiter gains 0",
                           "limiter gains 3",
                           "interpolated",
                           "not interpolated",
                           "smoothed",
                           "not smoothed",
                           "sinusoids",
                           "extension",
                           "long extension",
                           "other bands",
                           "scale 0",
                           "scale 0 altered",
                           "scale 3",
                           "scale 3 altered"}) {
    EXPECT_TRUE(generator.Seen().contains(what)) << what;
  }
  EXPECT_EQ(channels == 2, generator.Seen().contains("coupled"));
}

INSTANTIATE_TEST_SUITE_P(All, GeneratedPayload,
                         testing::Combine(testing::Values(1, 2), testing::Values(1024, 960),
                                          testing::Bool()));

TEST(SbrPayload, NeedsAHeaderFirstAndAfterDamage) {
  SbrGeneratorOptions options;
  options.crc = true;
  options.headerChanges = options.timeCoding = false;
  options.headerPercent = 0;
  SbrGenerator generator(1, 2, 48000, 16, options);
  const auto first = generator.NextPayload(), second = generator.NextPayload();
  Element state;
  EXPECT_FALSE(Read(second, 2, 1024, state)) << "no header yet";
  EXPECT_TRUE(Read(first, 2, 1024, state));
  EXPECT_TRUE(Read(second, 2, 1024, state));
  for (std::size_t bit = 4; bit < 8 * second.size(); ++bit) {
    auto damaged = second;
    damaged[bit / 8] = static_cast<std::uint8_t>(damaged[bit / 8] ^ 0x80 >> bit % 8);
    ASSERT_TRUE(Read(first, 2, 1024, state));
    EXPECT_FALSE(Read(damaged, 2, 1024, state)) << bit;
    EXPECT_FALSE(Read(second, 2, 1024, state)) << bit;
  }
}

TEST(SbrPayload, IsRejectedWhenTruncated) {
  SbrGenerator generator(1, 2, 48000, 16, {});
  const auto payload = generator.NextPayload();
  for (std::size_t size = 1; size + 2 < payload.size(); ++size) {
    Element state;
    EXPECT_FALSE(
        Read({payload.begin(), payload.begin() + static_cast<std::ptrdiff_t>(size)}, 2, 1024, state));
  }
}

TEST(SbrPayload, OverTimeNeedsTheFrameBefore) {
  SbrGeneratorOptions options;
  options.headerChanges = false;
  SbrGenerator generator(1, 1, 48000, 16, options);
  Element entire;
  int refused = 0;
  for (int i = 0; i < 50; ++i) {
    const auto payload = generator.NextPayload();
    ASSERT_TRUE(Read(payload, 1, 1024, entire));
    Element unknown = entire;
    unknown.channels[0].envelope.known = false;
    refused += Read(payload, 1, 1024, unknown) ? 0 : 1;
  }
  EXPECT_GT(refused, 20);
  EXPECT_LT(refused, 50);
}

// Two bands of an envelope that starts at `first` and continues `difference` steps higher.
bool DecodesEnvelope(bool ampRes, std::int16_t first, std::int16_t difference) {
  SbrFrequencyTables tables{};
  tables.bands[0].count = 2;
  SbrGrid grid{};
  grid.envelopes = 1;
  SbrEnvelopeData data{};
  data.ampRes = ampRes;
  data.envelope[0][0] = first;
  data.envelope[0][1] = difference;
  SbrEnvelopeMemory memory{};
  return DecodeSbrDifferences(tables, grid, false, data, memory);
}

TEST(SbrEnvelope, HasDifferencesWithinTheRangeOfStartValues) {
  EXPECT_TRUE(DecodesEnvelope(false, 127, 0));
  EXPECT_FALSE(DecodesEnvelope(false, 127, 1));
  EXPECT_TRUE(DecodesEnvelope(true, 63, 0));
  EXPECT_FALSE(DecodesEnvelope(true, 63, 1));
  EXPECT_FALSE(DecodesEnvelope(true, 0, -1));
}

TEST(FillElement, FindsThePayloadAfterOthers) {
  BitWriter bits;
  bits.Write(15, 4);
  bits.Write(20 - 14, 8);  // 20 bytes
  const std::size_t start = bits.Bits();
  bits.Write(11, 4);  // dynamic_range_info()
  bits.Write(1, 1);
  bits.Write(0x50, 8);  // pce_instance_tag
  bits.Write(1, 1);
  bits.Write(0x0102, 16);  // excluded_channels(), twice
  bits.Write(1, 1);
  bits.Write(0x10, 8);  // two bands
  bits.Write(0x2040, 16);
  bits.Write(1, 1);
  bits.Write(0x80, 8);  // prog_ref_level
  bits.Write(0x1122, 16);
  bits.Write(2, 4);  // data_element()
  bits.Write(0, 4);
  bits.Write(2, 8);
  bits.Write(0xFFFF, 16);
  bits.Write(13, 4);
  const std::size_t payload = bits.Bits();
  while (bits.Bits() < start + 160) bits.Write(1, 1);
  bits.Write(7, 3);
  BitWindow stream(bits.Bytes().data(), bits.Bytes().size());
  SbrPayload sbr{};
  ParseFillElement(stream, sbr);
  EXPECT_EQ(payload, sbr.position);
  EXPECT_EQ(start + 160 - payload, sbr.bits);
  EXPECT_FALSE(sbr.hasCrc);
  EXPECT_EQ(start + 160, stream.Position());
}

TEST(SbrDecoder, KeepsItsMemoryInItsOwnArea) {
  EXPECT_LT(sizeof(SbrArea), 420u * 1024);
}

TEST(SbrEnvelope, OverTimeIsRefusedWithoutAFrameBefore) {
  SbrFrequencyTables tables{};
  tables.bands[0].count = tables.noise.count = 1;
  SbrGrid grid{};
  grid.envelopes = grid.noiseFloors = 1;
  for (const auto& [envelope, noise] :
       {std::pair{false, false}, {true, false}, {false, true}, {true, true}}) {
    SbrEnvelopeData data{};
    data.envelopeOverTime[0] = envelope;
    data.noiseOverTime[0] = noise;
    SbrEnvelopeMemory memory{};
    EXPECT_EQ(!envelope && !noise, DecodeSbrDifferences(tables, grid, false, data, memory));
  }
}

// Levels of other bands are nothing to continue from.
TEST(SbrPayload, OverTimeNeedsAFrameOfTheSameBands) {
  SbrGeneratorOptions options;
  options.headerChanges = false;
  options.headerPercent = 100;
  SbrGenerator first(1, 1, 48000, 16, options), other(2, 1, 48000, 16, options);
  Element before, after;
  ASSERT_TRUE(Read(first.NextPayload(), 1, 1024, before));
  ASSERT_TRUE(Read(other.NextPayload(), 1, 1024, after));
  ASSERT_FALSE(before.element.header.HasBandsOf(after.element.header));
  int refused = 0;
  for (int i = 0; i < 50; ++i) {
    const auto payload = other.NextPayload();
    Element changed = before, unknown = before;
    unknown.channels[0].envelope.known = false;
    const bool accepted = Read(payload, 1, 1024, changed);
    EXPECT_EQ(accepted, Read(payload, 1, 1024, unknown)) << i;
    refused += accepted ? 0 : 1;
  }
  EXPECT_GT(refused, 20);
}

}  // namespace

}  // namespace fmp4
