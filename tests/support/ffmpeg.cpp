#include "tests/support/ffmpeg.h"

#include <functional>

#include "tests/support/places.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace fs = std::filesystem;

namespace {

// Whether the output is made from generated input alone, so that the command defines it completely.
bool isGenerated(const fs::path& output, const std::vector<std::string>& arguments) {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (arguments[i] == "-i" && (i < 2 || arguments[i - 2] != "-f" || arguments[i - 1] != "lavfi"))
      return false;
    if (arguments[i].find(output.parent_path().string()) != std::string::npos) return false;
  }
  const std::string extension = output.extension().string();
  return extension != ".mpd" && extension != ".m3u8";  // these come with separate media files
}

// Runs the command, whose output is still missing, and puts its result into the cache, with the text of the
// command beside it. Both are made under temporary names and renamed, the text last: other tests may be
// making the same.
void makeKept(const fs::path& kept, const fs::path& wordsFile, std::vector<std::string> command,
              const std::string& words) {
  fs::create_directories(kept.parent_path());
  TempFolder folder;
  const fs::path made = folder.path() / ("made" + kept.extension().string());
  command.push_back(made.string());
  runOrThrow(command);
  const std::string own = "." + folder.path().filename().string();
  fs::copy_file(made, fs::path(kept) += own);
  fs::rename(fs::path(kept) += own, kept);
  writeFile(fs::path(wordsFile) += own, {words.begin(), words.end()});
  fs::rename(fs::path(wordsFile) += own, wordsFile);
}

}  // namespace

void makeMedia(const fs::path& output, const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {"ffmpeg", "-nostdin", "-v", "error", "-y", "-threads", "1"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  for (const char* option : {"-threads", "1", "-fflags", "+bitexact", "-flags:v", "+bitexact", "-flags:a",
                             "+bitexact", "-map_metadata", "-1"})
    command.emplace_back(option);
  if (!isGenerated(output, arguments)) {
    command.push_back(output.string());
    runOrThrow(command);
    return;
  }
  std::string words;
  for (const std::string& word : command) words += word + '\n';
  words += output.extension().string() + '\n';
  const std::string number = std::to_string(std::hash<std::string>{}(words));
  const fs::path kept = fs::path(VL_MEDIA_CACHE) / (number + output.extension().string());
  const fs::path wordsFile = fs::path(kept) += ".command";
  if (!fs::exists(wordsFile) || readFile(wordsFile) != std::vector<std::uint8_t>(words.begin(), words.end()))
    makeKept(kept, wordsFile, command, words);
  fs::copy_file(kept, output, fs::copy_options::overwrite_existing);
}

}  // namespace fmp4
