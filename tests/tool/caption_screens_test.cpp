// The screens of captions as the page asks for them.
#include "tool/viewer/caption_screens.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "os/path_name.h"
#include "tests/captions/cea708_stream.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/captioned_file.h"
#include "tool/viewer/media_answers.h"

namespace fmp4 {

namespace {

using namespace cea608;
using nlohmann::json;

class CaptionScreensAnswer : public testing::Test {
 protected:
  using Parameters = std::multimap<std::string, std::string>;

  void write(const Bytes& bytes) { writeFile(folder_.path() / "clip.mp4", bytes); }
  DataAnswer ask(const Parameters& parameters) {
    const std::filesystem::path folder = std::filesystem::canonical(folder_.path());
    return answers_.answer({"captions", folder / "clip.mp4", "clip.mp4", parameters, folder});
  }
  json screens(const Parameters& parameters = {}) {
    const DataAnswer answer = ask(parameters);
    EXPECT_EQ(answer.status, 200) << answer.body;
    EXPECT_EQ(answer.type, "application/json");
    return json::parse(answer.body);
  }
  // "30-90 First|95-120 Second"
  std::string shown(const Parameters& parameters = {}) {
    std::string all;
    const json answer = screens(parameters);
    for (const json& screen : answer["screens"]) {
      all += (all.empty() ? "" : "|") + screen["from"].dump() + '-' + screen["to"].dump();
      for (const json& region : screen["regions"])
        for (const json& run : region["text"]) all += ' ' + run["text"].get<std::string>();
    }
    return all;
  }

  const TempFolder folder_;
  const Plugin plugin_{"vlx_fmp4"};
  const MediaAnswers answers_{plugin_};
};

TEST_F(CaptionScreensAnswer, GivesTheScreensOfCc1) {
  write(captionedFile({twoCaptions()}));
  const json answer = screens();
  EXPECT_EQ(answer["frames"], 120);
  EXPECT_EQ(answer["from"], 0);
  EXPECT_EQ(answer["to"], 120);
  EXPECT_EQ(answer["channels"], json::parse(R"([{"channel": 1}])"));
  ASSERT_EQ(answer["screens"].size(), 2u);
  EXPECT_EQ(answer["screens"][0], json::parse(R"({"from": 30, "to": 90, "mode": "pop-on", "regions": [
    {"window": 0, "top": 10.0, "left": 10.0, "width": 80.0, "height": 80.0, "rows": 15, "columns": 32,
     "align": "left", "fill": "#000000", "fillOpacity": "transparent", "border": "none",
     "borderColour": "#000000", "text": [{"row": 14, "column": 8, "columns": 5, "text": "First"}]}]})"));
  EXPECT_EQ(shown(), "30-90 First|95-120 Second");
}

TEST_F(CaptionScreensAnswer, NumbersFramesAsTheyAreShown) {
  write(captionedFile({twoCaptions(), {}, 2 * 1001}));
  EXPECT_EQ(shown(), "28-88 First|93-120 Second");
  EXPECT_EQ(shown({{"from", "60"}, {"count", "10"}}), "60-70 First");
  EXPECT_EQ(shown({{"from", "119"}}), "119-120 Second") << "to be shown after the last frame";
}

TEST_F(CaptionScreensAnswer, ARangeBeginsWithWhatWasShownBefore) {
  write(captionedFile({twoCaptions()}));
  EXPECT_EQ(shown({{"from", "60"}, {"count", "10"}}), "60-70 First");
  EXPECT_EQ(shown({{"from", "0"}, {"count", "30"}}), "");
  EXPECT_EQ(shown({{"from", "119"}}), "119-120 Second");
  EXPECT_EQ(shown({{"from", "0"}, {"count", "31"}}), "30-31 First") << "after later frames";
}

TEST_F(CaptionScreensAnswer, FramesPastTheEndHaveNone) {
  write(captionedFile({twoCaptions()}));
  for (const char* from : {"120", "5000", "4294967295"}) {
    const json answer = screens({{"from", from}});
    EXPECT_EQ(answer["to"], answer["from"]) << from;
    EXPECT_EQ(answer["screens"], json::array()) << from;
  }
}

TEST_F(CaptionScreensAnswer, OfAFileWithoutCaptionsIsEmpty) {
  const json none = json::parse(R"({"frames": 30, "from": 0, "to": 30, "channels": [], "screens": []})");
  makeMedia(folder_.file("clip.mp4"), videoInput(1) + h264Codec() + fragmented());
  EXPECT_EQ(screens(), none);
  EXPECT_EQ(screens({{"service", "1"}}), none);
  EXPECT_EQ(ask({{"channel", "5"}}).status, 400);
  makeMedia(folder_.file("clip.mp4"), toneInput(1) + std::vector<std::string>{"-c:a", "aac"} + fragmented());
  EXPECT_EQ(screens(), json::parse(R"({"frames": 0, "from": 0, "to": 0, "channels": [], "screens": []})"));
}

TEST_F(CaptionScreensAnswer, GivesMoreOfAFileThatHasGrown) {
  const FrameCaptionsSpec captions = {twoCaptions()};
  const Bytes one = join({captionedStart(captions), captionedFragment(1, 0, captions)});
  write(one);
  EXPECT_EQ(screens({{"from", "0"}, {"count", "240"}})["to"], 120);
  write(join({one, captionedFragment(2, 120, captions)}));
  EXPECT_EQ(screens({{"from", "0"}, {"count", "240"}})["to"], 240);
  EXPECT_EQ(shown(), "30-90 First|95-150 Second|150-210 First|215-240 Second");
}

TEST_F(CaptionScreensAnswer, ChoosesAmongChannels) {
  const Pairs third = code(inChannel2(RDC)) + code(inChannel2(pac(15))) + chars("four");
  write(captionedFile({twoCaptions(), packetsOfField2(third, 120)}));
  EXPECT_EQ(shown({{"channel", "4"}}), "4-5 fo|5-120 four");
  EXPECT_EQ(shown({{"channel", "2"}}), "");
  EXPECT_EQ(screens({{"channel", "2"}})["channels"], json::parse(R"([{"channel": 1}, {"channel": 4}])"));
}

TEST_F(CaptionScreensAnswer, GivesWindowsAndPensOfAService) {
  using cea708::operator+;
  const cea708::Bytes codes =
      cea708::DFx(3, {.relative = false, .vertical = 15, .horizontal = 21, .rows = 1, .columns = 21}) +
      cea708::Bytes{0x97, 0xB0, 0x03, 0x8E, 0x00} + cea708::Bytes{0x90, 0x0A, 0xDB} +
      cea708::Bytes{0x91, 0x4C, 0x83, 0x30} + cea708::chars("A<");
  const auto constructs = cea708::constructs(cea708::packet(0, cea708::block(5, codes)));
  write(captionedFile({{}, {captions::distributionPacket(constructs, 29.97, 0), Bytes{0}}}));
  const json answer = screens({{"service", "5"}});
  EXPECT_EQ(answer["channels"], json::parse(R"([{"service": 5}])"));
  EXPECT_EQ(answer["screens"], json::parse(R"([{"from": 0, "to": 2, "mode": "none", "regions": [
    {"window": 3, "top": 26.0, "left": 18.0, "width": 40.0, "height": 5.333333333333333, "rows": 1,
     "columns": 21, "align": "centre", "fill": "#ff0000", "fillOpacity": "translucent",
     "border": "left-shadow", "borderColour": "#0000ff", "text": [
       {"row": 0, "column": 0, "columns": 2, "text": "A<", "foreground": "#00ff00",
        "foregroundOpacity": "flash", "background": "#0000ff", "backgroundOpacity": "translucent",
        "italics": true, "underline": true, "size": "large", "offset": "superscript",
        "font": "monospaced-sans", "edge": "uniform", "edgeColour": "#ff0000"}]}]}])"));
}

TEST_F(CaptionScreensAnswer, ACharacterOfAnotherPenBeginsAnotherRun) {
  constexpr unsigned kItalics = 0x112E;
  write(captionedFile({code(RDC) + chars("ab") + code(kItalics) + chars("cd")}));
  const json answer = screens();
  const json& runs = answer["screens"].back()["regions"][0]["text"];
  ASSERT_EQ(runs.size(), 2u);
  EXPECT_EQ(runs[0], json::parse(R"({"row": 14, "column": 0, "columns": 2, "text": "ab"})"));
  EXPECT_EQ(runs[1],
            json::parse(R"({"row": 14, "column": 2, "columns": 3, "text": " cd", "italics": true})"));
}

TEST_F(CaptionScreensAnswer, HostileParametersAreRefused) {
  write(captionedFile({twoCaptions()}));
  for (const Parameters& parameters :
       {Parameters{{"channel", "0"}}, Parameters{{"channel", "5"}}, Parameters{{"channel", "CC1"}},
        Parameters{{"service", "0"}}, Parameters{{"service", "64"}}, Parameters{{"service", ""}},
        Parameters{{"channel", "1"}, {"service", "1"}}, Parameters{{"channel", "1"}, {"channel", "2"}},
        Parameters{{"from", "-1"}}, Parameters{{"from", "4294967296"}}, Parameters{{"count", "1001"}}}) {
    const DataAnswer answer = ask(parameters);
    EXPECT_EQ(answer.status, 400) << answer.body;
    EXPECT_THAT(answer.body, testing::HasSubstr("'"));
  }
}

}  // namespace

}  // namespace fmp4
