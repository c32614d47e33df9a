// The manual page, the completion and the README list the commands and options that the program has.
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "tests/docs/document.h"
#include "tests/support/run.h"

namespace fmp4 {

namespace {

// The options of each command by its name, without --help; those of the program itself have none.
using Commands = std::map<std::string, std::set<std::string>>;

std::vector<std::string> linesOfText(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::set<std::string> optionsIn(const std::string& text) {
  static const std::regex kOption("--[a-z][a-z0-9-]*");
  std::set<std::string> options;
  for (std::sregex_iterator match(text.begin(), text.end(), kOption), end; match != end; ++match)
    options.insert(match->str());
  options.erase("--help");
  return options;
}

std::string helpOf(const std::vector<std::string>& command) {
  std::vector<std::string> words = {VL_BIN_DIR "/fmp4"};
  words.insert(words.end(), command.begin(), command.end());
  words.push_back("--help");
  return runOrThrow(words).out;
}

// The first words of the indented lines: listed options and names of commands.
std::vector<std::string> entriesOf(const std::string& help) {
  std::vector<std::string> entries;
  for (const std::string& line : linesOfText(help)) {
    std::string entry;
    if (line.starts_with("  ") && std::istringstream(line) >> entry) entries.push_back(entry);
  }
  return entries;
}

const Commands& programsCommands() {
  static const Commands commands = [] {
    Commands result;
    const std::string help = helpOf({});
    const std::size_t list = help.find("Subcommands:");
    for (const std::string& entry : entriesOf(help.substr(0, list))) result[""].merge(optionsIn(entry));
    for (const std::string& name : entriesOf(help.substr(list))) {
      result[name] = {};
      for (const std::string& entry : entriesOf(helpOf({name})))
        if (entry.starts_with("-")) result[name].merge(optionsIn(entry));
    }
    return result;
  }();
  return commands;
}

TEST(CommandDocuments, TheProgramHasCommandsWithOptions) {
  EXPECT_EQ(programsCommands().at("frames"),
            (std::set<std::string>{"--count", "--from", "--json", "--random", "--to"}));
  EXPECT_EQ(programsCommands().at(""), (std::set<std::string>{"--color", "--no-progress", "--plugin",
                                                              "--quiet", "--verbose", "--version"}));
  EXPECT_TRUE(programsCommands().at("version").empty());
}

TEST(CommandDocuments, TheManualPageListsThem) {
  Commands listed;
  bool title = false;
  for (std::string line : linesOfFile(kTree / "packaging/fmp4.1")) {
    // Without font markup, and with plain hyphens.
    line = std::regex_replace(line, std::regex(R"(\\f[BIR]|")"), "");
    line = std::regex_replace(line, std::regex(R"(\\-)"), "-");
    std::istringstream words(line);
    std::string macro, name;
    words >> macro >> name;
    if (title && name.starts_with("-"))
      listed[""].merge(optionsIn(line));
    else if (title && programsCommands().contains(name))
      listed[name] = optionsIn(line);
    title = line == ".TP";
  }
  EXPECT_EQ(listed, programsCommands());
}

TEST(CommandDocuments, TheReadmeListsThem) {
  Commands listed = {{"", programsCommands().at("")}};
  for (const std::string& line : linesOfFile(kTree / "README.md")) {
    const std::vector<std::string> cells = cellsOf(line);
    const std::string usage = cells.empty() ? "" : codeIn(cells[0]);
    if (const std::string name = usage.substr(0, usage.find(' '));
        !name.empty() && programsCommands().contains(name))
      listed[name] = optionsIn(usage);
  }
  EXPECT_EQ(listed, programsCommands());
}

// The options that a command accepts: its own, and the program's.
std::set<std::string> acceptedOptions(const std::string& name) {
  std::set<std::string> accepted = programsCommands().at("");
  if (!name.empty()) accepted.erase("--version");
  accepted.insert(programsCommands().at(name).begin(), programsCommands().at(name).end());
  accepted.insert("--help");
  return accepted;
}

std::string completionFor(const char* shell) {
  return runOrThrow({VL_BIN_DIR "/fmp4", "completion", shell}).out;
}

// What bash offers for a line that ends with `last`.
std::set<std::string> completionsOf(const std::string& words, const std::string& last) {
  const std::string script = completionFor("bash") + "COMP_WORDS=(fmp4 " + words + " '" + last +
                             "') COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _fmp4; " +
                             "printf '%s\\n' \"${COMPREPLY[@]}\"";
  const std::vector<std::string> lines = linesOfText(runOrThrow({"bash", "-c", script}).out);
  return {lines.begin(), lines.end()};
}

TEST(CommandDocuments, TheCompletionOffersThem) {
  std::set<std::string> names;
  for (const auto& [name, options] : programsCommands()) {
    if (!name.empty()) names.insert(name);
    EXPECT_EQ(completionsOf(name, "--"), acceptedOptions(name)) << name;
  }
  EXPECT_EQ(completionsOf("", ""), names);
}

TEST(CommandDocuments, TheCompletionOffersValues) {
  EXPECT_EQ(completionsOf("export clip.mp4 --channel", ""),
            (std::set<std::string>{"CC1", "CC2", "CC3", "CC4"}));
  EXPECT_EQ(completionsOf("package clip.mp4 --captions", "s"), (std::set<std::string>{"sei"}));
  EXPECT_EQ(completionsOf("--color", "a"), (std::set<std::string>{"always", "auto"}));
  EXPECT_EQ(completionsOf("completion", ""), (std::set<std::string>{"bash", "fish", "zsh"}));
  EXPECT_EQ(completionsOf("frames clip.mp4 --from", ""), (std::set<std::string>{""})) << "a place is no file";
}

// The lines between one that begins with `start` and one that is `end`.
std::string sectionOf(const std::string& text, const std::string& start, const std::string& end) {
  const std::size_t from = text.find(start);
  return from == text.npos ? "" : text.substr(from, text.find(end, from) - from);
}

TEST(CommandDocuments, TheCompletionsOfZshAndFishHaveThem) {
  const std::string zsh = completionFor("zsh"), fish = completionFor("fish");
  for (const auto& [name, options] : programsCommands()) {
    const std::string section = name.empty() ? sectionOf(zsh, "  _arguments -C", "'1:command")
                                             : sectionOf(zsh, "      " + name + ")\n", ";;");
    const std::string condition =
        name.empty() ? "__fish_use_subcommand'" : "__fish_seen_subcommand_from " + name + "'";
    std::set<std::string> inZsh, inFish;
    for (const std::string& line : linesOfText(section))
      inZsh.merge(optionsIn(line.substr(0, line.find('['))));
    for (const std::string& line : linesOfText(fish)) {
      const std::size_t option = line.find(" -l ");
      if (line.find(condition) != line.npos && option != line.npos)
        inFish.insert("--" + line.substr(option + 4, line.find(' ', option + 4) - option - 4));
    }
    std::set<std::string> expected = acceptedOptions(name);
    EXPECT_EQ(inFish, expected) << name;
    expected.erase("--help");
    EXPECT_EQ(inZsh, expected) << name;
  }
}

}  // namespace

}  // namespace fmp4
