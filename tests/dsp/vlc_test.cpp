#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "dsp/ipps_vector.h"
#include "dsp/ipps_vlc.h"
#include "dsp/vlc_powers.h"

namespace fmp4 {

using namespace UMC;

namespace {

// A string of 0 and 1 as bytes, padded with zeros.
std::vector<Ipp8u> Pack(const std::string& bits) {
  std::vector<Ipp8u> bytes((bits.size() + 7) / 8);
  for (std::size_t i = 0; i < bits.size(); ++i) {
    if (bits[i] == '1') bytes[i / 8] = static_cast<Ipp8u>(bytes[i / 8] | 0x80 >> i % 8);
  }
  return bytes;
}

std::string Word(const IppsVLCTable_32s& word) {
  std::string bits;
  for (Ipp32s i = word.length - 1; i >= 0; --i) bits += word.code >> i & 1 ? '1' : '0';
  return bits;
}

// A complete code of `count` words, lengths drawn by splitting random leaves.
std::vector<IppsVLCTable_32s> RandomCode(std::size_t count, std::mt19937& random) {
  std::vector<IppsVLCTable_32s> words = {{0, 0, 0}};
  while (words.size() < count) {
    auto& leaf = words[random() % words.size()];
    if (leaf.length >= 19) continue;
    leaf.code <<= 1;
    ++leaf.length;
    words.push_back({0, leaf.code | 1, leaf.length});
  }
  for (std::size_t i = 0; i < count; ++i) words[i].value = static_cast<Ipp32s>(i);
  return words;
}

// Three symbols for the values 0, 1, 2.
const std::vector<IppsVLCTable_32s> kSmallCode = {{0, 0, 1}, {1, 2, 2}, {2, 3, 2}};

TEST(Vlc, DecodesEverySymbolWithAnyFirstLevel) {
  std::mt19937 random(5);
  const auto words = RandomCode(121, random);
  for (unsigned primaryBits = 1; primaryBits <= 12; ++primaryBits) {
    IppsVLCDecodeSpec_32s table;
    ASSERT_EQ(ippStsNoErr,
              ippsVLCDecodeInit_32s(words.data(), words.size(), {1, 121, 0}, primaryBits, &table));
    std::string bits;
    std::vector<Ipp16s> expected;
    for (int i = 0; i < 2000; ++i) {
      const auto& word = words[random() % words.size()];
      bits += Word(word);
      expected.push_back(static_cast<Ipp16s>(word.value));
    }
    const auto bytes = Pack(bits);
    BitWindow stream(bytes.data(), bytes.size());
    for (const Ipp16s value : expected) {
      Ipp16s decoded = -1;
      ASSERT_EQ(ippStsNoErr, ippsVLCDecodeOne_1u16s(&stream, &decoded, &table));
      ASSERT_EQ(value, decoded);
    }
    EXPECT_EQ(bits.size(), stream.Position());
  }
}

// Random tuples through a random code, with signs and escapes as the caller's writer appends them.
struct TupleRun {
  std::string bits;
  std::vector<Ipp16s> values;
};

TupleRun MakeRun(const std::vector<IppsVLCTable_32s>& words, const IppsVLCTuple& tuple, bool isSigned,
                 bool escapes, std::mt19937& random) {
  TupleRun run;
  for (int i = 0; i < 3000; ++i) {
    const auto& word = words[random() % words.size()];
    run.bits += Word(word);
    std::vector<Ipp32s> values(static_cast<std::size_t>(tuple.dimension));
    Ipp32s rest = word.value;
    for (auto value = values.rbegin(); value != values.rend(); ++value, rest /= tuple.modulus) {
      *value = rest % tuple.modulus - tuple.offset;
    }
    std::string escapeBits;
    for (Ipp32s& value : values) {
      const bool negative = !isSigned && value != 0 && random() % 2 != 0;
      if (!isSigned && value != 0) run.bits += negative ? '1' : '0';
      if (escapes && std::abs(value) == 16) {
        const Ipp32s sign = value < 0 ? -1 : 1;
        const auto prefix = static_cast<Ipp32s>(random() % 9);
        const Ipp32s low = static_cast<Ipp32s>(random()) & ((16 << prefix) - 1);
        escapeBits += std::string(static_cast<std::size_t>(prefix), '1') + '0' + Word({0, low, prefix + 4});
        value = sign * ((16 << prefix) + low);
      }
      if (negative) value = -value;
      run.values.push_back(static_cast<Ipp16s>(value));
    }
    run.bits += escapeBits;
  }
  return run;
}

// The same code decodes to the powers of the values.
void ExpectPowers(const TupleRun& run, const IppsVLCDecodeSpec_32s& table, bool isSigned, bool escapes,
                  const std::vector<Ipp8u>& bytes) {
  VlcPowers powers;
  ASSERT_EQ(ippStsNoErr, PrepareVlcPowers(table, !isSigned, escapes, &powers));
  std::vector<Ipp32f> expected(run.values.size()), lines(run.values.size());
  ippsPow43_16s32f(run.values.data(), expected.data(), expected.size());
  BitWindow stream(bytes.data(), bytes.size());
  ASSERT_EQ(ippStsNoErr, DecodeVlcPowers(&stream, lines.data(), lines.size(), powers));
  EXPECT_EQ(expected, lines);
  EXPECT_EQ(run.bits.size(), stream.Position());
}

using BlockFunction = IppStatus (*)(BitWindow*, Ipp16s*, std::size_t, const IppsVLCDecodeSpec_32s*);

void ExpectRoundTrip(const IppsVLCTuple& tuple, std::size_t symbols, bool isSigned, bool escapes,
                     BlockFunction decode) {
  std::mt19937 random(static_cast<unsigned>(symbols));
  const auto words = RandomCode(symbols, random);
  IppsVLCDecodeSpec_32s table;
  ASSERT_EQ(ippStsNoErr, ippsVLCDecodeInit_32s(words.data(), words.size(), tuple, 8, &table));
  const TupleRun run = MakeRun(words, tuple, isSigned, escapes, random);
  const auto bytes = Pack(run.bits);
  BitWindow stream(bytes.data(), bytes.size());
  std::vector<Ipp16s> values(run.values.size());
  ASSERT_EQ(ippStsNoErr, decode(&stream, values.data(), values.size(), &table));
  EXPECT_EQ(run.values, values);
  EXPECT_EQ(run.bits.size(), stream.Position());
  EXPECT_FALSE(stream.Overrun());
  if (tuple.dimension > 1 && !(isSigned && escapes)) ExpectPowers(run, table, isSigned, escapes, bytes);
}

TEST(Vlc, DecodesSignedSingles) {
  ExpectRoundTrip({1, 99, 0}, 99, true, false, ippsVLCDecodeBlock_1u16s);
}
TEST(Vlc, DecodesSignedPairs) {
  ExpectRoundTrip({2, 9, 4}, 81, true, false, ippsVLCDecodeBlock_1u16s);
}
TEST(Vlc, DecodesSignedQuadruples) {
  ExpectRoundTrip({4, 3, 1}, 81, true, false, ippsVLCDecodeBlock_1u16s);
}
TEST(Vlc, DecodesPairsWithSigns) {
  ExpectRoundTrip({2, 13, 0}, 169, false, false, ippsVLCDecodeUTupleBlock_1u16s);
}
TEST(Vlc, DecodesQuadruplesWithSigns) {
  ExpectRoundTrip({4, 3, 0}, 81, false, false, ippsVLCDecodeUTupleBlock_1u16s);
}
TEST(Vlc, DecodesPairsWithEscapes) {
  ExpectRoundTrip({2, 17, 0}, 289, false, true, ippsVLCDecodeUTupleEscBlock_AAC_1u16s);
}

TEST(Vlc, HasNoPowersOfMoreThan1023Symbols) {
  std::mt19937 random(3);
  for (const auto& [modulus, status] : {std::pair{31, ippStsNoErr}, {32, ippStsBadArgErr}}) {
    const auto symbols = static_cast<std::size_t>(modulus * modulus);
    const auto words = RandomCode(symbols, random);
    IppsVLCDecodeSpec_32s table;
    ASSERT_EQ(ippStsNoErr, ippsVLCDecodeInit_32s(words.data(), words.size(), {2, modulus, 0}, 8, &table));
    VlcPowers powers;
    EXPECT_EQ(status, PrepareVlcPowers(table, true, false, &powers)) << modulus;
  }
}

TEST(Vlc, DecodesSignedPairsWithEscapes) {
  ExpectRoundTrip({2, 33, 16}, 1089, true, true, ippsVLCDecodeEscBlock_AAC_1u16s);
}

// Decodes a pair whose escape has a prefix of `prefix` ones and a 0.
IppStatus DecodeEscape(int prefix, const IppsVLCTuple& tuple, const std::string& signs,
                       BlockFunction decode) {
  std::mt19937 random(2);
  const auto symbols = static_cast<std::size_t>(tuple.modulus * tuple.modulus);
  const auto words = RandomCode(symbols, random);
  IppsVLCDecodeSpec_32s table;
  EXPECT_EQ(ippStsNoErr, ippsVLCDecodeInit_32s(words.data(), words.size(), tuple, 8, &table));
  const auto symbol = static_cast<std::size_t>((16 + tuple.offset) * tuple.modulus + tuple.offset);
  const auto bytes = Pack(Word(words[symbol]) + signs + std::string(static_cast<std::size_t>(prefix), '1') +
                          std::string(40, '0'));
  BitWindow stream(bytes.data(), bytes.size());
  Ipp16s pair[2] = {};
  const IppStatus status = decode(&stream, pair, 2, &table);
  VlcPowers powers;
  if (signs.empty()) {
    EXPECT_EQ(ippStsBadArgErr, PrepareVlcPowers(table, false, true, &powers));
  } else {
    EXPECT_EQ(ippStsNoErr, PrepareVlcPowers(table, true, true, &powers));
    BitWindow again(bytes.data(), bytes.size());
    Ipp32f lines[2];
    EXPECT_EQ(status, DecodeVlcPowers(&again, lines, 2, powers));
  }
  if (status == ippStsNoErr) {
    EXPECT_EQ(16 << prefix, pair[0]);
  }
  return status;
}

TEST(Vlc, RejectsAnEscapePrefixOfNine) {
  EXPECT_EQ(ippStsNoErr, DecodeEscape(8, {2, 17, 0}, "0", ippsVLCDecodeUTupleEscBlock_AAC_1u16s));
  EXPECT_EQ(ippStsVLCInputDataErr, DecodeEscape(9, {2, 17, 0}, "0", ippsVLCDecodeUTupleEscBlock_AAC_1u16s));
  EXPECT_EQ(ippStsNoErr, DecodeEscape(8, {2, 33, 16}, "", ippsVLCDecodeEscBlock_AAC_1u16s));
  EXPECT_EQ(ippStsVLCInputDataErr, DecodeEscape(9, {2, 33, 16}, "", ippsVLCDecodeEscBlock_AAC_1u16s));
}

TEST(Vlc, ReadsZerosPastTheEndOfTheStream) {
  IppsVLCDecodeSpec_32s table;
  ASSERT_EQ(ippStsNoErr, ippsVLCDecodeInit_32s(kSmallCode.data(), kSmallCode.size(), {1, 3, 0}, 4, &table));
  BitWindow stream;
  Ipp16s value = 7;
  EXPECT_EQ(ippStsNoErr, ippsVLCDecodeOne_1u16s(&stream, &value, &table));
  EXPECT_EQ(0, value);
  EXPECT_TRUE(stream.Overrun());
}

TEST(Vlc, RejectsCodesThatAreNotCompleteAndPrefixFree) {
  IppsVLCDecodeSpec_32s table;
  const auto init = [&](std::vector<IppsVLCTable_32s> words, unsigned primaryBits) {
    return ippsVLCDecodeInit_32s(words.data(), words.size(), {1, 3, 0}, primaryBits, &table);
  };
  for (const unsigned primaryBits : {1u, 4u}) {
    EXPECT_EQ(ippStsNoErr, init(kSmallCode, primaryBits));
    EXPECT_EQ(ippStsVLCUsrTblCodeErr, init({{0, 0, 1}, {1, 2, 2}}, primaryBits)) << "incomplete";
    EXPECT_EQ(ippStsVLCUsrTblCodeErr, init({{0, 0, 1}, {1, 1, 2}, {2, 3, 2}}, primaryBits)) << "prefix";
    EXPECT_EQ(ippStsVLCUsrTblCodeErr, init({{0, 0, 1}, {1, 4, 2}, {2, 3, 2}}, primaryBits)) << "too wide";
    EXPECT_EQ(ippStsVLCUsrTblCodeErr, init({{0, 0, 1}, {3, 2, 2}, {2, 3, 2}}, primaryBits)) << "symbol";
    EXPECT_EQ(ippStsVLCUsrTblCodeErr, init({{0, 0, 0}}, primaryBits)) << "empty word";
    EXPECT_EQ(ippStsVLCUsrTblCodeErr, init({{0, 0, 21}}, primaryBits)) << "too long";
  }
}

TEST(Vlc, ReportsBadArguments) {
  IppsVLCDecodeSpec_32s table, empty;
  BitWindow stream;
  Ipp16s values[4];
  EXPECT_EQ(ippStsNullPtrErr, ippsVLCDecodeInit_32s(nullptr, 0, {1, 3, 0}, 4, &table));
  EXPECT_EQ(ippStsBadArgErr, ippsVLCDecodeInit_32s(kSmallCode.data(), 3, {3, 3, 0}, 4, &table));
  EXPECT_EQ(ippStsBadArgErr, ippsVLCDecodeInit_32s(kSmallCode.data(), 3, {4, 14, 0}, 4, &table));
  EXPECT_EQ(ippStsBadArgErr, ippsVLCDecodeInit_32s(kSmallCode.data(), 3, {1, 3, 0}, 0, &table));
  EXPECT_EQ(ippStsBadArgErr, ippsVLCDecodeInit_32s(kSmallCode.data(), 3, {1, 3, 0}, 13, &table));
  EXPECT_EQ(ippStsNullPtrErr, ippsVLCDecodeOne_1u16s(&stream, values, &empty));
  EXPECT_EQ(ippStsNullPtrErr, ippsVLCDecodeBlock_1u16s(nullptr, values, 1, &table));
  EXPECT_EQ(ippStsNullPtrErr, ippsVLCDecodeUTupleBlock_1u16s(&stream, nullptr, 2, &table));
  EXPECT_EQ(ippStsNullPtrErr, ippsVLCDecodeUTupleEscBlock_AAC_1u16s(&stream, values, 2, nullptr));
  EXPECT_EQ(ippStsNullPtrErr, ippsVLCDecodeEscBlock_AAC_1u16s(&stream, values, 2, &empty));
  ASSERT_EQ(ippStsNoErr, ippsVLCDecodeInit_32s(kSmallCode.data(), 3, {1, 3, 0}, 4, &table));
  EXPECT_EQ(ippStsBadArgErr, ippsVLCDecodeUTupleBlock_1u16s(&stream, values, 2, &table));
  EXPECT_EQ(ippStsBadArgErr, ippsVLCDecodeUTupleEscBlock_AAC_1u16s(&stream, values, 2, &table));
  EXPECT_EQ(ippStsBadArgErr, ippsVLCDecodeEscBlock_AAC_1u16s(&stream, values, 2, &table));
  std::mt19937 random(1);
  const auto pairs = RandomCode(9, random);
  ASSERT_EQ(ippStsNoErr, ippsVLCDecodeInit_32s(pairs.data(), 9, {2, 3, 1}, 4, &table));
  EXPECT_EQ(ippStsSizeErr, ippsVLCDecodeBlock_1u16s(&stream, values, 3, &table));
  EXPECT_EQ(ippStsSizeErr, ippsVLCDecodeUTupleBlock_1u16s(&stream, values, 1, &table));
  EXPECT_EQ(ippStsSizeErr, ippsVLCDecodeUTupleEscBlock_AAC_1u16s(&stream, values, 1, &table));
  EXPECT_EQ(ippStsSizeErr, ippsVLCDecodeEscBlock_AAC_1u16s(&stream, values, 1, &table));
}

}  // namespace

}  // namespace fmp4
