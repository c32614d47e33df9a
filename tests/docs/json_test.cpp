// docs/json.md names every key that is printed, and no other.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>

#include "base/defect.h"
#include "tests/docs/document.h"
#include "tests/support/box_builder.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/fragments.h"
#include "tests/support/run.h"
#include "tests/support/temp_folder.h"
#include "tool/serve/folder_recordings.h"
#include "tool/serve/served_addresses.h"

namespace fmp4 {

namespace {

using nlohmann::json;

// The types that each key, as a path ("audio[].codec"), may hold: "string", "number", "null", "optional", ...
using Keys = std::map<std::string, std::set<std::string>>;

std::set<std::string> wordsOf(std::string text) {
  std::erase(text, ',');
  std::istringstream words(text);
  std::set<std::string> result;
  for (std::string word; words >> word;)
    if (word != "or") result.insert(word);
  return result;
}

// The table of the section whose heading names `what`.
Keys documented(const std::string& what) {
  Keys keys;
  bool inSection = false;
  for (const std::string& line : linesOfFile(kTree / "docs/json.md")) {
    if (line.starts_with("## ")) inSection = codeIn(line) == what;
    const std::vector<std::string> cells = cellsOf(line);
    if (inSection && cells.size() == 3 && !codeIn(cells[0]).empty())
      keys[codeIn(cells[0])] = wordsOf(cells[1]);
  }
  return keys;
}

void collect(const json& value, const std::string& path, Keys& keys) {
  if (value.is_array())
    for (const json& element : value) collect(element, path + "[]", keys);
  if (!value.is_object()) return;
  for (const auto& [key, member] : value.items()) {
    // A box holds boxes like itself, and the fields of its type.
    const std::string name = path.empty() || (path == "boxes[]" && key == "boxes") ? key : path + '.' + key;
    keys[name].insert(member.type_name());
    if (name != "boxes[].fields") collect(member, name, keys);
  }
}

void expectDocumented(const std::string& what, const json& printed) {
  Keys expected = documented(what), actual;
  ASSERT_FALSE(expected.empty()) << "docs/json.md has no table of " << what;
  collect(printed, "", actual);
  for (const auto& [key, types] : actual)
    for (const std::string& type : types)
      EXPECT_TRUE(expected[key].contains(type)) << what << " prints " << key << ", of type " << type;
  for (const auto& [key, types] : expected)
    EXPECT_TRUE(actual.contains(key)) << what << " does not print " << key << " for media that have it";
}

json printedBy(const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {VL_BIN_DIR "/fmp4", "--quiet"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return json::parse(run(command).out);
}

using Arguments = std::vector<std::string>;

TEST(JsonDocument, NamesTheKeysOfInfo) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  // Two video tracks, one of them read; three audio tracks, two of them decoded.
  makeMedia(file, videoInput(1) + toneInput(1) +
                      Arguments{"-map", "0:v", "-map", "0:v", "-map", "1:a", "-map", "1:a", "-map", "1:a"} +
                      h264Codec() +
                      Arguments{"-c:a:0", "aac", "-c:a:1", "libmp3lame", "-c:a:2", "ac3", "-metadata",
                                "creation_time=2016-09-21T08:15:30Z"} +
                      fragmented("+delay_moov"));
  expectDocumented("fmp4 info --json FILE", printedBy({"info", "--json", file}));
}

TEST(JsonDocument, NamesTheKeysOfProbe) {
  expectDocumented("fmp4 probe --json FILE", printedBy({"probe", "--json", "any.mpd"}));
}

TEST(JsonDocument, NamesTheKeysOfExport) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  makeMedia(file, videoInput(1) + h264Codec() + fragmented());
  expectDocumented("fmp4 export --json FILE",
                   printedBy({"export", "--json", file, "--video", folder.file("a.h264")}));
}

TEST(JsonDocument, NamesTheKeysOfFramesAndBoxes) {
  const TempFolder folder;
  const std::string file = folder.file("clip.mp4");
  writeFile(file, join({fileTypeBox(), movieBox({videoTrack()}), box("uuid", {zeros(16)}),
                        fragment(1, {TrafSpec{.runs = {RunSpec{.samples = {sampleOf(5, 1)}}}}}),
                        zeros(3)}));  // less than a header, a defect
  expectDocumented("fmp4 frames --json FILE", printedBy({"frames", "--json", file}));
  expectDocumented("fmp4 boxes --json FILE", printedBy({"boxes", "--json", file}));
}

TEST(JsonDocument, NamesTheKeysOfPackageVerifyRepairAndTheServersList) {
  const TempFolder folder;
  makeMedia(folder.file("clip.mp4"),
            videoInput(1) + toneInput(1) + h264Codec() + Arguments{"-c:a", "aac"} + fragmented());
  expectDocumented("fmp4 package --json INPUT.mp4", printedBy({"package", "--json", folder.file("clip.mp4"),
                                                               "--output", folder.file("out.mp4")}));
  const std::filesystem::path media = folder.file("out.m4v");
  std::filesystem::resize_file(media, std::filesystem::file_size(media) - 1);
  expectDocumented("fmp4 verify --json NAME", printedBy({"verify", "--json", media.string()}));
  const TempFolder other;
  writeFile(other.file("text.m4v"), {'x'});
  expectDocumented("fmp4 verify --json FOLDER", printedBy({"verify", "--json", other.path().string()}));
  expectDocumented("fmp4 repair --json NAME", printedBy({"repair", "--json", media.string()}));
  expectDocumented("/recordings.json", json::parse(recordingsJson(listRecordings(folder.path()))));
}

TEST(JsonDocument, NamesTheKeysOfServe) {
  std::vector<FolderRecording> recordings(2);
  recordings[0].manifest = "news.mpd";
  recordings[0].playlist = "news.master.m3u8";
  expectDocumented("fmp4 serve --json FOLDER", json::parse(servedJson("rec", 8000, recordings)));
}

// The codes of a section, each with what the document says of it.
std::map<std::string, std::string> documentedCodes(const std::string& what) {
  std::map<std::string, std::string> codes;
  bool inSection = false;
  for (const std::string& line : linesOfFile(kTree / "docs/json.md")) {
    if (line.starts_with("## ")) inSection = codeIn(line) == what;
    const std::vector<std::string> cells = cellsOf(line);
    if (inSection && cells.size() == 2 && !codeIn(cells[0]).empty()) codes[codeIn(cells[0])] = cells[1];
  }
  return codes;
}

TEST(JsonDocument, NamesEveryReasonOfProbe) {
  std::set<std::string> listed, expected;
  for (const auto& [code, meaning] : documentedCodes("fmp4 probe --json FILE")) listed.insert(code);
  std::string source;
  for (const std::string& line : linesOfFile(kTree / "tool/host/refusal_reason.cpp")) source += line;
  const std::regex code(R"re((Refusal|return) *\{ *"([a-z0-9-]+)",)re");
  for (std::sregex_iterator match(source.begin(), source.end(), code), end; match != end; ++match)
    expected.insert((*match)[2]);
  EXPECT_GE(expected.size(), 20u);
  EXPECT_EQ(listed, expected);
}

TEST(JsonDocument, NamesEveryDefectWithItsText) {
  const std::map<std::string, std::string> listed = documentedCodes("fmp4 boxes --json FILE");
  std::map<std::string, std::string> expected;
  for (auto i = static_cast<int>(Defect::None) + 1; i <= static_cast<int>(Defect::EndOfData); ++i) {
    const auto defect = static_cast<Defect>(i);
    expected[std::string(defectCode(defect))] = defectText(defect);
  }
  EXPECT_EQ(listed, expected);
}

}  // namespace

}  // namespace fmp4
