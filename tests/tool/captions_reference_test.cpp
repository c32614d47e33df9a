// Texts and times of CEA-608 against ffmpeg's decoder, which reads the Scenarist files made here.
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <sstream>

#include "captions/caption_cues.h"
#include "tests/captions/cea608_stream.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"
#include "tool/export/scenarist.h"

namespace fmp4 {

namespace {

using namespace cea608;

constexpr FrameRate kRate = {30, 1};

// Pairs by the frame of their first one.
using Stream = std::map<std::uint32_t, Pairs>;

struct TimedText {
  std::int64_t first, end;  // milliseconds
  std::string text;         // rows joined by "|", without blanks at their ends
  bool operator==(const TimedText&) const = default;
};

void PrintTo(const TimedText& cue, std::ostream* out) {
  *out << cue.first << '-' << cue.end << ' ' << cue.text;
}

// As ffmpeg reads timecodes: 33 ms a frame.
std::int64_t millisecondsOf(std::int64_t frame) {
  return frame / 30 * 1000 + frame % 30 * 33;
}

std::string trimmed(const std::string& text) {
  return std::regex_replace(text, std::regex("^ +| +$"), "");
}

std::vector<TimedText> decoded(const Stream& stream) {
  captions::CaptionCues cues(30);
  for (const auto& [first, pairs] : stream)
    for (std::size_t i = 0; i < pairs.size(); ++i)
      cues.add(first + static_cast<std::int64_t>(i), pairs[i], {});
  std::vector<TimedText> texts;
  auto channels = cues.finish(100000);
  for (const captions::Cue& cue : channels[{captions::CaptionChannel::Standard::Cea608, 1}]) {
    std::string text;
    for (const captions::TextBlock& block : cue.caption.blocks)
      for (const captions::TextRow& row : block.rows) text += (text.empty() ? "" : "|") + trimmed(row.text());
    texts.push_back({millisecondsOf(cue.first), millisecondsOf(cue.end), text});
  }
  return texts;
}

std::vector<TimedText> ffmpegDecodes(const Stream& stream) {
  std::vector<TimedPair> pairs;
  for (const auto& [first, bytes] : stream)
    for (std::size_t i = 0; i < bytes.size(); ++i) pairs.push_back({first + i, bytes[i]});
  const TempFolder folder;
  const std::string file = scenaristText(pairs, kRate);
  writeFile(folder.file("x.scc"), {file.begin(), file.end()});
  std::istringstream lines(
      runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-i", folder.file("x.scc"), "-f", "srt", "-"}).out);
  static const std::regex kTimes(R"((\d+):(\d+):(\d+),(\d+) --> (\d+):(\d+):(\d+),(\d+))");
  static const std::regex kMarkup(R"(</?(?:font|i|u)\b[^>]*>|\{\\an\d\}|\\h|\r)");
  std::vector<TimedText> texts;
  for (std::string line; std::getline(lines, line);) {
    std::smatch match;
    if (std::regex_search(line, match, kTimes)) {
      const auto time = [&match](std::size_t i) {
        return ((std::stoll(match[i]) * 60 + std::stoll(match[i + 1])) * 60 + std::stoll(match[i + 2])) *
                   1000 +
               std::stoll(match[i + 3]);
      };
      texts.push_back({time(1), time(5), ""});
    } else if (const std::string text = trimmed(std::regex_replace(line, kMarkup, ""));
               !text.empty() && !std::regex_match(text, std::regex(R"(\d+)"))) {
      texts.back().text += (texts.back().text.empty() ? "" : "|") + text;
    }
  }
  return texts;
}

// Captions that are loaded, and displayed and erased by codes on lines of their own.
Stream popOn(const Pairs& caption) {
  return {{30, code(RCL) + code(ENM) + caption}, {100, code(EOC)}, {163, code(EDM)}};
}

TEST(Cea608Reference, PopOn) {
  const Stream stream = popOn(code(pac(14)) + chars("Hello") + code(pacIndent(15, 8)) + chars("you there"));
  EXPECT_EQ(ffmpegDecodes(stream), decoded(stream));
  EXPECT_EQ(decoded(stream), (std::vector<TimedText>{{3330, 5429, "Hello|you there"}}));
}

TEST(Cea608Reference, OneCaptionAfterTheOther) {
  Stream stream;
  for (std::uint32_t i = 0; i < 5; ++i) {
    stream[i * 60] = code(RCL) + code(ENM) + code(pac(15 - i)) + chars("caption " + std::to_string(i));
    stream[i * 60 + 47] = code(EOC);
  }
  stream[400] = code(EDM);
  EXPECT_EQ(ffmpegDecodes(stream), decoded(stream));
  EXPECT_EQ(decoded(stream).size(), 5u);
}

TEST(Cea608Reference, RollUp) {
  Stream stream;
  for (std::uint32_t i = 0; i < 6; ++i)
    stream[20 + i * 40] = (i == 0 ? code(RU3) : Pairs()) + once(CR) + chars("line " + std::to_string(i));
  stream[300] = code(EDM);
  const auto reference = ffmpegDecodes(stream), texts = decoded(stream);
  ASSERT_EQ(reference.size(), texts.size());
  for (std::size_t i = 0; i < texts.size(); ++i) EXPECT_EQ(reference[i].text, texts[i].text);
  EXPECT_EQ(texts.back().text, "line 3|line 4|line 5");
}

// With the characters that ffmpeg has for five of the standard's.
std::string asFfmpegWrites(std::string text) {
  for (const auto& [standard, other] : {std::pair("'", "‘"), std::pair("‘¡", "´¡"), std::pair("—", "-"),
                                        std::pair("•", "·"), std::pair("│", "¦")})
    text = std::regex_replace(text, std::regex(standard), other);
  return text;
}

TEST(Cea608Reference, EveryCharacter) {
  Pairs rows;
  const auto add = [&rows](unsigned row, const Pairs& characters) {
    rows = rows + code(pac(row)) + characters;
  };
  std::string basic;
  for (char c = 0x21; c < 0x7F; ++c) basic += c;
  for (unsigned i = 0; i < 4; ++i) add(i + 1, chars(basic.substr(i * 24, 24)));
  for (const unsigned set : {0x1130u, 0x1220u, 0x1230u, 0x1320u, 0x1330u}) {
    Pairs characters;
    for (unsigned i = 0; i < 16; ++i)
      if (set + i != 0x1139) characters = characters + (set > 0x1200 ? chars("x") : Pairs()) + code(set + i);
    add(set == 0x1130 ? 6 : 7 + (set >> 4 & 1) + (set >= 0x1300 ? 2 : 0), characters);
  }
  const Stream stream = {{30, code(RCL) + code(ENM) + rows}, {700, code(EOC)}, {763, code(EDM)}};
  const auto reference = ffmpegDecodes(stream), texts = decoded(stream);
  ASSERT_EQ(reference.size(), 1u);
  ASSERT_EQ(texts.size(), 1u);
  EXPECT_EQ(reference[0].text, asFfmpegWrites(texts[0].text));
}

TEST(Cea608Reference, TabsAndMidRowCodes) {
  const Stream stream = popOn(code(pacIndent(14, 4)) + code(TO2) + chars("tab") + code(pac(15)) + chars("a") +
                              code(0x112E) + chars("it"));
  EXPECT_EQ(ffmpegDecodes(stream), decoded(stream));
}

}  // namespace

}  // namespace fmp4
