// The boxes of a file, piece by piece, as the page's tree asks for them.
#include "tool/viewer/box_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "base/user_error.h"
#include "os/path_name.h"
#include "tests/support/fragments.h"
#include "tests/support/temp_folder.h"
#include "tool/viewer/media_answers.h"

namespace fmp4 {

namespace {

using nlohmann::json;

class BoxTree : public testing::Test {
 protected:
  using Parameters = std::multimap<std::string, std::string>;

  void write(const Bytes& bytes) { writeFile(folder_.path() / "clip.mp4", bytes); }
  DataAnswer ask(const Parameters& parameters) {
    const std::filesystem::path folder = std::filesystem::canonical(folder_.path());
    return answers_.answer({"boxes", folder / "clip.mp4", "clip.mp4", parameters, folder});
  }
  json tree(const Parameters& parameters = {}) {
    const DataAnswer answer = ask(parameters);
    EXPECT_EQ(answer.status, 200) << answer.body;
    EXPECT_EQ(answer.type, "application/json");
    return json::parse(answer.body);
  }
  // "ftyp moov"
  static std::string types(const json& answer) {
    std::string all;
    for (const json& box : answer["boxes"]) all += (all.empty() ? "" : " ") + box["type"].get<std::string>();
    return all;
  }

  const TempFolder folder_;
  const Plugin plugin_{"vlx_fmp4"};
  const MediaAnswers answers_{plugin_};
};

// A fragment of ten frames, each shown `composition` ticks later.
Bytes fragmentOf(std::uint32_t number, std::int32_t composition = 0) {
  RunSpec run;
  if (composition != 0) run.flags |= kRunComposition;
  for (std::uint32_t i = 0; i < 10; ++i) run.samples.push_back(sampleOf(10, i, 0, 0, composition));
  TrafSpec video;
  video.runs = {run};
  video.decodeTime = std::uint64_t{1001} * 10 * (number - 1);
  return fragment(number, {video});
}

Bytes fileOf(std::uint32_t fragments) {
  Bytes bytes = join({fileTypeBox(), movieBox({videoTrack()})});
  for (std::uint32_t i = 1; i <= fragments; ++i) bytes = join({bytes, fragmentOf(i)});
  return bytes;
}

TEST_F(BoxTree, ListsTheTopLevel) {
  const Bytes file = fileOf(2);
  write(file);
  const json answer = tree();
  EXPECT_EQ(types(answer), "ftyp moov moof mdat moof mdat");
  EXPECT_EQ(answer["size"], file.size());
  EXPECT_EQ(answer["from"], 0);
  EXPECT_EQ(answer["next"], nullptr);
  EXPECT_EQ(answer["boxes"][0], json::parse(R"({"type": "ftyp", "offset": 0, "size": 24, "parent": false})"));
  EXPECT_EQ(answer["boxes"][1]["parent"], true);
  EXPECT_EQ(answer["boxes"][1]["offset"], 24);
  EXPECT_EQ(answer["boxes"][3]["parent"], false);
}

TEST_F(BoxTree, GoesOnWhereAPartEnds) {
  write(fileOf(2));
  const json start = tree({{"count", "3"}});
  EXPECT_EQ(types(start), "ftyp moov moof");
  const json rest = tree({{"from", start["next"].dump()}, {"count", "100"}});
  EXPECT_EQ(types(rest), "mdat moof mdat");
  EXPECT_EQ(rest["next"], nullptr);
}

TEST_F(BoxTree, HasAHundredBoxesAtATime) {
  write(fileOf(60));
  const json answer = tree();
  EXPECT_EQ(answer["boxes"].size(), 100u);
  EXPECT_EQ(tree({{"from", answer["next"].dump()}})["boxes"].size(), 22u);
}

TEST_F(BoxTree, BeginsWithTheFragmentOfAFrame) {
  const Bytes start = join({fileTypeBox(), movieBox({videoTrack()})}), one = fragmentOf(1, 2002);
  write(join({start, one, fragmentOf(2, 2002), fragmentOf(3, 2002)}));
  for (const auto& [frame, offset] :
       {std::pair("0", start.size()), std::pair("9", start.size()),
        std::pair("10", start.size() + one.size()), std::pair("29", start.size() + 2 * one.size())}) {
    const json answer = tree({{"frame", frame}, {"count", "2"}});
    EXPECT_EQ(answer["from"], offset) << frame;
    EXPECT_EQ(types(answer), "moof mdat") << frame;
  }
  EXPECT_EQ(ask({{"frame", "30"}}).status, 400);
}

TEST_F(BoxTree, DescribesABoxWithItsChildrenAndBytes) {
  write(fileOf(1));
  const json box = tree({{"box", "24"}});
  EXPECT_EQ(box["type"], "moov");
  EXPECT_EQ(types(box), "mvhd mvex trak");
  EXPECT_EQ(box["boxCount"], 3);
  EXPECT_EQ(box["fields"], json::object());
  EXPECT_EQ(box["bytes"].get<std::string>().size(), 512u) << "256 of more bytes";
  EXPECT_EQ(box["boxes"][1]["parent"], true);
  const json inner = tree({{"box", "24"}, {"path", "1.0"}});
  EXPECT_EQ(inner["type"], "trex");
  EXPECT_EQ(inner["fields"]["track_ID"], 1);
  EXPECT_EQ(inner["fields"]["default_sample_duration"], 1001);
  EXPECT_EQ(inner["bytes"],
            "000000207472657800000000000000010000000100000"
            "3e90000000000000000");
  EXPECT_EQ(inner["defects"], json::array());
}

TEST_F(BoxTree, LongListsAreShort) {
  RunSpec run;
  for (std::uint32_t i = 0; i < 100; ++i) run.samples.push_back(sampleOf(10, i));
  TrafSpec video;
  video.runs = {run};
  write(join({fileTypeBox(), movieBox({videoTrack()}), fragment(1, {video})}));
  const json start = tree();
  const json run1 = tree({{"box", start["boxes"][2]["offset"].dump()}, {"path", "1.2"}});
  EXPECT_EQ(run1["type"], "trun");
  EXPECT_EQ(run1["fields"]["sample_count"], 100);
  const json& samples = run1["fields"]["samples"];
  ASSERT_EQ(samples.size(), 65u);
  EXPECT_EQ(samples[63]["sample_size"], 10);
  EXPECT_EQ(samples[64], "... 100 in all");
}

TEST_F(BoxTree, HostileParametersAreRefused) {
  write(fileOf(1));
  for (const Parameters& parameters :
       {Parameters{{"from", "-1"}}, Parameters{{"from", "9223372036854775808"}}, Parameters{{"count", "101"}},
        Parameters{{"from", "0"}, {"frame", "0"}}, Parameters{{"box", "0"}, {"from", "0"}},
        Parameters{{"path", "0"}}, Parameters{{"box", "24"}, {"path", "9"}},
        Parameters{{"box", "24"}, {"path", "0.0"}}, Parameters{{"box", "24"}, {"path", ""}},
        Parameters{{"box", "24"}, {"path", "1."}}, Parameters{{"box", "24"}, {"path", "1x0"}},
        Parameters{{"box", "24"}, {"path", "x"}}, Parameters{{"box", "24"}, {"path", "4294967296"}},
        Parameters{{"box", "99999"}},
        Parameters{{"box", "24"},
                   {"path", "1.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0"}}}) {
    const DataAnswer answer = ask(parameters);
    EXPECT_EQ(answer.status, 400) << answer.body;
    EXPECT_THAT(answer.body, testing::HasSubstr("'"));
  }
}

TEST_F(BoxTree, DamageEndsALevelAndIsNamed) {
  write(join({fileTypeBox(), box("free", {zeros(4)}), boxOfSize(5, "junk"), zeros(20)}));
  const json answer = tree();
  EXPECT_EQ(types(answer), "ftyp free");
  EXPECT_EQ(answer["next"], nullptr);
  ASSERT_EQ(answer["defects"].size(), 1u);
  EXPECT_EQ(answer["defects"][0]["offset"], 36);
  EXPECT_THROW(ask({{"box", "36"}}), UserError);
}

TEST_F(BoxTree, ATruncatedBoxIsListedWithTheSizeThatItStates) {
  write(join({fileTypeBox(), boxOfSize(1000000, "mdat", {zeros(4)})}));
  const json answer = tree();
  EXPECT_EQ(answer["boxes"][1]["size"], 1000000);
  EXPECT_EQ(answer["next"], nullptr);
}

TEST_F(BoxTree, ABoxWithoutASizeReachesTheEndOfTheFile) {
  write(join({fileTypeBox(), boxOfSize(0, "mdat", {zeros(20)})}));
  const json answer = tree();
  EXPECT_EQ(types(answer), "ftyp mdat");
  EXPECT_EQ(answer["boxes"][1]["size"], 28);
  EXPECT_EQ(answer["next"], nullptr);
}

TEST_F(BoxTree, NamesAndTextsOfHostileBoxesAreJson) {
  write(join({fileTypeBox(), box(std::string_view("\xff\0\"<", 4), {text("<script>\"\\")})}));
  const json answer = tree();
  EXPECT_EQ(answer["boxes"][1]["type"], "\\xFF\\x00\"<");
  EXPECT_EQ(tree({{"box", "24"}})["fields"], json::object());
}

}  // namespace

}  // namespace fmp4
