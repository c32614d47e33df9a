#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/support/box_builder.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/fragments.h"
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

// Every sample of every run is a packet of ffprobe's.
TEST(Boxes, SamplesOfRunsAreThePacketsOfFfprobe) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(1) + h264Codec(10) + fragmented());
  std::vector<json> samples;
  for (const json& run : boxesOf(json::parse(fmp4({"boxes", "--json", file}).out), "trun"))
    for (const json& sample : run["fields"]["samples"]) samples.push_back(sample);
  const std::vector<Packet> packets = ffprobePackets(file, "v:0", {"-ignore_editlist", "1"});
  ASSERT_EQ(samples.size(), packets.size());
  for (std::size_t i = 0; i < packets.size(); ++i) {
    EXPECT_EQ(samples[i]["sample_size"], packets[i].size) << i;
    EXPECT_EQ(samples[i]["sample_composition_time_offset"], packets[i].pts - packets[i].dts) << i;
  }
}

// "ftyp", "moov" and three fragments of 2, 5 and 1 samples.
std::string fragmentedFile(const TempFolder& folder) {
  Bytes bytes = join({fileTypeBox(), movieBox({videoTrack()})});
  for (std::uint32_t number = 1; const std::size_t count : {2u, 5u, 1u}) {
    TrafSpec traf;
    traf.runs = {RunSpec{kRunDataOffset | kRunSize, std::vector<SampleSpec>(count, sampleOf(5, number))}};
    bytes = join({bytes, fragment(number++, {traf})});
  }
  const std::string file = folder.file("fragments.mp4");
  writeFile(file, bytes);
  return file;
}

// The lines that are printed of a path, without the heading, the offsets and the sizes.
std::vector<std::string> printedAt(const std::string& file, const std::string& path,
                                   const std::vector<std::string>& options = {}) {
  std::vector<std::string> command = {"--quiet", "boxes", file, "--path", path};
  command.insert(command.end(), options.begin(), options.end());
  const RunResult result = fmp4(command);
  EXPECT_EQ(result.exitCode, 0) << result.err;
  std::vector<std::string> lines = linesOf(result.out);
  EXPECT_EQ(lines.empty() ? "" : lines.front(), "      offset         size  box");
  if (!lines.empty()) lines.erase(lines.begin());
  for (std::string& line : lines) line.erase(0, 27);
  return lines;
}

TEST(Boxes, APathPrintsItsPartAlone) {
  const TempFolder folder;
  const std::string file = fragmentedFile(folder);
  const auto header = [](int number) {
    return "mfhd version=0 flags=0x000000 sequence_number=" + std::to_string(number);
  };
  EXPECT_THAT(printedAt(file, "moof/mfhd"), testing::ElementsAre(header(1), header(2), header(3)));
  EXPECT_THAT(printedAt(file, "/moof[1]/mfhd[0]"), testing::ElementsAre(header(2)));
  EXPECT_THAT(printedAt(file, "moof[last]/mfhd"), testing::ElementsAre(header(3)));
  EXPECT_THAT(printedAt(file, "\\x6Doof[0]/mfhd"), testing::ElementsAre(header(1)));
  const std::vector<std::string> track = printedAt(file, "moof[last]/traf");
  ASSERT_EQ(track.size(), 4u);
  EXPECT_EQ(track[0], "traf");
  EXPECT_THAT(track[1], testing::StartsWith("  tfhd "));
  EXPECT_THAT(track[3], testing::StartsWith("  trun "));
  EXPECT_THAT(printedAt(file, "moov/trak[last]/mdia/minf/stbl/stsd/avc1/avcC"),
              testing::ElementsAre(testing::StartsWith("avcC ")));
}

TEST(Boxes, AllPrintsEverySample) {
  const TempFolder folder;
  const std::string file = fragmentedFile(folder), path = "moof[1]/traf/trun";
  const std::string run = "trun version=0 flags=0x000201 sample_count=5 data_offset=116 samples=[";
  const std::string size = "{sample_size=5}", four = size + ", " + size + ", " + size + ", " + size;
  EXPECT_THAT(printedAt(file, path), testing::ElementsAre(run + four + ", ... 5 in all]"));
  EXPECT_THAT(printedAt(file, path, {"--all"}), testing::ElementsAre(run + four + ", " + size + "]"));
}

TEST(Boxes, APathHasTheSameJson) {
  const TempFolder folder;
  const std::string file = fragmentedFile(folder);
  const json all = json::parse(fmp4({"boxes", "--json", file}).out);
  const json part = json::parse(fmp4({"boxes", "--json", file, "--path", "moof[2]/traf"}).out);
  EXPECT_EQ(part["file"], file);
  EXPECT_EQ(part["size"], std::filesystem::file_size(file));
  EXPECT_EQ(part["defects"], json::array());
  EXPECT_EQ(part["boxes"], json::array({boxesOf(all, "traf")[2]}));
  EXPECT_EQ(json::parse(fmp4({"boxes", "--json", file, "--path", "moof"}).out)["boxes"].size(), 3u);
}

TEST(Boxes, APathWithoutABoxSaysWhatThereIs) {
  const TempFolder folder;
  const std::string file = fragmentedFile(folder);
  const auto missing = [&file](const std::string& path) {
    const RunResult result = fmp4({"--quiet", "boxes", file, "--path", path});
    EXPECT_EQ(result.exitCode, 1) << path;
    return result.err;
  };
  const std::string all = "; fmp4 boxes without --path shows all\n",
                    start = "fmp4: '" + file + "' has no box at ";
  EXPECT_EQ(missing("moof[3]/traf"),
            start + "'moof[3]/traf': it has 3 boxes 'moof' at its top level, counted from 0" + all);
  EXPECT_EQ(missing("sidx"), start + "'sidx': it has no box 'sidx' at its top level" + all);
  EXPECT_EQ(missing("moof[0]/traf[1]"), start + "'moof[0]/traf[1]'" + all);
  EXPECT_EQ(missing("moof[4294967295]"),
            start + "'moof[4294967295]': it has 3 boxes 'moof' at its top level, counted from 0" + all);
}

TEST(Boxes, WhatIsNoPathIsWrongUsage) {
  for (const char* text : {"", "/", "moo", "moofs", "moof[", "moof[]", "moof[x]", "moof[-1]", "moof[1]x",
                           "moof/", "moof//traf", "moof[4294967296]", "\\x6oof", "[1]"}) {
    const RunResult result = fmp4({"boxes", "any.mp4", "--path", text});
    EXPECT_EQ(result.exitCode, 2) << text;
  }
  EXPECT_THAT(
      fmp4({"boxes", "any.mp4", "--path", "moof[x]"}).err,
      testing::HasSubstr("--path: 'moof[x]' is no path of boxes; give types with slashes between them"));
}

// What comes after the box is not read, so that its damage does not matter.
TEST(Boxes, APathReadsNoFurther) {
  const TempFolder folder;
  const std::string file = fragmentedFile(folder);
  writeFile(file, join({readFile(file), zeros(20)}));
  EXPECT_THAT(printedAt(file, "moof[2]/mfhd"),
              testing::ElementsAre("mfhd version=0 flags=0x000000 sequence_number=3"));
  const RunResult last = fmp4({"--quiet", "boxes", file, "--path", "moof[last]/mfhd"});
  EXPECT_EQ(last.exitCode, 0) << last.err;
  EXPECT_THAT(last.out, testing::HasSubstr("sequence_number=3\n\n      offset  defect\n"));
  EXPECT_THAT(last.out, testing::HasSubstr("  box-size-zero: a box has no size"));
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
