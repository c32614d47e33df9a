#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/support/box_builder.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

using nlohmann::json;

// A small file: "ftyp" of 24 bytes, "moof" of 24 holding a "mfhd" of 16, "free" of 12.
Bytes smallFile() {
  return join({box("ftyp", {text("isom"), u32(512), text("iso6"), text("mp41")}),
               box("moof", {fullBox("mfhd", 0, 0, {u32(7)})}), box("free", {zeros(4)})});
}

TEST(Boxes, TextHasOneIndentedLinePerBox) {
  const TempFolder folder;
  const std::string file = folder.file("small.bin");
  writeFile(file, smallFile());
  const RunResult result = fmp4({"boxes", file});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.err, "");
  const std::vector<std::string> lines = linesOf(result.out);
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_EQ(lines[0], "      offset         size  box");
  EXPECT_THAT(lines[1], testing::StartsWith("           0           24  ftyp "));
  EXPECT_EQ(lines[2], "          24           24  moof");
  EXPECT_EQ(lines[3], "          32           16    mfhd version=0 flags=0x000000 sequence_number=7");
  EXPECT_EQ(lines[4], "          48           12  free");
}

TEST(Boxes, JsonHoldsTheTree) {
  const TempFolder folder;
  const std::string file = folder.file("small.bin");
  writeFile(file, smallFile());
  const RunResult result = fmp4({"boxes", "--json", file});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  json tree = json::parse(result.out);
  EXPECT_EQ(tree["file"], file);
  EXPECT_EQ(tree["size"], 60);
  tree["boxes"][0].erase("fields");
  EXPECT_EQ(tree["boxes"],
            (json{{{"type", "ftyp"}, {"offset", 0}, {"size", 24}, {"boxes", json::array()}},
                  {{"type", "moof"},
                   {"offset", 24},
                   {"size", 24},
                   {"fields", json::object()},
                   {"boxes",
                    {{{"type", "mfhd"},
                      {"offset", 32},
                      {"size", 16},
                      {"fields", {{"version", 0}, {"flags", "0x000000"}, {"sequence_number", 7}}},
                      {"boxes", json::array()}}}}},
                  {{"type", "free"},
                   {"offset", 48},
                   {"size", 12},
                   {"fields", json::object()},
                   {"boxes", json::array()}}}));
}

// All nodes of a type, at any depth.
void collect(const json& boxes, const std::string& type, std::vector<json>& found) {
  for (const json& box : boxes) {
    if (box["type"] == type) found.push_back(box);
    collect(box["boxes"], type, found);
  }
}
std::vector<json> boxesOf(const json& tree, const std::string& type) {
  std::vector<json> found;
  collect(tree["boxes"], type, found);
  return found;
}

TEST(Boxes, AddUpAndAgreeWithFfprobe) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(2) + toneInput(2) + h264Codec(30) + fragmented());
  const RunResult result = fmp4({"boxes", "--json", file});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const json tree = json::parse(result.out);
  std::uint64_t end = 0;
  for (const json& box : tree["boxes"]) {
    EXPECT_EQ(box["offset"], end);
    end += box["size"].get<std::uint64_t>();
  }
  EXPECT_EQ(end, std::filesystem::file_size(file));
  EXPECT_EQ(tree["defectCount"], 0);
  EXPECT_EQ(tree["defects"], json::array());
  EXPECT_EQ(tree["boxes"][0]["type"], "ftyp");
  EXPECT_EQ(tree["boxes"][1]["type"], "moov");

  const std::vector<json> entries = boxesOf(tree, "avc1");
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0]["fields"]["width"], 320);
  EXPECT_EQ(entries[0]["fields"]["height"], 180);
  std::size_t samples = 0;
  for (const json& run : boxesOf(tree, "trun")) samples += run["fields"]["sample_count"].get<std::size_t>();
  EXPECT_EQ(samples, ffprobePackets(file, "v:0").size() + ffprobePackets(file, "a:0").size());
}

TEST(Boxes, TypesAndTextsAreSafeToPrint) {
  const TempFolder folder;
  const std::string file = folder.file("odd.bin");
  writeFile(file, box("a\x1B\xFF\"", {zeros(4)}));
  EXPECT_EQ(linesOf(fmp4({"boxes", file}).out)[1], "           0           12  a\\x1B\\xFF\"");
  EXPECT_EQ(json::parse(fmp4({"boxes", "--json", file}).out)["boxes"][0]["type"], "a\\x1B\\xFF\"");
}

TEST(Boxes, ExtendedTypeIsShown) {
  const TempFolder folder;
  const std::string file = folder.file("extended.bin");
  writeFile(file, box("uuid", {u64(0x0123456789ABCDEF), u64(0xFEDCBA9876543210), zeros(4)}));
  EXPECT_EQ(linesOf(fmp4({"boxes", file}).out)[1],
            "           0           28  uuid uuid=\"0123456789abcdeffedcba9876543210\"");
  EXPECT_EQ(json::parse(fmp4({"boxes", "--json", file}).out)["boxes"][0]["uuid"],
            "0123456789abcdeffedcba9876543210");
}

TEST(Boxes, BytesAfterTheLastBoxFail) {
  const TempFolder folder;
  const std::string file = folder.file("small.bin");
  writeFile(file, join({smallFile(), zeros(20)}));
  const RunResult result = fmp4({"boxes", file});
  EXPECT_EQ(result.exitCode, 1);
  const std::vector<std::string> lines = linesOf(result.out);
  ASSERT_EQ(lines.size(), 8u);
  EXPECT_EQ(lines[5], "");
  EXPECT_EQ(lines[6], "      offset  defect");
  EXPECT_EQ(lines[7],
            "          60  box-size-zero: a box has no size, and would extend to the end of the file");
  EXPECT_EQ(result.err, "fmp4: '" + file +
                            "' holds no readable box at byte 60, 20 bytes before its end; what follows is "
                            "damaged or not MP4\n");
}

TEST(Boxes, DefectsFollowTheTree) {
  const TempFolder folder;
  const std::string file = folder.file("damaged.bin");
  writeFile(file, join({box("moof", {fullBox("mfhd", 0, 0, {u32(7)}), box("tfhd", {zeros(2)})}), zeros(2)}));
  const std::vector<std::string> lines = linesOf(fmp4({"boxes", file}).out);
  ASSERT_EQ(lines.size(), 8u);
  EXPECT_EQ(lines[5], "      offset  defect");
  EXPECT_EQ(lines[6], "          24  payload-truncated (tfhd): the fields of a box extend past its end");
  EXPECT_EQ(lines[7], "          34  box-header-truncated: the header of a box is truncated");
  const json printed = json::parse(fmp4({"boxes", "--json", file}).out);
  EXPECT_EQ(printed["defectCount"], 2);
  EXPECT_EQ(printed["defects"], (json{{{"offset", 24},
                                       {"type", "tfhd"},
                                       {"code", "payload-truncated"},
                                       {"text", "the fields of a box extend past its end"}},
                                      {{"offset", 34},
                                       {"type", nullptr},
                                       {"code", "box-header-truncated"},
                                       {"text", "the header of a box is truncated"}}}));
}

TEST(Boxes, TruncatedLastBoxFails) {
  const TempFolder folder;
  const std::string file = folder.file("small.bin");
  writeFile(file, join({smallFile(), boxOfSize(100, "mdat", {zeros(4)})}));
  const RunResult result = fmp4({"boxes", "--json", file});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(json::parse(result.out)["boxes"].size(), 4u);
  EXPECT_EQ(result.err, "fmp4: '" + file +
                            "' is truncated: its last box should end at byte 160, the file ends at byte 72; "
                            "get a complete copy\n");
}

TEST(Boxes, EmptyAndMissingFilesFail) {
  const TempFolder folder;
  const std::string file = folder.file("empty.bin");
  writeFile(file, {});
  EXPECT_EQ(fmp4({"--quiet", "boxes", file}).exitCode, 1);
  EXPECT_EQ(fmp4({"--quiet", "boxes", file}).err, "fmp4: '" + file + "' is empty\n");
  const RunResult missing = fmp4({"--quiet", "boxes", folder.file("missing.bin")});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_EQ(missing.out, "");
  EXPECT_EQ(missing.err, "fmp4: '" + folder.file("missing.bin") + "' does not exist; check the name\n");
}

}  // namespace

}  // namespace fmp4
