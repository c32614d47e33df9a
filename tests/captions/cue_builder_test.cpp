#include "captions/cue_builder.h"

#include <gtest/gtest.h>

#include "captions/caption_cues.h"
#include "tests/captions/cea608_stream.h"

namespace fmp4 {

namespace {

using captions::Caption;
using captions::CaptionChannel;
using captions::CaptionCues;
using captions::Cue;
using captions::CueBuilder;
using namespace cea608;

Caption captionOf(const std::string& text) {
  if (text.empty()) return {};
  return {{{0, 0, 0, captions::Alignment::Left, {{0, 0, static_cast<unsigned>(text.size()), {{text, {}}}}}}}};
}

// "first-end:text" of each cue.
std::vector<std::string> listed(const std::vector<Cue>& cues) {
  std::vector<std::string> list;
  for (const Cue& cue : cues) {
    std::string text = std::to_string(cue.first) + '-' + std::to_string(cue.end) + ':';
    for (const captions::TextBlock& block : cue.caption.blocks)
      for (const captions::TextRow& row : block.rows) text += row.text() + '/';
    list.push_back(text);
  }
  return list;
}

using Texts = std::vector<std::string>;

TEST(CueBuilder, ACueLastsUntilTheScreenChanges) {
  CueBuilder builder;
  builder.show(3, {});
  builder.show(10, captionOf("a"));
  builder.show(12, captionOf("a"));
  builder.show(50, captionOf("b"));
  builder.show(60, {});
  builder.show(70, captionOf("c"));
  EXPECT_EQ(listed(builder.finish(90)), (Texts{"10-50:a/", "50-60:b/", "70-90:c/"}));
}

TEST(CueBuilder, TypedTextIsOneCueUntilTheTypingPauses) {
  CueBuilder builder;
  builder.show(0, captionOf("ab"));
  builder.show(1, captionOf("abcd"));
  builder.show(16, captionOf("abcde"));
  builder.show(32, captionOf("abcdef"));
  builder.show(33, captionOf("abcdefg"));
  builder.show(34, captionOf("xyz"));
  EXPECT_EQ(listed(builder.finish(40)), (Texts{"0-32:abcde/", "32-34:abcdefg/", "34-40:xyz/"}));
}

TEST(CueBuilder, ACueAtTheVeryEndIsLeftOut) {
  CueBuilder builder;
  builder.show(5, captionOf("a"));
  EXPECT_EQ(listed(builder.finish(5)), Texts{});
}

// A pair a frame from `first` on.
void addPairs(CaptionCues& cues, std::int64_t first, const Pairs& pairs) {
  for (const Pair& pair : pairs) cues.add(first++, pair, {});
}

constexpr CaptionChannel kCc1 = {CaptionChannel::Standard::Cea608, 1};

TEST(CaptionCues, PopOnCuesBeginAndEndWithTheFirstOfTheirCodes) {
  CaptionCues cues(30);
  addPairs(cues, 0, code(RCL) + code(pac(15)) + chars("Hi") + code(EOC));
  addPairs(cues, 20, code(EDM));
  auto result = cues.finish(30);
  ASSERT_EQ(result.size(), 1u);
  EXPECT_EQ(listed(result[kCc1]), Texts{"5-20:Hi/"});
}

TEST(CaptionCues, RollUpCuesBeginWithTheCarriageReturn) {
  CaptionCues cues(30);
  addPairs(cues, 0, code(RU2) + code(CR) + chars("one1"));  // typed in frames 4 and 5
  addPairs(cues, 40, code(CR) + chars("two2"));             // frames 42 and 43
  addPairs(cues, 80, code(CR) + chars("3"));
  EXPECT_EQ(listed(cues.finish(100)[kCc1]), (Texts{"4-40:one1/", "40-80:one1/two2/", "80-100:two2/3/"}));
}

// A caption distribution packet with these constructs.
std::vector<std::uint8_t> packetOf(const std::vector<std::array<std::uint8_t, 3>>& constructs) {
  std::vector<std::uint8_t> packet = {
      0x96, 0x69, 0, 0x4F, 0x43, 0, 0, 0x72, static_cast<std::uint8_t>(0xE0 | constructs.size())};
  for (const auto& construct : constructs) packet.insert(packet.end(), construct.begin(), construct.end());
  packet.insert(packet.end(), {0x74, 0, 0, 0});
  packet[2] = static_cast<std::uint8_t>(packet.size());
  return packet;
}

TEST(CaptionCues, PacketsHaveTheChannelsOfBothFields) {
  CaptionCues cues(30);
  const Pairs one = code(RDC) + code(pac(15)) + chars("one1"),
              three = code(RDC) + code(pac(15)) + chars("333");
  for (std::size_t i = 0; i < one.size(); ++i)
    cues.add(static_cast<std::int64_t>(i), {},
             packetOf({{0xFC, one[i][0], one[i][1]}, {0xFD, three[i][0], three[i][1]}, {0xF8, 0x41, 0x41}}));
  auto result = cues.finish(10);
  ASSERT_EQ(result.size(), 2u);
  EXPECT_EQ(listed(result[kCc1]), Texts{"4-10:one1/"});
  EXPECT_EQ(listed(result[{CaptionChannel::Standard::Cea608, 3}]), Texts{"4-10:333/"});
}

TEST(CaptionCues, PairsOfTheirOwnComeBeforeThoseInPackets) {
  const Pairs own = code(RDC) + code(pac(15)) + chars("own"), other = code(RDC) + code(pac(1)) + chars("pkt");
  for (const bool displayed : {true, false}) {
    CaptionCues cues(30);
    for (std::size_t i = 0; i < own.size(); ++i)
      cues.add(static_cast<std::int64_t>(i), displayed ? own[i] : Pair{0x80, 0x80},
               packetOf({{0xFC, other[i][0], other[i][1]}}));
    EXPECT_EQ(listed(cues.finish(9)[kCc1]), Texts{displayed ? "4-9:own/" : "4-9:pkt/"});
  }
}

TEST(CaptionCues, PairsThatDisplayNothingAreTakenBeforePackets) {
  const Pairs own = code(RCL) + code(ENM), other = code(RDC) + chars("pkt");
  CaptionCues cues(30);
  for (std::size_t i = 0; i < own.size(); ++i)
    cues.add(static_cast<std::int64_t>(i), own[i], packetOf({{0xFC, other[i][0], other[i][1]}}));
  EXPECT_TRUE(cues.finish(9).empty());
}

TEST(CaptionChannelName, IsTheUsualOne) {
  EXPECT_EQ(kCc1.name(), "CC1");
  EXPECT_EQ((CaptionChannel{CaptionChannel::Standard::Cea708, 12}).name(), "service 12");
}

TEST(CueBuilder, AnEndBeforeItsBeginningMakesNoCue) {
  CueBuilder builder;
  builder.show(50, captionOf("late"));
  EXPECT_EQ(listed(builder.finish(40)), Texts());
}

TEST(CueBuilder, TextOfAnotherWindowIsNoContinuation) {
  Caption other = captionOf("ab");
  other.blocks[0].window = 1;
  CueBuilder builder;
  builder.show(10, captionOf("a"));
  builder.show(12, other);
  EXPECT_EQ(listed(builder.finish(20)), (Texts{"10-12:a/", "12-20:ab/"}));
}

TEST(CaptionText, TakesTwoOrThreeBytesFromTheStandardsLimits) {
  const auto utf8 = [](char16_t character) {
    std::string text;
    captions::appendUtf8(text, character);
    return text;
  };
  EXPECT_EQ(utf8(0x7FF), "\xDF\xBF");
  EXPECT_EQ(utf8(0x800), "\xE0\xA0\x80");
  EXPECT_EQ(utf8(0xD7FF), "\xED\x9F\xBF");
  EXPECT_EQ(utf8(0xD800), "_");
  EXPECT_EQ(utf8(0xDFFF), "_");
  EXPECT_EQ(utf8(0xE000), "\xEE\x80\x80");
}

TEST(CaptionText, PositionsWithoutACharacterTakeTheStyleBefore) {
  captions::TextStyle italics;
  italics.italics = true;
  const captions::Cell cells[] = {{u'a', italics}, {}, {u'b', italics}};
  const captions::TextRow row = captions::textRowOf(cells, 3, 0);
  ASSERT_EQ(row.runs.size(), 1u);
  EXPECT_EQ(row.runs[0].text, "a b");
}

}  // namespace

}  // namespace fmp4
