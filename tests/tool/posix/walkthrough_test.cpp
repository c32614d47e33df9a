// Half an hour of a person's commands with everything they print, as tests/tool/walkthrough.txt has it.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <regex>
#include <sstream>

#include "tests/support/ffmpeg.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

namespace fs = std::filesystem;

const fs::path kChecked = fs::path(VL_TEST_DATA).parent_path() / "tool/walkthrough.txt";

// The media that the person has.
void makeCollection(const fs::path& home) {
  fs::create_directory(home);
  const std::vector<std::string> aac = {"-c:a", "aac", "-ac", "2"};
  makeMedia(home / "clip.mp4",
            videoInput(4, "25", "320x180") + toneInput(4.096) + h264Codec(25) + aac + fragmented());
  makeMedia(home / "plain.mp4", videoInput(4, "25", "320x180") + toneInput(4.096) + h264Codec(25) + aac);
  makeMedia(home / "hevc.mp4", videoInput(1, "25", "160x96") + hevcCodec());
  const std::string captions =
      "Scenarist_SCC V1.0\n\n00:00:00:10\t9420 9420 94ae 94ae 9470 9470 c8e5 ecec ef80 942c 942c 942f "
      "942f\n\n"
      "00:00:02:00\t942c 942c\n";
  writeFile(home / "captions.scc", {captions.begin(), captions.end()});
  runOrThrow({"ffmpeg", "-nostdin", "-v", "error", "-i", (home / "plain.mp4").string(), "-i",
              (home / "captions.scc").string(), "-map", "0", "-map", "1", "-c", "copy",
              (home / "captioned.mov").string()});
  fs::remove(home / "captions.scc");
}

// A command that ends with "&" runs until it has printed something.
std::string shellCommand(const std::string& command) {
  if (!command.ends_with(" &")) return command;
  return command.substr(0, command.size() - 2) +
         " > ../first_output & for i in $(seq 300); do [ -s ../first_output ] && break; sleep 0.1; done\n"
         "kill $!; wait; cat ../first_output";
}

// What a shell prints on both streams for a command in the folder, and the exit code unless it is 0.
std::string outputOf(const std::string& command, const fs::path& home) {
  const RunResult result = run({"env", "-u", "VLHOST_CONFIG", "-C", home.string(), "HOME=" + home.string(),
                                std::string("PATH=") + VL_BIN_DIR + ":/usr/local/bin:/usr/bin:/bin", "sh",
                                "-c", "{ " + shellCommand(command) + "\n} 2>&1"});
  const std::string code =
      result.exitCode == 0 ? "" : "[exit code " + std::to_string(result.exitCode) + "]\n";
  return result.out + code;
}

// Without what depends on the version of the encoder, on the day or on chance.
std::string masked(std::string text) {
  const std::pair<const char*, const char*> kMasks[] = {
      {R"re(\d+ bytes)re", "# bytes"},
      {R"re(\d+ kbit/s)re", "# kbit/s"},
      {R"re(byte \d+)re", "byte #"},
      {R"re(("(bytes|bitRate|size|codecConfigurationBytes)": )\d+)re", "$1#"},
      {R"re(("crc32": ")[0-9a-f]{8})re", "$1#"},
      {R"re(\d{4}-\d\d-\d\dT[0-9:.]+Z)re", "#Z"},
      {R"re((BANDWIDTH=|BYTERANGE[=:]"?)[0-9@]+)re", "$1#"},
      {R"re((^|\n) +\d+ +\d+  ( *\w{4}))re", "$1# #  $2"},
      {R"re(127\.0\.0\.1:\d+)re", "127.0.0.1:#"},
      {R"re((program version: |fmp4 )\d+\.\d+\.\d+)re", "$1#"},
      // The row of a frame: its size and its checksum.
      {R"re((^|\n)(\d+),\d+,([01]),(-?\d+),[0-9a-f]{8},)re", "$1$2,#,$3,$4,#,"}};
  for (const auto& [pattern, replacement] : kMasks) {
    // Twice, as neighbouring rows share their line ends.
    for (int i = 0; i < 2; ++i) text = std::regex_replace(text, std::regex(pattern), replacement);
  }
  return text;
}

// With a bar before each line, which keeps it apart from commands and remarks.
std::string barred(const std::string& text) {
  std::string lines;
  for (const std::string& line : linesOf(text)) lines += (line.empty() ? "|" : "| " + line) + '\n';
  return lines;
}

// On failure the text that was printed is beside the test program, as walkthrough.txt.
TEST(Walkthrough, PrintsTheCheckedText) {
  const TempFolder folder;
  const fs::path home = folder.path() / "home";
  makeCollection(home);
  std::ifstream checked(kChecked);
  ASSERT_TRUE(checked) << kChecked;
  std::string expected, printed;
  for (std::string line; std::getline(checked, line);) {
    expected += line + '\n';
    if (line.starts_with("|")) continue;
    printed += line + '\n';
    if (line.starts_with("$ ")) printed += barred(masked(outputOf(line.substr(2), home)));
  }
  if (printed != expected) std::ofstream(fs::path(VL_BIN_DIR) / "walkthrough.txt") << printed;
  EXPECT_EQ(printed, expected);
}

// The commands of a text with what they print, by what lines of each begin with.
std::map<std::string, std::string> examplesIn(const fs::path& text, const std::string& command,
                                              const std::string& output) {
  std::map<std::string, std::string> examples;
  std::ifstream file(text);
  std::string* current = nullptr;
  for (std::string line; std::getline(file, line);) {
    line = std::regex_replace(line, std::regex(R"re(\\-)re"), "-");  // of manual pages
    if (line.starts_with(command))
      current = &examples[line.substr(command.size())];
    else if (current && line.starts_with(output))
      *current += line.substr(output.size()) + '\n';
    else
      current = nullptr;
  }
  return examples;
}

// The examples of a document are in the checked text, with the same output.
void expectWalked(const std::string& document, const std::string& command, const std::string& output) {
  const fs::path tree = fs::path(VL_TEST_DATA).parent_path().parent_path();
  const auto walked = examplesIn(kChecked, "$ ", "| ");
  std::size_t examples = 0;
  for (const auto& [line, text] : examplesIn(tree / document, command, output)) {
    const auto found = walked.find(line);
    ASSERT_NE(found, walked.end()) << line;
    EXPECT_EQ(masked(text), found->second) << line;
    ++examples;
  }
  EXPECT_GE(examples, 11u) << "one a command";
}

TEST(Walkthrough, HasTheExamplesOfTheDocuments) {
  expectWalked("README.md", "    $ ", "    ");
  expectWalked("packaging/fmp4.1", "$ ", "  ");
}

}  // namespace

}  // namespace fmp4
